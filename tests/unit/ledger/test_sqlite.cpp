// Owners over SQLite: what they hand on, and how a failure arrives.
#include "ledger/sqlite.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

constexpr char FILE_NAME[] = "/dumps/test.db";
constexpr int MAKE = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;

class Sqlite : public testing::Test {
  protected:
    Sqlite() : database(FILE_NAME, MAKE, 0) {
        database.run("CREATE TABLE t (number INTEGER, text TEXT)");
    }
    DumpsFolder dumps;
    Database database;
};

} // namespace

TEST_F(Sqlite, WhatIsBoundIsReadBack) {
    const std::string nul("a\0b", 3);
    Statement insert(&database, "INSERT INTO t VALUES (?1, ?2)");
    insert.bind(1, int64_t{1} << 60).bind(2, "it's \"quoted\"; DROP TABLE t").runOnce();
    insert.bind(1, -7).bind(2, nul).runOnce();
    insert.bind(1, true).bind(2, std::string()).runOnce();
    Statement row(&database, "SELECT number, text, text IS NULL FROM t ORDER BY rowid");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.number(0), int64_t{1} << 60);
    EXPECT_EQ(row.text(1), "it's \"quoted\"; DROP TABLE t");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.number(0), -7);
    EXPECT_EQ(row.text(1), nul);
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.number(0), 1);
    EXPECT_EQ(row.text(1), "");
    EXPECT_EQ(row.number(2), 0); // an empty text is one
    EXPECT_FALSE(row.step());
}

TEST_F(Sqlite, WhatIsNullReadsAsAnEmptyTextAndZero) {
    database.run("INSERT INTO t VALUES (NULL, NULL)");
    Statement row(&database, "SELECT number, text FROM t");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.number(0), 0);
    EXPECT_EQ(row.text(1), "");
}

TEST_F(Sqlite, TheOneNumberOfAQuestionIsZeroWithoutARow) {
    EXPECT_EQ(database.number("SELECT number FROM t"), 0);
    database.run("INSERT INTO t VALUES (42, 'x')");
    EXPECT_EQ(database.number("SELECT number FROM t"), 42);
    EXPECT_EQ(database.lastRow(), 1);
}

TEST_F(Sqlite, AFailureArrivesInSqlitesWordsWithItsCode) {
    try {
        database.run("SELECT * FROM nowhere");
        FAIL() << "nothing was thrown";
    } catch (const SqliteError &error) {
        EXPECT_STREQ(error.what(), "no such table: nowhere");
        EXPECT_EQ(error.code(), SQLITE_ERROR);
        EXPECT_FALSE(error.isDamage());
    }
    EXPECT_THROW(Statement(&database, "SELEKT"), SqliteError);
    EXPECT_THROW(Database("/dumps/missing.db", SQLITE_OPEN_READWRITE, 0), SqliteError);
}

TEST_F(Sqlite, AFileThatIsNoDatabaseIsDamage) {
    dumps.write("rubbish.db", std::string(5000, 'x'));
    Database rubbish("/dumps/rubbish.db", SQLITE_OPEN_READWRITE, 0);
    try {
        rubbish.number("PRAGMA user_version");
        FAIL() << "nothing was thrown";
    } catch (const SqliteError &error) {
        EXPECT_EQ(error.code(), SQLITE_NOTADB);
        EXPECT_TRUE(error.isDamage());
    }
}

TEST_F(Sqlite, ATransactionIsUndoneUnlessItIsCommitted) {
    {
        const Transaction undone(&database);
        database.run("INSERT INTO t VALUES (1, 'undone')");
    }
    EXPECT_EQ(database.number("SELECT count(*) FROM t"), 0);
    {
        Transaction kept(&database);
        database.run("INSERT INTO t VALUES (1, 'kept')");
        kept.commit();
    }
    EXPECT_EQ(database.number("SELECT count(*) FROM t"), 1);
}

TEST_F(Sqlite, ATransactionTakesTheRightToWriteAtOnce) {
    Database other(FILE_NAME, SQLITE_OPEN_READWRITE, 0);
    const Transaction first(&database);
    try {
        const Transaction second(&other);
        FAIL() << "nothing was thrown";
    } catch (const SqliteError &error) {
        EXPECT_EQ(error.code(), SQLITE_BUSY);
        EXPECT_FALSE(error.isDamage());
    }
}

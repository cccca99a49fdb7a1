// The tables and their versions.
#include "ledger/schema.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

class Schema : public testing::Test {
  protected:
    Schema() : database("/dumps/test.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0) {}
    std::string tables() {
        Statement row(&database,
                      "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%' "
                      "ORDER BY name");
        std::string names;
        while (row.step()) {
            names += row.text(0) + " ";
        }
        return names;
    }
    // The statements that made everything, as SQLite keeps them.
    std::string statements() {
        Statement row(&database, "SELECT sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY type, name");
        std::string all;
        while (row.step()) {
            all += row.text(0) + ";\n";
        }
        return all;
    }
    DumpsFolder dumps;
    Database database;
};

} // namespace

TEST_F(Schema, AnEmptyFileBecomesOneOfThisVersion) {
    EXPECT_EQ(versionOf(&database), 0);
    migrate(&database);
    EXPECT_EQ(versionOf(&database), ledgerVersion());
    EXPECT_EQ(tables(), "baseline event_count events forgotten_paths journal observation observation_count "
                        "observations operation_count "
                        "operations paths volumes ");
}

TEST_F(Schema, AFileOfThisVersionStaysAsItIs) {
    migrate(&database);
    database.run("INSERT INTO observations (quality, reason, time) VALUES ('good', '', 1)");
    const std::string before = statements();
    migrate(&database);
    EXPECT_EQ(statements(), before);
    EXPECT_EQ(database.number("SELECT count(*) FROM observations"), 1);
}

// What the first version was, whatever has become of it since.
TEST_F(Schema, AFileOfTheFirstVersionGetsWhatTheLaterOnesBrought) {
    database.run(
        "CREATE TABLE events (number INTEGER PRIMARY KEY AUTOINCREMENT, kind TEXT NOT NULL);"
        "CREATE TABLE operations (id INTEGER PRIMARY KEY, begun INTEGER NOT NULL, ended INTEGER NOT "
        "NULL, user TEXT NOT NULL, command TEXT NOT NULL, line TEXT NOT NULL, volume TEXT NOT NULL, "
        "path TEXT NOT NULL, detail TEXT NOT NULL, code INTEGER NOT NULL);"
        "INSERT INTO events (kind) VALUES ('a'), ('b'), ('c');"
        "INSERT INTO operations VALUES (1, 1, 2, 'root', 'scan', '', '', '', '', 0), "
        "(2, 1, 2, 'root', 'scan', '', '', '', '', 0), (3, 1, 2, 'root', 'scan', '', '', '', '', 7), "
        "(4, 1, 0, 'root', 'scan', '', '', '', '', 0);"
        "PRAGMA user_version = 1");
    migrate(&database);
    EXPECT_EQ(versionOf(&database), ledgerVersion());
    EXPECT_EQ(tables(), "events forgotten_paths journal operation_count operations ");
    EXPECT_EQ(database.number("SELECT count FROM operation_count WHERE command = 'scan' AND code = 0"), 2);
    EXPECT_EQ(database.number("SELECT count FROM operation_count WHERE command = 'scan' AND code = 7"), 1);
    EXPECT_EQ(database.number("SELECT count(*) FROM operation_count"), 2);
    // What happened before is not told to the journal once more.
    EXPECT_EQ(database.number("SELECT told FROM journal"), 3);
}

TEST_F(Schema, AFileOfANewerVersionIsLeftAlone) {
    database.run("PRAGMA user_version = 1000");
    migrate(&database);
    EXPECT_EQ(versionOf(&database), 1000);
    EXPECT_EQ(tables(), "");
}

TEST_F(Schema, AMigrationThatFailsLeavesTheFileAsItWas) {
    // The last table of the first version is in the way.
    database.run("CREATE TABLE operations (mine TEXT)");
    EXPECT_THROW(migrate(&database), SqliteError);
    EXPECT_EQ(versionOf(&database), 0);
    EXPECT_EQ(tables(), "operations ");
}

TEST_F(Schema, TwoThatMigrateAtOnceMakeItOnce) {
    Database other("/dumps/test.db", SQLITE_OPEN_READWRITE, 0);
    EXPECT_EQ(versionOf(&other), 0);
    migrate(&database);
    migrate(&other);
    EXPECT_EQ(versionOf(&other), ledgerVersion());
}

TEST_F(Schema, EventNumbersNeverRepeat) {
    migrate(&database);
    const char *const INSERT = "INSERT INTO events (incident, time, boot_id, quality, kind, wwid, alias, "
                               "has_path, path_name, path_address, "
                               "initiator, target_port, state_from, state_to, paths_working, paths_known, "
                               "cause, user, command) VALUES "
                               "(1, 1, '', 'good', 'k', '', '', 0, '', '', '', '', '', '', 0, 0, '', '', '')";
    database.run(INSERT);
    database.run(INSERT);
    database.run("DELETE FROM events");
    database.run(INSERT);
    EXPECT_EQ(database.number("SELECT number FROM events"), 3);
}

TEST_F(Schema, ThereIsOneLastObservation) {
    migrate(&database);
    EXPECT_THROW(database.run("INSERT INTO observation VALUES (2, 'good', '', 1, 1, 1, 1, 1, '', 1)"),
                 SqliteError);
}

// Databases by names that are not from "/" on: below the working folder, whatever that is called.
#include "ledger/relative_files.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "ledger/sqlite.h"

using namespace dravik;

namespace {

constexpr int MAKE = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;

// A working folder whose name is longer than SQLite takes one: whoever asks for it gets no further.
class RelativeFiles : public testing::Test {
  protected:
    RelativeFiles() : old_folder(std::filesystem::current_path()) {
        char name[] = "/tmp/dravik-relative-XXXXXX";
        place = mkdtemp(name);
        std::filesystem::current_path(place);
        for (const char letter : {'a', 'b', 'c'}) {
            const std::string deeper(250, letter);
            std::filesystem::create_directory(deeper);
            EXPECT_EQ(chdir(deeper.c_str()), 0);
        }
    }
    ~RelativeFiles() override {
        std::filesystem::current_path(old_folder);
        std::filesystem::remove_all(place);
    }
    std::filesystem::path old_folder;
    std::string place;
};

} // namespace

TEST_F(RelativeFiles, ANameLeadsBelowTheWorkingFolderWithoutAskingForItsName) {
    {
        Database made("new.db", MAKE, 0);
        EXPECT_STREQ(sqlite3_db_filename(made.get(), "main"), "./new.db");
        made.run("PRAGMA journal_mode = WAL");
        made.run("CREATE TABLE t (number INTEGER)");
        EXPECT_EQ(access("new.db-wal", F_OK), 0);
        made.run("PRAGMA journal_mode = DELETE");
        made.run("INSERT INTO t VALUES (7)");
    }
    EXPECT_NE(access("new.db-wal", F_OK), 0);
    EXPECT_EQ(access("new.db", F_OK), 0);
    Database again("new.db", SQLITE_OPEN_READONLY, 0);
    EXPECT_EQ(again.number("SELECT number FROM t"), 7);
}

TEST_F(RelativeFiles, WhereTheFolderIsMovedMeanwhileTheDatabaseStaysInIt) {
    Database made("new.db", MAKE, 0);
    made.run("CREATE TABLE t (number INTEGER)");
    const std::string first = place + "/" + std::string(250, 'a');
    std::filesystem::rename(first, place + "/moved");
    std::filesystem::create_directories(first + "/" + std::string(250, 'b') + "/" + std::string(250, 'c'));
    made.run("INSERT INTO t VALUES (7)");
    Database again("new.db", SQLITE_OPEN_READONLY, 0);
    EXPECT_EQ(again.number("SELECT number FROM t"), 7);
    EXPECT_TRUE(std::filesystem::is_empty(first + "/" + std::string(250, 'b') + "/" + std::string(250, 'c')));
}

TEST_F(RelativeFiles, ANameFromTheRootOnAndADatabaseInMemoryAreOpenedAsUsual) {
    const std::string file = place + "/new.db";
    EXPECT_EQ(fileLayerFor(file), nullptr);
    EXPECT_EQ(fileLayerFor(":memory:"), nullptr);
    EXPECT_EQ(fileLayerFor(""), nullptr);
    const Database made(file, MAKE, 0);
    EXPECT_EQ(sqlite3_db_filename(made.get(), "main"), file);
}

TEST_F(RelativeFiles, AFileThatIsNotThereIsNotMadeUnasked) {
    EXPECT_THROW(Database("none.db", SQLITE_OPEN_READWRITE, 0), SqliteError);
    EXPECT_NE(access("none.db", F_OK), 0);
}

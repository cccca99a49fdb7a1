// Copies of the ledger: equal ones, and ones of which no byte tells a name.
#include "commands/report_ledger_copy.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include "commands/report_secrets.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

constexpr uint64_t PLENTY = 1ULL << 30;

std::string bytesOf(const std::string &file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

// Every row of every table, of the schema too, as a text; a table of events without those below `from`.
std::string contentsOf(const std::string &file, int64_t from = 0) {
    Database database(file, SQLITE_OPEN_READONLY, 0);
    std::string text = "version " + std::to_string(database.number("PRAGMA user_version")) + "\n";
    std::vector<std::string> tables;
    Statement names(&database, "SELECT type, name, coalesce(sql, '') FROM sqlite_master ORDER BY type, name");
    while (names.step()) {
        text += names.text(0) + " " + names.text(1) + " " + names.text(2) + "\n";
        if (names.text(0) == "table") {
            tables.push_back(names.text(1));
        }
    }
    for (const std::string &table : tables) {
        const std::string where = table == "events" ? " WHERE number >= " + std::to_string(from) : "";
        sqlite3_stmt *rows = nullptr;
        const std::string sql = "SELECT * FROM " + table + where + " ORDER BY 1, 2";
        EXPECT_EQ(sqlite3_prepare_v2(database.get(), sql.c_str(), -1, &rows, nullptr), SQLITE_OK) << sql;
        while (sqlite3_step(rows) == SQLITE_ROW) {
            text += table;
            for (int i = 0; i < sqlite3_column_count(rows); ++i) {
                const auto *value = reinterpret_cast<const char *>(sqlite3_column_text(rows, i));
                text += std::string("|") + (value == nullptr ? "NULL" : value);
            }
            text += "\n";
        }
        sqlite3_finalize(rows);
    }
    return text;
}

// A volume whose map is called as the kernel calls it.
SeenVolume named(const std::string &alias, const std::string &map) {
    SeenVolume volume = degradedVolume(alias);
    volume.attributes.map = map;
    return volume;
}

class ReportLedgerCopy : public LedgerOnHost {
  protected:
    ReportLedgerCopy() {
        char name[] = "/tmp/dravik-copy-XXXXXX";
        folder = mkdtemp(name);
        copy = folder + "/copy.db";
        rewritten = folder + "/rewritten.db";
    }
    ~ReportLedgerCopy() override {
        std::filesystem::remove_all(folder);
    }
    void fill() {
        observe({named("secretbase", "dm-3"), named("hiddenmail", "dm-4")}, NOW - 20000);
        observe({named("secretbase", "dm-3")}, NOW - 10000);
        Operation done = operation("setalias", "secretbase", "sdb", "from hiddenmail to secretbase");
        done.user = "mallory";
        done.line = "dravik setalias -alias secretbase";
        const auto database = ledger();
        beginOperation(database.get(), &done);
        endOperation(database.get(), done, "boot-1", "");
        database->run("UPDATE paths SET initiator = '0x20d0000b5d6a1010', target_port = '10.1.2.3:3260'");
        database->run("INSERT INTO baseline SELECT id, '20:d0:00:0b:5d:6a:10:10', 'p', '1', 0, 'sdb', 1, "
                      "'mallory' FROM volumes");
    }
    std::string folder;
    std::string copy;
    std::string rewritten;
};

} // namespace

TEST_F(ReportLedgerCopy, TheBackupEqualsTheLedgerAndIsRootsAloneInOneFile) {
    fill();
    const mode_t mask = umask(0);
    EXPECT_EQ(backUpLedger(copy, 10), "");
    umask(mask);
    EXPECT_EQ(contentsOf(copy), contentsOf("/dumps/dravik.db"));
    struct stat is = {};
    ASSERT_EQ(stat(copy.c_str(), &is), 0);
    EXPECT_EQ(is.st_mode & 07777, 0600U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
}

TEST_F(ReportLedgerCopy, ALedgerWhileOthersWriteItIsCopiedAsItWasBefore) {
    fill();
    const std::string before = contentsOf("/dumps/dravik.db");
    const auto writer = ledger();
    Transaction transaction(writer.get());
    writer->run("DELETE FROM volumes");
    EXPECT_EQ(backUpLedger(copy, 10), "");
    EXPECT_EQ(contentsOf(copy), before);
}

TEST_F(ReportLedgerCopy, ALedgerThatIsMissingOrDamagedIsASentence) {
    EXPECT_EQ(backUpLedger(copy, 10), "there is none: dravik-monitor has not run on this host yet");
    host.dumps.write("dravik.db", std::string(8192, 'x'));
    EXPECT_EQ(backUpLedger(copy, 10), "it cannot be copied: file is not a database");
}

TEST_F(ReportLedgerCopy, ARewritingWithoutRedactionHoldsTheSameRows) {
    fill();
    ASSERT_EQ(backUpLedger(copy, 10), "");
    const LedgerRewriting done = rewriteLedger(copy, rewritten, nullptr, PLENTY, 10);
    EXPECT_EQ(done.problem, "");
    EXPECT_EQ(done.events_left_out, 0);
    EXPECT_EQ(contentsOf(rewritten), contentsOf("/dumps/dravik.db"));
}

TEST_F(ReportLedgerCopy, OfARedactedRewritingNoByteTellsAName) {
    fill();
    ASSERT_EQ(backUpLedger(copy, 10), "");
    Redactor redactor;
    {
        Database database(copy, SQLITE_OPEN_READONLY, 0);
        learnLedger(&redactor, &database);
    }
    EXPECT_EQ(rewriteLedger(copy, rewritten, &redactor, PLENTY, 10).problem, "");
    const std::string plain = bytesOf(copy);
    const std::string bytes = bytesOf(rewritten);
    for (const char *word :
         {"secretbase", "hiddenmail", "mallory", "20d0000b5d6a1010", "20:d0:00", "10.1.2.3"}) {
        EXPECT_NE(plain.find(word), std::string::npos) << word; // the words are those that are looked for
        EXPECT_EQ(bytes.find(word), std::string::npos) << word;
    }
    Database database(rewritten, SQLITE_OPEN_READONLY, 0);
    Statement rows(&database,
                   "SELECT o.volume, o.user, o.line, o.detail, v.wwid, p.initiator, p.target_port, "
                   "b.initiator, b.accepted_by, v.map FROM operations o JOIN volumes v ON v.alias = "
                   "o.volume JOIN paths p ON p.volume = v.id JOIN baseline b ON b.volume = v.id ORDER BY "
                   "b.accepted LIMIT 1");
    ASSERT_TRUE(rows.step());
    std::string row;
    for (int i = 0; i < 10; ++i) {
        row += rows.text(i) + "|";
    }
    EXPECT_EQ(row,
              "alias-1|user-1|dravik setalias -alias alias-1|from alias-2 to alias-1|wwid-1|wwpn-1|ip-1:3260|"
              "wwpn-1|user-1|dm-3|");
    EXPECT_EQ(database.number("SELECT count(*) FROM events"),
              Database(copy, SQLITE_OPEN_READONLY, 0).number("SELECT count(*) FROM events"));
}

TEST_F(ReportLedgerCopy, OfTooManyEventsTheNewestStayAndTheFileKeepsItsLimit) {
    fill();
    {
        const auto database = ledger();
        Transaction transaction(database.get());
        for (int i = 0; i < 9000; ++i) {
            database->run(
                "INSERT INTO events SELECT NULL, incident, time, boot_id, quality, kind, wwid, alias, "
                "has_path, path_name, path_address, initiator, target_port, state_from, state_to, "
                "paths_working, paths_known, cause, user, command FROM events WHERE number = 1");
        }
        transaction.commit();
    }
    ASSERT_EQ(backUpLedger(copy, 10), "");
    constexpr uint64_t LIMIT = 512 * 1024;
    ASSERT_GT(std::filesystem::file_size(copy), LIMIT * 2);
    const LedgerRewriting done = rewriteLedger(copy, rewritten, nullptr, LIMIT, 20);
    EXPECT_EQ(done.problem, "");
    EXPECT_LE(std::filesystem::file_size(rewritten), LIMIT);
    Database from(copy, SQLITE_OPEN_READONLY, 0);
    Database to(rewritten, SQLITE_OPEN_READONLY, 0);
    const int64_t left = to.number("SELECT count(*) FROM events");
    EXPECT_GT(left, 500);
    EXPECT_EQ(done.events_left_out, from.number("SELECT count(*) FROM events") - left);
    const int64_t newest = from.number("SELECT max(number) FROM events");
    EXPECT_EQ(contentsOf(rewritten), contentsOf(copy, newest - left + 1));
}

TEST_F(ReportLedgerCopy, WhatDoesNotFitEvenWithoutEventsOrCannotBeWrittenIsASentence) {
    fill();
    ASSERT_EQ(backUpLedger(copy, 10), "");
    EXPECT_EQ(rewriteLedger(copy, rewritten, nullptr, 100, 10).problem,
              "it is too large even without its events");
    EXPECT_EQ(rewriteLedger(copy, folder + "/no/x.db", nullptr, PLENTY, 10).problem,
              "its copy cannot be written: No such file or directory");
    EXPECT_EQ(rewriteLedger(folder + "/none.db", rewritten, nullptr, PLENTY, 10).problem,
              "its copy cannot be written: unable to open database file");
}

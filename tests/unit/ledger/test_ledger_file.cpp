// Opening the ledger's file, and each way in which it cannot be used.
#include "ledger/ledger_file.h"

#include <cerrno>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

class LedgerFile : public testing::Test {
  protected:
    static void make() {
        ASSERT_EQ(openLedger(LedgerUse::OBSERVE).status, LedgerStatus::OPEN);
    }
    // What opening it for this use is refused with.
    static std::string refusal(LedgerUse use, LedgerStatus status) {
        const LedgerOpening opening = openLedger(use);
        EXPECT_EQ(opening.status, status);
        EXPECT_EQ(opening.database, nullptr);
        return opening.problem;
    }
    // 0 where there is no such file.
    unsigned int mode(const std::string &name) const {
        struct stat attributes = {};
        return stat(dumps.path(name).c_str(), &attributes) == 0 ? attributes.st_mode & ALLPERMS : 0;
    }
    DumpsFolder dumps;
};

} // namespace

TEST_F(LedgerFile, TheMonitorMakesItWithModeSixHundredAndAWriteAheadLog) {
    const LedgerOpening opening = openLedger(LedgerUse::OBSERVE);
    ASSERT_EQ(opening.status, LedgerStatus::OPEN);
    EXPECT_EQ(opening.problem, "");
    EXPECT_EQ(mode("dravik.db"), 0600U);
    EXPECT_EQ(mode("dravik.db-wal"), 0600U);
    EXPECT_EQ(mode("dravik.db-shm"), 0600U);
    Statement journal(opening.database.get(), "PRAGMA journal_mode");
    ASSERT_TRUE(journal.step());
    EXPECT_EQ(journal.text(0), "wal");
    EXPECT_EQ(versionOf(opening.database.get()), ledgerVersion());
    EXPECT_EQ(dumps.commandLogLines(), Lines());
}

TEST_F(LedgerFile, OthersDoNotMakeIt) {
    for (const LedgerUse use : {LedgerUse::READ, LedgerUse::OPERATE}) {
        EXPECT_EQ(refusal(use, LedgerStatus::MISSING),
                  "there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet");
    }
    EXPECT_EQ(dumps.names(), Lines());
}

TEST_F(LedgerFile, AReaderReadsAndAnOperatorWrites) {
    make();
    const LedgerOpening reading = openLedger(LedgerUse::READ);
    ASSERT_EQ(reading.status, LedgerStatus::OPEN);
    EXPECT_THROW(reading.database->run("DELETE FROM events"), SqliteError);
    const LedgerOpening operating = openLedger(LedgerUse::OPERATE);
    ASSERT_EQ(operating.status, LedgerStatus::OPEN);
    operating.database->run("DELETE FROM events");
}

TEST_F(LedgerFile, ManyReadItWhileOneWrites) {
    make();
    const LedgerOpening writing = openLedger(LedgerUse::OBSERVE);
    const Transaction transaction(writing.database.get());
    writing.database->run("INSERT INTO observation_count VALUES ('good', 1)");
    for (int reader = 0; reader < 20; ++reader) {
        const LedgerOpening reading = openLedger(LedgerUse::READ);
        ASSERT_EQ(reading.status, LedgerStatus::OPEN);
        EXPECT_EQ(reading.database->number("SELECT count(*) FROM observation_count"), 0);
    }
}

TEST_F(LedgerFile, AnEmptyFileIsOneWhoseMonitorHasNotRun) {
    dumps.write("dravik.db", "");
    EXPECT_EQ(refusal(LedgerUse::READ, LedgerStatus::MISSING),
              "/dumps/dravik.db is empty: dravik-monitor has not run yet");
    make();
    EXPECT_EQ(openLedger(LedgerUse::READ).status, LedgerStatus::OPEN);
}

TEST_F(LedgerFile, ANewerProgramsIsLeftAlone) {
    make();
    openLedger(LedgerUse::OPERATE).database->run("PRAGMA user_version = 99");
    const std::string problem =
        "/dumps/dravik.db has been written by a newer dravik (its version 99, this one knows " +
        std::to_string(ledgerVersion()) + "): use that one";
    for (const LedgerUse use : {LedgerUse::OBSERVE, LedgerUse::READ, LedgerUse::OPERATE}) {
        EXPECT_EQ(refusal(use, LedgerStatus::NEWER), problem);
    }
}

TEST_F(LedgerFile, WhatIsNoDatabaseIsPutAsideByTheMonitorWithOneLineAndANewOneIsBegun) {
    const std::string rubbish(5000, 'x');
    dumps.write("dravik.db", rubbish);
    dumps.write("dravik.db-wal", "w");
    EXPECT_EQ(refusal(LedgerUse::READ, LedgerStatus::FAILED),
              "/dumps/dravik.db cannot be used: file is not a database");
    EXPECT_EQ(dumps.read("dravik.db"), rubbish);
    make();
    std::string aside;
    for (const std::string &name : dumps.names()) {
        if (name.rfind("dravik.db.damaged-", 0) == 0 &&
            name.size() == sizeof("dravik.db.damaged-20261121T031241Z") - 1) {
            aside = name;
        }
    }
    EXPECT_EQ(dumps.read(aside), rubbish);
    EXPECT_EQ(
        dumps.commandLogMessages(),
        Lines{"ERROR Ledger /dumps/dravik.db is damaged (file is not a database): put aside as /dumps/" +
              aside + "."});
    EXPECT_EQ(mode("dravik.db"), 0600U);
    dumps.forgetLogs();
    make();
    EXPECT_EQ(dumps.commandLogLines(), Lines());
}

TEST_F(LedgerFile, ADamagedOneThatCannotBePutAsideIsSaid) {
    dumps.write("dravik.db", "x");
    dumps.refuseChanges(EROFS);
    putLedgerAside("file is not a database");
    dumps.refuseChanges(0);
    EXPECT_TRUE(dumps.has("dravik.db"));
    // The log could not be written either; what counts is that nothing was moved.
    EXPECT_EQ(dumps.names(), Lines{"dravik.db"});
}

TEST_F(LedgerFile, WhereItCannotBeMadeTheReasonIsSaid) {
    dumps.refuseChanges(ENOSPC);
    EXPECT_EQ(refusal(LedgerUse::OBSERVE, LedgerStatus::FAILED),
              "/dumps/dravik.db cannot be opened: No space left on device");
    dumps.refuseChanges(0);
    dumps.makePlainFile();
    EXPECT_EQ(refusal(LedgerUse::OBSERVE, LedgerStatus::FAILED),
              "/dumps/dravik.db cannot be opened: Not a directory");
}

TEST_F(LedgerFile, AMissingFolderIsMade) {
    dumps.makeMissing();
    make();
    EXPECT_EQ(mode("dravik.db"), 0600U);
}

TEST_F(LedgerFile, OneThatMayNotBeReadIsRootsAlone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root's own files can be made another's";
    }
    make();
    ASSERT_EQ(chown(dumps.path("dravik.db").c_str(), 12345, 12345), 0);
    EXPECT_EQ(refusal(LedgerUse::READ, LedgerStatus::NOT_PERMITTED),
              "/dumps/dravik.db is root's alone: run it as root");
}

TEST_F(LedgerFile, ItIsTheSameFileUntilItIsRemovedOrAnotherTakesItsName) {
    const LedgerOpening opening = openLedger(LedgerUse::OBSERVE);
    EXPECT_TRUE(isLedgerFile(opening.file));
    ASSERT_EQ(rename(dumps.path("dravik.db").c_str(), dumps.path("kept").c_str()), 0);
    EXPECT_FALSE(isLedgerFile(opening.file));
    dumps.write("dravik.db", "");
    EXPECT_FALSE(isLedgerFile(opening.file));
}

// The backup of the configuration file, its roll-back, and the change between them.
#include "commands/conf_backup.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

s_ecItems *change_answers = nullptr;
int changes = 0;

s_ecItems *change() {
    ++changes;
    return change_answers;
}

// What `changeConfFile` answers to a change that answers `record`.
s_ecItems *changed(s_ecItems *record) {
    change_answers = record;
    changes = 0;
    return dravik::changeConfFile(change);
}

} // namespace

TEST(ConfBackup, BackupAndRollBackAreOneCommandEach) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, backupConfFile());
    rollBackConfFile();
    EXPECT_EQ((Calls{BACK_UP, ROLL_BACK}), host.calls);
}

TEST(ConfBackup, ABackupFailsOnlyWhenItCannotBeRun) {
    FakeHost host;
    host.answer(BACK_UP, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, backupConfFile());
}

TEST(ConfBackup, ABackupThatCannotBeRunIsAFailedCommandAndARollBackSilent) {
    FakeHost host;
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, backupConfFile());
    host.dumps.forgetLogs();
    testing::internal::CaptureStdout();
    rollBackConfFile();
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ((Calls{BACK_UP, ROLL_BACK}), host.calls);
}

// ---- a change under the backup's protection

TEST(ConfBackup, AChangeIsMadeBehindTheBackupAndItsRecordIsTheAnswer) {
    for (s_ecItems *success : {&EC_ok, &EC_info_ok}) {
        FakeHost host;
        int changes_at_backup = 7;
        host.answer(BACK_UP, "", 0, [&] { changes_at_backup = changes; });
        EXPECT_EQ(success, changed(success));
        EXPECT_EQ(0, changes_at_backup);
        EXPECT_EQ(1, changes);
        EXPECT_EQ(Calls{BACK_UP}, host.calls);
    }
}

TEST(ConfBackup, AChangeThatFailsIsRolledBackAndItsRecordIsTheAnswer) {
    for (s_ecItems *failure : {&EC_exe_cmd_failed, &EC_no_config_info}) {
        FakeHost host;
        EXPECT_EQ(failure, changed(failure));
        EXPECT_EQ((Calls{BACK_UP, ROLL_BACK}), host.calls);
    }
}

TEST(ConfBackup, WithoutABackupNothingIsChanged) {
    FakeHost host;
    host.answer(BACK_UP, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, changed(&EC_ok));
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
    EXPECT_EQ(0, changes);
}

TEST(ConfBackup, ABackupWhoseCopyFailedDoesNotHinderTheChange) {
    FakeHost host;
    host.answer(BACK_UP, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, changed(&EC_ok));
    EXPECT_EQ(1, changes);
}

TEST(ConfBackup, ARollBackThatFailsLeavesTheAnswerOfTheChange) {
    FakeHost host;
    host.answer(ROLL_BACK, "", NOT_STARTED);
    EXPECT_EQ(&EC_os_not_support, changed(&EC_os_not_support));
}

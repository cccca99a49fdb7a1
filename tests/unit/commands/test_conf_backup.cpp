// The backup of the configuration file, its roll-back, and the change between them.
#include "commands/conf_backup.h"

#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char CONF[] = "/etc/velomux.conf";
constexpr char BACKUP[] = "/etc/velomux.conf.bk";

const std::string ROLLED_BACK =
    "INFO  rollBackConfFile # Rolled back: /etc/velomux.conf is as it was before this command.";
const std::string NOT_ROLLED_BACK =
    "ERROR rollBackConfFile # Not rolled back: this command has made no backup of "
    "/etc/velomux.conf, which stays as it is.";
const std::string NO_BACKUP = "ERROR backupConfFile # No whole backup of /etc/velomux.conf could be made in "
                              "/etc/velomux.conf.bk: nothing is changed.";

using Etc = std::map<std::string, std::string>;

// What the files below /etc hold.
Etc textsOf(const FakeHost &host) {
    Etc texts;
    for (const auto &[name, file] : host.etc) {
        texts[name] = file.text;
    }
    return texts;
}

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
    EXPECT_EQ(Calls{ROLLED_BACK}, host.dumps.commandLogLines());
}

// ---- the backup

TEST(ConfBackup, TheBackupHoldsTheFileAndIsRootsAlone) {
    FakeHost host;
    host.etc[CONF] = {true, CONF_TEXT, 0644, 12, 34};
    host.etc[BACKUP] = {true, "an older one", 0777, 12, 34};
    EXPECT_EQ(&EC_ok, backupConfFile());
    EXPECT_EQ((Etc{{CONF, CONF_TEXT}, {BACKUP, CONF_TEXT}}), textsOf(host));
    EXPECT_EQ(0600U, host.etc[BACKUP].mode);
    EXPECT_EQ(geteuid(), host.etc[BACKUP].owner);
    EXPECT_EQ(getegid(), host.etc[BACKUP].group);
}

TEST(ConfBackup, WithoutAFileTheBackupOfBeforeStaysAndCountsForNothing) {
    FakeHost host;
    host.etc.clear();
    host.etc[BACKUP] = {true, "an older one", 0600, 0, 0};
    host.answer(BACK_UP, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, backupConfFile());
    rollBackConfFile();
    EXPECT_EQ((Etc{{BACKUP, "an older one"}}), textsOf(host));
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
    EXPECT_EQ(NOT_ROLLED_BACK, host.dumps.commandLogLines().back());
}

TEST(ConfBackup, ACopyThatIsNotWholeIsAFailedCommandAndTheBackupOfBeforeReturns) {
    for (const std::string &cut :
         {std::string(), std::string(CONF_TEXT).substr(0, 5), std::string(CONF_TEXT) + "x"}) {
        FakeHost host;
        host.etc[BACKUP] = {true, "an older one", 0600, 0, 0};
        host.answer(BACK_UP, "", 0, [&] { host.etc[BACKUP] = {true, cut, 0644, 0, 0}; });
        EXPECT_EQ(&EC_exe_cmd_failed, backupConfFile());
        EXPECT_EQ((Etc{{CONF, CONF_TEXT}, {BACKUP, "an older one"}}), textsOf(host));
        EXPECT_EQ(NO_BACKUP, host.dumps.commandLogLines().back());
    }
}

TEST(ConfBackup, ACutCopyWithoutABackupOfBeforeIsRemoved) {
    FakeHost host;
    host.answer(BACK_UP, "", 0, [&] { host.etc[BACKUP] = {true, "", 0644, 0, 0}; });
    EXPECT_EQ(&EC_exe_cmd_failed, backupConfFile());
    EXPECT_EQ((Etc{{CONF, CONF_TEXT}}), textsOf(host));
}

TEST(ConfBackup, ABackupThatCannotBeReadOrProtectedOrSyncedIsNone) {
    for (const char *step : {"read /etc/velomux.conf", "read /etc/velomux.conf.bk",
                             "set /etc/velomux.conf.bk", "sync /etc/velomux.conf.bk"}) {
        FakeHost host;
        host.etc_failures = {step};
        EXPECT_EQ(&EC_exe_cmd_failed, backupConfFile()) << step;
        EXPECT_EQ(Calls{BACK_UP}, host.calls) << step;
        EXPECT_EQ((Etc{{CONF, CONF_TEXT}}), textsOf(host)) << step;
        EXPECT_EQ(NO_BACKUP, host.dumps.commandLogLines().back()) << step;
    }
}

TEST(ConfBackup, ABackupThatCannotBeRunIsAFailedCommandAndItsRollBackRunsNothing) {
    FakeHost host;
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, backupConfFile());
    host.dumps.forgetLogs();
    testing::internal::CaptureStdout();
    rollBackConfFile();
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
    EXPECT_EQ(Calls{NOT_ROLLED_BACK}, host.dumps.commandLogLines());
}

// ---- the roll-back

TEST(ConfBackup, ARollBackBringsTextModeAndOwnerBack) {
    FakeHost host;
    host.etc[CONF] = {true, CONF_TEXT, 0640, 12, 34};
    ASSERT_EQ(&EC_ok, backupConfFile());
    host.etc[CONF] = {true, "half", 0777, 0, 0};
    rollBackConfFile();
    EXPECT_EQ((Etc{{CONF, CONF_TEXT}, {BACKUP, CONF_TEXT}}), textsOf(host));
    EXPECT_EQ(0640U, host.etc[CONF].mode);
    EXPECT_EQ(12U, host.etc[CONF].owner);
    EXPECT_EQ(34U, host.etc[CONF].group);
}

TEST(ConfBackup, WhereTheCopyComesUpShortTheBackupTakesTheFilesPlace) {
    FakeHost host;
    host.etc[CONF] = {true, CONF_TEXT, 0640, 12, 34};
    ASSERT_EQ(&EC_ok, backupConfFile());
    host.answer(ROLL_BACK, "", 1, [&] { host.etc[CONF].text = ""; });
    host.dumps.forgetLogs();
    rollBackConfFile();
    EXPECT_EQ((Etc{{CONF, CONF_TEXT}}), textsOf(host));
    EXPECT_EQ(0640U, host.etc[CONF].mode);
    EXPECT_EQ("ERROR rollBackConfFile # Rolled back: /etc/velomux.conf is as it was before this command, and "
              "it is the "
              "backup itself, which a copy had no space for.",
              host.dumps.commandLogLines().back());
}

TEST(ConfBackup, ARollBackThatCannotBeDoneSaysWhereTheOldTextIs) {
    FakeHost host;
    ASSERT_EQ(&EC_ok, backupConfFile());
    host.answer(ROLL_BACK, "", 1, [&] { host.etc[CONF].text = ""; });
    host.etc_failures = {"move /etc/velomux.conf.bk"};
    host.dumps.forgetLogs();
    rollBackConfFile();
    EXPECT_EQ((Etc{{CONF, ""}, {BACKUP, CONF_TEXT}}), textsOf(host));
    EXPECT_EQ("ERROR rollBackConfFile # Not rolled back: /etc/velomux.conf could not be restored "
              "(Input/output error), "
              "what it held is in /etc/velomux.conf.bk.",
              host.dumps.commandLogLines().back());
}

TEST(ConfBackup, OnlyABackupOfThisProcessIsRolledBackTo) {
    FakeHost host;
    ASSERT_EQ(&EC_ok, backupConfFile());
    host.answer(BACK_UP, "", 0, [&] { host.etc[BACKUP].text = "cut"; });
    ASSERT_EQ(&EC_exe_cmd_failed, backupConfFile()); // the next one has none
    host.calls.clear();
    rollBackConfFile();
    EXPECT_EQ(Calls(), host.calls);
    EXPECT_EQ(NOT_ROLLED_BACK, host.dumps.commandLogLines().back());
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

TEST(ConfBackup, WithoutAFileTheChangeIsMadeAndItsFailureRollsNothingBack) {
    FakeHost host;
    host.etc.clear();
    host.answer(BACK_UP, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, changed(&EC_ok));
    EXPECT_EQ(1, changes);
    EXPECT_EQ(&EC_exe_cmd_failed, changed(&EC_exe_cmd_failed));
    EXPECT_EQ((Calls{BACK_UP, BACK_UP}), host.calls);
}

TEST(ConfBackup, ARollBackThatFailsLeavesTheAnswerOfTheChange) {
    FakeHost host;
    host.answer(ROLL_BACK, "", NOT_STARTED);
    EXPECT_EQ(&EC_os_not_support, changed(&EC_os_not_support));
}

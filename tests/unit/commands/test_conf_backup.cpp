// The backup of the configuration file, its roll-back, and the change between them.
#include "commands/conf_backup.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

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

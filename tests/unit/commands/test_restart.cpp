// A reload of the running daemon, a start of the stopped one.
#include "commands/restart.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/conf_backup.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Restart, WithTheDaemonRunningItSendsReload) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, SYSTEMD_RUNNING);
    EXPECT_EQ(&EC_ok, restart());
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS, SOFTLINK, "systemctl reload dravikd.service"}), host.calls);
}

TEST(Restart, WithTheDaemonStoppedItSendsStart) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, SYSTEMD_STOPPED, 3);
    EXPECT_EQ(&EC_ok, restart());
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS, SOFTLINK, "systemctl start dravikd.service"}), host.calls);
}

TEST(Restart, ASysVHostHasItsOwnTool) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(SYSV_STATUS, SYSV_RUNNING);
    EXPECT_EQ(&EC_ok, restart());
    EXPECT_EQ((Calls{SYSV_STATUS, "service dravikd reload"}), host.calls);
}

TEST(Restart, AFailedRestartLeavesTheConfigurationAsItIsBecauseItHasMadeNoBackupOfIt) {
    FakeHost host;
    host.etc.clear();
    backupConfFile(); // without a file there is no backup, as at the start of a process
    host.calls.clear();
    host.etc["/etc/velomux.conf.bk"] = {true, "an older one", 0600, 0, 0};
    host.becomeRhel6();
    host.answer("service dravikd start", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, restart());
    EXPECT_EQ((Calls{SYSV_STATUS, "service dravikd start"}), host.calls);
    EXPECT_EQ(
        host.dumps.commandLogLines().back(),
        "ERROR rollBackConfFile # Not rolled back: this command has made no backup of /etc/velomux.conf, "
        "which stays as it is.");
}

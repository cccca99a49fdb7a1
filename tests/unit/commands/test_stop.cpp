// Stopping the daemon, on either generation of hosts.
#include "commands/stop.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Stop, TheServiceToolIsAskedForIt) {
    FakeHost host;
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(dravik::stopDaemon, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, "systemctl stop dravikd.service"}), host.calls);
}

TEST(Stop, ASysVHostHasItsOwnTool) {
    FakeHost host;
    host.becomeRhel6();
    EXPECT_EQ(&EC_ok, dravik::stopDaemon());
    EXPECT_EQ(Calls{"service dravikd stop"}, host.calls);
}

TEST(Stop, OnlyAToolThatCannotBeRunIsAFailure) {
    FakeHost host;
    host.answer("systemctl stop dravikd.service", "no such service\n", 1);
    EXPECT_EQ(&EC_ok, dravik::stopDaemon());
    host.answer("systemctl stop dravikd.service", "", NO_MEMORY);
    EXPECT_EQ(&EC_exe_cmd_failed, dravik::stopDaemon());
    EXPECT_EQ("ERROR Execute command [systemctl stop dravikd.service] failed\n",
              host.dumps.commandLogMessages().back());
}

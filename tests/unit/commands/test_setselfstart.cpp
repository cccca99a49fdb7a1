// Making the daemon start with the host, on either generation of hosts.
#include "commands/setselfstart.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Setselfstart, TheServiceToolIsAskedForIt) {
    FakeHost host;
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(dravik::enableSelfStart, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, "systemctl enable dravikd.service"}), host.calls);
}

TEST(Setselfstart, ASysVHostHasItsOwnTool) {
    FakeHost host;
    host.becomeRhel6();
    EXPECT_EQ(&EC_ok, dravik::enableSelfStart());
    EXPECT_EQ(Calls{"service dravikd enable"}, host.calls);
}

TEST(Setselfstart, OnlyAToolThatCannotBeRunIsAFailure) {
    FakeHost host;
    host.answer("systemctl enable dravikd.service", "no such service\n", 1);
    EXPECT_EQ(&EC_ok, dravik::enableSelfStart());
    host.answer("systemctl enable dravikd.service", "", NO_MEMORY);
    EXPECT_EQ(&EC_exe_cmd_failed, dravik::enableSelfStart());
    EXPECT_EQ("ERROR Execute command [systemctl enable dravikd.service] failed\n",
              host.dumps.commandLogMessages().back());
}

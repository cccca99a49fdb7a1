// Whether the daemon starts with the host, asked from either generation's tool.
#include "commands/lsselfstart.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char IS_ENABLED[] = "systemctl is-enabled dravikd.service";
constexpr char CHKCONFIG[] = "chkconfig dravikd --list";

std::string selfStartOnSysV(const std::string &output) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(CHKCONFIG, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsselfstart, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{CHKCONFIG}, host.calls);
    return text;
}

std::string selfStartOnSystemd(const std::string &output) {
    FakeHost host;
    host.answer(IS_ENABLED, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsselfstart, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, IS_ENABLED}), host.calls);
    return text;
}

} // namespace

TEST(Lsselfstart, ASysVHostWhoseRunlevels3And5AreBothOffIsOff) {
    EXPECT_EQ(boxed("Self-starting status: off\n"),
              selfStartOnSysV("dravikd  0:off 1:off 2:on 3:off 4:on 5:off 6:off\n"));
    EXPECT_EQ(boxed("Self-starting status: off\n"), selfStartOnSysV(""));
}

TEST(Lsselfstart, ASysVHostWithRunlevel3Or5OnIsOn) {
    EXPECT_EQ(boxed("Self-starting status: on\n"), selfStartOnSysV("dravikd  3:off 4:off 5:on\n"));
    EXPECT_EQ(boxed("Self-starting status: on\n"), selfStartOnSysV("dravikd  3:on 4:off 5:off\n"));
}

TEST(Lsselfstart, ASystemdHostIsOnWhenItsToolSaysEnabled) {
    EXPECT_EQ(boxed("Self-starting status: on\n"), selfStartOnSystemd("enabled\n"));
    EXPECT_EQ(boxed("Self-starting status: off\n"), selfStartOnSystemd("static\n"));
    EXPECT_EQ(boxed("Self-starting status: off\n"), selfStartOnSystemd(""));
}

TEST(Lsselfstart, AFailedSelfStartQueryPrintsNothing) {
    FakeHost host;
    host.answer(IS_ENABLED, "disabled\n", 1);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(lsselfstart, &result));
    EXPECT_EQ(&EC_exe_cmd_failed, result);
    EXPECT_EQ(Calls{"ERROR Command [systemctl is-enabled dravikd.service] failed, exitcode:[1]\n"},
              host.dumps.commandLogMessages());
}

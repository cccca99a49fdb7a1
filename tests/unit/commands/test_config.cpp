// The configuration script and what its answers mean.
#include "commands/config.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char CONFIGURE[] = "bash /usr/bin/dravik-script/g2mpiocfg.sh";

} // namespace

TEST(Config, ItRunsTheScriptAndSucceeds) {
    FakeHost host;
    host.answer(CONFIGURE, "distribute type is not supported\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(config, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ(Calls{CONFIGURE}, host.calls);
}

TEST(Config, ItTellsAnUnsupportedDistribution) {
    FakeHost host;
    host.answer(CONFIGURE, "Error: distribute type is not supported.\n", 1);
    EXPECT_EQ(&EC_os_not_support, config());
}

TEST(Config, AScriptThatFailsWithAnyOtherMessageIsAFailedCommand) {
    FakeHost host;
    host.answer(CONFIGURE, "Distribute type is not supported\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, config());
    EXPECT_EQ(Calls{"ERROR Command [bash /usr/bin/dravik-script/g2mpiocfg.sh] failed, exitcode:[1]\n"},
              host.dumps.commandLogMessages());
}

TEST(Config, AScriptThatCannotBeRunIsAFailedCommand) {
    FakeHost host;
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, config());
}

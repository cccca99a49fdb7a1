// Taking an alias away: what the script is asked, and what its answers mean.
#include "commands/delalias.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

const std::string WWID = "360000000000000000000000000000001";
const std::string DEL = "bash /usr/bin/dravik-script/alias.sh del " + WWID;

// The alias of the WWID is to go.
class Delalias : public testing::Test {
  protected:
    Delalias() {
        give(gParamWwidVal, WWID);
    }
    FakeHost host;
};

} // namespace

TEST_F(Delalias, AnAliasIsDeletedByItsWwid) {
    EXPECT_EQ(&EC_ok, delalias());
    EXPECT_EQ(Calls{DEL}, host.calls);
}

TEST_F(Delalias, SevenFromTheScriptMeansThatTheWwidHasNoAlias) {
    host.answer(DEL, "7\n", 1);
    EXPECT_EQ(&EC_no_wwid, delalias());
    EXPECT_EQ("Error(0122): The specified wwid[" + WWID + "] does not be configed alias.",
              shown(&EC_no_wwid));
}

TEST_F(Delalias, AnyOtherFailureOfTheDeletionIsTheRunnersRecord) {
    host.answer(DEL, "5\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delalias());
    EXPECT_EQ(Calls{"ERROR Command [" + DEL + "] failed, exitcode:[1]\n"}, host.dumps.commandLogMessages());
}

TEST_F(Delalias, ADeletionThatCannotBeRunIsTheRunnersRecord) {
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, delalias());
}

TEST_F(Delalias, HostileWwidsAreRefusedBeforeAnythingIsRun) {
    for (const std::string &word : HOSTILE_WORDS) {
        give(gParamWwidVal, word);
        EXPECT_EQ(&EC_exe_cmd_failed, delalias()) << word;
    }
    EXPECT_EQ(Calls{}, host.calls);
}

TEST_F(Delalias, ARefusalIsLoggedAsACommandThatCouldNotBeRun) {
    give(gParamWwidVal, "3;x");
    EXPECT_EQ(&EC_exe_cmd_failed, delalias());
    EXPECT_EQ(
        Calls{"ERROR delalias # Execute command [bash /usr/bin/dravik-script/alias.sh del 3;x] failed\n"},
        host.dumps.commandLogLines());
}

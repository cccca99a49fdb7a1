// Giving an alias: the check against the live topology, and the script's answers.
#include "commands/setalias.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

const std::string WWID = "360000000000000000000000000000001";
const std::string CHECK = "velomux -ll backup";
const std::string SET = "bash /usr/bin/dravik-script/alias.sh set " + WWID + " backup";
// The alias "backup" is asked for the WWID.
class Setalias : public testing::Test {
  protected:
    Setalias() {
        give(gParamWwidVal, WWID);
        give(gParamAliasVal, "backup");
    }
    FakeHost host;
};

} // namespace

TEST_F(Setalias, AnAliasThatNoDeviceUsesYetIsSetByTheScript) {
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(setalias, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{CHECK, SET}), host.calls);
}

TEST_F(Setalias, ADeviceOfAnotherMakerDoesNotHinder) {
    host.answer(CHECK, "backup (3600) dm-1 HUAWEI,XSG1\n");
    EXPECT_EQ(&EC_ok, setalias());
    EXPECT_EQ((Calls{CHECK, SET}), host.calls);
}

TEST_F(Setalias, AnAliasOfAnotherDeviceOfTheMakerIsRefusedBeforeTheScript) {
    host.answer(CHECK, listing({}, "backup"));
    EXPECT_EQ(&EC_exist_alias, setalias());
    EXPECT_EQ("Error(0121): The alias[backup] has be configed for other wwid.", shown(&EC_exist_alias));
    EXPECT_EQ(Calls{CHECK}, host.calls);
}

TEST_F(Setalias, AFailingToolThatNamesTheMakerCountsLikeASucceedingOne) {
    host.answer(CHECK, listing({}, "backup"), 1);
    EXPECT_EQ(&EC_exist_alias, setalias());
}

TEST_F(Setalias, AnAliasEqualToTheWwidOnAnExistingDeviceIsLeftToTheScript) {
    give(gParamAliasVal, WWID);
    host.answer("velomux -ll " + WWID, listing({}, WWID));
    EXPECT_EQ(&EC_ok, setalias());
    EXPECT_EQ((Calls{"velomux -ll " + WWID, "bash /usr/bin/dravik-script/alias.sh set " + WWID + " " + WWID}),
              host.calls);
}

TEST_F(Setalias, ACheckThatCannotBeRunIsLoggedAndTheScriptDecides) {
    for (const int outcome : {NOT_STARTED, NO_MEMORY}) {
        host.calls.clear();
        host.dumps.forgetLogs();
        host.answer(CHECK, "", outcome);
        EXPECT_EQ(&EC_ok, setalias());
        EXPECT_EQ((Calls{CHECK, SET}), host.calls);
        EXPECT_EQ(Calls{"ERROR setalias # Execute command [velomux -ll backup] failed"},
                  host.dumps.commandLogLines());
    }
}

TEST_F(Setalias, ACheckWhoseOutputOutgrowsItsBufferIsReadToItsEnd) {
    host.answer(CHECK, std::string(3 << 20, ' ') + "KORVEL");
    EXPECT_EQ(&EC_exist_alias, setalias());
    EXPECT_EQ(Calls{CHECK}, host.calls);
}

TEST_F(Setalias, FourFromTheScriptMeansThatThePairExists) {
    host.answer(SET, "4 exists\n", 1);
    EXPECT_EQ(&EC_exist_wwid_alias, setalias());
    EXPECT_EQ("Error(0120): The pair wwid[" + WWID + "] and alias[backup] has existed.",
              shown(&EC_exist_wwid_alias));
}

TEST_F(Setalias, FiveFromTheScriptMeansThatTheAliasBelongsToAnotherWwid) {
    host.answer(SET, "5\n", 5);
    EXPECT_EQ(&EC_exist_alias, setalias());
    EXPECT_STREQ("backup", EC_exist_alias.items[0]);
}

TEST_F(Setalias, AnyOtherFailureOfTheScriptIsTheRunnersRecord) {
    for (const char *output : {"", "7\n", " 4\n", "x4\n"}) {
        host.answer(SET, output, 1);
        EXPECT_EQ(&EC_exe_cmd_failed, setalias()) << output;
    }
    host.answer(SET, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, setalias());
}

TEST_F(Setalias, ADigitOfASucceedingScriptMeansNothing) {
    host.answer(SET, "5\n");
    EXPECT_EQ(&EC_ok, setalias());
}

TEST_F(Setalias, HostileWordsAreRefusedBeforeAnythingIsRun) {
    for (const std::string &word : HOSTILE_WORDS) {
        give(gParamAliasVal, word);
        give(gParamWwidVal, WWID);
        EXPECT_EQ(&EC_exe_cmd_failed, setalias()) << word;
        give(gParamAliasVal, "backup");
        give(gParamWwidVal, word);
        EXPECT_EQ(&EC_exe_cmd_failed, setalias()) << word;
    }
    EXPECT_EQ(Calls{}, host.calls);
}

TEST_F(Setalias, ARefusalIsLoggedAsACommandThatCouldNotBeRun) {
    give(gParamWwidVal, "3;x");
    EXPECT_EQ(&EC_exe_cmd_failed, setalias());
    EXPECT_EQ(Calls{}, host.calls);
    EXPECT_EQ(Calls{"ERROR setalias # Execute command [bash /usr/bin/dravik-script/alias.sh set 3;x backup] "
                    "failed\n"},
              host.dumps.commandLogLines());
}

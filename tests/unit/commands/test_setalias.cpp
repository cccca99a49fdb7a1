// Aliases: the check against the live topology, the script's answers, and the table.
#include "cli/cli_exe.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/cli_tags.h"
#include "tests/support/fake_host.h"

namespace {

using Calls = std::vector<std::string>;

const std::string WWID = "360000000000000000000000000000001";
const std::string CHECK = "velomux -ll backup";
const std::string SET = "bash /usr/bin/dravik-script/alias.sh set " + WWID + " backup";
const std::string DEL = "bash /usr/bin/dravik-script/alias.sh del " + WWID;
constexpr char QUERY[] = "bash /usr/bin/dravik-script/alias.sh query";

const std::vector<std::string> HOSTILE = {
    "a;reboot",  "a$(reboot)", "a`reboot`",      "a|b", "a&b", "a>b", "a b",
    "a'b",       "a\"b",       "a\\b",           "-f",  "a*",  "a\n", "a\x01",
    "a\xC3\xBC", "",           "$(touch canary)"};

// The alias "backup" is asked for the WWID.
class Alias : public testing::Test {
  protected:
    Alias() {
        give(gParamWwidVal, WWID);
        give(gParamAliasVal, "backup");
    }
    FakeHost host;
};

std::string tableOf(const std::string &output) {
    FakeHost host;
    host.answer(QUERY, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsalias, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{QUERY}, host.calls);
    return text;
}

std::string box(const std::string &lines) {
    return separator() + lines + separator();
}

} // namespace

// ---- setalias

TEST_F(Alias, AnAliasThatNoDeviceUsesYetIsSetByTheScript) {
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(setalias, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{CHECK, SET}), host.calls);
}

TEST_F(Alias, ADeviceOfAnotherMakerDoesNotHinder) {
    host.answer(CHECK, "backup (3600) dm-1 HUAWEI,XSG1\n");
    EXPECT_EQ(&EC_ok, setalias());
    EXPECT_EQ((Calls{CHECK, SET}), host.calls);
}

TEST_F(Alias, AnAliasOfAnotherDeviceOfTheMakerIsRefusedBeforeTheScript) {
    host.answer(CHECK, listing({}, "backup"));
    EXPECT_EQ(&EC_exist_alias, setalias());
    EXPECT_EQ("Error(0121): The alias[backup] has be configed for other wwid.", shown(&EC_exist_alias));
    EXPECT_EQ(Calls{CHECK}, host.calls);
}

TEST_F(Alias, AFailingToolThatNamesTheMakerCountsLikeASucceedingOne) {
    host.answer(CHECK, listing({}, "backup"), 1);
    EXPECT_EQ(&EC_exist_alias, setalias());
}

TEST_F(Alias, AnAliasEqualToTheWwidOnAnExistingDeviceIsLeftToTheScript) {
    give(gParamAliasVal, WWID);
    host.answer("velomux -ll " + WWID, listing({}, WWID));
    EXPECT_EQ(&EC_ok, setalias());
    EXPECT_EQ((Calls{"velomux -ll " + WWID, "bash /usr/bin/dravik-script/alias.sh set " + WWID + " " + WWID}),
              host.calls);
}

TEST_F(Alias, ACheckThatCannotBeRunIsLoggedAndTheScriptDecides) {
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

TEST_F(Alias, ACheckWhoseOutputOutgrowsItsBufferIsReadToItsEnd) {
    host.answer(CHECK, std::string(3 << 20, ' ') + "KORVEL");
    EXPECT_EQ(&EC_exist_alias, setalias());
    EXPECT_EQ(Calls{CHECK}, host.calls);
}

TEST_F(Alias, FourFromTheScriptMeansThatThePairExists) {
    host.answer(SET, "4 exists\n", 1);
    EXPECT_EQ(&EC_exist_wwid_alias, setalias());
    EXPECT_EQ("Error(0120): The pair wwid[" + WWID + "] and alias[backup] has existed.",
              shown(&EC_exist_wwid_alias));
}

TEST_F(Alias, FiveFromTheScriptMeansThatTheAliasBelongsToAnotherWwid) {
    host.answer(SET, "5\n", 5);
    EXPECT_EQ(&EC_exist_alias, setalias());
    EXPECT_STREQ("backup", EC_exist_alias.items[0]);
}

TEST_F(Alias, AnyOtherFailureOfTheScriptIsTheRunnersRecord) {
    for (const char *output : {"", "7\n", " 4\n", "x4\n"}) {
        host.answer(SET, output, 1);
        EXPECT_EQ(&EC_exe_cmd_failed, setalias()) << output;
    }
    host.answer(SET, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, setalias());
}

TEST_F(Alias, ADigitOfASucceedingScriptMeansNothing) {
    host.answer(SET, "5\n");
    EXPECT_EQ(&EC_ok, setalias());
}

TEST_F(Alias, HostileWordsAreRefusedBeforeAnythingIsRun) {
    for (const std::string &word : HOSTILE) {
        give(gParamAliasVal, word);
        give(gParamWwidVal, WWID);
        EXPECT_EQ(&EC_exe_cmd_failed, setalias()) << word;
        give(gParamAliasVal, "backup");
        give(gParamWwidVal, word);
        EXPECT_EQ(&EC_exe_cmd_failed, setalias()) << word;
        EXPECT_EQ(&EC_exe_cmd_failed, delalias()) << word;
    }
    EXPECT_EQ(Calls{}, host.calls);
}

TEST_F(Alias, ARefusalIsLoggedAsACommandThatCouldNotBeRun) {
    give(gParamWwidVal, "3;x");
    EXPECT_EQ(&EC_exe_cmd_failed, delalias());
    EXPECT_EQ(
        Calls{"ERROR delalias # Execute command [bash /usr/bin/dravik-script/alias.sh del 3;x] failed\n"},
        host.dumps.commandLogLines());
}

// ---- delalias

TEST_F(Alias, AnAliasIsDeletedByItsWwid) {
    EXPECT_EQ(&EC_ok, delalias());
    EXPECT_EQ(Calls{DEL}, host.calls);
}

TEST_F(Alias, SevenFromTheScriptMeansThatTheWwidHasNoAlias) {
    host.answer(DEL, "7\n", 1);
    EXPECT_EQ(&EC_no_wwid, delalias());
    EXPECT_EQ("Error(0122): The specified wwid[" + WWID + "] does not be configed alias.",
              shown(&EC_no_wwid));
}

TEST_F(Alias, AnyOtherFailureOfTheDeletionIsTheRunnersRecord) {
    host.answer(DEL, "5\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delalias());
    EXPECT_EQ(Calls{"ERROR Command [" + DEL + "] failed, exitcode:[1]\n"}, host.dumps.commandLogMessages());
}

TEST_F(Alias, ADeletionThatCannotBeRunIsTheRunnersRecord) {
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, delalias());
}

// ---- lsalias

TEST(AliasTable, AnEmptyTableIsABoxOfTwoSeparators) {
    EXPECT_EQ(box(""), tableOf("\n"));
    EXPECT_EQ(box(""), tableOf(""));
    EXPECT_EQ(box(""), tableOf("a "));
}

TEST(AliasTable, TheHeadersHaveTheFirstColumnsWidthAndTheRowsTheirOwn) {
    EXPECT_EQ(box("wwid     alias    \n"
                  "36000001 a    \n"
                  "3601     backu\n"),
              tableOf("36000001 a\n3601 backu\n"));
}

TEST(AliasTable, AnAliasLongerThanItsHeaderWidensOnlyTheRows) {
    EXPECT_EQ(box("wwid alias\n"
                  "3600 averylongalias\n"
                  "3601 b             \n"),
              tableOf("3600 averylongalias\n3601 b\n"));
}

TEST(AliasTable, AShortWwidCutsTheAliasHeaderToItsColumn) {
    // Five columns hold "alias" exactly.
    EXPECT_EQ(box("wwid alias\n3    b    \n"), tableOf("3 b\n"));
}

TEST(AliasTable, ALineWithoutAFinalLineFeedIsARow) {
    EXPECT_EQ(box("wwid alias\n3600 b    \n"), tableOf("3600 b"));
    EXPECT_EQ(box("wwid alias\n3    b    \n"), tableOf("3 b")); // the shortest table
}

TEST(AliasTable, TheTableStopsAtAnEmptyLineAndAtALineWithoutABlank) {
    EXPECT_EQ(box("wwid alias\n3600 b    \n"), tableOf("3600 b\n\n3600000000000000 longalias\n"));
    EXPECT_EQ(box("wwid alias\n3600 b    \n"), tableOf("3600 b\nnoblankinthisline\n3601 c\n"));
    EXPECT_EQ(box("wwid alias\n"), tableOf("\n3600 b\n"));
    EXPECT_EQ(box("wwid alias\n"), tableOf("noblank\n"));
}

TEST(AliasTable, TheAliasIsAllThatFollowsTheFirstBlank) {
    EXPECT_EQ(box("wwid alias\n3600  b c \n     alone\n"), tableOf("3600  b c\n alone\n"));
}

TEST(AliasTable, PercentSignsAreText) {
    EXPECT_EQ(box("wwid alias\n%s%n %d%n \n"), tableOf("%s%n %d%n\n"));
}

TEST(AliasTable, AThousandAliasesAreAThousandRows) {
    std::string output;
    std::string rows;
    for (int i = 1000; i < 2000; ++i) {
        output += "3600" + std::to_string(i) + " a" + std::to_string(i) + "\n";
        rows += "3600" + std::to_string(i) + " a" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(box("wwid     alias    \n" + rows), tableOf(output));
}

TEST(AliasTable, AFailedQueryPrintsNothing) {
    for (const int outcome : {1, 127, NOT_STARTED, NO_MEMORY}) {
        FakeHost host;
        host.answer(QUERY, "3600 b\n", outcome);
        s_ecItems *result = nullptr;
        EXPECT_EQ("", printed(lsalias, &result));
        EXPECT_EQ(&EC_exe_cmd_failed, result);
    }
}

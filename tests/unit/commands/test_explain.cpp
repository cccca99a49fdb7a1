// explain: whole outputs and exit statuses. (Standard input: tests/host/explain.bats.)
#include "commands/explain.h"

#include <algorithm>

#include "commands/advice.h"
#include "commands/advice_catalog.h"
#include "commands/advice_guide.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

constexpr char USED[] = "Result 0123, EC_del_failed_for_using\n"
                        "    The path is being used, can not be deleted.\n"
                        "What it means\n"
                        "    Something has the device open.\n"
                        "What to look at\n"
                        "    lsof /dev/mapper/NAME\n"
                        "    mount\n"
                        "    lsblk /dev/mapper/NAME\n"
                        "What usually cures it\n"
                        "    Unmount, deactivate the volume group, stop the process, then repeat.\n";

class Explain : public LedgerOnHost {
  protected:
    std::string explain(std::vector<std::string> words, bool json_before = false) {
        words.insert(words.begin(), "explain");
        return answer(dravik::explain, words, json_before);
    }
};

} // namespace

TEST_F(Explain, ARecordIsToldWithCodeNameAndText) {
    EXPECT_EQ(explain({"123"}), std::string(USED) + "[0]\n");
    EXPECT_EQ(explain({"EC_del_failed_for_using"}), std::string(USED) + "[0]\n");
    EXPECT_EQ(
        explain({"Error(0123):", "The", "path", "is", "being", "used,", "can", "not", "be", "deleted."}),
        std::string(USED) + "[0]\n");
}

TEST_F(Explain, WhereThereIsNothingToLookAtNothingIsSaidOfIt) {
    EXPECT_EQ(explain({"0"}),
              "Result 0000, EC_ok\n"
              "    Successfully.\n"
              "What it means\n"
              "    Success: the command has done what it was asked for.\n"
              "What usually cures it\n"
              "    Nothing to do; it is shown as \"Command executed successfully.\" or not at\n"
              "    all.\n[0]\n");
}

TEST_F(Explain, AnEventAndAnAlertAreTold) {
    EXPECT_EQ(explain({"path_seen_again"}), "Event path_seen_again\n"
                                            "What it means\n"
                                            "    A path that was missing from the listing is listed again.\n"
                                            "What to look at\n"
                                            "    dravik query VOLUME\n"
                                            "What usually cures it\n"
                                            "    Nothing to do.\n[0]\n");
    EXPECT_EQ(explain({"DravikTargetPortDown"}),
              "Alert DravikTargetPortDown\n"
              "What it means\n"
              "    A port of the array is lost on several hosts: the fault is not the hosts'.\n"
              "What to look at\n"
              "    dravik list --bad\n"
              "    dravik events --since 1h\n"
              "What usually cures it\n"
              "    Look at the array first: the port and its controller, then its cable and\n"
              "    switch port, and zones that were changed.\n[0]\n");
}

TEST_F(Explain, ALineOfALogAndTheResultInItAreToldOneBehindTheOther) {
    const std::string line =
        "Line of the command log\n"
        "    user ... ran [...]: ...\n"
        "What it means\n"
        "    Who ran a command that changes something, and its result.\n"
        "What to look at\n"
        "    dravik events --since 2h --all\n"
        "What usually cures it\n"
        "    Nothing to do. \"interrupted by signal\" and \"ended by signal\" tell of a\n"
        "    Ctrl+C (2) or another signal: look at \"dravik query\" before the command is\n"
        "    repeated.\n";
    EXPECT_EQ(
        explain({"[2026-11-21 10:16:40.902] INFO  audit 71 user root ran [dravik delete mail]: Error(0123): "
                 "The path is being used, can not be deleted."}),
        line + "\n" + USED + "[0]\n");
}

TEST_F(Explain, AGuessIsCalledOne) {
    const std::string line = "[2026-11-21 10:16:40.902] ERROR read_name 157 Error before: [{";
    EXPECT_EQ(explain({line}),
              "Perhaps a line of the command log (a part of it fits)\n"
              "    Error before: [...].\n"
              "What it means\n"
              "    The file of remembered names is damaged.\n"
              "What to look at\n"
              "    ls -l /dumps/storage_config.json\n"
              "    df /dumps\n"
              "What usually cures it\n"
              "    Delete \"/dumps/storage_config.json\": \"dravik query\" asks the array again.\n[0]\n");
    EXPECT_EQ(
        explain({"--json", line}),
        document("explain",
                 R"("entries":[{"kind":"log_line","key":"Error before: [...].","code":null,"certain":false,)"
                 R"("meaning":"The file of remembered names is damaged.","look_at":)"
                 R"(["ls -l /dumps/storage_config.json","df /dumps"],"cure":)"
                 R"("Delete \"/dumps/storage_config.json\": \"dravik query\" asks the array again."}])") +
            "[0]\n");
    EXPECT_EQ(
        explain({"[2026-11-21 10:16:40.902] ERROR x 93 user friendly names are off"}),
        "! dravik explain: nothing is known of \"[2026-11-21 10:16:40.902] ERROR x 93 user friendly names "
        "are off\"; \"dravik explain --list\" shows what is known\n[1]\n");
}

TEST_F(Explain, WhatIsFoundByAPartIsCalledAGuess) {
    const std::string result = explain({"does not be configed"});
    EXPECT_EQ(result.substr(0, result.find('\n')), "Perhaps result 0122, EC_no_wwid (a part of it fits)");
    const std::string change = explain({"The lun is deleted"});
    EXPECT_EQ(change.substr(0, change.find('\n')), "Perhaps a line of the change log (a part of it fits)");
}

TEST_F(Explain, TheLinesOfEveryAnswerFit80ColumnsButForCommands) {
    for (const Explanation &entry : allAdvice()) {
        const std::string text = explain({entry.key});
        EXPECT_EQ(text.substr(text.rfind('[')), "[0]\n") << entry.key;
        for (size_t place = 0; place < text.size(); place = text.find('\n', place) + 1) {
            EXPECT_LE(text.find('\n', place) - place, 80u) << text.substr(place, 100);
        }
    }
}

TEST_F(Explain, TheAnswerAsJsonHasTheSameKnowledge) {
    const std::string members =
        R"("entries":[{"kind":"record","key":"EC_no_wwid","code":122,"certain":true,"meaning":"The volume has no alias in the )"
        R"(configuration.","look_at":["dravik lsalias"],"cure":"Copy the WWID from \"dravik lsalias\", which shows )"
        R"(those that have one."}])";
    EXPECT_EQ(explain({"122", "--json"}), document("explain", members) + "[0]\n");
    EXPECT_EQ(explain({"EC_no_wwid"}, true), document("explain", members) + "[0]\n");
    EXPECT_EQ(
        explain({"--json", "path_seen_again"}),
        document("explain",
                 R"("entries":[{"kind":"event","key":"path_seen_again","code":null,"certain":true,"meaning":)"
                 R"("A path that was missing from the listing is listed again.","look_at":)"
                 R"(["dravik query VOLUME"],"cure":"Nothing to do."}])") +
            "[0]\n");
}

TEST_F(Explain, WithoutWordsItSaysWhatIsMissing) {
    const std::string why =
        "say what is to be explained: a code, a name or a line of a log; see \\\"dravik help "
        "explain\\\"";
    const std::string shown =
        "! dravik explain: say what is to be explained: a code, a name or a line of a log; see "
        "\"dravik help explain\"\n[1]\n";
    EXPECT_EQ(explain({}), shown);
    EXPECT_EQ(explain({"", " "}), shown);
    EXPECT_EQ(explain({"--json"}), document("explain", R"("error":")" + why + "\"") + shown);
}

TEST_F(Explain, WhatIsNotKnownIsNamedWithWhatIsMostLikeIt) {
    EXPECT_EQ(explain({"path_flaping"}),
              "! dravik explain: nothing is known of \"path_flaping\"; did you mean path_flapping?\n[1]\n");
    EXPECT_EQ(explain({"wwid_"}),
              "! dravik explain: nothing is known of \"wwid_\"; did you mean EC_exist_wwid_alias, "
              "EC_wwid_length_error, EC_wwid_format_error or EC_alias_wwid_error?\n[1]\n");
    EXPECT_EQ(explain({"5"}),
              "! dravik explain: nothing is known of \"5\"; \"dravik explain --list\" shows what is "
              "known\n[1]\n");
    EXPECT_EQ(explain({"error:", "no", "such", "map"}), "! dravik explain: nothing is known of \"error: no "
                                                        "such map\"; a line of a log that has no time stamp "
                                                        "belongs to the line above it\n[1]\n");
}

TEST_F(Explain, ForeignWordsReachNoTerminalAsTheyAreAndNeverBreakJson) {
    EXPECT_EQ(explain({"a\x1b[2Jb\nc"}),
              "! dravik explain: nothing is known of \"a\\x1b[2Jb\\x0ac\"; \"dravik explain "
              "--list\" shows what is known\n[1]\n");
    const std::string answered = explain({"--json", "\xff\"\\"});
    EXPECT_EQ(answered.substr(0, answered.find('\n') + 1),
              document("explain",
                       "\"error\":\"nothing is known of \\\"\xEF\xBF\xBD\\\"\\\\\\\"; \\\"dravik explain "
                       "--list\\\" shows what is known\""));
}

TEST_F(Explain, AWordOfAMegabyteIsCut) {
    EXPECT_EQ(explain({std::string(1048576, 'x'), "y"}),
              "! dravik explain: nothing is known of \"" + std::string(197, 'x') +
                  "...\"; \"dravik explain --list\" shows what is known\n[1]\n");
}

TEST_F(Explain, TheListHasALineForEveryKey) {
    std::string list;
    for (const Explanation &entry : allAdvice()) {
        list += std::string(adviceKindWord(entry.kind)) + "\t" + entry.key + "\t" +
                withQuotes(entry.advice->meaning) + "\n";
    }
    EXPECT_EQ(explain({"--list"}), list + "[0]\n");
    EXPECT_EQ(std::count(list.begin(), list.end(), '\t'), 2 * std::count(list.begin(), list.end(), '\n'));
    const std::string json = explain({"--list", "--json"});
    EXPECT_NE(json.find(R"("entries":[{"kind":"record","key":"EC_ok","code":0,)"), std::string::npos);
    EXPECT_EQ(explain({"--list", "115"}),
              "! dravik explain: --list lists everything: leave the words out\n[1]\n");
}

TEST_F(Explain, AnOptionThatIsNoneIsRefused) {
    EXPECT_EQ(explain({"--rubbish"}),
              "! dravik explain: there is no option \"--rubbish\"; see \"dravik help explain\"\n[1]\n");
    EXPECT_EQ(explain({"--", "--rubbish"}),
              "! dravik explain: nothing is known of \"--rubbish\"; \"dravik explain "
              "--list\" shows what is known\n[1]\n");
}

TEST_F(Explain, CatalogAndTablesOfTheGuideArePrintedAsTheyAre) {
    EXPECT_EQ(explain({"--catalog"}), catalogText() + "[0]\n");
    EXPECT_EQ(explain({"--guide", "events"}), guideTable("events") + "[0]\n");
    EXPECT_EQ(explain({"--guide", "rubbish"}), "! dravik explain: the guide has no such table\n[1]\n");
}

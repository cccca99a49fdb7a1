// Looking up advice: by every kind of key, by pasted results and lines, and by what is none.
#include "commands/advice.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using namespace dravik;

namespace {

// What is found, "KIND KEY" each, parted by "; ", with "perhaps " before what is not certain.
std::string found(const std::string &asked) {
    std::string text;
    for (const Explanation &entry : findAdvice(asked)) {
        text += std::string(text.empty() ? "" : "; ") + (entry.is_certain ? "" : "perhaps ") +
                adviceKindWord(entry.kind) + " " + entry.key;
    }
    return text;
}

std::string near(const std::string &word) {
    std::string text;
    for (const std::string &name : nearestAdvice(word)) {
        text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

// The text of a log with a value in the place of each "...".
std::string filled(std::string text, const std::string &value) {
    for (size_t place = text.find("..."); place != std::string::npos;
         place = text.find("...", place + value.size())) {
        text.replace(place, 3, value);
    }
    return text;
}

} // namespace

TEST(Advice, ARecordIsFoundByItsNameAndItsCodeInEveryForm) {
    for (const char *asked : {"EC_no_path_alias", "115", "0115", "Error(0115)", "Error(0115):", " 115\n"}) {
        EXPECT_EQ(found(asked), "record EC_no_path_alias") << asked;
    }
    EXPECT_EQ(found("0"), "record EC_ok");
    EXPECT_EQ(found("0000"), "record EC_ok");
}

TEST(Advice, RecordsThatShareACodeAreAllToldUnlessTheTextTellsThemApart) {
    EXPECT_EQ(found("141"), "record EC_parameter_number_error; record EC_set_idisk_error");
    EXPECT_EQ(found("Error(0141): Please do not use an alias that starts with idisk."),
              "record EC_set_idisk_error");
    EXPECT_EQ(found("Error(0141): something else"),
              "record EC_parameter_number_error; record EC_set_idisk_error");
}

TEST(Advice, AResultIsFoundAsItIsPrintedAndByItsTextAlone) {
    EXPECT_EQ(found("Error(0115): This path_alias [mpathz] does not exist."), "record EC_no_path_alias");
    EXPECT_EQ(found("This path_alias [mpathz] does not exist."), "record EC_no_path_alias");
    EXPECT_EQ(found("Error(0134): No [scsi] device configuration information found, please execute \"dravik "
                    "config\" command to configure first."),
              "record EC_no_config_info");
    EXPECT_EQ(found("Command executed successfully."), "record EC_ok");
}

TEST(Advice, KindsOfEventsAndAlertsAreFoundByName) {
    EXPECT_EQ(found("path_flapping"), "event path_flapping");
    EXPECT_EQ(found("DravikVolumeOnLastPath"), "alert DravikVolumeOnLastPath");
}

TEST(Advice, EveryLineOfALogIsFoundByItsTextAndFilledInWithOrWithoutItsHead) {
    const std::vector<Explanation> all = allAdvice();
    size_t lines = 0;
    for (const Explanation &entry : all) {
        if (entry.kind != AdviceKind::CHANGE_LINE && entry.kind != AdviceKind::LOG_LINE) {
            continue;
        }
        ++lines;
        const std::string line = "log_line " + entry.key;
        EXPECT_EQ(found(entry.key), line);
        EXPECT_EQ(found(filled(entry.key, "a value")), line);
        EXPECT_EQ(found("[2026-11-21 03:12:41.047] " + filled(entry.key, "[7] x: y")), line);
        EXPECT_EQ(found("[2026-11-21 03:12:41.047] ERROR some_function 219 " + filled(entry.key, "v")), line);
    }
    EXPECT_GT(lines, 80u);
}

TEST(Advice, OfSeveralTextsTheOneWithTheMostCharactersOfItsOwnCounts) {
    EXPECT_EQ(found("Execute command [velomux -ll 2>&1] failed, exit code [1]"),
              "log_line Execute command [... 2>&1] failed, exit code [...]");
    EXPECT_EQ(found("Execute command [velomux -ll] failed, exit code [1]"),
              "log_line Execute command [...] failed, exit code [...]");
    EXPECT_EQ(found("Execute command [velomux -ll] failed"), "log_line Execute command [...] failed");
    EXPECT_EQ(found("Ledger: memory ran out."), "log_line Ledger: memory ran out.");
    EXPECT_EQ(found("Ledger: /dumps/dravik.db cannot be used: disk full."), "log_line Ledger: ....");
    EXPECT_EQ(found("fail path [sdb] failed"), "log_line ... path [...] failed");
}

TEST(Advice, AResultInALineFollowsTheLine) {
    EXPECT_EQ(
        found("[2026-11-21 10:16:40.902] INFO  audit 71 user root (login alice) ran [dravik delete mail]: "
              "Error(0123): The path is being used, can not be deleted."),
        "log_line user ... ran [...]: ...; record EC_del_failed_for_using");
    EXPECT_EQ(
        found("[2026-11-21 10:16:40.902] ERROR getLunPath 164 Query Dravik infomation failed. Error message: "
              "Error(0003): Execute system command failed.."),
        "log_line Query Dravik infomation failed. Error message: ....; record EC_exe_cmd_failed");
    EXPECT_EQ(
        found(
            "user root ran [dravik setalias -wwid 3 -alias idisk1]: Error(0141): Please do not use an alias "
            "that starts with idisk."),
        "log_line user ... ran [...]: ...; record EC_set_idisk_error");
    EXPECT_EQ(found("user root ran [dravik scan]: Command executed successfully."),
              "log_line user ... ran [...]: ...");
}

TEST(Advice, WhatAUserHasTypedIsNotTakenForTheResultOfHisCommand) {
    const std::string audit = "log_line user ... ran [...]: ...; record ";
    EXPECT_EQ(
        found("[2026-11-21 10:16:40.902] INFO  audit 93 user root ran [dravik setalias \"Error(0115)x\"]: "
              "Error(0103): Invalid command parameter name [Error(0115)x]."),
        audit + "EC_invalid_param_name");
    EXPECT_EQ(
        found("user root ran [dravik setalias \"]: Error(0123): The path is being used, can not be "
              "deleted.\"]: Error(0115): This path_alias [Error(0113): This Path [a] is already online.] "
              "does not exist."),
        audit + "EC_no_path_alias");
    EXPECT_EQ(found("user root ran [dravik setalias \"Error(0115)\"]: Command executed successfully."),
              "log_line user ... ran [...]: ...");
    EXPECT_EQ(
        found("user root ran [dravik scan]: interrupted by signal 2, Error(0003): Execute system command "
              "failed."),
        audit + "EC_exe_cmd_failed");
    EXPECT_EQ(
        found("Query Dravik infomation failed. Error message: Error(0115): This path_alias [Error(0103)] "
              "does not exist.."),
        "log_line Query Dravik infomation failed. Error message: ....; record EC_no_path_alias");
}

TEST(Advice, OfALineThatTheLogHasCutEachTextThatBeginsSoIsAGuess) {
    const std::string head = "[2026-11-21 10:16:40.902] ERROR exe_cmd 88 ";
    const std::string cut = head + "Execute command [" + std::string(1000, 'x');
    const std::string guesses = "perhaps log_line Execute command [...] failed, exit code [...]; "
                                "perhaps log_line Execute command [...] failed; "
                                "perhaps log_line Execute command [...] successfully.; "
                                "perhaps log_line Execute command [...] timeout";
    EXPECT_EQ(found(cut), guesses);
    EXPECT_EQ(found(cut + "[2026-11-21 10:16:40.903] ERROR exe_cmd 89 and the next line"), guesses);
    EXPECT_EQ(found(head + "user root ran [dravik setalias " + std::string(1000, 'x')),
              "perhaps log_line user ... ran [...]: ...");
    // Too little of it to tell it by.
    EXPECT_EQ(found(head + "user friendly names " + std::string(1000, 'x')), "");
    EXPECT_EQ(found(std::string(1023, 'x')), "");
}

TEST(Advice, ALineThatMerelyBeginsLikeOneIsNotKnown) {
    for (const char *message : {"user friendly names are off", "device (x) does something unknown",
                                "Execute command [x] is strange", "This device (x) is odd", "something new",
                                "Ledger: half a sen", "Failed to write file x"}) {
        EXPECT_EQ(found(std::string("[2026-11-21 10:16:40.902] ERROR x 93 ") + message), "") << message;
        EXPECT_EQ(found(std::string("[2026-11-21 10:16:40.902] ") + message), "") << message;
    }
}

TEST(Advice, TheFirstLineOfAMessageOfSeveralIsAGuess) {
    EXPECT_EQ(found("[2026-11-21 10:16:40.902] ERROR readFieldFromStr1 217 Read lunpath field failed form "
                    "string [rubbish"),
              "perhaps log_line Read lunpath field failed form string [...].");
    EXPECT_EQ(found("[2026-11-21 10:16:40.902] ERROR read_name 157 Error before: [{"),
              "perhaps log_line Error before: [...].");
    EXPECT_EQ(found("[2026-11-21 10:16:40.902] ERROR exe_cmd 296 Error message: "),
              "log_line Error message: ...");
    EXPECT_EQ(found("Read lunpath field failed form string [rubbish"), "");
}

TEST(Advice, APartOfATextIsAGuessWhereFewHaveIt) {
    const std::string deleted =
        "perhaps log_line The lun is deleted, the properties are [ path_alias: ..., wwid: ... ].";
    EXPECT_EQ(found("The lun is deleted"), deleted);
    EXPECT_EQ(found("[2026-11-21 03:12:41] ... The lun is deleted ..."), deleted);
    EXPECT_EQ(found("lun is d"), deleted);
    EXPECT_EQ(found("lun is "), "");
    EXPECT_EQ(found("Query Dravik infomation failed."),
              "perhaps log_line Query Dravik infomation failed. Error message: ....");
    EXPECT_EQ(found("is changed from"), ""); // seven have it
    EXPECT_EQ(found("does not be configed"), "perhaps record EC_no_wwid");
    EXPECT_EQ(found("........"), "");
}

TEST(Advice, NothingIsFoundForWhatIsNone) {
    for (const char *asked : {"", " ", "5", "99999", "-1", "0x73", "EC_", "nonsense", "Error(", "Error()",
                              "Error(abc): x", "Error(115", "Error(9999): x", "path_flapping now",
                              "Error(00000000000000000000115): x", "\xff\xfe\x01", "..."}) {
        EXPECT_EQ(found(asked), "") << asked;
    }
    EXPECT_EQ(found(std::string(1048576, 'a')), "");
    EXPECT_EQ(found(std::string("path_flapping\0", 14)), "");
}

TEST(Advice, TheNearestNamesAreThoseWithTheFewestMistakesAndThoseThatHoldTheWord) {
    EXPECT_EQ(near("EC_no_path_alais"), "EC_no_path_alias");
    EXPECT_EQ(near("PATH_FLAPING"), "path_flapping");
    EXPECT_EQ(near("dravikvolumeonlastpath"), "DravikVolumeOnLastPath");
    EXPECT_EQ(near("no_wwid"), "EC_no_wwid");
    EXPECT_EQ(near("timeout"), "EC_exe_cmd_timeout");
    EXPECT_EQ(near("path_"),
              "EC_miss_device_path_state EC_no_path_alias EC_offline_path_fail EC_online_path_fail "
              "path_appeared");
    EXPECT_EQ(near("xyzzy"), "");
    EXPECT_EQ(near("a"), "");
    EXPECT_EQ(near(std::string(1048576, 'a')), "");
}

TEST(Advice, EveryEntrySaysWhatItMeansAndWhatCuresItInPlainSentences) {
    std::set<std::string> keys;
    for (const Explanation &entry : allAdvice()) {
        EXPECT_TRUE(keys.insert(std::string(adviceKindWord(entry.kind)) + entry.key).second) << entry.key;
        for (const std::string text : {entry.advice->meaning, entry.advice->cure}) {
            EXPECT_FALSE(text.empty()) << entry.key;
            EXPECT_EQ(text.find_first_of("\n\t|"), std::string::npos) << entry.key;
            EXPECT_TRUE(text.back() == '.' || text.substr(text.size() - 5) == "_ . -") << text;
        }
        EXPECT_EQ(entry.key.find('\t'), std::string::npos);
        for (const std::string &command : commandsOf(*entry.advice)) {
            EXPECT_LE(command.size(), 76u);
            EXPECT_EQ(command.find_first_of("`|\t"), std::string::npos) << command;
        }
    }
}

TEST(Advice, BackticksAreReadAsQuotes) {
    EXPECT_EQ(withQuotes("Run `dravik scan`, then `dravik query`."),
              "Run \"dravik scan\", then \"dravik query\".");
}

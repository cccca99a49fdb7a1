// The checks of the administration commands' parameters: what each command line answers and leaves behind.
#include "cli/parameter_checks.h"

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/command_table.h"
#include "commands/parameter_buffers.h"
#include "tests/support/rules.h"

namespace {

const std::string SCSI_WWID = "3600000000000000000000000000000ab";
const std::string NVME_WWID = "eui.600000000000000000000000000000ab";
const std::string NAME_60 = std::string(60, 'a');
const std::string NAME_61 = std::string(61, 'a');

// The outcome of a check: the record's code and name, and its words.
struct Outcome {
    const s_ecItems *record;
    std::string word;
};

bool operator==(const Outcome &a, const Outcome &b) {
    return a.record == b.record && a.word == b.word;
}

std::ostream &operator<<(std::ostream &out, const Outcome &outcome) {
    return out << outcome.record->code << " \"" << outcome.record->message << "\" [" << outcome.word << "]";
}

// Records without words may carry some of an earlier test; only those that take a word are asked for it.
Outcome outcomeOf(const s_ecItems *record) {
    return {record, std::strstr(record->message, "%s") == nullptr ? "" : record->items[0]};
}

Outcome is(const s_ecItems &record, const std::string &word = "") {
    return {&record, word};
}

void emptyBuffers() {
    for (char *buffer : {gParamMpathxVal, gParamPathVal, gParamStateVal, gParamGroupVal, gParamChooserVal,
                         gParamWwidVal, gParamAliasVal, gParamIntervalVal, gParamHostportVal}) {
        memset(buffer, 0, PARAM_SIZE);
    }
    gParamHostInterfaceType = HOST_INTERFACE_SCSI;
}

// Checks the command line without emptying the buffers first.
Outcome checkAgain(const std::vector<std::string> &words) {
    std::vector<const char *> argv = {"dravik"};
    for (const std::string &word : words) {
        argv.push_back(word.c_str());
    }
    argv.push_back(nullptr);
    return outcomeOf(checkCliParams(static_cast<int>(argv.size()) - 1, argv.data()));
}

Outcome check(const std::vector<std::string> &words) {
    emptyBuffers();
    return checkAgain(words);
}

} // namespace

// ---- commands without parameters

TEST(ParameterChecks, CommandsWithoutParametersRefuseTheFirstOne) {
    for (const char *name : {"config", "scan", "aggregation", "status", "start", "stop", "restart", "version",
                             "lsalias", "lspathpolicy", "port", "refresh", "mkconfig"}) {
        EXPECT_EQ(check({name}), is(EC_ok)) << name;
        EXPECT_EQ(check({name, "-x", "y"}), is(EC_invalid_param, "-x")) << name;
        EXPECT_EQ(check({name, ""}), is(EC_invalid_param, "")) << name;
    }
}

TEST(ParameterChecks, ACommandLineWithoutACommandIsNotReadPastItsEnd) {
    EXPECT_EQ(check({}), is(EC_ok));
    EXPECT_EQ(outcomeOf(checkCliParams(0, nullptr)), is(EC_ok));
}

TEST(ParameterChecks, ANullArgumentCountsAsEmpty) {
    const char *argv[] = {"dravik", "delete", nullptr, nullptr};
    EXPECT_EQ(outcomeOf(checkCliParams(3, argv)), is(EC_devicename_format_error));
}

// ---- command lines and their answers

namespace {

// The words of a command line, and what the check answers.
struct LineCase {
    std::vector<std::string> words;
    Outcome outcome;
};

const Rule<LineCase> LINE_RULES[] = {
    {"AWordIsShownWithItsFirst64Characters",
     {{{"status", std::string(100, 'x')}, is(EC_invalid_param, std::string(64, 'x'))}}},
    {"DevstatsCountsItsArgumentsBeforeItReadsThem",
     {{{"devstats", "-x", "1", "-y", "2", "-z"}, is(EC_parameter_number_error)}}},
    {"DevstatsRefusesUnknownNamesAndMissingValues",
     {{{"devstats", "-alias", "a"}, is(EC_invalid_param_name, "-alias")},
      {{"devstats", "-interval"}, is(EC_miss_param_val, "-interval")},
      {{"devstats", "-path_alias"}, is(EC_miss_param_val, "-path_alias")},
      {{"devstats", "-path_alias", "a", "-interval"}, is(EC_miss_param_val, "-interval")}}},
    {"DevstatsRefusesANameGivenTwice",
     {{{"devstats", "-interval", "1", "-interval", "2"}, is(EC_param_duped, "-interval")},
      {{"devstats", "-path_alias", "a", "-path_alias", "b"}, is(EC_param_duped, "-path_alias")},
      {{"devstats", "-interval", "", "-interval", "2"}, is(EC_param_duped, "-interval")}}},
    {"ADuplicateThatStandsLastIsAMissingValue",
     {{{"devstats", "-interval", "1", "-interval"}, is(EC_miss_param_val, "-interval")},
      {{"setalias", "-wwid", SCSI_WWID, "-wwid"}, is(EC_miss_param_val, "-wwid")},
      {{"setpathpolicy", "-chooser", "round-robin-extend", "-chooser"}, is(EC_miss_param_val, "-chooser")}}},
    {"DevstatsIntervalHoldsDigitsOnly",
     {{{"devstats", "-interval", "1s"}, is(EC_interval_format_error)},
      {{"devstats", "-interval", "-1"}, is(EC_interval_format_error)},
      {{"devstats", "-interval", "1.5"}, is(EC_interval_format_error)},
      {{"devstats", "-interval", ""}, is(EC_ok)}}},
    {"DevstatsLooksAtTheIntervalBeforeTheDevice",
     {{{"devstats", "-path_alias", "9", "-interval", "x"}, is(EC_interval_format_error)}}},
    {"SetstateWithFewerPairsMissesOne",
     {{{"setstate"}, is(EC_miss_device_path_state)},
      {{"setstate", "-path_alias", "mpatha", "-device_name", "sdb"}, is(EC_miss_device_path_state)},
      {{"setstate", "-path_alias", "mpatha", "-state", "online"}, is(EC_miss_device_path_state)}}},
    {"SetpathpolicyMissesItsChooser",
     {{{"setpathpolicy"}, is(EC_miss_group_chooser)},
      {{"setpathpolicy", "-scsi"}, is(EC_miss_group_chooser)},
      {{"setpathpolicy", "-nvme"}, is(EC_miss_group_chooser)},
      {{"setpathpolicy", "-chooser"}, is(EC_miss_param_val, "-chooser")},
      {{"setpathpolicy", "-nvme", "-chooser"}, is(EC_miss_param_val, "-chooser")}}},
    {"SetpathpolicyRefusesOtherNames",
     {{{"setpathpolicy", "-x", "y"}, is(EC_invalid_param_name, "-x")},
      {{"setpathpolicy", "-scsi", "-nvme"}, is(EC_invalid_param_name, "-nvme")},
      {{"setpathpolicy", "-scsi", "multibus"}, is(EC_invalid_param_name, "multibus")}}},
    {"SetpathpolicyNamesTheSecondChooserByItsValue",
     {{{"setpathpolicy", "-chooser", "round-robin-extend", "-chooser", "anything"},
       is(EC_param_duped, "anything")},
      {{"setpathpolicy", "-chooser", "round-robin-extend", "-chooser", "round-robin-extend", "-scsi", "-scsi",
        "-scsi"},
       is(EC_param_duped, "round-robin-extend")}}},
    {"SetaliasMissesItsParameters",
     {{{"setalias"}, is(EC_miss_alias_wwid)},
      {{"setalias", "-alias", "a"}, is(EC_miss_wwid)},
      {{"setalias", "-wwid", SCSI_WWID}, is(EC_miss_alias)},
      {{"setalias", "-wwid", "", "-alias", ""}, is(EC_miss_wwid)},
      {{"setalias", "-wwid"}, is(EC_miss_param_val, "-wwid")},
      {{"setalias", "-path_alias", "a"}, is(EC_invalid_param_name, "-path_alias")}}},
    {"SetaliasRefusesABufferAlreadyFilled",
     {{{"setalias", "-wwid", "a", "-wwid", "b"}, is(EC_param_duped, "-wwid")},
      {{"setalias", "-alias", "a", "-alias", "b"}, is(EC_param_duped, "-alias")},
      // an empty value has filled nothing
      {{"setalias", "-alias", "", "-alias", "b", "-wwid", SCSI_WWID}, is(EC_parameter_number_error)}}},
    {"SetaliasScsiWwidIs33LowerCaseHexadecimalCharacters",
     {{{"setalias", "-wwid", "3" + std::string(32, 'f'), "-alias", "a"}, is(EC_ok)},
      {{"setalias", "-wwid", "3" + std::string(31, 'f'), "-alias", "a"}, is(EC_wwid_length_error)},
      {{"setalias", "-wwid", "3" + std::string(33, 'f'), "-alias", "a"}, is(EC_wwid_length_error)},
      {{"setalias", "-wwid", "3" + std::string(31, 'f') + "_", "-alias", "a"}, is(EC_wwid_format_error)},
      {{"setalias", "-wwid", "3" + std::string(31, 'f') + "g", "-alias", "a"}, is(EC_wwid_format_error)},
      {{"setalias", "-wwid", "3" + std::string(31, 'f') + "G", "-alias", "a"}, is(EC_wwid_format_error)},
      {{"setalias", "-wwid", "3" + std::string(31, 'f') + "F", "-alias", "a"}, is(EC_upper_letter_error)}}},
    {"SetaliasNvmeWwidIsEuiAnd32LowerCaseHexadecimalCharacters",
     {{{"setalias", "-wwid", "eui." + std::string(32, '0'), "-alias", "a"}, is(EC_ok)},
      {{"setalias", "-wwid", "eui." + std::string(31, '0'), "-alias", "a"}, is(EC_wwid_length_error)},
      {{"setalias", "-wwid", "eui." + std::string(33, '0'), "-alias", "a"}, is(EC_wwid_length_error)},
      {{"setalias", "-wwid", "eui." + std::string(31, '0') + ".", "-alias", "a"}, is(EC_wwid_format_error)},
      {{"setalias", "-wwid", "eui." + std::string(31, '0') + "z", "-alias", "a"}, is(EC_wwid_format_error)},
      {{"setalias", "-wwid", "eui." + std::string(31, '0') + "A", "-alias", "a"}, is(EC_upper_letter_error)},
      {{"setalias", "-wwid", "EUI." + std::string(32, '0'), "-alias", "a"}, is(EC_wwid_format_error)},
      {{"setalias", "-wwid", "2" + std::string(32, '0'), "-alias", "a"}, is(EC_wwid_format_error)}}},
    {"SetaliasLooksAtTheWwidBeforeTheAlias",
     {{{"setalias", "-wwid", "3", "-alias", NAME_61}, is(EC_wwid_length_error)}}},
    {"SetaliasAliasIsANameOfAtMost60Characters",
     {{{"setalias", "-wwid", SCSI_WWID, "-alias", NAME_60}, is(EC_ok)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", NAME_61}, is(EC_alias_length_error)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "a"}, is(EC_ok)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "9a"}, is(EC_alias_format_error)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "_a"}, is(EC_alias_format_error)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "a;reboot"}, is(EC_alias_format_error)}}},
    {"SetaliasAnAliasThatIsTheWwidItselfIsAccepted",
     {{{"setalias", "-wwid", SCSI_WWID, "-alias", SCSI_WWID}, is(EC_ok)},
      {{"setalias", "-wwid", NVME_WWID, "-alias", NVME_WWID}, is(EC_ok)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "3" + std::string(32, '1')}, is(EC_alias_wwid_error)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", NVME_WWID}, is(EC_alias_wwid_error)}}},
    {"SetaliasAnAliasThatBeginsWithIdiskIsRefused",
     {{{"setalias", "-wwid", SCSI_WWID, "-alias", "idisk5"}, is(EC_set_idisk_error)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "idisk"}, is(EC_set_idisk_error)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "myidisk"}, is(EC_ok)},
      {{"setalias", "-wwid", SCSI_WWID, "-alias", "Idisk"}, is(EC_ok)}}},
};

class ParameterChecksLine : public testing::TestWithParam<Rule<LineCase>> {};

} // namespace

TEST_P(ParameterChecksLine, IsAnswered) {
    for (const LineCase &row : GetParam().cases) {
        EXPECT_EQ(check(row.words), row.outcome) << testing::PrintToString(row.words);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ParameterChecksLine, testing::ValuesIn(LINE_RULES), nameOfRule);

// ---- delete and query

TEST(ParameterChecks, DeleteWantsExactlyOneDevice) {
    EXPECT_EQ(check({"delete"}), is(EC_miss_idiskx));
    EXPECT_EQ(check({"delete", "mpatha", "mpathb"}), is(EC_parameter_number_error));
    EXPECT_EQ(check({"delete", "mpatha"}), is(EC_ok));
    EXPECT_STREQ(gParamMpathxVal, "mpatha");
}

TEST(ParameterChecks, QueryWithoutDeviceIsOkAndLeavesTheDeviceAlone) {
    emptyBuffers();
    strcpy(gParamMpathxVal, "before");
    EXPECT_EQ(checkAgain({"query"}), is(EC_ok));
    EXPECT_STREQ(gParamMpathxVal, "before");
}

TEST(ParameterChecks, QueryTakesAtMostOneDevice) {
    EXPECT_EQ(check({"query", "mpatha"}), is(EC_ok));
    EXPECT_STREQ(gParamMpathxVal, "mpatha");
    EXPECT_EQ(check({"query", "mpatha", "mpathb"}), is(EC_parameter_number_error));
}

TEST(ParameterChecks, ADeviceNameOf61CharactersFailsDeleteAndQueryButPassesDevstats) {
    for (const char *name : {"delete", "query"}) {
        EXPECT_EQ(check({name, NAME_60}), is(EC_ok)) << name;
        EXPECT_EQ(check({name, NAME_61}), is(EC_devicename_length_error)) << name;
        // the length is looked at first
        EXPECT_EQ(check({name, std::string(61, '%')}), is(EC_devicename_length_error)) << name;
    }
    EXPECT_EQ(check({"devstats", "-path_alias", NAME_61}), is(EC_ok));
    EXPECT_STREQ(gParamMpathxVal, NAME_61.c_str());
}

TEST(ParameterChecks, DeviceNamesAreWwidShapedOrBeginWithALetter) {
    const std::string upper_nvme = "eui." + std::string(32, 'Z');
    for (const std::string &good : {std::string("a"), std::string("Z"), std::string("a.b-c_9"), SCSI_WWID,
                                    "3" + std::string(32, 'Z'), // letters and digits, not only hexadecimal
                                    upper_nvme, NVME_WWID}) {
        EXPECT_EQ(check({"delete", good}), is(EC_ok)) << good;
        EXPECT_EQ(check({"query", good}), is(EC_ok)) << good;
        EXPECT_EQ(check({"devstats", "-path_alias", good}), is(EC_ok)) << good;
    }
    for (const std::string &bad :
         {std::string("1"), std::string("_a"), std::string(".a"), std::string("-a"), std::string("a b"),
          std::string("a;b"), std::string("a/b"), std::string("a\n"), SCSI_WWID.substr(1), SCSI_WWID + "0",
          "3" + std::string(31, '0') + "_"}) {
        EXPECT_EQ(check({"delete", bad}), is(EC_devicename_format_error)) << bad;
        EXPECT_EQ(check({"query", bad}), is(EC_devicename_format_error)) << bad;
        EXPECT_EQ(check({"devstats", "-path_alias", bad}), is(EC_devicename_format_error)) << bad;
    }
    EXPECT_EQ(check({"delete", ""}), is(EC_devicename_format_error));
}

TEST(ParameterChecks, ADeviceNameEndsUpCutTo256Characters) {
    EXPECT_EQ(check({"devstats", "-path_alias", std::string(400, 'a')}), is(EC_ok));
    EXPECT_EQ(std::string(gParamMpathxVal), std::string(256, 'a'));
}

// ---- devstats

TEST(ParameterChecks, DevstatsTakesDeviceAndIntervalInAnyOrder) {
    EXPECT_EQ(check({"devstats"}), is(EC_ok));
    EXPECT_EQ(check({"devstats", "-interval", "5"}), is(EC_ok));
    EXPECT_STREQ(gParamIntervalVal, "5");
    EXPECT_EQ(check({"devstats", "-interval", "00001", "-path_alias", "mpatha"}), is(EC_ok));
    EXPECT_STREQ(gParamIntervalVal, "00001");
    EXPECT_STREQ(gParamMpathxVal, "mpatha");
}

TEST(ParameterChecks, DevstatsWithAnEmptyDeviceMeansAllDevices) {
    EXPECT_EQ(check({"devstats", "-path_alias", "", "-interval", "1"}), is(EC_ok));
    EXPECT_STREQ(gParamMpathxVal, "");
}

TEST(ParameterChecks, DevstatsClearsAliasAndIntervalButNotTheDevice) {
    emptyBuffers();
    strcpy(gParamAliasVal, "alias");
    strcpy(gParamIntervalVal, "7");
    strcpy(gParamMpathxVal, "mpathz");
    EXPECT_EQ(checkAgain({"devstats"}), is(EC_ok));
    EXPECT_STREQ(gParamAliasVal, "");
    EXPECT_STREQ(gParamIntervalVal, "");
    EXPECT_STREQ(gParamMpathxVal, "mpathz");
}

// ---- setstate

TEST(ParameterChecks, SetstateWithItsThreePairsPasses) {
    EXPECT_EQ(check({"setstate", "-path_alias", "mpatha", "-device_name", "sdb", "-state", "offline"}),
              is(EC_ok));
    EXPECT_STREQ(gParamMpathxVal, "mpatha");
    EXPECT_STREQ(gParamPathVal, "sdb");
    EXPECT_STREQ(gParamStateVal, "offline");
    EXPECT_EQ(check({"setstate", "-state", "online", "-device_name", "sdb", "-path_alias", "mpatha"}),
              is(EC_ok));
    EXPECT_STREQ(gParamStateVal, "online");
}

TEST(ParameterChecks, SetstateDoesNotTellARepetition) {
    EXPECT_EQ(check({"setstate", "-path_alias", "mpatha", "-state", "online", "-state", "offline"}),
              is(EC_ok));
    EXPECT_STREQ(gParamStateVal, "offline");
    EXPECT_STREQ(gParamPathVal, "");
    EXPECT_EQ(check({"setstate", "-path_alias", "a", "-device_name", "b", "-device_name", "c"}),
              is(EC_miss_device_path_state));
    EXPECT_EQ(check({"setstate", "-state", "online", "-device_name", "b", "-device_name", "c"}),
              is(EC_miss_device_path_state));
}

TEST(ParameterChecks, SetstateRefusesOtherStates) {
    for (const char *state : {"on", "onlinee", "ONLINE", "", " online"}) {
        EXPECT_EQ(check({"setstate", "-path_alias", "a", "-device_name", "b", "-state", state}),
                  is(EC_invalid_param_value, state));
        EXPECT_STREQ(gParamStateVal, "");
    }
}

TEST(ParameterChecks, SetstateCountsItsArgumentsAfterItHasReadThem) {
    EXPECT_EQ(check({"setstate", "-path_alias", "a", "-device_name", "b", "-state", "online", "-x", "y"}),
              is(EC_invalid_param_name, "-x"));
    EXPECT_EQ(
        check({"setstate", "-path_alias", "a", "-device_name", "b", "-state", "online", "-state", "online"}),
        is(EC_parameter_number_error));
    EXPECT_EQ(check({"setstate", "-path_alias", "a", "-device_name", "b", "-state"}),
              is(EC_miss_param_val, "-state"));
}

TEST(ParameterChecks, SetstateClearsWhatItFillsOnceItHasParameters) {
    emptyBuffers();
    strcpy(gParamMpathxVal, "m");
    strcpy(gParamPathVal, "p");
    strcpy(gParamStateVal, "online");
    EXPECT_EQ(checkAgain({"setstate"}), is(EC_miss_device_path_state));
    EXPECT_STREQ(gParamMpathxVal, "m");
    EXPECT_EQ(checkAgain({"setstate", "-x"}), is(EC_invalid_param_name, "-x"));
    EXPECT_STREQ(gParamMpathxVal, "");
    EXPECT_STREQ(gParamPathVal, "");
    EXPECT_STREQ(gParamStateVal, "");
}

// ---- setpathpolicy

TEST(ParameterChecks, SetpathpolicyStoresTheSelectorOfTheSameRow) {
    const char *const rows[][2] = {{"smart-distribution-extend", "round-robin"},
                                   {"least-queue-depth-extend", "queue-length"},
                                   {"round-robin-extend", "service-time"}};
    for (const auto &row : rows) {
        EXPECT_EQ(check({"setpathpolicy", "-chooser", row[0]}), is(EC_ok)) << row[0];
        EXPECT_STREQ(gParamChooserVal, row[1]);
        EXPECT_STREQ(gParamGroupVal, "multibus");
        EXPECT_EQ(gParamHostInterfaceType, 0);
    }
}

TEST(ParameterChecks, SetpathpolicyDoesNotTakeTheKernelsNames) {
    for (const char *value : {"round-robin", "queue-length", "service-time", "", "round-robin-extend "}) {
        EXPECT_EQ(check({"setpathpolicy", "-chooser", value}), is(EC_invalid_param_value, value));
        EXPECT_STREQ(gParamChooserVal, "");
        EXPECT_STREQ(gParamGroupVal, "multibus");
    }
}

TEST(ParameterChecks, SetpathpolicyScsiAndNvmeStandBeforeTheChooser) {
    EXPECT_EQ(check({"setpathpolicy", "-nvme", "-chooser", "round-robin-extend"}), is(EC_ok));
    EXPECT_EQ(gParamHostInterfaceType, 1);
    EXPECT_EQ(checkAgain({"setpathpolicy", "-scsi", "-chooser", "round-robin-extend"}), is(EC_ok));
    EXPECT_EQ(gParamHostInterfaceType, 0);
    EXPECT_EQ(check({"setpathpolicy", "-chooser", "round-robin-extend", "-scsi"}),
              is(EC_need_fisrt_set_scsi));
    EXPECT_EQ(check({"setpathpolicy", "-chooser", "round-robin-extend", "-nvme"}),
              is(EC_need_fisrt_set_nvme));
    EXPECT_EQ(gParamHostInterfaceType, 1);
}

TEST(ParameterChecks, SetpathpolicyClearsWhatItFillsOnceItHasParameters) {
    emptyBuffers();
    strcpy(gParamGroupVal, "g");
    strcpy(gParamChooserVal, "c");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(checkAgain({"setpathpolicy"}), is(EC_miss_group_chooser));
    EXPECT_EQ(gParamHostInterfaceType, 1);
    EXPECT_EQ(checkAgain({"setpathpolicy", "-x"}), is(EC_invalid_param_name, "-x"));
    EXPECT_STREQ(gParamGroupVal, "");
    EXPECT_STREQ(gParamChooserVal, "");
    EXPECT_EQ(gParamHostInterfaceType, 0);
}

// ---- setalias

namespace {

Outcome setAlias(const std::string &wwid, const std::string &alias) {
    return check({"setalias", "-wwid", wwid, "-alias", alias});
}

} // namespace

TEST(ParameterChecks, SetaliasKeepsWwidAndAliasInAnyOrder) {
    EXPECT_EQ(setAlias(SCSI_WWID, "mydisk"), is(EC_ok));
    EXPECT_STREQ(gParamWwidVal, SCSI_WWID.c_str());
    EXPECT_STREQ(gParamAliasVal, "mydisk");
    EXPECT_EQ(check({"setalias", "-alias", "mydisk", "-wwid", SCSI_WWID}), is(EC_ok));
}

TEST(ParameterChecks, SetaliasClearsWhatItFillsOnceItHasParameters) {
    emptyBuffers();
    strcpy(gParamWwidVal, "w");
    strcpy(gParamAliasVal, "a");
    EXPECT_EQ(checkAgain({"setalias"}), is(EC_miss_alias_wwid));
    EXPECT_STREQ(gParamWwidVal, "w");
    EXPECT_EQ(checkAgain({"setalias", "-x"}), is(EC_invalid_param_name, "-x"));
    EXPECT_STREQ(gParamWwidVal, "");
    EXPECT_STREQ(gParamAliasVal, "");
}

// ---- delalias

TEST(ParameterChecks, DelaliasTakesAnyWwid) {
    EXPECT_EQ(check({"delalias", "-wwid", "any;thing"}), is(EC_ok));
    EXPECT_STREQ(gParamWwidVal, "any;thing");
    EXPECT_EQ(check({"delalias", "-wwid", ""}), is(EC_ok));
    EXPECT_EQ(check({"delalias", "-wwid", std::string(300, 'w')}), is(EC_ok));
    EXPECT_EQ(std::string(gParamWwidVal), std::string(256, 'w'));
}

TEST(ParameterChecks, DelaliasRefusesOtherShapesOfItsCommandLine) {
    EXPECT_EQ(check({"delalias"}), is(EC_miss_wwid));
    EXPECT_EQ(check({"delalias", "-alias", "a"}), is(EC_invalid_param_name, "-alias"));
    EXPECT_EQ(check({"delalias", "-wwid"}), is(EC_miss_param_val, "-wwid"));
    EXPECT_EQ(check({"delalias", "-wwid", "w", "-wwid"}), is(EC_parameter_number_error));
    EXPECT_STREQ(gParamWwidVal, "w");
}

// ---- the last checks, of the values in the buffers

namespace {

const s_ecItems *checkWwid(const std::string &wwid) {
    snprintf(gParamWwidVal, PARAM_SIZE, "%s", wwid.c_str());
    return dravik::checkWwidForShell();
}

const s_ecItems *checkInterval(const std::string &interval) {
    snprintf(gParamIntervalVal, PARAM_SIZE, "%s", interval.c_str());
    return dravik::checkInterval();
}

} // namespace

TEST(ParameterChecksLast, DelaliasRefusesAWwidThatNoShellMaySee) {
    for (const char *good : {"3600b5d60001a2b3c0000000000000001", "eui.0", "nqn.2014-08.org:x_1", "-"}) {
        EXPECT_EQ(checkWwid(good), &EC_ok) << good;
    }
    for (const char *bad :
         {"", "a b", "a;b", "$(x)", "`x`", "a/b", "a,b", "a!b", "a\n", "\xc3\xa9", "'", "*"}) {
        EXPECT_EQ(checkWwid(bad), &EC_wwid_format_error) << bad;
    }
}

TEST(ParameterChecksLast, DevstatsWantsAnIntervalThatTheAlarmTakes) {
    EXPECT_EQ(checkInterval(""), &EC_miss_interval);
    EXPECT_EQ(checkInterval("0"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval("0000"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval("1"), &EC_ok);
    EXPECT_EQ(checkInterval("4294967295"), &EC_ok);
    EXPECT_EQ(checkInterval("4294967296"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval("18446744073709551617"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval(std::string(256, '9')), &EC_interval_format_error);
}

TEST(ParameterChecksLast, AnIntervalMayHaveLeadingZeros) {
    EXPECT_EQ(checkInterval("00001"), &EC_ok);
    EXPECT_EQ(dravik::intervalSeconds(), 1ULL);
    EXPECT_EQ(checkInterval(std::string(250, '0') + "300"), &EC_ok);
    EXPECT_EQ(dravik::intervalSeconds(), 300ULL);
}

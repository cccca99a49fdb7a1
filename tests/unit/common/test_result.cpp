// Result records: the whole table, their printed forms, their words.
#include "common/result.h"

#include "tests/support/console.h"
#include "tests/support/rules.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// Every record once more, written out by hand: what users and scripts have learned to expect.
struct ExpectedRecord {
    s_ecItems *record;
    const char *name;
    int code;
    const char *message;
};
#define RECORD(name) &(name), #name

const ExpectedRecord EXPECTED[] = {
    {RECORD(EC_ok), 0, "Successfully."},
    {RECORD(EC_no_help), 1, "No help avaliable for [%s]."},
    {RECORD(EC_print_help), 2, "Show command help failed."},
    {RECORD(EC_exe_cmd_failed), 3, "Execute system command failed."},
    {RECORD(EC_molloc_failed), 4, "Molloc memory space failed."},
    {RECORD(EC_invalid_input), 101, "Invalid input."},
    {RECORD(EC_invalid_cli_name), 102, "Invalid command name [%s]."},
    {RECORD(EC_invalid_param_name), 103, "Invalid command parameter name [%s]."},
    {RECORD(EC_invalid_param_value), 104, "Invalid command parameter value [%s]."},
    {RECORD(EC_invalid_param), 105, "Invalid command parameter [%s]."},
    {RECORD(EC_miss_idiskx), 106, "Missing deleted velomux."},
    {RECORD(EC_miss_group_chooser), 107, "Missing parameter [-chooser]."},
    {RECORD(EC_miss_param_val), 108, "Missing value for the parameter [%s]."},
    {RECORD(EC_param_duped), 109, "Duplicated parameter [%s]."},
    {RECORD(EC_parse_cmd_out), 110, "Parse command output failed."},
    {RECORD(EC_miss_device_path_state), 111,
     "Missing parameter [-device_name] or [-path_alias] or [-state]."},
    {RECORD(EC_parse_error_path), 112, "This Path [%s] is not one of the paths for the device."},
    {RECORD(EC_is_already_online), 113, "This Path [%s] is already online."},
    {RECORD(EC_is_already_offline), 114, "This Path [%s] is already offline."},
    {RECORD(EC_no_path_alias), 115, "This path_alias [%s] does not exist."},
    {RECORD(EC_no_device_name), 116, "Path [%s] of disk [%s] does not exist."},
    {RECORD(EC_miss_alias_wwid), 117, "Missing parameters [-alias] and [-wwid]."},
    {RECORD(EC_miss_alias), 118, "Missing parameter [-alias]."},
    {RECORD(EC_miss_wwid), 119, "Missing parameter [-wwid]."},
    {RECORD(EC_exist_wwid_alias), 120, "The pair wwid[%s] and alias[%s] has existed."},
    {RECORD(EC_exist_alias), 121, "The alias[%s] has be configed for other wwid."},
    {RECORD(EC_no_wwid), 122, "The specified wwid[%s] does not be configed alias."},
    {RECORD(EC_del_failed_for_using), 123, "The path is being used, can not be deleted."},
    {RECORD(EC_exe_cmd_timeout), 124, "Execute system command timeout."},
    {RECORD(EC_wwid_length_error), 125, "Wrong length of parameter [-wwid] value."},
    {RECORD(EC_wwid_format_error), 126, "Wrong format of parameter [-wwid] value."},
    {RECORD(EC_nvme_is_not_support_online), 127, "The nvme device [%s] is not support online."},
    {RECORD(EC_nvme_is_not_support_offline), 128, "The nvme device [%s] is not support offline."},
    {RECORD(EC_alias_length_error), 129, "Wrong length of parameter [-alias] value."},
    {RECORD(EC_alias_format_error), 130, "Wrong format of parameter [-alias] value."},
    {RECORD(EC_devicename_length_error), 131, "Wrong length of device name."},
    {RECORD(EC_devicename_format_error), 132, "Wrong format of device name."},
    {RECORD(EC_no_this_device), 133, "This device [%s] does not exist."},
    {RECORD(EC_no_config_info), 134,
     "No [%s] device configuration information found, please execute \"dravik config\" command to configure "
     "first."},
    {RECORD(EC_os_not_support), 135, "Distribute type is not supported."},
    {RECORD(EC_os_not_support_fcnvme), 136, "This OS is not support NVMe over Fabric."},
    {RECORD(EC_offline_path_fail), 137, "Fail this path [%s] failed."},
    {RECORD(EC_online_path_fail), 138, "Reinstate this path [%s] failed."},
    {RECORD(EC_need_fisrt_set_scsi), 139, "Need to set -scsi first, and then set parameter [-chooser]."},
    {RECORD(EC_need_fisrt_set_nvme), 140, "Need to set -nvme first, and then set parameter [-chooser]."},
    {RECORD(EC_parameter_number_error), 141, "Wrong number of parameter, duplicate parameter may exist."},
    {RECORD(EC_set_idisk_error), 141, "Please do not use an alias that starts with idisk."},
    {RECORD(EC_upper_letter_error), 142, "For the wwid parameter, please use lowercase letters."},
    {RECORD(EC_alias_wwid_error), 143, "Format error, alias value should be the same as wwid value."},
    {RECORD(EC_miss_device), 144, "Missing parameter [-path_alias]."},
    {RECORD(EC_miss_interval), 145, "Missing parameter [-interval]."},
    {RECORD(EC_interval_format_error), 146, "Wrong format of parameter [-interval] value."},
};

std::string messageOf(const s_ecItems *record, unsigned int size = 600) {
    std::string out(size + 8, '#');
    getErrorMsg(record, out.data(), size);
    EXPECT_EQ(out.substr(size), "########");
    return out.c_str();
}

std::string separator() {
    return std::string(130, '-') + "\n";
}

s_ecItems recordOf(int code, const std::string &message) {
    s_ecItems record = {};
    record.code = code;
    memcpy(record.message, message.c_str(), message.size());
    return record;
}

} // namespace

TEST(Result, EveryRecordHasItsCodeAndTemplateInTheTablesOrder) {
    struct Row {
        s_ecItems *record;
        const char *name;
        int code;
        const char *message;
    };
#define ROW(code, name, message) {&(name), #name, code, message},
    const Row rows[] = {EC_RECORDS(ROW)};
    ASSERT_EQ(std::size(rows), std::size(EXPECTED));
    for (size_t i = 0; i < std::size(rows); i++) {
        EXPECT_EQ(rows[i].record, EXPECTED[i].record) << EXPECTED[i].name;
        EXPECT_STREQ(rows[i].name, EXPECTED[i].name);
        EXPECT_EQ(rows[i].code, EXPECTED[i].code) << EXPECTED[i].name;
        EXPECT_STREQ(rows[i].message, EXPECTED[i].message) << EXPECTED[i].name;
    }
}

TEST(Result, RecordsStartWithTheirCodeAndTemplateAndEmptyWords) {
    for (const ExpectedRecord &expected : EXPECTED) {
        EXPECT_EQ(expected.record->code, expected.code) << expected.name;
        EXPECT_STREQ(expected.record->message, expected.message) << expected.name;
    }
    EXPECT_EQ(sizeof(s_ecItems::message), 257U);
    EXPECT_EQ(sizeof(s_ecItems::items), 3U * 257U);
    EXPECT_EQ(sizeof(s_ecItems::code), 4U);
}

TEST(Result, EveryRecordPrintsItsPrefixAndMessageWithEmptyWords) {
    for (const ExpectedRecord &expected : EXPECTED) {
        s_ecItems record = *expected.record;
        initEcItems1(&record, "");
        std::string text = expected.message;
        for (size_t at = text.find("%s"); at != std::string::npos; at = text.find("%s")) {
            text.erase(at, 2);
        }
        char code[8];
        snprintf(code, sizeof(code), "%04d", expected.code);
        EXPECT_EQ(messageOf(&record), std::string("Error(") + code + "): " + text);
    }
}

TEST(Result, CodesAreZeroPaddedToFourDigits) {
    EXPECT_EQ(messageOf(&EC_exe_cmd_failed), "Error(0003): Execute system command failed.");
    EXPECT_EQ(messageOf(&EC_exe_cmd_timeout), "Error(0124): Execute system command timeout.");
    EXPECT_EQ(messageOf(&EC_ok), "Error(0000): Successfully.");
}

TEST(Result, BothRecordsOfCode141PrintThatPrefix) {
    EXPECT_EQ(messageOf(&EC_parameter_number_error),
              "Error(0141): Wrong number of parameter, duplicate parameter may exist.");
    EXPECT_EQ(messageOf(&EC_set_idisk_error),
              "Error(0141): Please do not use an alias that starts with idisk.");
}

namespace {

// A record, the words that it is given, and what it then prints.
struct WordsCase {
    s_ecItems *record;
    std::vector<const char *> words;
    std::string text;
};

const std::string WORD_OF_100 = std::string(64, 'a') + std::string(36, 'b');
const std::string CUT_WORD(64, 'a');

const Rule<WordsCase> WORDS_RULES[] = {
    {"FirstWordFillsTheTemplate",
     {{&EC_no_this_device, {"mpathb"}, "Error(0133): This device [mpathb] does not exist."}}},
    {"TwoWordsFillTheTemplateInOrder",
     {{&EC_no_device_name, {"sdb", "mpathb"}, "Error(0116): Path [sdb] of disk [mpathb] does not exist."}}},
    {"TemplateOfTwoWithOneWordPrintsTheSecondEmpty",
     {{&EC_no_device_name, {"sdb"}, "Error(0116): Path [sdb] of disk [] does not exist."}}},
    {"WordOf100CharactersIsShownAsItsFirst64",
     {{&EC_no_this_device,
       {WORD_OF_100.c_str()},
       "Error(0133): This device [" + CUT_WORD + "] does not exist."},
      {&EC_no_device_name,
       {WORD_OF_100.c_str(), WORD_OF_100.c_str()},
       "Error(0116): Path [" + CUT_WORD + "] of disk [" + CUT_WORD + "] does not exist."}}},
    {"NullWordCountsAsEmpty",
     {{&EC_no_this_device, {nullptr}, "Error(0133): This device [] does not exist."},
      {&EC_no_device_name, {nullptr, "mpathb"}, "Error(0116): Path [] of disk [mpathb] does not exist."}}},
    {"PercentSignsOfAWordAreNotInterpreted",
     {{&EC_no_this_device, {"%s%n%d"}, "Error(0133): This device [%s%n%d] does not exist."}}},
};

class ResultWords : public testing::TestWithParam<Rule<WordsCase>> {};

} // namespace

TEST_P(ResultWords, StandInTheirPlaces) {
    for (const WordsCase &row : GetParam().cases) {
        if (row.words.size() == 1) {
            initEcItems1(row.record, row.words[0]);
        } else {
            initEcItems2(row.record, row.words[0], row.words[1]);
        }
        EXPECT_EQ(messageOf(row.record), row.text);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ResultWords, testing::ValuesIn(WORDS_RULES), nameOfRule);

TEST(Result, ThirdWordFillsTheThirdPlace) {
    s_ecItems record = recordOf(7, "[%s] [%s] [%s]");
    initEcItems2(&record, "a", "b");
    strcpy(record.items[2], "c"); // NOLINT(clang-analyzer-security.insecureAPI.strcpy): one letter
    EXPECT_EQ(messageOf(&record), "Error(0007): [a] [b] [c]");
}

TEST(Result, SettingWordsEmptiesAllThreeFirst) {
    s_ecItems record = recordOf(7, "");
    memset(record.items, 'z', sizeof(record.items));
    initEcItems1(&record, "one");
    EXPECT_STREQ(record.items[0], "one");
    EXPECT_STREQ(record.items[1], "");
    EXPECT_STREQ(record.items[2], "");
    memset(record.items, 'z', sizeof(record.items));
    initEcItems2(&record, "one", "two");
    EXPECT_STREQ(record.items[0], "one");
    EXPECT_STREQ(record.items[1], "two");
    EXPECT_STREQ(record.items[2], "");
}

TEST(Result, WordsStayUntilTheNextOperationSetsThem) {
    initEcItems1(&EC_no_this_device, "first");
    EXPECT_EQ(messageOf(&EC_no_this_device), "Error(0133): This device [first] does not exist.");
    EXPECT_EQ(messageOf(&EC_no_this_device), "Error(0133): This device [first] does not exist.");
    initEcItems1(&EC_no_this_device, "second");
    EXPECT_EQ(messageOf(&EC_no_this_device), "Error(0133): This device [second] does not exist.");
}

TEST(Result, MessageIsCutToTheCallersSize) {
    EXPECT_EQ(messageOf(&EC_invalid_input, 28), "Error(0101): Invalid input.");
    EXPECT_EQ(messageOf(&EC_invalid_input, 27), "Error(0101): Invalid input");
    EXPECT_EQ(messageOf(&EC_invalid_input, 6), "Error");
    EXPECT_EQ(messageOf(&EC_invalid_input, 1), "");
}

TEST(Result, NothingIsWrittenForSizeZeroOrNull) {
    char out[] = "##";
    getErrorMsg(&EC_ok, out, 0);
    EXPECT_STREQ(out, "##");
    getErrorMsg(nullptr, out, sizeof(out));
    EXPECT_STREQ(out, "##");
    getErrorMsg(&EC_ok, nullptr, 10);
}

TEST(Result, FormattedMessageIsCutAt255Characters) {
    const s_ecItems record = recordOf(5, std::string(256, 'm'));
    EXPECT_EQ(messageOf(&record), "Error(0005): " + std::string(255, 'm'));
    s_ecItems filled = recordOf(6, std::string(250, 'm') + "%s");
    initEcItems1(&filled, "0123456789");
    EXPECT_EQ(messageOf(&filled), "Error(0006): " + std::string(250, 'm') + "01234");
}

TEST(Result, InfoOkIsAllZeroAndFormatsAsAnEmptyMessage) {
    const s_ecItems zero = {};
    EXPECT_EQ(memcmp(&EC_info_ok, &zero, sizeof(zero)), 0);
    EXPECT_EQ(messageOf(&EC_info_ok), "Error(0000): ");
}

TEST(Result, SuccessPrintsBetweenSeparators) {
    const std::string expected = separator() + "Command executed successfully.\n" + separator();
    EXPECT_EQ(printedBy([] { print_ec(&EC_ok); }), expected);
    EXPECT_EQ(printedBy([] { print_ec(&EC_info_ok); }), expected);
    EXPECT_EQ(printedBy([] { print_ec(nullptr); }), expected);
}

TEST(Result, FailurePrintsItsMessageBetweenSeparators) {
    initEcItems1(&EC_no_this_device, "mpathb");
    EXPECT_EQ(printedBy([] { print_ec(&EC_no_this_device); }),
              separator() + "Error(0133): This device [mpathb] does not exist.\n" + separator());
}

TEST(Result, PrintedFailureIsCutAt255Characters) {
    const s_ecItems record = recordOf(5, std::string(256, 'm'));
    EXPECT_EQ(printedBy([&] { print_ec(&record); }),
              separator() + "Error(0005): " + std::string(242, 'm') + "\n" + separator());
}

// Which handler each command name reaches, with which arguments. This program has handlers of its own, which
// only write down that they were called: the real ones change the host.
#include "cli/command_table.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/cli_exe.h"
#include "commands/lsalias_json.h"
#include "commands/lspathpolicy_json.h"
#include "commands/parameter_buffers.h"
#include "commands/port_json.h"
#include "commands/query_json.h"
#include "commands/status_json.h"
#include "commands/version.h"
#include "commands/version_json.h"

namespace {

std::vector<std::string> calls;
std::string printed_before_call;

// One record for each handler, so that the returned one tells where it comes from.
std::map<std::string, s_ecItems> records;

s_ecItems *called(const std::string &handler, const std::string &argument = "") {
    calls.push_back(argument.empty() ? handler : handler + " " + argument);
    return &records[handler];
}

} // namespace

s_ecItems *mkconfig() {
    return called("mkconfig");
}
s_ecItems *lsselfstart() {
    return called("lsselfstart");
}
s_ecItems *chMultipathdService(const char *action) {
    return called("chMultipathdService", action);
}
void checkAndCreatlvmlibs() {
    called("checkAndCreatlvmlibs");
}
s_ecItems *config() {
    return called("config");
}
s_ecItems *scan() {
    printed_before_call = testing::internal::GetCapturedStdout(); // what had been written by now
    testing::internal::CaptureStdout();
    return called("scan");
}
s_ecItems *aggregation() {
    return called("aggregation");
}
s_ecItems *query() {
    return called("query");
}
s_ecItems *querySingleDevice(const char *device_name) {
    return called("querySingleDevice", device_name);
}
s_ecItems *queryDevStats() {
    return called("queryDevStats");
}
s_ecItems *querySingleDevStats(const char *device_name) {
    return called("querySingleDevStats", device_name);
}
s_ecItems *status() {
    return called("status");
}
s_ecItems *restart() {
    return called("restart");
}
s_ecItems *delete_(const char *alias) {
    return called("delete_", alias);
}
s_ecItems *setpathstate() {
    return called("setpathstate");
}
s_ecItems *setpathpolicy() {
    return called("setpathpolicy");
}
s_ecItems *lspathpolicy() {
    return called("lspathpolicy");
}
const char DRAVIK_VERSION[] = ""; // the module's other half
s_ecItems *version() {
    return called("version");
}
s_ecItems *setalias() {
    return called("setalias");
}
s_ecItems *lsalias() {
    return called("lsalias");
}
s_ecItems *delalias() {
    return called("delalias");
}
s_ecItems *lsport() {
    return called("lsport");
}
s_ecItems *refresh() {
    return called("refresh");
}

namespace dravik {

s_ecItems *describeLsalias(int /*argc*/, Json * /*document*/) {
    return called("describeLsalias");
}
s_ecItems *describeLspathpolicy(int /*argc*/, Json * /*document*/) {
    return called("describeLspathpolicy");
}
s_ecItems *describePort(int /*argc*/, Json * /*document*/) {
    return called("describePort");
}
s_ecItems *describeQuery(int argc, Json * /*document*/) {
    return called("describeQuery", std::to_string(argc));
}
s_ecItems *describeStatus(int /*argc*/, Json * /*document*/) {
    return called("describeStatus");
}
s_ecItems *describeVersion(int /*argc*/, Json * /*document*/) {
    return called("describeVersion");
}

} // namespace dravik

namespace {

// What a dispatch called, whose record it returned, and what it printed.
struct Outcome {
    std::vector<std::string> calls;
    std::string record_of;
    std::string output;
};

Outcome dispatch(const std::vector<const char *> &words) {
    std::vector<const char *> argv = {"dravik"};
    argv.insert(argv.end(), words.begin(), words.end());
    argv.push_back(nullptr);
    calls.clear();
    testing::internal::CaptureStdout();
    const s_ecItems *result = exeCli(static_cast<int>(argv.size()) - 1, argv.data());
    Outcome run = {calls, "", testing::internal::GetCapturedStdout()};
    for (const auto &[handler, record] : records) {
        if (&record == result) {
            run.record_of = handler;
        }
    }
    return run;
}

void expectCalls(const std::vector<const char *> &words, const std::vector<std::string> &expected,
                 const std::string &record_of) {
    const Outcome run = dispatch(words);
    EXPECT_EQ(run.calls, expected) << words[0];
    EXPECT_EQ(run.record_of, record_of) << words[0];
    EXPECT_EQ(run.output, "") << words[0];
}

void setDevice(const char *name) {
    snprintf(gParamMpathxVal, PARAM_SIZE, "%s", name);
}

} // namespace

TEST(CommandTableDispatch, EachNameReachesItsHandlerWhoseRecordComesBack) {
    setDevice("mpatha");
    const char *const handlers[][2] = {{"mkconfig", "mkconfig"},     {"lsselfstart", "lsselfstart"},
                                       {"config", "config"},         {"aggregation", "aggregation"},
                                       {"status", "status"},         {"restart", "restart"},
                                       {"setstate", "setpathstate"}, {"setpathpolicy", "setpathpolicy"},
                                       {"version", "version"},       {"lspathpolicy", "lspathpolicy"},
                                       {"setalias", "setalias"},     {"lsalias", "lsalias"},
                                       {"delalias", "delalias"},     {"port", "lsport"},
                                       {"refresh", "refresh"}};
    for (const auto &row : handlers) {
        expectCalls({row[0]}, {row[1]}, row[1]);
    }
}

TEST(CommandTableDispatch, TheServiceIsToldWhatToDo) {
    expectCalls({"setselfstart"}, {"chMultipathdService enable"}, "chMultipathdService");
    expectCalls({"stop"}, {"chMultipathdService stop"}, "chMultipathdService");
}

TEST(CommandTableDispatch, StartLooksAfterTheLvmFilesFirst) {
    expectCalls({"start"}, {"checkAndCreatlvmlibs", "chMultipathdService start"}, "chMultipathdService");
}

TEST(CommandTableDispatch, MkconfigIsDispatchedAlthoughItsNameIsRejected) {
    EXPECT_EQ(checkCliNames("mkconfig"), &EC_invalid_cli_name);
    expectCalls({"mkconfig"}, {"mkconfig"}, "mkconfig");
}

TEST(CommandTableDispatch, QueryWithADeviceArgumentShowsOnlyThatDevice) {
    setDevice("mpathb");
    expectCalls({"query", "mpathb"}, {"querySingleDevice mpathb"}, "querySingleDevice");
}

TEST(CommandTableDispatch, QueryWithAnyOtherNumberOfArgumentsShowsAllDevices) {
    setDevice("left over");
    expectCalls({"query"}, {"query"}, "query");
    expectCalls({"query", "a", "b"}, {"query"}, "query");
}

TEST(CommandTableDispatch, DevstatsWithAnEmptyDeviceRegistersAllDevices) {
    setDevice("");
    expectCalls({"devstats", "-interval", "1"}, {"queryDevStats"}, "queryDevStats");
    setDevice("mpathc");
    expectCalls({"devstats"}, {"querySingleDevStats mpathc"}, "querySingleDevStats");
}

TEST(CommandTableDispatch, DeleteGetsTheValidatedDevice) {
    setDevice("mpathd");
    expectCalls({"delete", "another"}, {"delete_ mpathd"}, "delete_");
}

TEST(CommandTableDispatch, ScanAsksForPatienceBeforeItBegins) {
    const Outcome run = dispatch({"scan"});
    EXPECT_EQ(run.calls, std::vector<std::string>{"scan"});
    EXPECT_EQ(run.record_of, "scan");
    EXPECT_EQ(printed_before_call, "This operation may take several minutes, please wait patiently.\n");
    EXPECT_EQ(run.output, "");
}

TEST(CommandTableDispatch, AnUnknownNameCallsNothingAndIsNamed) {
    for (const char *name : {"quer", "queryx", "", "Scan", "delete_"}) {
        expectCalls({name}, {}, "");
        EXPECT_STREQ(EC_invalid_cli_name.items[0], name);
    }
    const char *argv[] = {"dravik", "nosuch", nullptr};
    EXPECT_EQ(exeCli(2, argv), &EC_invalid_cli_name);
    EXPECT_EQ(exeCli(1, argv), &EC_invalid_cli_name);
    EXPECT_STREQ(EC_invalid_cli_name.items[0], "");
}

TEST(CommandTableDispatch, EachReadingCommandHasItsDescriptionAndTheMembersOfItsAnswer) {
    const std::vector<std::vector<std::string>> rows = {
        {"lsalias", "describeLsalias", "aliases"}, {"lspathpolicy", "describeLspathpolicy", "scsi", "nvme"},
        {"query", "describeQuery 3", "volumes"},   {"status", "describeStatus", "service"},
        {"version", "describeVersion", "version"}, {"port", "describePort", "ports"},
        {"devstats", "", "interval_s", "devices"},
    };
    for (const std::vector<std::string> &row : rows) {
        const dravik::Command *command = dravik::findCommand(row[0].c_str());
        calls.clear();
        if (command->describe != nullptr) {
            command->describe(3, nullptr);
        }
        EXPECT_EQ(calls, row[1].empty() ? std::vector<std::string>{} : std::vector<std::string>{row[1]});
        std::vector<std::string> members;
        for (const char *const *member = command->answer; *member != nullptr; ++member) {
            members.emplace_back(*member);
        }
        EXPECT_EQ(members, std::vector<std::string>(row.begin() + 2, row.end())) << row[0];
    }
}

TEST(CommandTableDispatch, ACommandThatChangesTheHostAnswersItsResultAlone) {
    for (const char *name : {"aggregation", "config", "delalias", "delete", "restart", "scan", "setalias",
                             "setstate", "setpathpolicy", "start", "stop", "refresh"}) {
        const dravik::Command *command = dravik::findCommand(name);
        EXPECT_EQ(command->describe, nullptr) << name;
        EXPECT_EQ(*command->answer, nullptr) << name;
    }
}

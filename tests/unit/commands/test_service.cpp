// Service control: which tool each generation of hosts is administered with, and how its answers are read.
#include "commands/service.h"

#include <csignal>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "host/interruption.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

// Whether a systemd host whose tool prints `output` counts as running the daemon.
bool runsBySystemd(const std::string &output, int outcome) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, output, outcome);
    bool running = true;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
    return running;
}

bool runsBySysV(const std::string &output, int outcome) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(SYSV_STATUS, output, outcome);
    bool running = true;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_EQ(Calls{SYSV_STATUS}, host.calls);
    return running;
}

} // namespace

// ---- getStatus

namespace {

// The generation that is asked, what its tool prints and how it ends, and whether the daemon counts as running.
struct StatusCase {
    bool (*runs)(const std::string &output, int outcome);
    std::string output;
    int outcome;
    bool running;
};

const Rule<StatusCase> STATUS_RULES[] = {
    {"AThirdLineWithActiveRunningAndABlankMeansRunning", {{runsBySystemd, SYSTEMD_RUNNING, 0, true}}},
    {"ActiveExitedMeansNotRunning",
     {{runsBySystemd, "a\nb\n   Active: active (exited) since Mon\n", 0, false}}},
    {"ActiveRunningNeedsABlankOnBothSides",
     {{runsBySystemd, "a\nb\n   Active: active (running)\n", 0, false},
      {runsBySystemd, "a\nb\nactive (running) since\n", 0, false},
      {runsBySystemd, "a\nb\n active (running) ", 0, true}}},
    {"FewerThanThreeNonEmptyLinesMeanNotRunning",
     {{runsBySystemd, "", 0, false},
      {runsBySystemd, " active (running) \n\n\n active (running) \n", 0, false}}},
    {"EmptyLinesAreNotCounted",
     {{runsBySystemd, "\n\na\n\nb\n\n Active: active (running) since\n", 0, true}}},
    {"OnlyTheThirdLineDecides",
     {{runsBySystemd, " active (running) \n active (running) \nc\n active (running) \n", 0, false}}},
    {"ThreeIsTheExitStatusOfAStoppedDaemonAndTheTextStillDecides",
     {{runsBySystemd, SYSTEMD_STOPPED, 3, false}, {runsBySystemd, SYSTEMD_RUNNING, 3, true}}},
    {"AnUnreachableServiceToolReadsAsNotRunning",
     {{runsBySystemd, "", NOT_STARTED, false},
      {runsBySystemd, "", NO_MEMORY, false},
      {runsBySystemd, "sh: systemctl: not found\n", 127, false},
      {runsBySysV, "", NOT_STARTED, false}}},
    {"ASysVHostRunsTheDaemonWhenTheFirstNonEmptyLineSaysSo",
     {{runsBySysV, SYSV_RUNNING, 0, true},
      {runsBySysV, "\n\ndravikd (pid  1234) is running...\n", 0, true},
      {runsBySysV, "dravikd (pid  1234) 正在运行...\n", 0, true},
      {runsBySysV, "dravikd is stopped\nrunning\n", 3, false},
      {runsBySysV, "", 0, false}}},
};

class ServiceStatus : public testing::TestWithParam<Rule<StatusCase>> {};

} // namespace

TEST_P(ServiceStatus, IsReadFromTheToolsAnswer) {
    for (const StatusCase &row : GetParam().cases) {
        EXPECT_EQ(row.runs(row.output, row.outcome), row.running) << row.output;
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ServiceStatus, testing::ValuesIn(STATUS_RULES), nameOfRule);

TEST(Service, Suse11Sp4IsAskedTheSysVWay) {
    FakeHost host;
    host.becomeSuse11Sp4();
    bool running = true;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_FALSE(running);
    EXPECT_EQ(Calls{SYSV_STATUS}, host.calls);
}

TEST(Service, TheOutcomeOfTheSoftLinkScriptIsIgnored) {
    FakeHost host;
    host.answer(SOFTLINK, "", NOT_STARTED);
    host.answer(SYSTEMD_STATUS, SYSTEMD_RUNNING);
    bool running = false;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_TRUE(running);
}

namespace {

// Ends the process with 0 if a host whose tool is cut off by a signal, and then answers, is found running.
[[noreturn]] void askWhileASignalComes() {
    signal(SIGINT, SIG_DFL);
    dravik::deferEndingSignals(nullptr);
    FakeHost host;
    host.answer(SYSTEMD_STATUS, "", 0, [] { raise(SIGINT); });
    host.thenAnswer(SYSTEMD_STATUS, SYSTEMD_RUNNING);
    bool running = false;
    const bool succeeded = getStatus(&running) == &EC_info_ok;
    _exit(succeeded && running && host.calls == Calls{SOFTLINK, SYSTEMD_STATUS, SOFTLINK, SYSTEMD_STATUS}
              ? 0
              : 1);
}

} // namespace

TEST(Service, AnAnswerThatASignalHasCutOffIsAskedForOnceMore) {
    EXPECT_EXIT(askWhileASignalComes(), testing::ExitedWithCode(0), "^$");
}

// ---- serviceState

namespace {

using dravik::ServiceState;

// The state that a systemd host's tool, or a SysV host's, tells with `output`.
ServiceState stateBySystemd(const std::string &output, int outcome = 0) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, output, outcome);
    return dravik::serviceState();
}

ServiceState stateBySysV(const std::string &output, int outcome = 0) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(SYSV_STATUS, output, outcome);
    return dravik::serviceState();
}

} // namespace

TEST(Service, TheStateIsWhatTheToolTellsOfTheDaemon) {
    EXPECT_EQ(stateBySystemd(SYSTEMD_RUNNING), ServiceState::RUNNING);
    EXPECT_EQ(stateBySystemd(SYSTEMD_STOPPED, 3), ServiceState::STOPPED);
    EXPECT_EQ(stateBySystemd("a\nb\n   Active: failed (Result: signal)\n", 3), ServiceState::STOPPED);
    EXPECT_EQ(stateBySysV(SYSV_RUNNING), ServiceState::RUNNING);
    EXPECT_EQ(stateBySysV("dravikd is stopped\n", 3), ServiceState::STOPPED);
}

TEST(Service, TheStateIsUnknownWhereTheToolTellsNothingOfTheDaemon) {
    EXPECT_EQ(stateBySystemd(""), ServiceState::UNKNOWN);
    EXPECT_EQ(stateBySystemd("Unit dravikd.service could not be found.\n", 4), ServiceState::UNKNOWN);
    EXPECT_EQ(stateBySystemd("", NOT_STARTED), ServiceState::UNKNOWN);
    EXPECT_EQ(stateBySysV("", 1), ServiceState::UNKNOWN);
    EXPECT_EQ(stateBySysV("", NOT_STARTED), ServiceState::UNKNOWN);
}

// ---- chMultipathdService

TEST(Service, ActionsGoToSystemctlBehindTheSoftLinkScript) {
    for (const std::string action : {"start", "stop", "reload", "enable"}) {
        FakeHost host;
        host.file("/etc/redhat-release", "CentOS Linux release 7.9.2009 (Core)\n");
        EXPECT_EQ(&EC_ok, chMultipathdService(action.c_str()));
        EXPECT_EQ((Calls{SOFTLINK, "systemctl " + action + " dravikd.service"}), host.calls);
    }
}

TEST(Service, ActionsOnASysVHostGoToServiceEnableIncluded) {
    for (const std::string action : {"start", "stop", "reload", "enable"}) {
        FakeHost host;
        host.becomeRhel6();
        EXPECT_EQ(&EC_ok, chMultipathdService(action.c_str()));
        EXPECT_EQ(Calls{"service dravikd " + action}, host.calls);
    }
}

TEST(Service, AnActionFailsOnlyWhenItCannotBeRun) {
    FakeHost host;
    host.becomeRhel6();
    host.answer("service dravikd start", "no such service\n", 1);
    EXPECT_EQ(&EC_ok, chMultipathdService("start"));
    host.answer("service dravikd stop", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, chMultipathdService("stop"));
    EXPECT_EQ(Calls{"ERROR Execute command [service dravikd stop] failed\n"},
              host.dumps.commandLogMessages());
}

// ---- preparation scripts

TEST(Service, EachPreparationScriptIsOneCommand) {
    FakeHost host;
    checkAndCreatSoftlink();
    checkAndCreatlvmlibs();
    checkAndStartdravikd();
    EXPECT_EQ((Calls{SOFTLINK, CHECK_LVM, START_DAEMON}), host.calls);
}

TEST(Service, TheUnitLinkIsSeenToOnlyWhereSystemctlIsUsed) {
    FakeHost host;
    EXPECT_FALSE(dravik::prepareServiceTool());
    EXPECT_EQ(Calls{SOFTLINK}, host.calls);
    host.calls.clear();
    host.becomeRhel6();
    EXPECT_TRUE(dravik::prepareServiceTool());
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(Service, AnActionThatNoShellMaySeeIsNeverRun) {
    FakeHost host;
    host.becomeRhel6();
    EXPECT_EQ(&EC_exe_cmd_failed, chMultipathdService("start;reboot"));
    EXPECT_EQ(Calls{}, host.calls);
    EXPECT_EQ(Calls{"ERROR chMultipathdService # Execute command [service dravikd start;reboot] failed\n"},
              host.dumps.commandLogLines());
}

// Service control: which tool each generation of hosts is administered with, and how its answers are read.
#include "cli/cli_exe.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace {

using Calls = std::vector<std::string>;

constexpr char SOFTLINK[] = "bash /usr/bin/dravik-script/softlink.sh";
constexpr char SYSTEMD_STATUS[] = "systemctl status dravikd.service";
constexpr char SYSV_STATUS[] = "service dravikd status";
constexpr char IS_ENABLED[] = "systemctl is-enabled dravikd.service";
constexpr char CHKCONFIG[] = "chkconfig dravikd --list";
constexpr char ROLL_BACK[] = "\\cp -fp /etc/velomux.conf.bk /etc/velomux.conf";

const std::string RUNNING = "● dravikd.service - Device-Mapper Multipath Device Controller\n"
                            "   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled)\n"
                            "   Active: active (running) since Mon 2021-12-06 10:15:02 CST; 1h 3min ago\n"
                            " Main PID: 1234 (dravikd)\n";
const std::string STOPPED = "● dravikd.service - Device-Mapper Multipath Device Controller\n"
                            "   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled)\n"
                            "   Active: inactive (dead)\n";

// Whether a systemd host whose tool prints `output` counts as running the daemon.
bool runsBySystemd(const std::string &output, int outcome = 0) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, output, outcome);
    bool running = true;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
    return running;
}

bool runsBySysV(const std::string &output, int outcome = 0) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(SYSV_STATUS, output, outcome);
    bool running = true;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_EQ(Calls{SYSV_STATUS}, host.calls);
    return running;
}

std::string selfStartOnSysV(const std::string &output) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(CHKCONFIG, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsselfstart, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{CHKCONFIG}, host.calls);
    return text;
}

std::string selfStartOnSystemd(const std::string &output) {
    FakeHost host;
    host.answer(IS_ENABLED, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsselfstart, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, IS_ENABLED}), host.calls);
    return text;
}

std::string box(const std::string &line) {
    return separator() + line + separator();
}

} // namespace

// ---- getStatus

TEST(Service, AThirdLineWithActiveRunningAndABlankMeansRunning) {
    EXPECT_TRUE(runsBySystemd(RUNNING));
}

TEST(Service, ActiveExitedMeansNotRunning) {
    EXPECT_FALSE(runsBySystemd("a\nb\n   Active: active (exited) since Mon\n"));
}

TEST(Service, ActiveRunningNeedsABlankOnBothSides) {
    EXPECT_FALSE(runsBySystemd("a\nb\n   Active: active (running)\n"));
    EXPECT_FALSE(runsBySystemd("a\nb\nactive (running) since\n"));
    EXPECT_TRUE(runsBySystemd("a\nb\n active (running) "));
}

TEST(Service, FewerThanThreeNonEmptyLinesMeanNotRunning) {
    EXPECT_FALSE(runsBySystemd(""));
    EXPECT_FALSE(runsBySystemd(" active (running) \n\n\n active (running) \n"));
}

TEST(Service, EmptyLinesAreNotCounted) {
    EXPECT_TRUE(runsBySystemd("\n\na\n\nb\n\n Active: active (running) since\n"));
}

TEST(Service, OnlyTheThirdLineDecides) {
    EXPECT_FALSE(runsBySystemd(" active (running) \n active (running) \nc\n active (running) \n"));
}

TEST(Service, ThreeIsTheExitStatusOfAStoppedDaemonAndTheTextStillDecides) {
    EXPECT_FALSE(runsBySystemd(STOPPED, 3));
    EXPECT_TRUE(runsBySystemd(RUNNING, 3));
}

TEST(Service, AnUnreachableServiceToolReadsAsNotRunning) {
    EXPECT_FALSE(runsBySystemd("", NOT_STARTED));
    EXPECT_FALSE(runsBySystemd("", NO_MEMORY));
    EXPECT_FALSE(runsBySystemd("sh: systemctl: not found\n", 127));
    EXPECT_FALSE(runsBySysV("", NOT_STARTED));
}

TEST(Service, ASysVHostRunsTheDaemonWhenTheFirstNonEmptyLineSaysSo) {
    EXPECT_TRUE(runsBySysV("dravikd (pid  1234) is running...\n"));
    EXPECT_TRUE(runsBySysV("\n\ndravikd (pid  1234) is running...\n"));
    EXPECT_TRUE(runsBySysV("dravikd (pid  1234) 正在运行...\n"));
    EXPECT_FALSE(runsBySysV("dravikd is stopped\nrunning\n", 3));
    EXPECT_FALSE(runsBySysV(""));
}

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
    host.answer(SYSTEMD_STATUS, RUNNING);
    bool running = false;
    EXPECT_EQ(&EC_info_ok, getStatus(&running));
    EXPECT_TRUE(running);
}

// ---- status

TEST(Service, StatusPrintsTheStateInABox) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, RUNNING);
    s_ecItems *result = nullptr;
    EXPECT_EQ(box("Service status: active\n"), printed(status, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
}

TEST(Service, StatusOfAStoppedDaemonIsInactiveAndASuccess) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, STOPPED, 3);
    s_ecItems *result = nullptr;
    EXPECT_EQ(box("Service status: inactive\n"), printed(status, &result));
    EXPECT_EQ(&EC_info_ok, result);
}

TEST(Service, StatusOnAHostWhoseKernelDoesNotAnswerSaysSoFirst) {
    FakeHost host;
    host.kernelDoesNotAnswer();
    s_ecItems *result = nullptr;
    EXPECT_EQ("get os version error\n" + box("Service status: inactive\n"), printed(status, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
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

// ---- restart

TEST(Service, RestartWithTheDaemonRunningSendsReload) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, RUNNING);
    EXPECT_EQ(&EC_ok, restart());
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS, SOFTLINK, "systemctl reload dravikd.service"}), host.calls);
}

TEST(Service, RestartWithTheDaemonStoppedSendsStart) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, STOPPED, 3);
    EXPECT_EQ(&EC_ok, restart());
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS, SOFTLINK, "systemctl start dravikd.service"}), host.calls);
}

TEST(Service, RestartOnASysVHost) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(SYSV_STATUS, "dravikd (pid  1234) is running...\n");
    EXPECT_EQ(&EC_ok, restart());
    EXPECT_EQ((Calls{SYSV_STATUS, "service dravikd reload"}), host.calls);
}

TEST(Service, AFailedRestartRestoresTheConfigurationsBackup) {
    FakeHost host;
    host.becomeRhel6();
    host.answer("service dravikd start", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, restart());
    EXPECT_EQ((Calls{SYSV_STATUS, "service dravikd start", ROLL_BACK}), host.calls);
}

// ---- lsselfstart

TEST(Service, ASysVHostWhoseRunlevels3And5AreBothOffIsOff) {
    EXPECT_EQ(box("Self-starting status: off\n"),
              selfStartOnSysV("dravikd  0:off 1:off 2:on 3:off 4:on 5:off 6:off\n"));
    EXPECT_EQ(box("Self-starting status: off\n"), selfStartOnSysV(""));
}

TEST(Service, ASysVHostWithRunlevel3Or5OnIsOn) {
    EXPECT_EQ(box("Self-starting status: on\n"), selfStartOnSysV("dravikd  3:off 4:off 5:on\n"));
    EXPECT_EQ(box("Self-starting status: on\n"), selfStartOnSysV("dravikd  3:on 4:off 5:off\n"));
}

TEST(Service, ASystemdHostIsOnWhenItsToolSaysEnabled) {
    EXPECT_EQ(box("Self-starting status: on\n"), selfStartOnSystemd("enabled\n"));
    EXPECT_EQ(box("Self-starting status: off\n"), selfStartOnSystemd("static\n"));
    EXPECT_EQ(box("Self-starting status: off\n"), selfStartOnSystemd(""));
}

TEST(Service, AFailedSelfStartQueryPrintsNothing) {
    FakeHost host;
    host.answer(IS_ENABLED, "disabled\n", 1);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(lsselfstart, &result));
    EXPECT_EQ(&EC_exe_cmd_failed, result);
    EXPECT_EQ(Calls{"ERROR Command [systemctl is-enabled dravikd.service] failed, exitcode:[1]\n"},
              host.dumps.commandLogMessages());
}

// ---- preparation scripts

TEST(Service, EachPreparationScriptIsOneCommand) {
    FakeHost host;
    checkAndCreatSoftlink();
    checkAndCreatlvmlibs();
    checkAndStartdravikd();
    EXPECT_EQ((Calls{SOFTLINK, "bash /usr/bin/dravik-script/checklvm.sh",
                     "bash /usr/bin/dravik-script/checkdravikd.sh"}),
              host.calls);
}

// Setting path policies: which scripts run with which values, roll-back, change log, reload.
#include "commands/setpathpolicy.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char RELOAD[] = "service dravikd reload";
constexpr char NOTHING[] = "";

std::string setScsi(const std::string &group, const std::string &chooser) {
    return "bash /usr/bin/dravik-script/policy.sh set " + group + " \"" + chooser + "\"";
}
std::string setHuawei(const std::string &group, const std::string &chooser) {
    return "bash /usr/bin/dravik-script/policy_hw.sh set " + group + " \"" + chooser + "\"";
}
std::string setHitachi(const std::string &group, const std::string &chooser) {
    return "bash /usr/bin/dravik-script/policy_rl.sh set " + group + " \"" + chooser + "\"";
}
std::string setNvme(const std::string &group, const std::string &chooser) {
    return "bash /usr/bin/dravik-script/policy_nvme.sh set " + group + " \"" + chooser + "\"";
}

// A RHEL 6 host (one command per service action) on which "failover" and "round-robin" are in force.
class Setpathpolicy : public testing::Test {
  protected:
    Setpathpolicy() {
        host.becomeRhel6();
        host.answer(POLICY_QUERY, "failover\nround-robin\n");
    }
    // Asks for "multibus" with `chooser`, as the validation does.
    static void ask(const std::string &chooser) {
        give(gParamGroupVal, "multibus");
        give(gParamChooserVal, chooser);
    }
    void askNvme(const std::string &chooser) {
        ask(chooser);
        gParamHostInterfaceType = HOST_INTERFACE_NVME;
        host.kernel("4.18.0-80.el8.x86_64");
        host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n");
    }
    void failAllScsi(const std::string &chooser, const std::string &message) {
        const std::string others = chooser == "service-time" ? "round-robin" : chooser;
        host.answer(setScsi("multibus", chooser), "", 1);
        host.answer(setHuawei("multibus", others), message, 1);
        host.answer(setHitachi("multibus", others), "", 1);
    }

    FakeHost host;
};

} // namespace

// ---- which lines run

TEST_F(Setpathpolicy, TheThreeScsiScriptsRunInOrderAndTheRunningDaemonReloads) {
    ask("queue-length");
    host.answer(SYSV_STATUS, SYSV_RUNNING);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(setpathpolicy, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{BACK_UP, POLICY_QUERY, setScsi("multibus", "queue-length"),
                     setHuawei("multibus", "queue-length"), setHitachi("multibus", "queue-length"),
                     SYSV_STATUS, RELOAD}),
              host.calls);
}

TEST_F(Setpathpolicy, ServiceTimeGoesToTheMakersScriptAndRoundRobinToTheOthers) {
    ask("service-time");
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(
        (Calls{BACK_UP, POLICY_QUERY, setScsi("multibus", "service-time"),
               setHuawei("multibus", "round-robin"), setHitachi("multibus", "round-robin"), SYSV_STATUS}),
        host.calls);
}

TEST_F(Setpathpolicy, WithoutParametersThePolicyInForceIsSetAgain) {
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(
        (Calls{BACK_UP, POLICY_QUERY, setScsi("failover", "round-robin"),
               setHuawei("failover", "round-robin"), setHitachi("failover", "round-robin"), SYSV_STATUS}),
        host.calls);
    EXPECT_EQ("", host.dumps.changeLog());
}

TEST(SetpathpolicyInForce, WithoutParametersAndWithoutAPolicyTheDefaultsAreSet) {
    FakeHost silent;
    silent.becomeRhel6();
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(
        (Calls{BACK_UP, POLICY_QUERY, setScsi("failover", "rount-robin"),
               setHuawei("failover", "rount-robin"), setHitachi("failover", "rount-robin"), SYSV_STATUS}),
        silent.calls);
}

TEST_F(Setpathpolicy, NvmeRunsTheNvmeScriptAndTwoEmptyCommandsAfterTheScsiQuery) {
    askNvme("queue-length");
    host.answer(SYSTEMD_STATUS, "a\nb\n active (running) since\n");
    EXPECT_EQ(&EC_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, POLICY_QUERY, setNvme("multibus", "queue-length"), NOTHING, NOTHING, SOFTLINK,
                     SYSTEMD_STATUS, SOFTLINK, "systemctl reload dravikd.service"}),
              host.calls);
}

TEST(SetpathpolicyInForce, HostileScriptOutputNeverReachesACommandLine) {
    for (const char *word : {"a$(reboot)", "a`reboot`", "a;b", "a\"b", "a'b", "a|b", "a&b", "a>b", "a\\b",
                             "a\tb", "a\x01b", "a\xC3\xBC"}) {
        FakeHost hostile;
        hostile.becomeRhel6();
        hostile.answer(POLICY_QUERY, std::string(word) + "\n" + word + "\n");
        EXPECT_EQ(&EC_info_ok, setpathpolicy()) << word;
        EXPECT_EQ(
            (Calls{BACK_UP, POLICY_QUERY, setScsi("failover", "rount-robin"),
                   setHuawei("failover", "rount-robin"), setHitachi("failover", "rount-robin"), SYSV_STATUS}),
            hostile.calls)
            << word;
    }
}

// ---- distributions

TEST(SetpathpolicyOs, Rhel79WithNvmeIsRejectedAndNothingIsChanged) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux Server release 7.9 (Maipo)\n");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_os_not_support_fcnvme, setpathpolicy());
    EXPECT_EQ(Calls{}, host.calls);
    EXPECT_EQ(Calls{"ERROR setpathpolicy # This OS Red Hat Enterprise Linux Server 7.9  is not support NVMe "
                    "over Fabric.\n"},
              host.dumps.commandLogLines());
}

TEST(SetpathpolicyOs, Rhel80ItselfPasses) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.0 (Ootpa)\n");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(BACK_UP, host.calls.front());
}

TEST(SetpathpolicyOs, Suse12Sp6ByItsOsReleasePasses) {
    FakeHost host;
    host.file("/etc/os-release", "NAME=\"SLES\"\nVERSION=\"12-SP6\"\n");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
}

TEST(SetpathpolicyOs, Suse11IsRejectedForNvme) {
    FakeHost host;
    host.becomeSuse11Sp4();
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_os_not_support_fcnvme, setpathpolicy());
    EXPECT_EQ(Calls{}, host.calls);
}

// ---- failures

TEST_F(Setpathpolicy, ABackupThatCannotBeRunEndsTheCommand) {
    host.answer(BACK_UP, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
}

TEST(SetpathpolicyInForce, AFailedQueryRestoresTheBackup) {
    FakeHost failing;
    failing.answer(POLICY_QUERY, "", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, POLICY_QUERY, ROLL_BACK}), failing.calls);
}

TEST_F(Setpathpolicy, TwoFailingScriptsOfThreeAreASuccessWithChangeLogAndReload) {
    ask("queue-length");
    host.answer(SYSV_STATUS, SYSV_RUNNING);
    host.answer(setScsi("multibus", "queue-length"), "No configuration\n", 1);
    host.answer(setHitachi("multibus", "queue-length"), "No configuration\n", 1);
    EXPECT_EQ(&EC_ok, setpathpolicy());
    EXPECT_EQ(RELOAD, host.calls.back());
    EXPECT_EQ((Calls{"The path group policy is changed from [ failover ] to [ multibus ]",
                     "The path chooser type is changed from [ round-robin ] to [ queue-length ]"}),
              host.dumps.changeLogLines());
}

TEST_F(Setpathpolicy, AllThreeFailingWithOneNoConfigurationAsksForConfig) {
    ask("service-time");
    failAllScsi("service-time", "No configuration information\n");
    EXPECT_EQ(&EC_no_config_info, setpathpolicy());
    EXPECT_EQ(
        "Error(0134): No [scsi] device configuration information found, please execute \"dravik config\" "
        "command to configure first.",
        shown(&EC_no_config_info));
    EXPECT_EQ((Calls{BACK_UP, POLICY_QUERY, setScsi("multibus", "service-time"),
                     setHuawei("multibus", "round-robin"), setHitachi("multibus", "round-robin"), ROLL_BACK}),
              host.calls);
    EXPECT_EQ("", host.dumps.changeLog());
}

TEST_F(Setpathpolicy, AllThreeFailingOtherwiseGivesTheMakersRecord) {
    ask("service-time");
    failAllScsi("service-time", "no configuration\n");
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ(ROLL_BACK, host.calls.back());
}

TEST_F(Setpathpolicy, AFailingNvmeScriptIsNeverReported) {
    askNvme("queue-length");
    host.answer(setNvme("multibus", "queue-length"), "No configuration\n", 1);
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, POLICY_QUERY, setNvme("multibus", "queue-length"), NOTHING, NOTHING, SOFTLINK,
                     SYSTEMD_STATUS}),
              host.calls);
}

TEST_F(Setpathpolicy, NvmeFailsLikeScsiOnlyWhenEvenTheEmptyCommandsFail) {
    askNvme("queue-length");
    host.answer(setNvme("multibus", "queue-length"), "No configuration\n", 1);
    host.answer(NOTHING, "", NOT_STARTED);
    EXPECT_EQ(&EC_no_config_info, setpathpolicy());
    EXPECT_STREQ("nvme", EC_no_config_info.items[0]);
    EXPECT_EQ(ROLL_BACK, host.calls.back());
}

TEST_F(Setpathpolicy, WithTheDaemonStoppedTheFileIsChangedWithoutAReload) {
    ask("queue-length");
    host.answer(SYSV_STATUS, "dravikd is stopped\n", 3);
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(SYSV_STATUS, host.calls.back());
}

TEST_F(Setpathpolicy, AReloadThatCannotBeRunRestoresTheBackup) {
    ask("queue-length");
    host.answer(SYSV_STATUS, SYSV_RUNNING);
    host.answer(RELOAD, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ((Calls{SYSV_STATUS, RELOAD, ROLL_BACK}), Calls(host.calls.end() - 3, host.calls.end()));
}

// ---- change log

TEST_F(Setpathpolicy, OnlyWhatChangesIsLogged) {
    ask("round-robin");
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(Calls{"The path group policy is changed from [ failover ] to [ multibus ]"},
              host.dumps.changeLogLines());
}

TEST(SetpathpolicyInForce, AnUnknownPreviousPolicyIsLoggedAsEmpty) {
    FakeHost silent;
    silent.becomeRhel6();
    give(gParamGroupVal, "multibus");
    give(gParamChooserVal, "round-robin");
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{"The path group policy is changed from [  ] to [ multibus ]",
                     "The path chooser type is changed from [  ] to [ round-robin ]"}),
              silent.dumps.changeLogLines());
}

// Setting and showing path policies: which scripts run with which values, roll-back, change log, reload.
#include "cli/cli_exe.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/cli_tags.h"
#include "tests/support/fake_host.h"

namespace {

using Calls = std::vector<std::string>;

constexpr char BACK_UP[] = "\\cp -fp /etc/velomux.conf /etc/velomux.conf.bk";
constexpr char ROLL_BACK[] = "\\cp -fp /etc/velomux.conf.bk /etc/velomux.conf";
constexpr char QUERY[] = "bash /usr/bin/dravik-script/policy.sh query";
constexpr char NVME_QUERY[] = "bash /usr/bin/dravik-script/policy_nvme.sh query";
constexpr char STATUS[] = "service dravikd status";
constexpr char RELOAD[] = "service dravikd reload";
constexpr char NOTHING[] = "";
constexpr char RUNNING[] = "dravikd (pid  1234) is running...\n";

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
class PathPolicy : public testing::Test {
  protected:
    PathPolicy() {
        host.becomeRhel6();
        host.answer(QUERY, "failover\nround-robin\n");
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

// ---- setpathpolicy: which lines run

TEST_F(PathPolicy, TheThreeScsiScriptsRunInOrderAndTheRunningDaemonReloads) {
    ask("queue-length");
    host.answer(STATUS, RUNNING);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(setpathpolicy, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ(
        (Calls{BACK_UP, QUERY, setScsi("multibus", "queue-length"), setHuawei("multibus", "queue-length"),
               setHitachi("multibus", "queue-length"), STATUS, RELOAD}),
        host.calls);
}

TEST_F(PathPolicy, ServiceTimeGoesToTheMakersScriptAndRoundRobinToTheOthers) {
    ask("service-time");
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, QUERY, setScsi("multibus", "service-time"),
                     setHuawei("multibus", "round-robin"), setHitachi("multibus", "round-robin"), STATUS}),
              host.calls);
}

TEST_F(PathPolicy, WithoutParametersThePolicyInForceIsSetAgain) {
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, QUERY, setScsi("failover", "round-robin"), setHuawei("failover", "round-robin"),
                     setHitachi("failover", "round-robin"), STATUS}),
              host.calls);
    EXPECT_EQ("", host.dumps.changeLog());
}

TEST(PathPolicyInForce, WithoutParametersAndWithoutAPolicyTheDefaultsAreSet) {
    FakeHost silent;
    silent.becomeRhel6();
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, QUERY, setScsi("failover", "rount-robin"), setHuawei("failover", "rount-robin"),
                     setHitachi("failover", "rount-robin"), STATUS}),
              silent.calls);
}

TEST_F(PathPolicy, NvmeRunsTheNvmeScriptAndTwoEmptyCommandsAfterTheScsiQuery) {
    askNvme("queue-length");
    host.answer("systemctl status dravikd.service", "a\nb\n active (running) since\n");
    EXPECT_EQ(&EC_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, QUERY, setNvme("multibus", "queue-length"), NOTHING, NOTHING,
                     "bash /usr/bin/dravik-script/softlink.sh", "systemctl status dravikd.service",
                     "bash /usr/bin/dravik-script/softlink.sh", "systemctl reload dravikd.service"}),
              host.calls);
}

TEST(PathPolicyInForce, HostileScriptOutputNeverReachesACommandLine) {
    for (const char *word : {"a$(reboot)", "a`reboot`", "a;b", "a\"b", "a'b", "a|b", "a&b", "a>b", "a\\b",
                             "a\tb", "a\x01b", "a\xC3\xBC"}) {
        FakeHost hostile;
        hostile.becomeRhel6();
        hostile.answer(QUERY, std::string(word) + "\n" + word + "\n");
        EXPECT_EQ(&EC_info_ok, setpathpolicy()) << word;
        EXPECT_EQ(
            (Calls{BACK_UP, QUERY, setScsi("failover", "rount-robin"), setHuawei("failover", "rount-robin"),
                   setHitachi("failover", "rount-robin"), STATUS}),
            hostile.calls)
            << word;
    }
}

// ---- setpathpolicy: distributions

TEST(PathPolicyOs, Rhel79WithNvmeIsRejectedAndNothingIsChanged) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux Server release 7.9 (Maipo)\n");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_os_not_support_fcnvme, setpathpolicy());
    EXPECT_EQ(Calls{}, host.calls);
    EXPECT_EQ(Calls{"ERROR setpathpolicy # This OS Red Hat Enterprise Linux Server 7.9  is not support NVMe "
                    "over Fabric.\n"},
              host.dumps.commandLogLines());
}

TEST(PathPolicyOs, Rhel80ItselfPasses) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.0 (Ootpa)\n");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(BACK_UP, host.calls.front());
}

TEST(PathPolicyOs, Suse12Sp6ByItsOsReleasePasses) {
    FakeHost host;
    host.file("/etc/os-release", "NAME=\"SLES\"\nVERSION=\"12-SP6\"\n");
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
}

TEST(PathPolicyOs, Suse11IsRejectedForNvme) {
    FakeHost host;
    host.becomeSuse11Sp4();
    gParamHostInterfaceType = HOST_INTERFACE_NVME;
    EXPECT_EQ(&EC_os_not_support_fcnvme, setpathpolicy());
    EXPECT_EQ(Calls{}, host.calls);
}

// ---- setpathpolicy: failures

TEST_F(PathPolicy, ABackupThatCannotBeRunEndsTheCommand) {
    host.answer(BACK_UP, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
}

TEST(PathPolicyInForce, AFailedQueryRestoresTheBackup) {
    FakeHost failing;
    failing.answer(QUERY, "", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, QUERY, ROLL_BACK}), failing.calls);
}

TEST_F(PathPolicy, TwoFailingScriptsOfThreeAreASuccessWithChangeLogAndReload) {
    ask("queue-length");
    host.answer(STATUS, RUNNING);
    host.answer(setScsi("multibus", "queue-length"), "No configuration\n", 1);
    host.answer(setHitachi("multibus", "queue-length"), "No configuration\n", 1);
    EXPECT_EQ(&EC_ok, setpathpolicy());
    EXPECT_EQ(RELOAD, host.calls.back());
    EXPECT_EQ((Calls{"The path group policy is changed from [ failover ] to [ multibus ]",
                     "The path chooser type is changed from [ round-robin ] to [ queue-length ]"}),
              host.dumps.changeLogLines());
}

TEST_F(PathPolicy, AllThreeFailingWithOneNoConfigurationAsksForConfig) {
    ask("service-time");
    failAllScsi("service-time", "No configuration information\n");
    EXPECT_EQ(&EC_no_config_info, setpathpolicy());
    EXPECT_EQ(
        "Error(0134): No [scsi] device configuration information found, please execute \"dravik config\" "
        "command to configure first.",
        shown(&EC_no_config_info));
    EXPECT_EQ((Calls{BACK_UP, QUERY, setScsi("multibus", "service-time"),
                     setHuawei("multibus", "round-robin"), setHitachi("multibus", "round-robin"), ROLL_BACK}),
              host.calls);
    EXPECT_EQ("", host.dumps.changeLog());
}

TEST_F(PathPolicy, AllThreeFailingOtherwiseGivesTheMakersRecord) {
    ask("service-time");
    failAllScsi("service-time", "no configuration\n");
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ(ROLL_BACK, host.calls.back());
}

TEST_F(PathPolicy, AFailingNvmeScriptIsNeverReported) {
    askNvme("queue-length");
    host.answer(setNvme("multibus", "queue-length"), "No configuration\n", 1);
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{BACK_UP, QUERY, setNvme("multibus", "queue-length"), NOTHING, NOTHING,
                     "bash /usr/bin/dravik-script/softlink.sh", "systemctl status dravikd.service"}),
              host.calls);
}

TEST_F(PathPolicy, NvmeFailsLikeScsiOnlyWhenEvenTheEmptyCommandsFail) {
    askNvme("queue-length");
    host.answer(setNvme("multibus", "queue-length"), "No configuration\n", 1);
    host.answer(NOTHING, "", NOT_STARTED);
    EXPECT_EQ(&EC_no_config_info, setpathpolicy());
    EXPECT_STREQ("nvme", EC_no_config_info.items[0]);
    EXPECT_EQ(ROLL_BACK, host.calls.back());
}

TEST_F(PathPolicy, WithTheDaemonStoppedTheFileIsChangedWithoutAReload) {
    ask("queue-length");
    host.answer(STATUS, "dravikd is stopped\n", 3);
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(STATUS, host.calls.back());
}

TEST_F(PathPolicy, AReloadThatCannotBeRunRestoresTheBackup) {
    ask("queue-length");
    host.answer(STATUS, RUNNING);
    host.answer(RELOAD, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, setpathpolicy());
    EXPECT_EQ((Calls{STATUS, RELOAD, ROLL_BACK}), Calls(host.calls.end() - 3, host.calls.end()));
}

// ---- setpathpolicy: change log

TEST_F(PathPolicy, OnlyWhatChangesIsLogged) {
    ask("round-robin");
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ(Calls{"The path group policy is changed from [ failover ] to [ multibus ]"},
              host.dumps.changeLogLines());
}

TEST(PathPolicyInForce, AnUnknownPreviousPolicyIsLoggedAsEmpty) {
    FakeHost silent;
    silent.becomeRhel6();
    give(gParamGroupVal, "multibus");
    give(gParamChooserVal, "round-robin");
    EXPECT_EQ(&EC_info_ok, setpathpolicy());
    EXPECT_EQ((Calls{"The path group policy is changed from [  ] to [ multibus ]",
                     "The path chooser type is changed from [  ] to [ round-robin ]"}),
              silent.dumps.changeLogLines());
}

// ---- lspathpolicy

TEST_F(PathPolicy, OnAHostWithoutNvmeOnlyTheScsiChooserIsShown) {
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: smart-distribution-extend\n" + separator(),
              printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{QUERY}, host.calls);
}

TEST(PathPolicyShown, OnAnNvmeCapableHostBothPartsAreShownAndOnlyScsiUnderTheProductsName) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n");
    host.answer(QUERY, "multibus\nservice-time\n");
    host.answer(NVME_QUERY, "multibus\nservice-time\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() +
                  "SCSI DISK: \nchooser_type: round-robin-extend\n\n"
                  "NVMe DISK: \ngroup_policy: multibus\nchooser_type: service-time\n" +
                  separator(),
              printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{QUERY, NVME_QUERY}), host.calls);
}

TEST(PathPolicyShown, EveryChooserOfTheTableHasItsProductName) {
    const std::vector<std::pair<std::string, std::string>> names = {
        {"round-robin", "smart-distribution-extend"},
        {"queue-length", "least-queue-depth-extend"},
        {"service-time", "round-robin-extend"},
    };
    for (const auto &[chooser, name] : names) {
        FakeHost host;
        host.answer(QUERY, "multibus\n" + chooser + "\n");
        s_ecItems *result = nullptr;
        EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: " + name + "\n" + separator(),
                  printed(lspathpolicy, &result));
    }
}

TEST(PathPolicyShown, AChooserOutsideTheTableIsShownAsRead) {
    for (const std::string chooser : {"rount-robin", "service-time 0", "service", "", "%s%n"}) {
        FakeHost host;
        host.answer(QUERY, "multibus\n" + chooser + "\nx\n");
        s_ecItems *result = nullptr;
        EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: " + chooser + "\n" + separator(),
                  printed(lspathpolicy, &result));
        EXPECT_EQ(&EC_info_ok, result);
    }
}

TEST(PathPolicyShown, EachQueryStartsFromEmptyValues) {
    FakeHost host;
    host.file("/etc/redhat-release", "CentOS Linux release 8.4.2105 (x)\n");
    host.answer(QUERY, "multibus\nservice-time\n");
    host.answer(NVME_QUERY, "one line only\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() +
                  "SCSI DISK: \nchooser_type: round-robin-extend\n\n"
                  "NVMe DISK: \ngroup_policy: \nchooser_type: \n" +
                  separator(),
              printed(lspathpolicy, &result));
}

TEST(PathPolicyShown, AFailedScsiQueryPrintsNothing) {
    FakeHost host;
    host.answer(QUERY, "multibus\nservice-time\n", 1);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_exe_cmd_failed, result);
}

TEST(PathPolicyShown, AFailedNvmeQueryEndsTheOutputWithoutTheClosingSeparator) {
    FakeHost host;
    host.file("/etc/redhat-release", "CentOS Linux release 8.4.2105 (x)\n");
    host.answer(QUERY, "multibus\nservice-time\n");
    host.answer(NVME_QUERY, "", 1);
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: round-robin-extend\n",
              printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_exe_cmd_failed, result);
}

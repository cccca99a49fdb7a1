// The configuration file's commands: every line that is run, what of a script's output gets into it, and what
// a real shell then writes.
#include "cli/cli_exe.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/cli_tags.h"
#include "common/comm_util.h"
#include "tests/support/fake_host.h"

namespace {

using Calls = std::vector<std::string>;

constexpr char BACK_UP[] = "\\cp -fp /etc/velomux.conf /etc/velomux.conf.bk";
constexpr char ROLL_BACK[] = "\\cp -fp /etc/velomux.conf.bk /etc/velomux.conf";
constexpr char COPY_STOCK[] =
    "\\cp -fp /usr/share/doc/device-mapper-velomux-*/velomux.conf /etc/velomux.conf";
constexpr char CHMOD[] = "chmod 777 /etc/velomux.conf";
constexpr char QUERY[] = "bash /usr/bin/dravik-script/policy.sh query";
constexpr char NVME_QUERY[] = "bash /usr/bin/dravik-script/policy_nvme.sh query";
constexpr char CONFIGURE[] = "bash /usr/bin/dravik-script/g2mpiocfg.sh";

// Words that a shell would act on, as a compromised script might print them.
const std::vector<std::string> HOSTILE = {
    "multibus$(reboot)",
    "multibus`reboot`",
    "multibus;reboot",
    "a\"b",
    "a'b",
    "a|b",
    "a&b",
    "a>b",
    "a\\b",
    "a\tb",
    "a\x01b",
    "a\xC3\xBC",
    "a.b",
    "a/b",
};

std::string scsiBlock(const std::string &group, const std::string &chooser) {
    return "echo -ne \"#korvel config begin\n"
           "devices {\n"
           "    device {\n"
           "        vendor                 \\\"KORVEL\\\"\n"
           "        product                \\\"QVX\\\"\n"
           "##      korvel group chooser begin\n"
           "        path_grouping_policy    " +
           group +
           "\n"
           "        path_selector          \\\"" +
           chooser +
           " 0\\\"\n"
           "##      korvel group chooser end\n"
           "    }\n"
           "}\n"
           "#korvel config end\n"
           "\" >> /etc/velomux.conf";
}

// Asks `query` for the policy on a host whose script prints `output`: "GROUP|CHOOSER" from buffers of `size`
// bytes that held "old".
std::string policyFrom(s_ecItems *(*query)(char *, unsigned int, char *, unsigned int), const char *command,
                       const std::string &output, unsigned int size = POLICY_SIZE, int outcome = 0) {
    FakeHost host;
    host.answer(command, output, outcome);
    char group[POLICY_SIZE + 1] = "old";
    char chooser[POLICY_SIZE + 1] = "old";
    group[size] = '!';
    chooser[size] = '!';
    EXPECT_EQ(outcome == 0 ? &EC_info_ok : &EC_exe_cmd_failed, query(group, size, chooser, size));
    EXPECT_EQ(Calls{command}, host.calls);
    EXPECT_EQ('!', group[size]) << "written past the end";
    EXPECT_EQ('!', chooser[size]) << "written past the end";
    return std::string(group) + "|" + chooser;
}

std::string confFrom(const std::string &output, unsigned int size = POLICY_SIZE, int outcome = 0) {
    return policyFrom(getConf, QUERY, output, size, outcome);
}

// The line that `addConf` runs on a host whose policy script prints `output`.
std::string blockAfter(const std::string &output) {
    FakeHost host;
    host.answer(QUERY, output);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(addConf, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ(2U, host.calls.size());
    EXPECT_EQ(QUERY, host.calls.front());
    return host.calls.back();
}

} // namespace

// ---- shared steps

TEST(ConfFile, BackupRestoreAndModeAreOneCommandEach) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, backupConfFile());
    rollBackConfFile();
    EXPECT_EQ(&EC_ok, chmodConfFile());
    EXPECT_EQ((Calls{BACK_UP, ROLL_BACK, CHMOD}), host.calls);
}

TEST(ConfFile, StepsFailOnlyWhenTheyCannotBeRun) {
    FakeHost host;
    host.answer(BACK_UP, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, backupConfFile());
    host.answer(CHMOD, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, chmodConfFile());
}

// ---- the policy in force

TEST(ConfFile, TheFirstLineIsTheGroupAndTheSecondTheChooser) {
    EXPECT_EQ("multibus|service-time", confFrom("multibus\nservice-time\n"));
    EXPECT_EQ("multibus|service-time", confFrom("multibus\nservice-time"));
    EXPECT_EQ("multibus|service-time", confFrom("multibus\nservice-time\nmore\nand more\n"));
    EXPECT_EQ("|service-time", confFrom("\nservice-time\n"));
    EXPECT_EQ("multibus|", confFrom("multibus\n\n"));
}

TEST(ConfFile, OutputOfASingleLineLeavesBothBuffersAsTheyWere) {
    EXPECT_EQ("old|old", confFrom("multibus\n"));
    EXPECT_EQ("old|old", confFrom("multibus"));
    EXPECT_EQ("old|old", confFrom("\n"));
    EXPECT_EQ("old|old", confFrom(""));
}

TEST(ConfFile, AFailedQueryLeavesBothBuffersAsTheyWere) {
    EXPECT_EQ("old|old", confFrom("multibus\nservice-time\n", POLICY_SIZE, 1));
    EXPECT_EQ("old|old", confFrom("multibus\nservice-time\n", POLICY_SIZE, NOT_STARTED));
}

TEST(ConfFile, ALineLongerThanItsBufferIsCutToWhatFitsWithItsTerminator) {
    EXPECT_EQ("mul|ser", confFrom("multibus\nservice-time\n", 4));
    EXPECT_EQ(std::string(255, 'g') + "|" + std::string(255, 'c'),
              confFrom(std::string(300, 'g') + "\n" + std::string(300, 'c') + "\n"));
}

TEST(ConfFile, MoreThan1023CharactersOfTheScriptAreNotLookedAt) {
    // The newline of the first line is the last character that still counts.
    EXPECT_EQ("old|old", confFrom(std::string(1022, 'g') + "\nservice-time\n"));
    EXPECT_EQ(std::string(255, 'g') + "|s", confFrom(std::string(1021, 'g') + "\nservice-time\n"));
}

TEST(ConfFile, TheNvmePolicyComesFromItsOwnScript) {
    EXPECT_EQ("multibus|queue-length", policyFrom(getNVMeConf, NVME_QUERY, "multibus\nqueue-length\n"));
    EXPECT_EQ("old|old", policyFrom(getNVMeConf, NVME_QUERY, "multibus\n"));
}

TEST(ConfFile, ThePolicyToApplyIsTheParameterThenThePreviousOneThenTheDefault) {
    FakeHost host;
    EXPECT_STREQ("failover", groupToApply(""));
    EXPECT_STREQ("rount-robin", chooserToApply(""));
    EXPECT_STREQ("group_by_prio", groupToApply("group_by_prio"));
    EXPECT_STREQ("queue-length", chooserToApply("queue-length"));
    give(gParamGroupVal, "multibus");
    give(gParamChooserVal, "service-time");
    EXPECT_STREQ("multibus", groupToApply("group_by_prio"));
    EXPECT_STREQ("service-time", chooserToApply("queue-length"));
}

TEST(ConfFile, APreviousPolicyThatIsNoPlainPolicyTextCountsAsEmpty) {
    FakeHost host;
    EXPECT_STREQ("round-robin 0", chooserToApply("round-robin 0"));
    for (const std::string &word : HOSTILE) {
        EXPECT_STREQ("failover", groupToApply(word.c_str())) << word;
        EXPECT_STREQ("rount-robin", chooserToApply(word.c_str())) << word;
    }
}

// ---- the device block

TEST(ConfFile, TheBlockCarriesThePolicyThatTheScriptReports) {
    EXPECT_EQ(scsiBlock("multibus", "service-time"), blockAfter("multibus\nservice-time\n"));
}

TEST(ConfFile, EmptyParametersAndAScriptThatPrintsNothingGiveFailoverAndRountRobin) {
    EXPECT_EQ(scsiBlock("failover", "rount-robin"), blockAfter(""));
    EXPECT_EQ(scsiBlock("failover", "rount-robin"), blockAfter("multibus\n"));
    EXPECT_EQ(scsiBlock("failover", "service-time"), blockAfter("\nservice-time\n"));
    EXPECT_EQ(scsiBlock("multibus", "rount-robin"), blockAfter("multibus\n\n"));
}

TEST(ConfFile, TheBlockCarriesTheParametersBeforeThePolicyInForce) {
    FakeHost host;
    give(gParamGroupVal, "multibus");
    give(gParamChooserVal, "queue-length");
    host.answer(QUERY, "failover\nservice-time\n");
    EXPECT_EQ(&EC_ok, addConf());
    EXPECT_EQ((Calls{QUERY, scsiBlock("multibus", "queue-length")}), host.calls);
}

TEST(ConfFile, HostileScriptOutputNeverReachesTheBlocksCommandLine) {
    for (const std::string &word : HOSTILE) {
        EXPECT_EQ(scsiBlock("failover", "rount-robin"),
                  blockAfter(std::string(word).append("\n").append(word).append("\n")))
            << word;
    }
}

TEST(ConfFile, TheLongestPolicyStillLeavesTheBlockWhole) {
    const std::string group(255, 'g');
    const std::string chooser(255, 'c');
    const std::string block = blockAfter(group + "\n" + chooser + "\n");
    EXPECT_EQ(scsiBlock(group, chooser), block);
    EXPECT_LE(block.size() + strlen(" 2>&1"), 1023U) << "the runner would cut the closing quote";
}

TEST(ConfFile, AnyOperatingSystemGetsTheMakersScsiBlock) {
    for (const char *release :
         {"Red Hat Enterprise Linux Server release 8.4 (Ootpa)\n",
          "Red Hat Enterprise Linux release 9.0 (Plow)\n", "CentOS Linux release 8.4.2105\n",
          "SUSE Linux Enterprise Server release 15 (x86_64)\n"}) {
        FakeHost host;
        host.file("/etc/redhat-release", release);
        host.answer(QUERY, "multibus\nservice-time\n");
        s_ecItems *result = nullptr;
        EXPECT_EQ("", printed(addConf, &result)) << release;
        EXPECT_EQ(&EC_ok, result);
        EXPECT_EQ((Calls{QUERY, scsiBlock("multibus", "service-time")}), host.calls) << release;
    }
}

TEST(ConfFile, AFailedQueryEndsAddConfWithItsRecord) {
    FakeHost host;
    host.answer(QUERY, "multibus\nservice-time\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, addConf());
    EXPECT_EQ(Calls{QUERY}, host.calls);
}

TEST(ConfFile, ABlockThatCannotBeWrittenIsAFailure) {
    FakeHost host;
    host.answer(scsiBlock("failover", "rount-robin"), "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, addConf());
}

TEST(ConfFile, WhatReachesTheFileIsOneCommentLineWithoutALineFeed) {
    // The very line that the runner hands to the shell, without its redirection, run by a real one.
    char filtered[2048] = "";
    cleanString(filtered, scsiBlock("multibus", "service-time").c_str());
    const std::string line = filtered;
    const size_t redirection = line.find(" >> /etc/velomux.conf");
    ASSERT_NE(std::string::npos, redirection);
    const std::string script = testing::TempDir() + "conf_file_" + std::to_string(getpid()) + ".sh";
    std::ofstream(script) << line.substr(0, redirection);
    FILE *shell = popen(("bash " + script).c_str(), "r");
    ASSERT_NE(nullptr, shell);
    char text[2048] = "";
    text[fread(text, 1, sizeof(text) - 1, shell)] = '\0';
    EXPECT_EQ(0, pclose(shell));
    remove(script.c_str());
    EXPECT_EQ("#korvel config begin%devices {%    device {%        vendor                 \"KORVEL\"%"
              "        product                \"QVX\"%##      korvel group chooser begin%"
              "        path_grouping_policy    multibus%        path_selector          \"service-time 0\"%"
              "##      korvel group chooser end%    }%}%#korvel config end%",
              std::string(text));
}

// ---- the switch between the blocks, which the operations never reach

TEST(ConfFile, TheNvmeBlockDiffersInMarksVendorAndProductOnly) {
    testing::internal::CaptureStdout();
    const dravik::ShellCommand command =
        dravik::addConfCommand("CentOS Linux 8.4.2105 ", "multibus", "service-time");
    EXPECT_EQ("CentOS Linux 8.4.2105 \n", testing::internal::GetCapturedStdout());
    EXPECT_STREQ("echo -ne \"#nvme config begin\n"
                 "devices {\n"
                 "    device {\n"
                 "        vendor                 \\\"NVME\\\"\n"
                 "        product                \\\"KORVELQVX\\\"\n"
                 "##      group chooser begin\n"
                 "        path_grouping_policy    multibus\n"
                 "        path_selector          \\\"service-time 0\\\"\n"
                 "##      group chooser end\n"
                 "    }\n"
                 "}\n"
                 "#nvme config end\n"
                 "\" >> /etc/velomux.conf",
                 command.line());
}

TEST(ConfFile, ANameMustComeAfterTheLastReleaseWithTheScsiBlock) {
    struct Case {
        const char *os_name;
        bool is_printed;
        bool is_nvme;
    };
    const Case cases[] = {
        {"", false, false},
        {"Unknown Linux", false, false},
        {"Red Hat Enterprise Linux Server 7.9", true, false}, // equal is not enough
        {"Red Hat Enterprise Linux Server 7.9 ", true, true},
        {"Red Hat Enterprise Linux Server 7.8 ", true, false},
        {"Red Hat Enterprise Linux 8.4 ", true, false}, // "8" comes before "Server"
        {"CentOS Linux 7.9", true, false},
        {"CentOS Linux 7.9.2009 ", true, true},
        {"SUSE Linux Enterprise Server 12 PATCHLEVEL = 6", true, false},
        {"SUSE Linux Enterprise Server 15", true, true},
        {"SUSE on Red Hat", true, true}, // "Red" goes first, and "S" comes after "R"
    };
    for (const Case &row : cases) {
        testing::internal::CaptureStdout();
        const dravik::ShellCommand command = dravik::cleanConfCommand(row.os_name);
        EXPECT_EQ(row.is_printed ? std::string(row.os_name) + "\n" : "",
                  testing::internal::GetCapturedStdout());
        EXPECT_STREQ(
            row.is_nvme
                ? "sed -i '/^\\(#nvme config begin\\)$/,/^\\(#nvme config end\\)$/d' /etc/velomux.conf"
                : "sed -i '/^\\(#korvel config begin\\)$/,/^\\(#korvel config end\\)$/d' "
                  "/etc/velomux.conf",
            command.line())
            << row.os_name;
    }
}

// ---- deletion

TEST(ConfFile, TheDeletionCommandsNameTheMarksOnLinesOfTheirOwn) {
    FakeHost host;
    host.file("/etc/redhat-release", "CentOS Linux release 8.4.2105 (x)\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(cleanConf, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ(&EC_ok, cleanPathpolicyConf());
    EXPECT_EQ(
        (Calls{"sed -i '/^\\(#korvel config begin\\)$/,/^\\(#korvel config end\\)$/d' /etc/velomux.conf",
               "sed -i '/^\\(#config begin\\)$/,/^\\(#config end\\)$/d' /etc/velomux.conf"}),
        host.calls);
}

TEST(ConfFile, DeletionsReportTheRunnersRecord) {
    FakeHost host;
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, cleanConf());
    EXPECT_EQ(&EC_exe_cmd_failed, cleanPathpolicyConf());
}

TEST(ConfFile, TheDeletionCommandsPassTheRunnersFilterUnchanged) {
    FakeHost host;
    cleanConf();
    cleanPathpolicyConf();
    for (const std::string &call : host.calls) {
        char filtered[dravik::SHELL_COMMAND_SIZE] = "";
        cleanString(filtered, call.c_str());
        EXPECT_EQ(call, filtered);
    }
}

// ---- mkconfig

TEST(ConfFile, MkconfigBacksUpCopiesTheExampleAppendsTheBlockAndSetsTheMode) {
    FakeHost host;
    host.answer(QUERY, "multibus\nservice-time\n");
    EXPECT_EQ(&EC_ok, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, QUERY, scsiBlock("multibus", "service-time"), CHMOD}), host.calls);
}

TEST(ConfFile, MkconfigWithoutTheExampleStillAppendsTheBlockAndSetsTheMode) {
    FakeHost host;
    host.answer(COPY_STOCK, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, QUERY, scsiBlock("failover", "rount-robin"), CHMOD}), host.calls);
}

TEST(ConfFile, MkconfigEndsAtABackupThatCannotBeRun) {
    FakeHost host;
    host.answer(BACK_UP, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, mkconfig());
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
}

TEST(ConfFile, MkconfigRestoresTheBackupAfterACopyThatCannotBeRun) {
    FakeHost host;
    host.answer(COPY_STOCK, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, ROLL_BACK}), host.calls);
}

TEST(ConfFile, MkconfigRestoresTheBackupAfterAFailedBlockAndSucceedsAllTheSame) {
    FakeHost host;
    host.answer(QUERY, "", 1);
    EXPECT_EQ(&EC_ok, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, QUERY, ROLL_BACK, CHMOD}), host.calls);
}

TEST(ConfFile, MkconfigRestoresTheBackupWhenTheModeCannotBeSet) {
    FakeHost host;
    host.answer(CHMOD, "", NO_MEMORY);
    EXPECT_EQ(&EC_exe_cmd_failed, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, QUERY, scsiBlock("failover", "rount-robin"), CHMOD, ROLL_BACK}),
              host.calls);
}

// ---- config

TEST(ConfFile, ConfigRunsTheScriptAndSucceeds) {
    FakeHost host;
    host.answer(CONFIGURE, "distribute type is not supported\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(config, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ(Calls{CONFIGURE}, host.calls);
}

TEST(ConfFile, ConfigTellsAnUnsupportedDistribution) {
    FakeHost host;
    host.answer(CONFIGURE, "Error: distribute type is not supported.\n", 1);
    EXPECT_EQ(&EC_os_not_support, config());
}

TEST(ConfFile, ConfigWhoseScriptFailsWithAnyOtherMessageIsAFailedCommand) {
    FakeHost host;
    host.answer(CONFIGURE, "Distribute type is not supported\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, config());
    EXPECT_EQ(Calls{"ERROR Command [bash /usr/bin/dravik-script/g2mpiocfg.sh] failed, exitcode:[1]\n"},
              host.dumps.commandLogMessages());
}

TEST(ConfFile, ConfigThatCannotBeRunIsAFailedCommand) {
    FakeHost host;
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, config());
}

// The maker's device block: the line that appends it, what of a script's output gets into it, what a real shell
// then writes, and the lines that delete it.
#include "commands/vendor_block.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "commands/parameter_buffers.h"
#include "common/text_filter.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

// The line that `addConf` runs on a host whose policy script prints `output`.
std::string blockAfter(const std::string &output) {
    FakeHost host;
    host.answer(POLICY_QUERY, output);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(addConf, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ(2U, host.calls.size());
    EXPECT_EQ(POLICY_QUERY, host.calls.front());
    return host.calls.back();
}

} // namespace

// ---- the device block

TEST(VendorBlock, TheBlockCarriesThePolicyThatTheScriptReports) {
    EXPECT_EQ(appendScsiBlock("multibus", "service-time"), blockAfter("multibus\nservice-time\n"));
}

TEST(VendorBlock, EmptyParametersAndAScriptThatPrintsNothingGiveFailoverAndRountRobin) {
    EXPECT_EQ(appendScsiBlock("failover", "rount-robin"), blockAfter(""));
    EXPECT_EQ(appendScsiBlock("failover", "rount-robin"), blockAfter("multibus\n"));
    EXPECT_EQ(appendScsiBlock("failover", "service-time"), blockAfter("\nservice-time\n"));
    EXPECT_EQ(appendScsiBlock("multibus", "rount-robin"), blockAfter("multibus\n\n"));
}

TEST(VendorBlock, TheBlockCarriesTheParametersBeforeThePolicyInForce) {
    FakeHost host;
    give(gParamGroupVal, "multibus");
    give(gParamChooserVal, "queue-length");
    host.answer(POLICY_QUERY, "failover\nservice-time\n");
    EXPECT_EQ(&EC_ok, addConf());
    EXPECT_EQ((Calls{POLICY_QUERY, appendScsiBlock("multibus", "queue-length")}), host.calls);
}

TEST(VendorBlock, HostileScriptOutputNeverReachesTheBlocksCommandLine) {
    for (const std::string &word : HOSTILE_POLICIES) {
        EXPECT_EQ(appendScsiBlock("failover", "rount-robin"),
                  blockAfter(std::string(word).append("\n").append(word).append("\n")))
            << word;
    }
}

TEST(VendorBlock, TheLongestPolicyStillLeavesTheBlockWhole) {
    const std::string group(255, 'g');
    const std::string chooser(255, 'c');
    const std::string block = blockAfter(group + "\n" + chooser + "\n");
    EXPECT_EQ(appendScsiBlock(group, chooser), block);
    EXPECT_LE(block.size() + strlen(" 2>&1"), 1023U) << "the runner would cut the closing quote";
}

TEST(VendorBlock, AnyOperatingSystemGetsTheMakersScsiBlock) {
    for (const char *release :
         {"Red Hat Enterprise Linux Server release 8.4 (Ootpa)\n",
          "Red Hat Enterprise Linux release 9.0 (Plow)\n", "CentOS Linux release 8.4.2105\n",
          "SUSE Linux Enterprise Server release 15 (x86_64)\n"}) {
        FakeHost host;
        host.file("/etc/redhat-release", release);
        host.answer(POLICY_QUERY, "multibus\nservice-time\n");
        s_ecItems *result = nullptr;
        EXPECT_EQ("", printed(addConf, &result)) << release;
        EXPECT_EQ(&EC_ok, result);
        EXPECT_EQ((Calls{POLICY_QUERY, appendScsiBlock("multibus", "service-time")}), host.calls) << release;
    }
}

TEST(VendorBlock, AFailedQueryEndsAddConfWithItsRecord) {
    FakeHost host;
    host.answer(POLICY_QUERY, "multibus\nservice-time\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, addConf());
    EXPECT_EQ(Calls{POLICY_QUERY}, host.calls);
}

TEST(VendorBlock, ABlockThatCannotBeWrittenIsAFailure) {
    FakeHost host;
    host.answer(appendScsiBlock("failover", "rount-robin"), "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, addConf());
}

TEST(VendorBlock, WhatReachesTheFileIsOneCommentLineWithoutALineFeed) {
    // The very line that the runner hands to the shell, without its redirection, run by a real one.
    char filtered[2048] = "";
    cleanString(filtered, appendScsiBlock("multibus", "service-time").c_str());
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

TEST(VendorBlock, TheNvmeBlockDiffersInMarksVendorAndProductOnly) {
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

TEST(VendorBlock, ANameMustComeAfterTheLastReleaseWithTheScsiBlock) {
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

TEST(VendorBlock, TheDeletionCommandsNameTheMarksOnLinesOfTheirOwn) {
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

TEST(VendorBlock, DeletionsReportTheRunnersRecord) {
    FakeHost host;
    host.startNothing();
    EXPECT_EQ(&EC_exe_cmd_failed, cleanConf());
    EXPECT_EQ(&EC_exe_cmd_failed, cleanPathpolicyConf());
}

TEST(VendorBlock, TheDeletionCommandsPassTheRunnersFilterUnchanged) {
    FakeHost host;
    cleanConf();
    cleanPathpolicyConf();
    for (const std::string &call : host.calls) {
        char filtered[dravik::SHELL_COMMAND_SIZE] = "";
        cleanString(filtered, call.c_str());
        EXPECT_EQ(call, filtered);
    }
}

// The policies in force as they are shown.
#include "commands/lspathpolicy.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Lspathpolicy, OnAHostWithoutNvmeOnlyTheScsiChooserIsShown) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(POLICY_QUERY, "failover\nround-robin\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: smart-distribution-extend\n" + separator(),
              printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{POLICY_QUERY}, host.calls);
}

TEST(Lspathpolicy, OnAnNvmeCapableHostBothPartsAreShownAndOnlyScsiUnderTheProductsName) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n");
    host.answer(POLICY_QUERY, "multibus\nservice-time\n");
    host.answer(NVME_POLICY_QUERY, "multibus\nservice-time\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() +
                  "SCSI DISK: \nchooser_type: round-robin-extend\n\n"
                  "NVMe DISK: \ngroup_policy: multibus\nchooser_type: service-time\n" +
                  separator(),
              printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{POLICY_QUERY, NVME_POLICY_QUERY}), host.calls);
}

TEST(Lspathpolicy, EveryChooserOfTheTableHasItsProductName) {
    const std::vector<std::pair<std::string, std::string>> names = {
        {"round-robin", "smart-distribution-extend"},
        {"queue-length", "least-queue-depth-extend"},
        {"service-time", "round-robin-extend"},
    };
    for (const auto &[chooser, name] : names) {
        FakeHost host;
        host.answer(POLICY_QUERY, "multibus\n" + chooser + "\n");
        s_ecItems *result = nullptr;
        EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: " + name + "\n" + separator(),
                  printed(lspathpolicy, &result));
    }
}

TEST(Lspathpolicy, AChooserOutsideTheTableIsShownAsRead) {
    for (const std::string chooser : {"rount-robin", "service-time 0", "service", "", "%s%n"}) {
        FakeHost host;
        host.answer(POLICY_QUERY, "multibus\n" + chooser + "\nx\n");
        s_ecItems *result = nullptr;
        EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: " + chooser + "\n" + separator(),
                  printed(lspathpolicy, &result));
        EXPECT_EQ(&EC_info_ok, result);
    }
}

TEST(Lspathpolicy, EachQueryStartsFromEmptyValues) {
    FakeHost host;
    host.file("/etc/redhat-release", "CentOS Linux release 8.4.2105 (x)\n");
    host.answer(POLICY_QUERY, "multibus\nservice-time\n");
    host.answer(NVME_POLICY_QUERY, "one line only\n");
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() +
                  "SCSI DISK: \nchooser_type: round-robin-extend\n\n"
                  "NVMe DISK: \ngroup_policy: \nchooser_type: \n" +
                  separator(),
              printed(lspathpolicy, &result));
}

TEST(Lspathpolicy, AFailedScsiQueryPrintsNothing) {
    FakeHost host;
    host.answer(POLICY_QUERY, "multibus\nservice-time\n", 1);
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_exe_cmd_failed, result);
}

TEST(Lspathpolicy, AFailedNvmeQueryEndsTheOutputWithoutTheClosingSeparator) {
    FakeHost host;
    host.file("/etc/redhat-release", "CentOS Linux release 8.4.2105 (x)\n");
    host.answer(POLICY_QUERY, "multibus\nservice-time\n");
    host.answer(NVME_POLICY_QUERY, "", 1);
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() + "SCSI DISK: \nchooser_type: round-robin-extend\n",
              printed(lspathpolicy, &result));
    EXPECT_EQ(&EC_exe_cmd_failed, result);
}

// The path policies as structured data.
#include "commands/lspathpolicy_json.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char NVME_RELEASE[] = "Red Hat Enterprise Linux release 8.4 (Ootpa)\n";

std::string described(const s_ecItems *expected) {
    dravik::Json document = dravik::Json::object();
    EXPECT_EQ(expected, dravik::describeLspathpolicy(2, &document));
    return document.line();
}

} // namespace

TEST(LspathpolicyJson, TheScsiSelectorStandsUnderBothNamesAndTheNvmePolicyAsItIs) {
    FakeHost host;
    host.file("/etc/redhat-release", NVME_RELEASE);
    host.answer(POLICY_QUERY, "multibus\nround-robin\n");
    host.answer(NVME_POLICY_QUERY, "group_by_prio\nservice-time\n");
    EXPECT_EQ(described(&EC_info_ok),
              R"({"scsi":{"chooser":"smart-distribution-extend","chooser_raw":"round-robin"},)"
              R"("nvme":{"group_policy":"group_by_prio","chooser":"service-time"}})");
    EXPECT_EQ((Calls{POLICY_QUERY, NVME_POLICY_QUERY}), host.calls);
}

TEST(LspathpolicyJson, ADistributionWithoutNvmeHasNull) {
    FakeHost host;
    host.becomeRhel6();
    host.answer(POLICY_QUERY, "multibus\nqueue-length\n");
    EXPECT_EQ(described(&EC_info_ok),
              R"({"scsi":{"chooser":"least-queue-depth-extend","chooser_raw":"queue-length"},"nvme":null})");
    EXPECT_EQ(Calls{POLICY_QUERY}, host.calls);
}

TEST(LspathpolicyJson, WhatIsNotConfiguredIsNull) {
    FakeHost host;
    host.file("/etc/redhat-release", NVME_RELEASE);
    EXPECT_EQ(described(&EC_info_ok),
              R"({"scsi":{"chooser":null,"chooser_raw":null},"nvme":{"group_policy":null,"chooser":null}})");
}

TEST(LspathpolicyJson, AnNvmeQueryThatFailsLeavesTheScsiPart) {
    FakeHost host;
    host.file("/etc/redhat-release", NVME_RELEASE);
    host.answer(POLICY_QUERY, "multibus\nother\n");
    host.answer(NVME_POLICY_QUERY, "", 1);
    EXPECT_EQ(described(&EC_exe_cmd_failed), R"({"scsi":{"chooser":"other","chooser_raw":"other"}})");
}

TEST(LspathpolicyJson, AScsiQueryThatFailsTellsNothing) {
    FakeHost host;
    host.file("/etc/redhat-release", NVME_RELEASE);
    host.answer(POLICY_QUERY, "multibus\nservice-time\n", 1);
    EXPECT_EQ(described(&EC_exe_cmd_failed), "{}");
    EXPECT_EQ(Calls{POLICY_QUERY}, host.calls);
}

// What release names and kernels mean: SysV or systemd, NVMe over Fabrics or not.
#include "host/host_os.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

// A distribution's name, and whether it supports NVMe over Fabrics.
struct CapableCase {
    const char *os_name;
    bool capable;
};

const Rule<CapableCase> CAPABLE_RULES[] = {
    {"RedHatServerIsNvmeCapableFromExactly80",
     {{"Red Hat Enterprise Linux Server 7.9 ", false},
      {"Red Hat Enterprise Linux Server 8.0", true},
      {"Red Hat Enterprise Linux Server 8.0 ", true},
      {"Red Hat Enterprise Linux Server 9.2 ", true}}},
    {"RedHatWithoutServerIsNvmeCapableFromExactly80",
     {{"Red Hat Enterprise Linux 7.9", false},
      {"Red Hat Enterprise Linux 8.0", true},
      {"Red Hat Enterprise Linux 8.4 ", true},
      // Byte by byte: a tenth generation comes before the eighth.
      {"Red Hat Enterprise Linux 10.0 ", false}}},
    {"CentOsIsNvmeCapableFromExactly80",
     {{"CentOS Linux 7.9.2009 ", false}, {"CentOS Linux 8.0", true}, {"CentOS Linux 8.4.2105 ", true}}},
    {"SuseIsNvmeCapableFromExactly12Sp6ByItsOsRelease",
     {{"VERSION=\"12-SP5\"\n", false},
      {"VERSION=\"12-SP6\"", true},
      {"VERSION=\"12-SP6\"\n", true},
      {"VERSION=\"15-SP3\"\n", true}}},
    {"ASuseReleaseNameMustComeAfter12Patchlevel6",
     {{"SUSE Linux Enterprise Server 12 PATCHLEVEL = 6", false},
      {"SUSE Linux Enterprise Server 12 PATCHLEVEL = 6\n", true},
      {"SUSE Linux Enterprise Server 12 PATCHLEVEL = 7", true},
      {"SUSE Linux Enterprise Server 15", true},
      {"SUSE Linux Enterprise Server 11", false}}},
    {"AnyOtherNameIsNotNvmeCapable",
     {{"", false}, {"Unknown Linux", false}, {"Oracle Linux Server 8.", false}, {"VERSION=\"15\"\n", false}}},
    {"TheFirstMatchingRuleDecides",
     {// "Red" goes before "SUSE", whatever the rest of the name says.
      {"A SUSE with Red in it", false}}},
};

class HostOsNvme : public testing::TestWithParam<Rule<CapableCase>> {};

} // namespace

TEST_P(HostOsNvme, IsToldByTheName) {
    for (const CapableCase &row : GetParam().cases) {
        EXPECT_EQ(isNvmeCapableOs(row.os_name), row.capable) << row.os_name;
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, HostOsNvme, testing::ValuesIn(CAPABLE_RULES), nameOfRule);

TEST(HostOs, Suse11Sp4IsKnownByBothMarks) {
    EXPECT_TRUE(isSuse11Sp4("VERSION=\"11.4\"\n"));
    EXPECT_FALSE(isSuse11Sp4("VERSION=\"11.3\"\n"));
    EXPECT_FALSE(isSuse11Sp4("SUSE Linux Enterprise Server 11.4"));
}

TEST(HostOs, AnEl6KernelMakesASysVHost) {
    FakeHost host;
    EXPECT_FALSE(isSysVHost());
    host.kernel("2.6.32-754.el6.x86_64");
    EXPECT_TRUE(isSysVHost());
    host.kernel("3.10.0-1160.el7.x86_64");
    EXPECT_FALSE(isSysVHost());
    host.kernel("2.6.32-754.el6x86_64");
    EXPECT_FALSE(isSysVHost());
}

TEST(HostOs, Suse11Sp4IsASysVHostOnAnyKernel) {
    FakeHost host;
    host.becomeSuse11Sp4();
    EXPECT_TRUE(isSysVHost());
}

TEST(HostOs, AKernelThatDoesNotAnswerIsReportedAndTheDistributionStillTested) {
    for (const bool suse : {false, true}) {
        FakeHost host;
        if (suse) {
            host.becomeSuse11Sp4();
        }
        host.kernelDoesNotAnswer();
        testing::internal::CaptureStdout();
        EXPECT_EQ(suse, isSysVHost());
        EXPECT_EQ("get os version error\n", testing::internal::GetCapturedStdout());
    }
}

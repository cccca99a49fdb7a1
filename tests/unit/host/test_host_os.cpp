// What release names and kernels mean: SysV or systemd, NVMe over Fabrics or not.
#include "cli/cli_exe.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

TEST(HostOs, RedHatServerIsNvmeCapableFromExactly80) {
    EXPECT_FALSE(isNvmeCapableOs("Red Hat Enterprise Linux Server 7.9 "));
    EXPECT_TRUE(isNvmeCapableOs("Red Hat Enterprise Linux Server 8.0"));
    EXPECT_TRUE(isNvmeCapableOs("Red Hat Enterprise Linux Server 8.0 "));
    EXPECT_TRUE(isNvmeCapableOs("Red Hat Enterprise Linux Server 9.2 "));
}

TEST(HostOs, RedHatWithoutServerIsNvmeCapableFromExactly80) {
    EXPECT_FALSE(isNvmeCapableOs("Red Hat Enterprise Linux 7.9"));
    EXPECT_TRUE(isNvmeCapableOs("Red Hat Enterprise Linux 8.0"));
    EXPECT_TRUE(isNvmeCapableOs("Red Hat Enterprise Linux 8.4 "));
    // Byte by byte: a tenth generation comes before the eighth.
    EXPECT_FALSE(isNvmeCapableOs("Red Hat Enterprise Linux 10.0 "));
}

TEST(HostOs, CentOsIsNvmeCapableFromExactly80) {
    EXPECT_FALSE(isNvmeCapableOs("CentOS Linux 7.9.2009 "));
    EXPECT_TRUE(isNvmeCapableOs("CentOS Linux 8.0"));
    EXPECT_TRUE(isNvmeCapableOs("CentOS Linux 8.4.2105 "));
}

TEST(HostOs, SuseIsNvmeCapableFromExactly12Sp6ByItsOsRelease) {
    EXPECT_FALSE(isNvmeCapableOs("VERSION=\"12-SP5\"\n"));
    EXPECT_TRUE(isNvmeCapableOs("VERSION=\"12-SP6\""));
    EXPECT_TRUE(isNvmeCapableOs("VERSION=\"12-SP6\"\n"));
    EXPECT_TRUE(isNvmeCapableOs("VERSION=\"15-SP3\"\n"));
}

TEST(HostOs, ASuseReleaseNameMustComeAfter12Patchlevel6) {
    EXPECT_FALSE(isNvmeCapableOs("SUSE Linux Enterprise Server 12 PATCHLEVEL = 6"));
    EXPECT_TRUE(isNvmeCapableOs("SUSE Linux Enterprise Server 12 PATCHLEVEL = 6\n"));
    EXPECT_TRUE(isNvmeCapableOs("SUSE Linux Enterprise Server 12 PATCHLEVEL = 7"));
    EXPECT_TRUE(isNvmeCapableOs("SUSE Linux Enterprise Server 15"));
    EXPECT_FALSE(isNvmeCapableOs("SUSE Linux Enterprise Server 11"));
}

TEST(HostOs, AnyOtherNameIsNotNvmeCapable) {
    EXPECT_FALSE(isNvmeCapableOs(""));
    EXPECT_FALSE(isNvmeCapableOs("Unknown Linux"));
    EXPECT_FALSE(isNvmeCapableOs("Oracle Linux Server 8."));
    EXPECT_FALSE(isNvmeCapableOs("VERSION=\"15\"\n"));
}

TEST(HostOs, TheFirstMatchingRuleDecides) {
    // "Red" goes before "SUSE", whatever the rest of the name says.
    EXPECT_FALSE(isNvmeCapableOs("A SUSE with Red in it"));
}

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

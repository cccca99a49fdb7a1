// What the kernel says of maps and block devices: there, gone, or not to be asked.
#include "ledger/kernel_view.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/kernel_folder.h"

using namespace dravik;

namespace {

class KernelView : public testing::Test {
  protected:
    KernelView() {
        kernel.map("dm-3", "mpatha");
        kernel.device("dm-3", "sdb");
        kernel.map("dm-4", "3600b5d60001a2b3c0000000000000002");
        kernel.device("dm-4", "sdc");
        kernel.device("", "sdd");
    }
    KernelFolder kernel;
};

const char *const WWID = "3600b5d60001a2b3c0000000000000001";

} // namespace

// ---- reading a small file

TEST_F(KernelView, AFileIsReadUpToItsFirstNewline) {
    std::string line = "before";
    kernel.write("/sys/a", "one\ntwo\n");
    EXPECT_TRUE(readKernelLine("/sys/a", &line));
    EXPECT_EQ(line, "one");
    kernel.write("/sys/a", "no newline");
    EXPECT_TRUE(readKernelLine("/sys/a", &line));
    EXPECT_EQ(line, "no newline");
    kernel.write("/sys/a", "");
    EXPECT_TRUE(readKernelLine("/sys/a", &line));
    EXPECT_EQ(line, "");
}

TEST_F(KernelView, ALongLineIsCutAt255Bytes) {
    std::string line;
    for (const size_t length : {254U, 255U, 256U, 5000U}) {
        kernel.write("/sys/a", std::string(length, 'x') + "\n");
        EXPECT_TRUE(readKernelLine("/sys/a", &line));
        EXPECT_EQ(line, std::string(std::min<size_t>(length, 255), 'x'));
    }
}

TEST_F(KernelView, WhatIsNoPlainFileIsNotRead) {
    std::string line = "before";
    EXPECT_FALSE(readKernelLine("/sys/none", &line));
    EXPECT_FALSE(readKernelLine("/sys/block", &line));
    kernel.link("/sys/loop", "loop");
    EXPECT_FALSE(readKernelLine("/sys/loop", &line));
    ASSERT_EQ(system(("mkfifo " + kernel.path("/sys/pipe")).c_str()),
              0); // would hang whoever waits for its writer
    EXPECT_FALSE(readKernelLine("/sys/pipe", &line));
}

// ---- paths

TEST_F(KernelView, APathIsThereWhileItsDeviceStandsBelowItsMap) {
    EXPECT_EQ(kernelHasPath("dm-3", "sdb"), KernelAnswer::HAS_IT);
    kernel.remove("/sys/block/dm-3/slaves/sdb");
    EXPECT_EQ(kernelHasPath("dm-3", "sdb"), KernelAnswer::HAS_IT_NOT);
}

TEST_F(KernelView, APathWhoseDeviceIsGoneIsNotThereThoughTheMapStillNamesIt) {
    kernel.remove("/sys/block/sdb");
    kernel.remove("/sys/devices/sdb");
    EXPECT_EQ(kernelHasPath("dm-3", "sdb"), KernelAnswer::HAS_IT_NOT);
}

TEST_F(KernelView, ADeviceThatStandsBelowNoMapOrAnotherIsNotThePath) {
    EXPECT_EQ(kernelHasPath("dm-3", "sdd"), KernelAnswer::HAS_IT_NOT);
    EXPECT_EQ(kernelHasPath("dm-3", "sdc"), KernelAnswer::HAS_IT_NOT);
    EXPECT_EQ(kernelHasPath("dm-9", "sdb"), KernelAnswer::HAS_IT_NOT);
}

TEST_F(KernelView, AnNvmeNamespaceIsAPathLikeAnyOther) {
    kernel.device("dm-3", "nvme0n1");
    EXPECT_EQ(kernelHasPath("dm-3", "nvme0n1"), KernelAnswer::HAS_IT);
    EXPECT_EQ(kernelHasPath("dm-3", "nvme0n2"), KernelAnswer::HAS_IT_NOT);
}

// ---- volumes

TEST_F(KernelView, AVolumeIsThereWhileItsMapBearsItsAliasOrItsWwid) {
    EXPECT_EQ(kernelHasVolume("dm-3", "mpatha", WWID), KernelAnswer::HAS_IT);
    EXPECT_EQ(kernelHasVolume("dm-4", "mpathb", "3600b5d60001a2b3c0000000000000002"), KernelAnswer::HAS_IT);
}

TEST_F(KernelView, AMapThatIsGoneOrBearsAnotherNameIsNotTheVolume) {
    EXPECT_EQ(kernelHasVolume("dm-9", "mpatha", WWID), KernelAnswer::HAS_IT_NOT);
    EXPECT_EQ(kernelHasVolume("dm-4", "mpatha", WWID), KernelAnswer::HAS_IT_NOT);
    EXPECT_EQ(kernelHasVolume("dm-3", "mpath", "3600"), KernelAnswer::HAS_IT_NOT);
    EXPECT_EQ(kernelHasVolume("dm-3", "", ""), KernelAnswer::HAS_IT_NOT);
}

// ---- not to be asked

TEST_F(KernelView, WithoutTheKernelsFilesNothingCanBeTold) {
    kernel.remove("/sys");
    EXPECT_EQ(kernelHasPath("dm-3", "sdb"), KernelAnswer::CANNOT_TELL);
    EXPECT_EQ(kernelHasVolume("dm-3", "mpatha", WWID), KernelAnswer::CANNOT_TELL);
}

TEST_F(KernelView, ANameThatIsNotKnownCannotBeAskedFor) {
    EXPECT_EQ(kernelHasPath("", "sdb"), KernelAnswer::CANNOT_TELL);
    EXPECT_EQ(kernelHasPath("dm-3", ""), KernelAnswer::CANNOT_TELL);
    EXPECT_EQ(kernelHasVolume("", "mpatha", WWID), KernelAnswer::CANNOT_TELL);
}

TEST_F(KernelView, ANameThatWouldLeaveItsFolderIsNeverAskedFor) {
    kernel.makeFolder("/sys/block/dm-3/slaves/x");
    for (const char *name : {"../sdb", "x/../sdb", "..", ".", "/sdb", "sdb/", "x/y"}) {
        EXPECT_NE(kernelHasPath("dm-3", name), KernelAnswer::HAS_IT) << name;
        EXPECT_NE(kernelHasVolume(name, "mpatha", WWID), KernelAnswer::HAS_IT) << name;
    }
    EXPECT_NE(kernelHasPath("../block/dm-3", "sdb"), KernelAnswer::HAS_IT);
    EXPECT_NE(kernelHasVolume("../block/dm-3", "mpatha", WWID), KernelAnswer::HAS_IT);
    EXPECT_EQ(mapSizeBytes("../block/dm-3"), 0);
}

// ---- size and boot

TEST_F(KernelView, AMapsSizeIsItsSectorsTimes512) {
    EXPECT_EQ(mapSizeBytes("dm-3"), 2048 * 512);
    kernel.write("/sys/block/dm-3/size", "0\n");
    EXPECT_EQ(mapSizeBytes("dm-3"), 0);
    kernel.write("/sys/block/dm-3/size", "18014398509481983\n"); // the last whose bytes can be counted
    EXPECT_EQ(mapSizeBytes("dm-3"), 18014398509481983 * 512);
}

TEST_F(KernelView, ASizeThatIsNoNumberOrTooLargeIsNotKnown) {
    for (const char *text :
         {"", "\n", "-8\n", "12x\n", "x\n", "18014398509481984\n", "99999999999999999999999\n"}) {
        kernel.write("/sys/block/dm-3/size", text);
        EXPECT_EQ(mapSizeBytes("dm-3"), 0) << text;
    }
    EXPECT_EQ(mapSizeBytes("dm-9"), 0);
    EXPECT_EQ(mapSizeBytes(""), 0);
}

TEST_F(KernelView, TheBootIdTellsOneStartOfTheHostFromTheNext) {
    EXPECT_EQ(bootId(), "");
    kernel.bootId("5b0b7a6c-4f1f-4b0e-9c61-0a1d2a8f6f0e");
    EXPECT_EQ(bootId(), "5b0b7a6c-4f1f-4b0e-9c61-0a1d2a8f6f0e");
}

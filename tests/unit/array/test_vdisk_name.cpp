// A volume's name: from the array while it answers, from the cache file otherwise.
#include "array/vdisk_name.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/array_device.h"
#include "tests/support/dumps_redirect.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char FILE_NAME[] = "storage_config.json";
constexpr char WWID[] = "3600a";

std::string fileWith(const std::string &wwid, const std::string &name) {
    return "{\n\t\"disk\":\t[{\n\t\t\t\"wwid\":\t\"" + wwid + "\",\n\t\t\t\"vdisk_name\":\t\"" + name +
           "\"\n\t\t}]\n}";
}

class VdiskName : public testing::Test {
  protected:
    DumpsFolder dumps;
    ArrayDevice device;
    char name[128] = "";
    unsigned int found = 7;

    void displayScsi() {
        displayVdiskname(device.path().c_str(), WWID, name, &found);
    }
    void displayNvme() {
        displayNvmeVdiskname(device.path().c_str(), WWID, name, &found);
    }
    void answerScsi(const std::string &vdisk_name) {
        device.answerPage(0x00, supportedPages({0x00, 0xD0}));
        device.answerPage(0xD0, namePage(vdisk_name));
    }
};

TEST_F(VdiskName, WhatTheScsiArrayAnswersIsFoundAndRemembered) {
    answerScsi("vol1");
    displayScsi();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "vol1");
    EXPECT_EQ(dumps.read(FILE_NAME), fileWith(WWID, "vol1"));
    EXPECT_EQ(dumps.commandLogLines(), Lines{});
}

TEST_F(VdiskName, WhatTheNvmeArrayAnswersIsFoundAndRemembered) {
    device.answerLog("vol2");
    displayNvme();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "vol2");
    EXPECT_EQ(dumps.read(FILE_NAME), fileWith(WWID, "vol2"));
    EXPECT_EQ(dumps.commandLogLines(), Lines{});
}

TEST_F(VdiskName, ASilentArrayIsAnsweredFromTheFile) {
    dumps.write(FILE_NAME, fileWith(WWID, "remembered"));
    displayScsi();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "remembered");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_disk_page # get disk page ioctl failed, ret = -1, io_status is 0.\n",
                     "ERROR get_disk_00_page # Get Disk 00Page failed, iRet = -1.\n",
                     "ERROR get_vdisk_name # Get 00 page of device failed.\n"}));
    memset(name, 0, sizeof(name));
    dumps.forgetLogs();
    displayNvme();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "remembered");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_vdisk_info # Get NVMe C0 Page failed.\n",
                     "ERROR get_nvme_vdisk_name # Get C0 page of nvme device failed.\n"}));
    EXPECT_EQ(dumps.read(FILE_NAME), fileWith(WWID, "remembered"));
}

TEST_F(VdiskName, ASilentArrayAndAnUnknownWwidFindNothing) {
    dumps.write(FILE_NAME, fileWith("another", "remembered"));
    displayScsi();
    EXPECT_EQ(found, 0U);
    EXPECT_STREQ(name, "");
    found = 7;
    displayNvme();
    EXPECT_EQ(found, 0U);
    EXPECT_STREQ(name, "");
}

TEST_F(VdiskName, ADeviceThatListsNoPagesIsLookedUp) {
    dumps.write(FILE_NAME, fileWith(WWID, "remembered"));
    device.answerPage(0x00, supportedPages({}));
    displayScsi();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "remembered");
    EXPECT_EQ(dumps.commandLogLines(), (Lines{"ERROR get_disk_00_page # Page length error, page len 0.\n",
                                              "ERROR get_vdisk_name # Get 00 page of device failed.\n"}));
}

TEST_F(VdiskName, AnEmptyNameFromTheArrayIsLookedUp) {
    dumps.write(FILE_NAME, fileWith(WWID, "remembered"));
    answerScsi("");
    displayScsi();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "remembered");
    device.answerLog("");
    memset(name, 0, sizeof(name));
    displayNvme();
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "remembered");
}

TEST_F(VdiskName, ANewNameReplacesTheRememberedOne) {
    dumps.write(FILE_NAME, fileWith(WWID, "old"));
    answerScsi("new");
    displayScsi();
    EXPECT_STREQ(name, "new");
    EXPECT_EQ(dumps.read(FILE_NAME), fileWith(WWID, "new"));
    EXPECT_EQ(
        dumps.commandLogLines(),
        (Lines{"ERROR update_wwid_vdiskname # device (3600a), vdisk name change from (old) to (new).\n"}));
}

TEST_F(VdiskName, AReaderThatSucceedsWithAnEmptyNameEndsWithoutReadingTheFile) {
    dumps.write(FILE_NAME, fileWith(WWID, "remembered"));
    findVdiskName([](const char *, char *) { return 0; }, "/dev/dm-1", WWID, name, &found);
    EXPECT_EQ(found, 1U);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(dumps.read(FILE_NAME), fileWith(WWID, "remembered"));
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR findVdiskName # Devcie (3600a), unable to get vdisk name using in-band channel, "
                     "we try to get vdisk name from file.\n"}));
}

} // namespace

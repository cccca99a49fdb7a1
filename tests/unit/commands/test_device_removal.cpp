// Removing a map, one block device, all block devices of a volume.
#include "commands/device_removal.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"
#include "tests/support/path_list.h"

namespace {

const std::string DELETE_SDB = deletionOf("sdb");
const std::string DELETE_SDC = deletionOf("sdc");
constexpr char IN_USE[] = "Dec 06 10:15:02 | mpatha: map in use\n";
constexpr char NO_ARGUMENT[] = "Dec 06 10:15:02 | '/dev/dm-3' is not a valid argument\n";

} // namespace

// ---- the tool's answer

TEST(DeviceRemoval, AMapIsInUseWhenTheToolSaysSo) {
    EXPECT_TRUE(dravik::saysInUse(IN_USE));
    EXPECT_TRUE(dravik::saysInUse("mpatha: map in use"));
    EXPECT_FALSE(dravik::saysInUse(NO_ARGUMENT));
    EXPECT_FALSE(dravik::saysInUse("map in use"));
    EXPECT_FALSE(dravik::saysInUse("mpatha: Map in use"));
    EXPECT_FALSE(dravik::saysInUse(""));
}

// ---- deleteDrive

TEST(DeviceRemoval, DeleteDriveOfNoPathsIsASuccess) {
    FakeHost host;
    const PathList empty({});
    EXPECT_EQ(&EC_ok, deleteDrive(nullptr));
    EXPECT_EQ(&EC_ok, deleteDrive(empty.head));
    empty.head->end = false; // a head without a first path
    EXPECT_EQ(&EC_ok, deleteDrive(empty.head));
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(DeviceRemoval, OnlyTheFirstPathIsTestedForAScsiDisk) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/nvme0n1");
    EXPECT_EQ(&EC_ok, deleteDrive(PathList({"nvme0n1", "sdb"}).head));
    EXPECT_EQ(Calls{}, host.calls);
    EXPECT_EQ(&EC_ok, deleteDrive(PathList({"sdb", "nvme0n1"}).head));
    EXPECT_EQ((Calls{DELETE_SDB, deletionOf("nvme0n1")}), host.calls);
}

TEST(DeviceRemoval, DeleteDrivePassesOverNamesThatSysfsDoesNotKnow) {
    FakeHost host;
    host.node("/sys/block/sdc");
    EXPECT_EQ(&EC_ok, deleteDrive(PathList({"sdb", "sdc", "sdd"}).head));
    EXPECT_EQ(Calls{DELETE_SDC}, host.calls);
}

TEST(DeviceRemoval, DeleteDriveStopsAtTheEndFlagAndAtAMissingSuccessor) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/sdc");
    const PathList paths({"sdb", "sdc"});
    paths.head->next->end = true; // sdc is a spare node now
    EXPECT_EQ(&EC_ok, deleteDrive(paths.head));
    EXPECT_EQ(Calls{DELETE_SDB}, host.calls);
    paths.head->next->end = false;
    paths.head->next->next->end = false; // no node carries the flag
    host.calls.clear();
    EXPECT_EQ(&EC_ok, deleteDrive(paths.head));
    EXPECT_EQ((Calls{DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST(DeviceRemoval, AnEchoThatExitsWithAnErrorIsNoFailure) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/sdc");
    host.answer(DELETE_SDB, "sh: write error\n", 1);
    EXPECT_EQ(&EC_ok, deleteDrive(PathList({"sdb", "sdc"}).head));
    EXPECT_EQ((Calls{DELETE_SDB, DELETE_SDC}), host.calls);
}

// ---- delPathInfo, delOneDrive

TEST(DeviceRemoval, DelPathInfoFlushesByNumberWithoutTheTimer) {
    FakeHost host;
    EXPECT_EQ(&EC_info_ok, delPathInfo("3"));
    EXPECT_EQ(Calls{"velomux -f /dev/dm-3"}, host.calls);
}

TEST(DeviceRemoval, DelPathInfoOfAnEmptyOrNullNumberIsASuccess) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, delPathInfo(""));
    EXPECT_EQ(&EC_ok, delPathInfo(nullptr));
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(DeviceRemoval, DelPathInfoTellsAMapInUseFromAnyOtherFailure) {
    FakeHost host;
    host.answer("velomux -f /dev/dm-3", IN_USE, 1);
    EXPECT_EQ(&EC_del_failed_for_using, delPathInfo("3"));
    host.answer("velomux -f /dev/dm-4", NO_ARGUMENT, 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delPathInfo("4"));
    host.answer("velomux -f /dev/dm-5", IN_USE, 0);
    EXPECT_EQ(&EC_info_ok, delPathInfo("5"));
    host.answer("velomux -f /dev/dm-6", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delPathInfo("6"));
}

TEST(DeviceRemoval, DelOneDriveDeletesOnlyWhatSysfsKnows) {
    FakeHost host;
    host.node("/sys/block/sdb");
    EXPECT_EQ(&EC_ok, delOneDrive("sdb"));
    EXPECT_EQ(&EC_ok, delOneDrive("sdc"));
    EXPECT_EQ(&EC_ok, delOneDrive(""));
    EXPECT_EQ(&EC_ok, delOneDrive(nullptr));
    EXPECT_EQ(Calls{DELETE_SDB}, host.calls);
}

TEST(DeviceRemoval, DelOneDriveReturnsTheRunnersRecord) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.answer(DELETE_SDB, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delOneDrive("sdb"));
}

// ---- words that must not reach a shell

TEST(DeviceRemoval, AHostileDeviceNumberIsNeverFlushed) {
    for (const char *number :
         {"3;reboot", "3$(reboot)", "3`reboot`", "3 4", "3|x", "-1", "\xC3\xBC", "3\n"}) {
        FakeHost host;
        EXPECT_EQ(&EC_exe_cmd_failed, delPathInfo(number)) << number;
        EXPECT_EQ(Calls{}, host.calls) << number;
    }
}

TEST(DeviceRemoval, AHostileBlockDeviceIsNeverDeletedEvenIfItExists) {
    for (const std::string name :
         {"sd;reboot", "sd$(reboot)", "sd`x`", "sd x", "sd|x", "sd&x", "sd>x", "-sd", "sd'"}) {
        FakeHost host;
        host.node("/sys/block/" + name);
        EXPECT_EQ(&EC_exe_cmd_failed, delOneDrive(name.c_str())) << name;
        const PathList paths({name, "sdb"});
        EXPECT_EQ(&EC_exe_cmd_failed, deleteDrive(paths.head)) << name;
        EXPECT_EQ(Calls{}, host.calls) << name;
        EXPECT_EQ("ERROR deleteDrive # Execute command [echo 1 > /sys/block/" + name +
                      "/device/delete] failed\n",
                  host.dumps.commandLogLines().back());
    }
}

// The counters read device by device from sysfs.
#include "stats/sysfs_stat.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "stats/stat_settings.h"
#include "stats/system_files.h"
#include "tests/support/stats_host.h"

namespace {

constexpr char DISK_FILE[] = "    1   2   3   4   5   6   7   8   9   10   11    12 13 14 15 16 17\n";

// Tables with so many slots.
class SysfsStat : public testing::Test {
  protected:
    StatsHost host;

    void prepare(int slots) {
        host.diskstats(std::string(static_cast<size_t>(slots - 4), '\n'));
        io_sys_init();
    }
};

TEST_F(SysfsStat, ACounterFileHoldsElevenValuesOfADiskOrFourOfAPartition) {
    s_iodev counters = {};
    host.write("/file", DISK_FILE);
    EXPECT_EQ(read_sysfs_file(host.path("/file").c_str(), &counters), 11);
    const s_iodev disk = {3, 7, 1, 2, 5, 6, 4, 8, 9, 10, 11};
    EXPECT_TRUE(counters == disk);
    host.write("/file", "1 2 3 4\n");
    EXPECT_EQ(read_sysfs_file(host.path("/file").c_str(), &counters), 4);
    const s_iodev partition = {2, 4, 1, 0, 3, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(counters == partition);
    for (const char *text : {"", "x", "1 2 3 4 5", "1 2 3"}) {
        s_iodev untouched = disk;
        host.write("/file", text);
        EXPECT_LT(read_sysfs_file(host.path("/file").c_str(), &untouched), 6);
        EXPECT_TRUE(untouched == disk) << text;
    }
    EXPECT_EQ(read_sysfs_file(host.path("/missing").c_str(), &counters), 0);
}

TEST_F(SysfsStat, ListedDevicesAreReadFromSysfsWithAnExclamationMarkForASlash) {
    listDevices({"dm-3=mpatha", "cciss/c0d0", "missing", "sdb"});
    prepare(8);
    host.write("/sys/block/dm-3/stat", DISK_FILE);
    host.write("/sys/block/cciss!c0d0/stat", DISK_FILE);
    host.write("/sys/block/sdb/stat", DISK_FILE);
    host.write("/sys/block/sdb/sdb1/stat", DISK_FILE);
    host.write("/sys/block/sdc/stat", DISK_FILE);
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "dm-3:1:1:1/5 cciss/c0d0:1:1:1/5 sdb:1:1:1/5 ");
}

TEST_F(SysfsStat, AListedDisksPartitionsAreReadWhenItsFlagIsSet) {
    listDevices({"sda", "sdb"});
    prepare(8);
    st_dev_list[1].disk_flag = 1;
    host.write("/sys/block/sda/stat", DISK_FILE);
    host.write("/sys/block/sda/sda1/stat", DISK_FILE);
    host.write("/sys/block/sdb/stat", DISK_FILE);
    host.write("/sys/block/sdb/queue/depth", "1");
    host.write("/sys/block/sdb/sdb1/stat", "1 2 3 4\n");
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/5 sdb:1:1:1/5 sdb1:1:1:1/3 ");
    st_settings.extended_layout = true;
    read_sysfs_dlist_stat(0);
    EXPECT_EQ(slotsOf(0), "sda:1:1:1/5 sdb:1:1:1/5 ");
    // The flag of a disk that cannot be read does not matter.
    st_settings.extended_layout = false;
    host.write("/sys/block/sdb/stat", "rubbish");
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/5 ");
}

TEST_F(SysfsStat, WithoutAListEveryDeviceUnderSysfsIsRead) {
    prepare(8);
    host.write("/sys/block/sda/stat", DISK_FILE);
    host.write("/sys/block/sda/sda1/stat", DISK_FILE);
    host.write("/sys/block/empty/other", "");
    read_sysfs_stat(1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/5 ");
    st_settings.all_partitions = true;
    read_sysfs_stat(0);
    EXPECT_EQ(slotsOf(0), "sda:1:1:1/5 sda1:1:1:1/5 ");
}

TEST_F(SysfsStat, AVanishedDeviceOfSysfsFreesItsSlot) {
    prepare(8);
    host.write("/sys/block/sda/stat", DISK_FILE);
    read_sysfs_stat(1);
    host.remove("/sys/block/sda");
    host.write("/sys/block/sdb/stat", DISK_FILE);
    read_sysfs_stat(0);
    EXPECT_EQ(slotsOf(0), "- sdb:1:1:1/5 ");
}

TEST_F(SysfsStat, ANameThatLeadsNowhereWithinThePathsSizeIsLeftOut) {
    salloc_dev_list(1);
    strcpy(st_dev_list[0].name, "../../etc");
    dlist_idx = 1;
    prepare(8);
    host.write("/etc/stat", DISK_FILE);
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "");
    const std::string deep = "/" + std::string(1010, 'x');
    st_system_root = deep.c_str();
    EXPECT_FALSE(is_whole_device("sda"));
    EXPECT_EQ(count_sysfs_devices(true), 0);
}

} // namespace

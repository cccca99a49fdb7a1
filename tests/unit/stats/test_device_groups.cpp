// Totals of groups of devices.
#include "stats/device_groups.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "stats/sample_tables.h"
#include "stats/stat_settings.h"
#include "tests/support/stats_host.h"

namespace {

class DeviceGroups : public testing::Test {
  protected:
    StatsHost host;

    void initWith(int lines) {
        std::string text;
        for (int i = 0; i < lines; i++) {
            text += diskstatsLine("init" + std::to_string(i), {});
        }
        host.diskstats(text);
        io_sys_init();
    }
};

TEST_F(DeviceGroups, DevicesAreSummedUpToTheirGroup) {
    initWith(4);
    listDevices({"a", "b", "idle", "gone"});
    strcpy(st_group_name, " all");
    presave_device_list();
    st_iodev[1][0] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    st_iodev[1][1] = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110};
    st_iodev[1][2].read_sectors = 1000; // but no request
    st_iodev[1][3].read_ios = 1000;
    st_hdr_iodev[3].status = SLOT_UNREGISTERED;
    st_hdr_iodev[3].used = 0;
    compute_device_groups_stats(1);
    const s_iodev total = st_iodev[1][4];
    const s_iodev expected = {11, 22, 33, 44, 55, 66, 77, 88, 0, 110, 121};
    EXPECT_TRUE(total == expected);
    EXPECT_EQ(st_hdr_iodev[4].used, 2U);
    st_settings.unfiltered = true;
    compute_device_groups_stats(1);
    EXPECT_EQ(st_iodev[1][4].read_sectors, 1011U);
    EXPECT_EQ(st_hdr_iodev[4].used, 3U);
}

TEST_F(DeviceGroups, EachGroupStartsItsSumAnewAndAnEmptyOneKeepsItsSlot) {
    initWith(4);
    for (int i = 0; i < 5; i++) {
        st_hdr_iodev[i].used = 1;
        st_hdr_iodev[i].status = SLOT_DEVICE;
        snprintf(st_hdr_iodev[i].name, sizeof(st_hdr_iodev[i].name), "d%d", i);
        st_iodev[0][i].write_ios = 1;
    }
    for (const int group : {2, 4, 5}) {
        st_hdr_iodev[group].used = 1;
        st_hdr_iodev[group].status = SLOT_GROUP;
        snprintf(st_hdr_iodev[group].name, sizeof(st_hdr_iodev[group].name), " g%d", group);
    }
    compute_device_groups_stats(0);
    EXPECT_EQ(slotsOf(0), "d0:1:1:0/1 d1:1:1:0/1  g2:2:2:0/2 d3:1:1:0/1  g4:2:1:0/1  g5:2:0:0/0 ");
    compute_device_groups_stats(0);
    EXPECT_EQ(slotsOf(0), "d0:1:1:0/1 d1:1:1:0/1  g2:2:2:0/2 d3:1:1:0/1  g4:2:1:0/1  g5:2:0:0/0 ");
    // A new device finds another slot than the empty group's.
    beginReading(0);
    s_iodev counters = {};
    counters.read_ios = 1;
    for (const char *name : {"d0", "d1", "d3", "new"}) {
        saveReading(name, &counters);
    }
    endReading();
    EXPECT_EQ(slotsOf(0),
              "d0:1:1:1/0 d1:1:1:1/0  g2:2:2:0/2 d3:1:1:1/0  g4:2:1:0/1  g5:2:0:0/0 new:1:1:1/0 ");
}

} // namespace

// Which slot a row is about, and the clock that its rates are measured by.
#include "stats/report_slots.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stats/stats.h"
#include "tests/support/report_texts.h"
#include "tests/support/stats_host.h"

namespace {

class ReportSlotsOfSample : public testing::Test {
  protected:
    ReportSlotsOfSample() {
        host.diskstats(std::string(8, '\n'));
        io_sys_init();
        listDevices({"dm-3=mpatha", "sdb", "sdc"});
        presave_device_list();
        st_hdr_iodev[3].used = 0; // the group without a name
    }

    StatsHost host;
};

} // namespace

TEST_F(ReportSlotsOfSample, ADeviceIsFoundByItsNameInASlotInUse) {
    for (int slot = 0; slot < 3; ++slot) {
        st_iodev[1][slot] = AFTER;
    }
    const dravik::ReportSlots slots(1);
    EXPECT_EQ(slots.find("dm-3"), 0);
    EXPECT_EQ(slots.find("sdc"), 2);
    EXPECT_EQ(slots.find("sd"), -1);
    EXPECT_EQ(slots.find(""), -1);
    st_hdr_iodev[2].used = 0;
    EXPECT_EQ(dravik::ReportSlots(1).find("sdc"), -1);
}

TEST_F(ReportSlotsOfSample, TheFiltersOfTheSettingsDecideByTheSample) {
    st_iodev[1][1] = AFTER;
    EXPECT_EQ(dravik::ReportSlots(1).find("sdb"), 1);
    EXPECT_EQ(dravik::ReportSlots(0).find("sdb"), -1); // nothing since boot, in that sample
    EXPECT_EQ(dravik::ReportSlots(1).find("sdc"), -1);
    st_settings.unfiltered = true;
    EXPECT_EQ(dravik::ReportSlots(1).find("sdc"), 2);
    st_settings.omit_idle = true;
    EXPECT_EQ(dravik::ReportSlots(1).find("sdc"), -1);
    EXPECT_EQ(dravik::ReportSlots(1).find("sdb"), 1);
    st_settings.group_total_only = true;
    EXPECT_EQ(dravik::ReportSlots(1).find("sdb"), -1);
}

TEST_F(ReportSlotsOfSample, TheIntervalIsThatOfTheOneProcessorOrOfTheHostsUptime) {
    uptime[0] = 1000;
    uptime[1] = 1200;
    uptime0[0] = 500;
    uptime0[1] = 600;
    cpu_nr = 1;
    EXPECT_EQ(dravik::intervalTicks(1), 200U);
    cpu_nr = 2;
    EXPECT_EQ(dravik::intervalTicks(1), 100U);
    uptime0[1] = 500;
    EXPECT_EQ(dravik::intervalTicks(1), 1U);
}

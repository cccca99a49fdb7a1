// Processor time and uptime.
#include "stats/cpu_stat.h"

#include <cstring>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/stats_host.h"

namespace {

class CpuStat : public testing::Test {
  protected:
    StatsHost host;
};

TEST_F(CpuStat, ASampleTakesThreeHundredAndTwentyBytes) {
    EXPECT_EQ(sizeof(s_cpu), 320U);
}

TEST_F(CpuStat, TheTickRateIsTheSystems) {
    get_HZ();
    EXPECT_EQ(hz, static_cast<unsigned int>(sysconf(_SC_CLK_TCK)));
    EXPECT_EQ(get_cpu_nr(), sysconf(_SC_NPROCESSORS_ONLN));
}

TEST_F(CpuStat, TheCpuLineIsReadAndSummedWithoutTheGuestsThatUserAndNiceHold) {
    s_cpu cpu;
    unsigned long long ticks = 77;
    host.write("/proc/stat", "intr 5\ncpu0 9 9 9 9\ncpu  10 20 30 40 50 60 70 80 3 4\ncpu1 9 9 9 9\n");
    read_stat_cpu(&cpu, &ticks);
    EXPECT_EQ(ticks, 360U);
    EXPECT_EQ(cpu.user, 10U);
    EXPECT_EQ(cpu.nice, 20U);
    EXPECT_EQ(cpu.system, 30U);
    EXPECT_EQ(cpu.idle, 40U);
    EXPECT_EQ(cpu.iowait, 50U);
    EXPECT_EQ(cpu.hard_interrupt, 60U);
    EXPECT_EQ(cpu.soft_interrupt, 70U);
    EXPECT_EQ(cpu.steal, 80U);
    EXPECT_EQ(cpu.guest, 3U);
    EXPECT_EQ(cpu.guest_nice, 4U);
    host.write("/proc/stat", "cpu  10 20 30 40\n"); // an old kernel
    read_stat_cpu(&cpu, &ticks);
    EXPECT_EQ(ticks, 100U);
    EXPECT_EQ(cpu.iowait, 0U);
}

TEST_F(CpuStat, AMissingCpuLineIsNoTimeAtAll) {
    s_cpu cpu;
    memset(&cpu, '#', sizeof(cpu));
    unsigned long long ticks = 77;
    for (const char *text : {"", "cpu0 1 2 3 4\n", "cpuwhat\n"}) {
        host.write("/proc/stat", text);
        read_stat_cpu(&cpu, &ticks);
        EXPECT_EQ(ticks, 0U);
        EXPECT_EQ(cpu.user, 0U);
    }
    host.remove("/proc/stat");
    ticks = 77;
    read_stat_cpu(&cpu, &ticks);
    EXPECT_EQ(ticks, 0U);
}

TEST_F(CpuStat, TheUptimeIsTakenInTicks) {
    unsigned long long ticks = 0;
    host.write("/proc/uptime", "351735.47 234388.90\n");
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 35173547U);
    hz = 250;
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 351735U * 250 + 47 * 250 / 100);
    host.write("/proc/uptime", "rubbish\n");
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 0U);
    ticks = 77;
    host.remove("/proc/uptime");
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 0U);
}

} // namespace

// Rates between two samples.
#include "stats/rates.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "stats/cpu_stat.h"
#include "tests/support/stats_host.h"

namespace {

class Rates : public testing::Test {
  protected:
    StatsHost host;
};

TEST_F(Rates, EqualClocksAreOneTickApart) {
    EXPECT_EQ(get_interval(500, 500), 1U);
    EXPECT_EQ(get_interval(500, 700), 200U);
    EXPECT_EQ(get_interval(0, 700), 700U);
}

TEST_F(Rates, ACounterThatGoesBackFromThirtyTwoBitsHasWrappedThere) {
    EXPECT_EQ(counterDifference(10, 15), 5U);
    EXPECT_EQ(counterDifference(4294967295U, 4), 5U);
    EXPECT_EQ(counterDifference(4294967290U, 0), 6U);
    EXPECT_EQ(counterDifference(4294967295U, 4294967300U), 5U); // it has not gone back
    EXPECT_EQ(counterDifference(4294967296U, 4294967295U), UINT64_MAX);
    EXPECT_EQ(counterDifference(UINT64_MAX, 4), 5U);
    EXPECT_EQ(ll_s_value(10, 15, 200), 2.5);
    EXPECT_EQ(ll_s_value(4294967295U, 4, 200), 2.5);
    EXPECT_EQ(ll_sp_value(10, 15, 200), 2.5);
    EXPECT_EQ(ll_sp_value(4294967295U, 4, 200), 2.5);
    hz = 250;
    EXPECT_EQ(ll_s_value(10, 15, 250), 5.0);
    EXPECT_EQ(ll_sp_value(10, 15, 250), 2.0);
}

TEST_F(Rates, ADevicesMeansComeFromItsDifferences) {
    s_iodev previous = {};
    previous.read_ios = 10;
    previous.write_ios = 20;
    previous.read_ms = 4294967290U; // wraps
    previous.write_ms = 100;
    previous.io_ms = 4294967295U; // wraps
    previous.read_sectors = 1000;
    s_iodev current = previous;
    current.read_ios = 14;
    current.write_ios = 21;
    current.read_ms = 4;
    current.write_ms = 115;
    current.io_ms = 99;
    current.read_sectors = 1040;
    current.write_sectors = 10;
    s_ext_disk_stats stats;
    compute_ext_disk_stats(&current, &previous, 200, &stats);
    EXPECT_EQ(stats.busy_share, 50.0);   // 100 ms in 2 s
    EXPECT_EQ(stats.response_time, 5.0); // 25 ms, 5 requests
    EXPECT_EQ(stats.service_time, 20.0); // 50 / 2.5 requests a second
    EXPECT_EQ(stats.request_size, 10.0); // 50 sectors
    EXPECT_EQ(stats.read_response_time, 2.5);
    EXPECT_EQ(stats.write_response_time, 15.0);
}

TEST_F(Rates, WithoutRequestsTheMeansAreZero) {
    s_iodev previous = {};
    s_iodev current = {};
    current.read_ms = 50;
    current.io_ms = 100;
    current.read_sectors = 10;
    s_ext_disk_stats stats;
    compute_ext_disk_stats(&current, &previous, 200, &stats);
    EXPECT_EQ(stats.busy_share, 50.0);
    EXPECT_EQ(stats.response_time, 0.0);
    EXPECT_EQ(stats.service_time, 0.0);
    EXPECT_EQ(stats.request_size, 0.0);
    EXPECT_EQ(stats.read_response_time, 0.0);
    EXPECT_EQ(stats.write_response_time, 0.0);
}

} // namespace

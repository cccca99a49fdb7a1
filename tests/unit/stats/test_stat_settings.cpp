// The settings' rules: the default unit, the interval and the count.
#include "stats/stat_settings.h"

#include <climits>
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/support/stats_host.h"

namespace {

class StatSettings : public testing::Test {
  protected:
    StatsHost host;
    int state = 0;
    long count = 77;
    long interval = 77;

    void give(long value) {
        set_stat_interval(&state, &count, &interval, value);
    }
};

TEST_F(StatSettings, KilobytesAreTheDefaultUnit) {
    unsetenv("POSIXLY_CORRECT");
    set_disk_output_unit();
    EXPECT_TRUE(st_settings.kilobytes);
    EXPECT_FALSE(st_settings.megabytes);
}

TEST_F(StatSettings, AChosenUnitStays) {
    unsetenv("POSIXLY_CORRECT");
    st_settings.megabytes = true;
    set_disk_output_unit();
    EXPECT_FALSE(st_settings.kilobytes);
    EXPECT_TRUE(st_settings.megabytes);
}

TEST_F(StatSettings, InAPosixlyCorrectEnvironmentThereIsNoDefaultUnit) {
    setenv("POSIXLY_CORRECT", "", 1);
    set_disk_output_unit();
    unsetenv("POSIXLY_CORRECT");
    EXPECT_FALSE(st_settings.kilobytes);
    EXPECT_FALSE(st_settings.megabytes);
}

TEST_F(StatSettings, TheFirstValueIsTheIntervalAndRunsUntilStopped) {
    give(5);
    EXPECT_EQ(interval, 5);
    EXPECT_EQ(count, -1);
    EXPECT_EQ(state, 1);
}

TEST_F(StatSettings, TheSecondValueIsTheCountAndFurtherOnesAreIgnored) {
    give(5);
    give(3);
    EXPECT_EQ(interval, 5);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(state, -1);
    give(-9);
    give(9);
    EXPECT_EQ(interval, 5);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(state, -1);
}

TEST_F(StatSettings, AnIntervalOfZeroIsTakenButNoCountAfterIt) {
    give(0);
    EXPECT_EQ(interval, 0);
    EXPECT_EQ(count, -1);
    EXPECT_EXIT(give(3), testing::ExitedWithCode(1), "^$");
}

TEST_F(StatSettings, ANegativeIntervalOrACountBelowOneExitsWithoutAMessage) {
    EXPECT_EXIT(give(-1), testing::ExitedWithCode(1), "^$");
    give(5);
    EXPECT_EXIT(give(0), testing::ExitedWithCode(1), "^$");
    EXPECT_EXIT(give(-3), testing::ExitedWithCode(1), "^$");
}

} // namespace

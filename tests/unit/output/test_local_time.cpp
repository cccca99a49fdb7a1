// Times as people read them.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

#include "output/local_time.h"

namespace {

constexpr int64_t NOW = 1795262400000; // 2026-11-21 12:00:00 UTC, 13:00 local

class LocalTime : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "EAST-1", 1);
        tzset();
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
};

TEST_F(LocalTime, IsThatOfTheZone) {
    EXPECT_EQ(dravik::localTime(NOW + 999), "2026-11-21 13:00:00");
}

TEST_F(LocalTime, IsShortenedByWhatItSharesWithNow) {
    EXPECT_EQ(dravik::shortTime(NOW - 3600000, NOW), "12:00");
    EXPECT_EQ(dravik::shortTime(NOW - 13 * 3600000 - 1, NOW), "11-20 23:59");
    EXPECT_EQ(dravik::shortTime(NOW - 365LL * 24 * 3600000, NOW), "2025-11-21");
}

TEST_F(LocalTime, AnAgeIsToldInTheLargestUnitThatStillTellsSomething) {
    EXPECT_EQ(dravik::ageText(999), "0 s");
    EXPECT_EQ(dravik::ageText(119999), "119 s");
    EXPECT_EQ(dravik::ageText(120000), "2 min");
    EXPECT_EQ(dravik::ageText(7199999), "119 min");
    EXPECT_EQ(dravik::ageText(7200000), "2 h");
    EXPECT_EQ(dravik::ageText(48LL * 3600000 - 1), "47 h");
    EXPECT_EQ(dravik::ageText(48LL * 3600000), "2 d");
}

} // namespace

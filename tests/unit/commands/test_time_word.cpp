// Points in time as they are typed.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

#include "commands/time_word.h"
#include "output/json.h"

namespace {

// The clock shows 2026-11-21 12:00:00.000 UTC; the local zone is an hour east of it.
class TimeWord : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "EAST-1", 1);
        tzset();
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
    static std::string meant(const char *word) {
        const auto time = dravik::parseTimeWord(word, 1795262400000);
        return time ? dravik::isoTime(*time) : "no time";
    }
};

TEST_F(TimeWord, ADateWithoutAZoneIsLocal) {
    EXPECT_EQ(meant("2026-11-21"), "2026-11-20T23:00:00.000Z");
    EXPECT_EQ(meant("2026-11-21T03:12"), "2026-11-21T02:12:00.000Z");
    EXPECT_EQ(meant("2026-11-21 03:12:41"), "2026-11-21T02:12:41.000Z");
    EXPECT_EQ(meant("2026-11-21T03:12:41.047"), "2026-11-21T02:12:41.047Z");
    EXPECT_EQ(meant("2024-02-29"), "2024-02-28T23:00:00.000Z");
}

TEST_F(TimeWord, AZoneBehindADateCounts) {
    EXPECT_EQ(meant("2026-11-21T03:12:41Z"), "2026-11-21T03:12:41.000Z");
    EXPECT_EQ(meant("2026-11-21T03:12:41.5+02:00"), "2026-11-21T01:12:41.500Z");
    EXPECT_EQ(meant("2026-11-21T03:12-0530"), "2026-11-21T08:42:00.000Z");
    EXPECT_EQ(meant("2026-11-21T03:12+01"), "2026-11-21T02:12:00.000Z");
}

TEST_F(TimeWord, ATimeOfTheClockIsTheLastOne) {
    EXPECT_EQ(meant("13:00"), "2026-11-21T12:00:00.000Z"); // now
    EXPECT_EQ(meant("03:12"), "2026-11-21T02:12:00.000Z");
    EXPECT_EQ(meant("13:01"), "2026-11-20T12:01:00.000Z");
    EXPECT_EQ(meant("13:00:01"), "2026-11-20T12:00:01.000Z");
}

TEST_F(TimeWord, AnAgeIsThatLongAgo) {
    EXPECT_EQ(meant("30s"), "2026-11-21T11:59:30.000Z");
    EXPECT_EQ(meant("90m"), "2026-11-21T10:30:00.000Z");
    EXPECT_EQ(meant("2h"), "2026-11-21T10:00:00.000Z");
    EXPECT_EQ(meant("2d"), "2026-11-19T12:00:00.000Z");
    EXPECT_EQ(meant("1w"), "2026-11-14T12:00:00.000Z");
    EXPECT_EQ(meant("0s"), "2026-11-21T12:00:00.000Z");
}

TEST_F(TimeWord, AnythingElseIsNone) {
    for (const char *word : {"",
                             " ",
                             "never",
                             "d",
                             "2",
                             "-2d",
                             "2 d",
                             "2dd",
                             "99999999999999999999d",
                             "2026",
                             "2026-11",
                             "2026-13-01",
                             "2026-00-01",
                             "2026-02-29",
                             "2026-11-31",
                             "2026-11-21T",
                             "2026-11-21T3:12",
                             "2026-11-21T24:00",
                             "2026-11-21T03:60",
                             "2026-11-21T03:12:41.",
                             "2026-11-21T03:12:41Zx",
                             "2026-11-21T03:12+24:00",
                             "2026-11-21x",
                             "3:12",
                             "24:00",
                             "03:12:",
                             "03:12Z",
                             "1969-12-31",
                             "2026-11-21Z"}) {
        EXPECT_EQ(meant(word), "no time") << word;
    }
}

} // namespace

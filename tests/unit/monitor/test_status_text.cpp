// The monitor's state in words.
#include "monitor/status_text.h"

#include <string>

#include <gtest/gtest.h>

using namespace dravik;

namespace {

Observation goodOne(int64_t volumes, int64_t paths) {
    Observation observation;
    observation.quality = Quality::GOOD;
    observation.volumes = volumes;
    observation.paths = paths;
    return observation;
}

StateCounts counted(int64_t none, int64_t last_path, int64_t unknown, int64_t degraded, int64_t ok) {
    return {{none, last_path, unknown, degraded, ok}};
}

TEST(StatusText, SaysWhatIsThereWhatIsNotOkAndHowOldThatKnowledgeIs) {
    const Observation observation = goodOne(11, 41);
    EXPECT_EQ(statusText(&observation, counted(0, 0, 0, 1, 10), 4999),
              "11 volumes, 41 paths, 1 degraded; last observation 4 s ago, good");
    EXPECT_EQ(statusText(&observation, counted(0, 0, 0, 0, 11), 0),
              "11 volumes, 41 paths, all ok; last observation 0 s ago, good");
    EXPECT_EQ(statusText(&observation, counted(2, 1, 3, 4, 1), 4000),
              "11 volumes, 41 paths, 2 without a working path, 1 on its last path, 3 unknown, 4 degraded; "
              "last observation 4 s ago, good");
    EXPECT_EQ(statusText(&observation, counted(0, 2, 0, 0, 9), 4000),
              "11 volumes, 41 paths, 2 on their last path; last observation 4 s ago, good");
}

TEST(StatusText, CountsOneAndNone) {
    const Observation one = goodOne(1, 1);
    EXPECT_EQ(statusText(&one, counted(0, 0, 0, 0, 1), 4000),
              "1 volume, 1 path, all ok; last observation 4 s ago, good");
    const Observation none = goodOne(0, 0);
    EXPECT_EQ(statusText(&none, {}, 4000), "0 volumes, 0 paths; last observation 4 s ago, good");
}

TEST(StatusText, SaysWhyAnObservationIsNotGood) {
    Observation observation = goodOne(2, 4);
    observation.quality = Quality::FAILED;
    observation.reason = "the tool said\n\x1b[2J";
    EXPECT_EQ(statusText(&observation, counted(0, 0, 0, 0, 2), 301000),
              "2 volumes, 4 paths, all ok; last observation 5 min ago, failed: the tool said\\x0a\\x1b[2J");
}

TEST(StatusText, IsUtf8WhateverAnAliasHolds) {
    Observation observation = goodOne(2, 4);
    observation.quality = Quality::DOUBTFUL;
    observation.reason = "unlisted: sdd of lo\xff\xc3\xa9";
    EXPECT_EQ(statusText(&observation, counted(0, 0, 0, 0, 2), 4000),
              "2 volumes, 4 paths, all ok; last observation 4 s ago, doubtful: unlisted: sdd of "
              "lo\xef\xbf\xbd\xc3\xa9");
}

TEST(StatusText, SaysThatTheLedgerCannotBeUsedAndThatNothingHasBeenObservedYet) {
    EXPECT_EQ(statusText(nullptr, {}, 4000),
              "the ledger cannot be used, see /dumps/dravik_cli.log; last observation 4 s ago");
    EXPECT_EQ(statusText(nullptr, {}, -1), "the first observation is under way");
}

} // namespace

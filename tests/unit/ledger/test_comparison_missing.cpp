// What is missing from a listing: gone, or unseen because the kernel still has it; and how it is settled.
#include "ledger/comparison.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ledger_maker.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

const SeenPath SDB = seenPath("sdb", "i1", "p1");
const SeenPath SDC = seenPath("sdc", "i2", "p2", "2:0:0:1");
const SeenPath SDD = seenPath("sdd", "i1", "p3", "1:0:1:1");
const SeenTopology BOTH = {seenVolume("a", {SDB, SDC}), seenVolume("b", {SDD})};
const SeenTopology WITHOUT_SDC = {seenVolume("a", {SDB}), seenVolume("b", {SDD})};
const SeenTopology WITHOUT_B = {seenVolume("a", {SDB, SDC})};

// The two volumes above have been seen once; the kernel has all of it.
class ComparisonMissing : public testing::Test {
  protected:
    ComparisonMissing() {
        kernelHasAll();
        watcher.see(BOTH);
    }
    void kernelHasAll() {
        watcher.kernel.paths = {"dm-a/sdb", "dm-a/sdc", "dm-b/sdd"};
        watcher.kernel.volumes = {"dm-a/a", "dm-b/b"};
    }
    Quality quality() const {
        return watcher.comparison.quality;
    }
    const KnownPath &sdc() const {
        return watcher.volume("a").paths[1];
    }
    Watcher watcher;
};

} // namespace

// ---- paths

TEST_F(ComparisonMissing, APathThatTheKernelHasNoLongerEitherIsGoneAndTheObservationGood) {
    watcher.kernel.paths.erase("dm-a/sdc");
    EXPECT_EQ(watcher.see(WITHOUT_SDC),
              (Lines{"path_gone a/sdc ready-> 1/2 fault", "volume_state a ok->last_path 1/2 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
    EXPECT_EQ(watcher.comparison.doubt, "");
    EXPECT_EQ(watcher.kernel.questions, Lines{"dm-a/sdc"});
}

TEST_F(ComparisonMissing, APathThatTheKernelStillHasIsUnseenAndTheObservationDoubtful) {
    EXPECT_EQ(watcher.see(WITHOUT_SDC), Lines{"path_unseen a/sdc 2/2 fault"});
    EXPECT_EQ(quality(), Quality::DOUBTFUL);
    EXPECT_EQ(watcher.comparison.events[0].quality, Quality::DOUBTFUL);
    EXPECT_EQ(watcher.comparison.doubt, "not listed, though the kernel has it: sdc of a");
    EXPECT_TRUE(watcher.comparison.needs_time);
    EXPECT_EQ(sdc().presence, Presence::UNSEEN);
    EXPECT_EQ(sdc().unseen_since, watcher.circumstances.time - 10000); // when it was last seen
    EXPECT_EQ(watcher.state("a"), "ok");
}

TEST_F(ComparisonMissing, AnUnseenPathIsToldOnceAndStaysDoubtfulUntilItIsSettled) {
    watcher.see(WITHOUT_SDC);
    const Milliseconds since = sdc().unseen_since;
    EXPECT_EQ(watcher.see(WITHOUT_SDC), Lines());
    EXPECT_EQ(quality(), Quality::DOUBTFUL);
    EXPECT_EQ(watcher.comparison.doubt, "not listed, though the kernel has it: sdc of a");
    EXPECT_EQ(sdc().unseen_since, since);
}

TEST_F(ComparisonMissing, AnUnseenPathThatIsListedAgainIsSeenAgain) {
    watcher.see(WITHOUT_SDC);
    EXPECT_EQ(watcher.see(BOTH), Lines{"path_seen_again a/sdc 2/2 fault"});
    EXPECT_EQ(quality(), Quality::GOOD);
    EXPECT_EQ(sdc().presence, Presence::PRESENT);
    EXPECT_FALSE(watcher.comparison.needs_time);
}

TEST_F(ComparisonMissing, WhatHasChangedMeanwhileIsToldFromItsLastKnownState) {
    watcher.see(WITHOUT_SDC);
    EXPECT_EQ(
        watcher.see({seenVolume("a", {SDB, failed(SDC)}), BOTH[1]}),
        (Lines{"path_seen_again a/sdc 1/2 fault", "path_checker_state a/sdc ready->faulty 1/2 fault",
               "path_dm_state a/sdc active->failed 1/2 fault", "volume_state a ok->last_path 1/2 fault"}));
}

TEST_F(ComparisonMissing, AnUnseenPathThatTheKernelLosesIsGone) {
    watcher.see(WITHOUT_SDC);
    watcher.kernel.paths.erase("dm-a/sdc");
    EXPECT_EQ(watcher.see(WITHOUT_SDC),
              (Lines{"path_gone a/sdc ready-> 1/2 fault", "volume_state a ok->last_path 1/2 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
    EXPECT_EQ(sdc().presence, Presence::MISSING);
}

TEST_F(ComparisonMissing, AnUnseenPathCountsAsItWasLastKnownUntilSixtySecondsHavePassed) {
    watcher.see(WITHOUT_SDC);
    EXPECT_EQ(watcher.seeAfter(50, WITHOUT_SDC), Lines()); // seen ten seconds before it was missed
    EXPECT_EQ(watcher.state("a"), "ok");
    EXPECT_EQ(watcher.seeAfter(1, WITHOUT_SDC), Lines{"volume_state a ok->unknown 2/2 fault"});
    EXPECT_EQ(watcher.state("a"), "unknown");
    EXPECT_EQ(watcher.see(BOTH),
              (Lines{"path_seen_again a/sdc 2/2 fault", "volume_state a unknown->ok 2/2 fault"}));
}

TEST_F(ComparisonMissing, AnUnseenPathThatDidNotWorkIsNoWorkingOne) {
    watcher.see({seenVolume("a", {SDB, failed(SDC)}), BOTH[1]});
    EXPECT_EQ(watcher.see(WITHOUT_SDC), Lines{"path_unseen a/sdc 1/2 fault"});
    EXPECT_EQ(watcher.state("a"), "last_path");
}

TEST_F(ComparisonMissing, APathThatIsGoneStaysKnownAsMissingAndIsNotAskedForAgain) {
    watcher.kernel.paths.erase("dm-a/sdc");
    watcher.see(WITHOUT_SDC);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(watcher.see(WITHOUT_SDC), Lines());
        EXPECT_EQ(watcher.kernel.questions, Lines());
    }
    ASSERT_EQ(watcher.volume("a").paths.size(), 2U);
    EXPECT_EQ(sdc().presence, Presence::MISSING);
    EXPECT_FALSE(sdc().working);
    EXPECT_EQ(watcher.state("a"), "last_path");
}

TEST_F(ComparisonMissing, APathThatComesBackAppearsAndIsTheOneItWas) {
    watcher.kernel.paths.erase("dm-a/sdc");
    watcher.see(WITHOUT_SDC);
    SeenPath moved = SDC;
    moved.attributes.name = "sdz";
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, moved}), BOTH[1]}),
              (Lines{"path_appeared a/sdz ->ready 2/2 fault", "volume_state a last_path->ok 2/2 fault"}));
    ASSERT_EQ(watcher.volume("a").paths.size(), 2U);
    EXPECT_EQ(sdc().transitions, 2);
}

TEST_F(ComparisonMissing, TransitionsCountAPathThatGoesAndComesBackAndNoneThatIsOnlyUnseen) {
    watcher.see(WITHOUT_SDC);
    watcher.see(BOTH);
    EXPECT_EQ(sdc().transitions, 0);
    watcher.kernel.paths.erase("dm-a/sdc");
    watcher.see(WITHOUT_SDC);
    EXPECT_EQ(sdc().transitions, 1);
    EXPECT_EQ(sdc().last_failed, watcher.circumstances.time);
    watcher.see(BOTH);
    EXPECT_EQ(sdc().transitions, 2);
    EXPECT_EQ(sdc().last_returned, watcher.circumstances.time);
}

// ---- volumes

TEST_F(ComparisonMissing, AVolumeThatTheKernelHasNoLongerEitherIsGoneWithoutEventsOfItsPaths) {
    watcher.kernel.volumes.erase("dm-b/b");
    EXPECT_EQ(watcher.see(WITHOUT_B), Lines{"volume_gone b ok-> 0/1 fault"});
    EXPECT_EQ(quality(), Quality::GOOD);
    EXPECT_EQ(watcher.kernel.questions, Lines{"dm-b/b 36b"});
    EXPECT_TRUE(watcher.volume("b").gone);
    EXPECT_EQ(watcher.see(WITHOUT_B), Lines());
    EXPECT_EQ(watcher.kernel.questions, Lines());
}

TEST_F(ComparisonMissing, AVolumeThatTheKernelStillHasIsUnseenWithoutEventsOfItsPaths) {
    EXPECT_EQ(watcher.see(WITHOUT_B), Lines{"volume_unseen b 1/1 fault"});
    EXPECT_EQ(quality(), Quality::DOUBTFUL);
    EXPECT_EQ(watcher.comparison.doubt, "not listed, though the kernel has it: b");
    EXPECT_EQ(watcher.kernel.questions, Lines{"dm-b/b 36b"});
    EXPECT_EQ(watcher.state("b"), "ok");
    EXPECT_EQ(watcher.see(BOTH), Lines{"volume_seen_again b 1/1 fault"});
    EXPECT_EQ(quality(), Quality::GOOD);
}

TEST_F(ComparisonMissing, AnUnseenVolumeIsUnknownAfterSixtySeconds) {
    watcher.see(WITHOUT_B);
    EXPECT_EQ(watcher.seeAfter(50, WITHOUT_B), Lines()); // seen ten seconds before it was missed
    EXPECT_EQ(watcher.seeAfter(1, WITHOUT_B), Lines{"volume_state b ok->unknown 1/1 fault"});
    EXPECT_EQ(watcher.state("b"), "unknown");
    EXPECT_EQ(watcher.see(BOTH),
              (Lines{"volume_seen_again b 1/1 fault", "volume_state b unknown->ok 1/1 fault"}));
}

TEST_F(ComparisonMissing, AnUnseenVolumeThatTheKernelLosesIsGone) {
    watcher.see(WITHOUT_B);
    watcher.kernel.volumes.erase("dm-b/b");
    EXPECT_EQ(watcher.see(WITHOUT_B), Lines{"volume_gone b ok-> 0/1 fault"});
    EXPECT_EQ(quality(), Quality::GOOD);
}

TEST_F(ComparisonMissing, AVolumeThatComesBackAppearsAndItsBaselineIsTheOldOne) {
    watcher.kernel.volumes.erase("dm-b/b");
    watcher.see({seenVolume("a", {SDB, SDC}), seenVolume("b", {SDD, seenPath("sde", "i2", "p4")})});
    watcher.see(WITHOUT_B);
    EXPECT_EQ(watcher.see(BOTH), Lines{"volume_appeared b 1/2 fault"});
    EXPECT_FALSE(watcher.volume("b").gone);
    EXPECT_EQ(watcher.state("b"), "last_path");
    EXPECT_EQ(watcher.volume("b").paths.size(), 2U);
}

TEST_F(ComparisonMissing, AStateThatChangedWhileAVolumeWasUnseenIsToldWhenItIsSeenAgain) {
    watcher.see(WITHOUT_B);
    EXPECT_EQ(watcher.see({BOTH[0], seenVolume("b", {failed(SDD)})}),
              (Lines{"volume_seen_again b 0/1 fault", "volume_state b ok->none 0/1 fault"}));
}

// ---- after a pause in which nothing was observed

TEST_F(ComparisonMissing, SixtySecondsCountFromTheObservationThatSawItLastAfterAPauseToo) {
    const Milliseconds seen = watcher.circumstances.time;
    EXPECT_EQ(watcher.seeAfter(3600, WITHOUT_SDC),
              (Lines{"path_unseen a/sdc 2/2 fault", "volume_state a ok->unknown 2/2 fault"}));
    EXPECT_EQ(sdc().unseen_since, seen);
    EXPECT_EQ(watcher.see(BOTH),
              (Lines{"path_seen_again a/sdc 2/2 fault", "volume_state a unknown->ok 2/2 fault"}));
}

TEST_F(ComparisonMissing, AVolumeThatIsUnseenAfterAPauseIsUnknownAtOnce) {
    const Milliseconds seen = watcher.circumstances.time;
    EXPECT_EQ(watcher.seeAfter(61, WITHOUT_B),
              (Lines{"volume_unseen b 1/1 fault", "volume_state b ok->unknown 1/1 fault"}));
    EXPECT_EQ(watcher.volume("b").unseen_since, seen);
}

TEST_F(ComparisonMissing, AfterAPauseOfSixtySecondsItCountsAsItWasLastKnown) {
    EXPECT_EQ(watcher.seeAfter(60, WITHOUT_SDC), Lines{"path_unseen a/sdc 2/2 fault"});
    EXPECT_EQ(watcher.state("a"), "ok");
}

TEST_F(ComparisonMissing, APathThatIsMissingWhenItsUnseenVolumeIsSeenAgainWasLastSeenWithIt) {
    const Milliseconds seen = watcher.circumstances.time;
    watcher.see({BOTH[1]});
    watcher.see({BOTH[1]});
    EXPECT_EQ(watcher.see(WITHOUT_SDC), Lines{"volume_seen_again a 2/2 fault"});
    EXPECT_EQ(sdc().presence, Presence::UNSEEN);
    EXPECT_EQ(sdc().unseen_since, seen);
}

TEST_F(ComparisonMissing, AClockThatWasSetBackDatesNothingIntoTheFuture) {
    watcher.seeAfter(-3600, WITHOUT_SDC);
    EXPECT_EQ(sdc().unseen_since, watcher.circumstances.time);
    watcher.seeAfter(61, WITHOUT_SDC);
    EXPECT_EQ(watcher.state("a"), "unknown");
}

// ---- the kernel is no proof of everything

TEST_F(ComparisonMissing, EachMissingThingIsJudgedByItself) {
    watcher.kernel.paths.erase("dm-a/sdc");
    watcher.kernel.volumes.erase("dm-b/b");
    watcher.kernel.paths.insert("dm-b/sdd");
    EXPECT_EQ(watcher.see({}), Lines({"volume_unseen a 2/2 fault", "volume_gone b ok-> 0/1 fault"}));
    EXPECT_EQ(quality(), Quality::DOUBTFUL);
}

TEST_F(ComparisonMissing, AMapThatTheListingGivesToAnotherVolumeIsNoProofOfTheMissingOne) {
    SeenVolume other = seenVolume("c", {SDD});
    other.attributes.map = "dm-b";
    // The kernel's name of the map is the new volume's old alias: somebody has swapped them.
    EXPECT_EQ(watcher.see({BOTH[0], other}),
              (Lines{"volume_gone b ok-> 0/1 fault", "volume_appeared c 1/1 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
}

TEST_F(ComparisonMissing, ABlockDeviceThatTheListingGivesToAnotherPathIsNoProofOfTheMissingOne) {
    SeenPath other = seenPath("sdc", "i2", "p9", "2:0:5:1");
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, other}), BOTH[1]}),
              (Lines{"path_gone a/sdc ready-> 2/3 fault", "path_appeared a/sdc ->ready 2/3 fault",
                     "volume_state a ok->degraded 2/3 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
}

TEST_F(ComparisonMissing, ABlockDeviceThatTheListingGivesToAnotherVolumeIsNoProofOfTheMissingOne) {
    SeenPath other = seenPath("sdc", "i2", "p2", "2:0:0:9");
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB}), seenVolume("b", {SDD, other})}),
              (Lines{"path_gone a/sdc ready-> 1/2 fault", "volume_state a ok->last_path 1/2 fault",
                     "path_appeared b/sdc ->ready 2/2 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
}

// ---- a tool that did not end well

TEST_F(ComparisonMissing, AToolThatEndedBadlyAndAKernelThatCannotBeAskedMakeItDoubtful) {
    watcher.kernel.is_mute = true;
    watcher.circumstances.tool_was_ended = true;
    EXPECT_EQ(watcher.see({}), (Lines{"volume_unseen a 2/2 fault", "volume_unseen b 1/1 fault"}));
    EXPECT_EQ(quality(), Quality::DOUBTFUL);
    EXPECT_EQ(watcher.comparison.doubt, "not listed, and the kernel cannot be asked: a, b");
}

TEST_F(ComparisonMissing, AToolThatEndedWellIsBelievedWhereTheKernelCannotBeAsked) {
    watcher.kernel.is_mute = true;
    EXPECT_EQ(watcher.see(WITHOUT_SDC),
              (Lines{"path_gone a/sdc ready-> 1/2 fault", "volume_state a ok->last_path 1/2 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
}

TEST_F(ComparisonMissing, AToolThatEndedBadlyIsGoodWhereNothingIsMissing) {
    watcher.circumstances.tool_was_ended = true;
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, failed(SDC)}), BOTH[1]}).size(), 3U);
    EXPECT_EQ(quality(), Quality::GOOD);
    EXPECT_EQ(watcher.kernel.questions, Lines());
}

TEST_F(ComparisonMissing, AToolThatEndedBadlyIsBelievedWhereTheKernelAgrees) {
    watcher.circumstances.tool_was_ended = true;
    watcher.kernel.volumes.clear();
    EXPECT_EQ(watcher.see({}), (Lines{"volume_gone a ok-> 0/2 fault", "volume_gone b ok-> 0/1 fault"}));
    EXPECT_EQ(quality(), Quality::GOOD);
}

TEST_F(ComparisonMissing, AppearancesAndChangesOfWhatWasListedCountInADoubtfulObservationToo) {
    EXPECT_EQ(watcher.see({seenVolume("a", {failed(SDB)}), seenVolume("c", {seenPath("sdf", "i1", "p7")})}),
              (Lines{"volume_unseen b 1/1 fault", "path_checker_state a/sdb ready->faulty 1/2 fault",
                     "path_dm_state a/sdb active->failed 1/2 fault", "path_unseen a/sdc 1/2 fault",
                     "volume_state a ok->last_path 1/2 fault", "volume_appeared c 1/1 fault"}));
    EXPECT_EQ(quality(), Quality::DOUBTFUL);
}

TEST_F(ComparisonMissing, ManyComparisonMissingAreCountedNotAllNamed) {
    SeenTopology topology;
    for (int i = 0; i < 500; ++i) {
        topology.push_back(seenVolume("v" + std::to_string(i), {seenPath("x" + std::to_string(i))}));
        watcher.kernel.volumes.insert("dm-v" + std::to_string(i) + "/v" + std::to_string(i));
    }
    watcher.see(topology);
    EXPECT_EQ(watcher.see({}).size(), 500U);
    // The two of the fixture have been missing since the observation before.
    const std::string &doubt = watcher.comparison.doubt;
    EXPECT_LT(doubt.size(), 300U);
    EXPECT_EQ(doubt.substr(0, 53), "not listed, though the kernel has it: a, b, v0, v1, v");
    EXPECT_EQ(doubt.substr(doubt.size() - 18), ", v41 and 458 more");
}

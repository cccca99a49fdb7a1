// Why something changed: a fault, an operator's command, a restart of the host; and what the passing of time changes.
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
const SeenTopology SDB_FAILED = {seenVolume("a", {failed(SDB), SDC}), BOTH[1]};

class ComparisonCauses : public testing::Test {
  protected:
    ComparisonCauses() {
        watcher.see(BOTH);
    }
    Lines seeWith(const Operation &ran, const SeenTopology &seen) {
        watcher.circumstances.operations = {ran};
        return watcher.see(seen);
    }
    const KnownPath &sdb() const {
        return watcher.volume("a").paths[0];
    }
    Watcher watcher;
};

} // namespace

TEST_F(ComparisonCauses, ASetstateOfThePathIsTheCauseOfItsEventsAndOfTheVerdict) {
    EXPECT_EQ(seeWith(operation("setstate", "a", "sdb", "offline"), SDB_FAILED),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 operator alice dravik setstate",
                     "path_dm_state a/sdb active->failed 1/2 operator alice dravik setstate",
                     "volume_state a ok->last_path 1/2 operator alice dravik setstate"}));
    EXPECT_EQ(sdb().offline_by, "alice");
}

TEST_F(ComparisonCauses, ASetstateOfAnotherPathOrVolumeIsNot) {
    for (const Operation &other :
         {operation("setstate", "a", "sdc", "offline"), operation("setstate", "b", "sdb", "offline"),
          operation("setstate", "", "sdb", "offline")}) {
        EXPECT_EQ(seeWith(other, SDB_FAILED)[0], "path_checker_state a/sdb ready->faulty 1/2 fault");
        EXPECT_EQ(sdb().offline_by, "");
        watcher.see(BOTH);
    }
}

TEST_F(ComparisonCauses, TheVolumeMayBeNamedByItsWwid) {
    EXPECT_EQ(seeWith(operation("setstate", "36a", "sdb", "offline"), SDB_FAILED)[0],
              "path_checker_state a/sdb ready->faulty 1/2 operator alice dravik setstate");
    EXPECT_EQ(sdb().offline_by, "alice");
}

TEST_F(ComparisonCauses, WhereAFaultComesBesideAnOperationTheVerdictIsThatOfTheFault) {
    EXPECT_EQ(seeWith(operation("setstate", "a", "sdb", "offline"),
                      {seenVolume("a", {failed(SDB), failed(SDC)}), BOTH[1]}),
              (Lines{"path_checker_state a/sdb ready->faulty 0/2 operator alice dravik setstate",
                     "path_dm_state a/sdb active->failed 0/2 operator alice dravik setstate",
                     "path_checker_state a/sdc ready->faulty 0/2 fault",
                     "path_dm_state a/sdc active->failed 0/2 fault", "volume_state a ok->none 0/2 fault"}));
}

TEST_F(ComparisonCauses, WhoTookAPathOfflineIsKnownUntilItWorksAgain) {
    seeWith(operation("setstate", "a", "sdb", "offline"), SDB_FAILED);
    watcher.see(SDB_FAILED);
    EXPECT_EQ(sdb().offline_by, "alice");
    EXPECT_EQ(seeWith(operation("setstate", "a", "sdb", "online"), BOTH).back(),
              "volume_state a last_path->ok 2/2 operator alice dravik setstate");
    EXPECT_EQ(sdb().offline_by, "");
}

TEST_F(ComparisonCauses, APathThatHadFailedBeforeIsOfflineByItsOperatorToo) {
    watcher.see(SDB_FAILED);
    EXPECT_EQ(seeWith(operation("setstate", "a", "sdb", "offline"), SDB_FAILED), Lines());
    EXPECT_EQ(sdb().offline_by, "alice");
    EXPECT_EQ(seeWith(operation("setstate", "a", "sdb", "online"), SDB_FAILED), Lines());
    EXPECT_EQ(sdb().offline_by, "");
}

TEST_F(ComparisonCauses, ASetstateThatFailedHasTakenNothingOffline) {
    Operation refused = operation("setstate", "a", "sdb", "offline");
    refused.code = 3;
    seeWith(refused, SDB_FAILED);
    EXPECT_EQ(sdb().offline_by, "");
}

TEST_F(ComparisonCauses, ADeleteOfTheVolumeIsTheCauseOfItsGoing) {
    EXPECT_EQ(seeWith(operation("delete", "b"), {BOTH[0]}),
              Lines{"volume_gone b ok-> 0/1 operator alice dravik delete"});
    EXPECT_EQ(seeWith(operation("delete", "b"), {}), Lines{"volume_gone a ok-> 0/2 fault"});
}

TEST_F(ComparisonCauses, ARefreshOrAStopIsTheCauseOfEveryChange) {
    EXPECT_EQ(seeWith(operation("refresh"), SDB_FAILED).back(),
              "volume_state a ok->last_path 1/2 operator alice dravik refresh");
    EXPECT_EQ(seeWith(operation("stop"), {}),
              (Lines{"volume_gone a last_path-> 0/2 operator alice dravik stop",
                     "volume_gone b ok-> 0/1 operator alice dravik stop"}));
}

TEST_F(ComparisonCauses, ACommandThatChangesNoPathIsNone) {
    EXPECT_EQ(seeWith(operation("setalias", "a"), SDB_FAILED).back(),
              "volume_state a ok->last_path 1/2 fault");
}

TEST_F(ComparisonCauses, WhatChangedWhileTheHostWasRestartedIsTheRestartsWhateverRanBefore) {
    watcher.circumstances.same_boot = false;
    EXPECT_EQ(seeWith(operation("setstate", "a", "sdb", "offline"), SDB_FAILED),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 host_restart",
                     "path_dm_state a/sdb active->failed 1/2 host_restart",
                     "volume_state a ok->last_path 1/2 host_restart"}));
}

// ---- flapping

namespace {

class ComparisonFlapping : public ComparisonCauses {
  protected:
    // The last events of the third failure within a few minutes.
    Lines failThreeTimes() {
        Lines last;
        for (int i = 0; i < 3; ++i) {
            watcher.see(BOTH);
            last = watcher.see(SDB_FAILED);
        }
        return last;
    }
};

} // namespace

TEST_F(ComparisonFlapping,
       TheThirdFailureWithinThirtyMinutesMakesItFlapAndThirtyMinutesWithoutOneMakeItSteady) {
    EXPECT_EQ(failThreeTimes(),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 fault",
                     "path_dm_state a/sdb active->failed 1/2 fault", "path_flapping a/sdb 1/2 fault",
                     "volume_state a ok->last_path 1/2 fault"}));
    EXPECT_TRUE(watcher.comparison.needs_time);
    EXPECT_EQ(watcher.seeAfter(1799, SDB_FAILED), Lines());
    EXPECT_TRUE(watcher.comparison.needs_time);
    EXPECT_EQ(watcher.seeAfter(1, SDB_FAILED), Lines{"path_steady a/sdb 1/2 fault"});
    EXPECT_FALSE(watcher.comparison.needs_time);
    EXPECT_EQ(sdb().transitions, 5);
}

TEST_F(ComparisonFlapping, APathThatIsGoneBecomesSteadyToo) {
    failThreeTimes();
    const SeenTopology without = {seenVolume("a", {SDC}), BOTH[1]};
    EXPECT_EQ(watcher.see(without), Lines{"path_gone a/sdb faulty-> 1/2 fault"});
    EXPECT_TRUE(watcher.comparison.needs_time);
    EXPECT_EQ(watcher.seeAfter(1790, without), Lines{"path_steady a/sdb 1/2 fault"});
    EXPECT_FALSE(watcher.comparison.needs_time);
}

TEST_F(ComparisonFlapping, APathThatIsUnseenBecomesSteadyTooAndSoDoesThatOfAnUnseenVolume) {
    failThreeTimes();
    watcher.kernel.paths = {"dm-a/sdb"};
    watcher.kernel.volumes = {"dm-a/a", "dm-b/b"};
    watcher.see({seenVolume("a", {SDC}), BOTH[1]});
    EXPECT_EQ(watcher.seeAfter(1790, {seenVolume("a", {SDC}), BOTH[1]}),
              Lines{"path_steady a/sdb 1/2 fault"});
    watcher.see(BOTH);
    failThreeTimes();
    watcher.see({BOTH[1]});
    EXPECT_EQ(watcher.seeAfter(1790, {BOTH[1]}), Lines{"path_steady a/sdb 1/2 fault"});
}

TEST_F(ComparisonFlapping, APathThatIsGoneAndReturnsCountsAsOneThatFailed) {
    const SeenTopology without = {seenVolume("a", {SDC}), BOTH[1]};
    for (int i = 0; i < 2; ++i) {
        watcher.see(without);
        watcher.see(BOTH);
    }
    EXPECT_EQ(watcher.see(without),
              (Lines{"path_gone a/sdb ready-> 1/2 fault", "path_flapping a/sdb 1/2 fault",
                     "volume_state a ok->last_path 1/2 fault"}));
}

// ---- without paths

TEST_F(ComparisonCauses, AVolumeIsToldOnceToBeWithoutPathsThoughTheKernelStillHasThem) {
    watcher.kernel.paths = {"dm-b/sdd"};
    const SeenTopology without = {BOTH[0], seenVolume("b", {})};
    EXPECT_EQ(watcher.see(without),
              (Lines{"volume_without_paths b 1/1 fault", "path_unseen b/sdd 1/1 fault"}));
    EXPECT_EQ(watcher.see(without), Lines());
    watcher.kernel.paths.clear();
    EXPECT_EQ(watcher.see(without),
              (Lines{"path_gone b/sdd ready-> 0/1 fault", "volume_state b ok->none 0/1 fault"}));
}

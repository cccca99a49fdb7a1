// From a listing to a judged observation.
#include "ledger/judgement.h"

#include <gtest/gtest.h>

#include "tests/support/kernel_folder.h"
#include "tests/support/ledger_maker.h"
#include "tests/support/topology_list.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

DeviceFields device(const std::string &alias, const std::string &number, bool sdb_works = true) {
    PathFields path;
    path.name = "sdb";
    path.dm_state = sdb_works ? "active" : "failed";
    path.checker_state = sdb_works ? "ready" : "faulty";
    PathFields other;
    other.name = "sdc";
    other.address = "2:0:0:1";
    return {"36" + alias, alias, number, "10G", {path, other}};
}

// The observations of one host, one after the other, ten seconds apart.
class JudgementOfTopology : public testing::Test {
  protected:
    JudgementOfTopology() {
        kernel.map("dm-3", "a", 2048);
    }
    Judgement judge(const std::vector<DeviceFields> &devices, const ToolOutcome &outcome = {},
                    std::vector<Operation> operations = {}) {
        const TopologyList topology(devices);
        Observation begun;
        begun.time = last.time + 10000;
        begun.boot_id = boot;
        begun.tool_ms = 12;
        begun.duration_ms = 31;
        begun.reason = howToolEnded(outcome);
        Judgement judged =
            judgeTopology(topology.head(), outcome, begun, last, std::move(operations), &known);
        last = judged.observation;
        for (KnownVolume &volume : known) {
            was_changed = volume.changed;
            volume.changed = false;
        }
        return judged;
    }

    KernelFolder kernel;
    std::string boot = "boot-1";
    Observation last;
    KnownTopology known;
    bool was_changed = false; // the last volume, by the last observation
};

ToolOutcome endedBy(int exit_status, int signal_number) {
    ToolOutcome outcome;
    outcome.exit_status = exit_status;
    outcome.signal_number = signal_number;
    return outcome;
}

} // namespace

TEST_F(JudgementOfTopology, AnOutcomeHoldsHowTheToolEndedAndWhatWentWrong) {
    const dravik::ToolOutcome outcome = dravik::outcomeOf({true, false, 9, 3, 41}, "memory ran out");
    EXPECT_EQ(outcome.failure, "memory ran out");
    EXPECT_EQ(outcome.signal_number, 9);
    EXPECT_EQ(outcome.exit_status, 3);
    EXPECT_EQ(outcome.tool_ms, 41);
    EXPECT_EQ(outcome.duration_ms, 0);
    EXPECT_EQ(outcome.age_ms, 0);
}

TEST_F(JudgementOfTopology, AToolThatDidNotEndWellIsTold) {
    EXPECT_EQ(howToolEnded(endedBy(0, 0)), "");
    EXPECT_EQ(howToolEnded(endedBy(3, 0)), "the multipath tool exited with status 3");
    EXPECT_EQ(howToolEnded(endedBy(0, 11)), "the multipath tool was ended by signal 11");
    EXPECT_EQ(howToolEnded(endedBy(3, 11)), "the multipath tool was ended by signal 11");
}

TEST_F(JudgementOfTopology, WhatIsListedIsCountedAndWhatWasBegunIsKept) {
    const Judgement judged = judge({device("a", "3"), device("b", "4")});
    EXPECT_EQ(judged.observation.quality, Quality::GOOD);
    EXPECT_EQ(judged.observation.reason, "");
    EXPECT_EQ(judged.observation.time, 10000);
    EXPECT_EQ(judged.observation.boot_id, "boot-1");
    EXPECT_EQ(judged.observation.tool_ms, 12);
    EXPECT_EQ(judged.observation.duration_ms, 31);
    EXPECT_EQ(judged.observation.volumes, 2);
    EXPECT_EQ(judged.observation.paths, 4);
    EXPECT_EQ(eventTexts(judged.events),
              (Lines{"volume_appeared a 2/2 fault", "volume_appeared b 2/2 fault"}));
    EXPECT_FALSE(judged.needs_time);
}

TEST_F(JudgementOfTopology, KnownIsBroughtUpToDateAndWhatHasChangedInItIsMarked) {
    judge({device("a", "3")});
    ASSERT_EQ(known.size(), 1U);
    EXPECT_TRUE(was_changed);
    judge({device("a", "3")});
    EXPECT_FALSE(was_changed);
    const Judgement judged = judge({device("a", "3", false)});
    EXPECT_TRUE(was_changed);
    EXPECT_FALSE(known[0].paths[0].working);
    EXPECT_EQ(eventTexts(judged.events), (Lines{"path_checker_state a/sdb ready->faulty 1/2 fault",
                                                "path_dm_state a/sdb active->failed 1/2 fault",
                                                "volume_state a ok->last_path 1/2 fault"}));
}

TEST_F(JudgementOfTopology, TheKernelIsAskedForTheSizeOfANewVolumeAndOfOneWhoseListedSizeIsAnother) {
    judge({device("a", "3")});
    EXPECT_EQ(known[0].attributes.size_bytes, 2048 * 512);
    kernel.map("dm-3", "a", 4096);
    judge({device("a", "3")});
    EXPECT_EQ(known[0].attributes.size_bytes, 2048 * 512);
    DeviceFields grown = device("a", "3");
    grown.size = "20G";
    judge({grown});
    EXPECT_EQ(known[0].attributes.size_bytes, 4096 * 512);
}

TEST_F(JudgementOfTopology, ASizeThatTheKernelDoesNotTellIs0AndAskedForAgain) {
    judge({device("b", "4")});
    EXPECT_EQ(known[0].attributes.size_bytes, 0);
    kernel.map("dm-4", "b", 2048);
    judge({device("b", "4")});
    EXPECT_EQ(known[0].attributes.size_bytes, 2048 * 512);
}

TEST_F(JudgementOfTopology, WhatIsMissingThoughTheKernelHasItMakesItDoubtfulAndNeedsTime) {
    judge({device("a", "3")});
    const Judgement judged = judge({}, endedBy(3, 0));
    EXPECT_EQ(judged.observation.quality, Quality::DOUBTFUL);
    EXPECT_EQ(judged.observation.reason,
              "not listed, though the kernel has it: a; the multipath tool exited with status 3");
    EXPECT_EQ(judged.observation.volumes, 0);
    EXPECT_TRUE(judged.needs_time);
    EXPECT_EQ(eventTexts(judged.events), Lines{"volume_unseen a 2/2 fault"});
    EXPECT_EQ(judge({}).observation.reason, "not listed, though the kernel has it: a");
}

TEST_F(JudgementOfTopology, AKernelThatCannotBeAskedIsNamedWhereTheToolEndedBadly) {
    judge({device("a", "3")});
    kernel.remove("/sys/block");
    const Judgement judged = judge({}, endedBy(0, 9));
    EXPECT_EQ(judged.observation.quality, Quality::DOUBTFUL);
    EXPECT_EQ(judged.observation.reason,
              "not listed, and the kernel cannot be asked: a; the multipath tool was ended by signal 9");
}

TEST_F(JudgementOfTopology, WhatIsMissingAndTheKernelHasNotIsGone) {
    judge({device("a", "3")});
    kernel.remove("/sys/block/dm-3");
    const Judgement judged = judge({});
    EXPECT_EQ(judged.observation.quality, Quality::GOOD);
    EXPECT_EQ(eventTexts(judged.events), Lines{"volume_gone a ok-> 0/2 fault"});
    EXPECT_FALSE(judged.needs_time);
}

TEST_F(JudgementOfTopology, AnOperationSinceTheLastObservationIsTheCause) {
    judge({device("a", "3")});
    EXPECT_EQ(eventTexts(judge({device("a", "3", false)}, {}, {operation("refresh")}).events).back(),
              "volume_state a ok->last_path 1/2 operator alice dravik refresh");
}

TEST_F(JudgementOfTopology, AnotherBootIdThanThatOfTheObservationBeforeMakesTheRestartTheCause) {
    judge({device("a", "3")});
    boot = "boot-2";
    EXPECT_EQ(eventTexts(judge({device("a", "3", false)}).events).back(),
              "volume_state a ok->last_path 1/2 host_restart");
    EXPECT_EQ(eventTexts(judge({device("a", "3")}).events).back(), "volume_state a last_path->ok 2/2 fault");
}

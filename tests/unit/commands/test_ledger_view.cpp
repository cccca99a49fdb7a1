// The ledger as commands read it: how old it is, and what may be said of it.
#include "commands/ledger_view.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

class LedgerViewRead : public LedgerOnHost {
  protected:
    // What is read, after the whole ledger or without the volumes that are gone.
    LedgerView read(bool whole = false) {
        LedgerView view;
        std::string problem;
        EXPECT_TRUE(whole ? readWholeLedger(&view, &problem) : readLedger(&view, &problem)) << problem;
        EXPECT_EQ(problem, "");
        return view;
    }
    static std::vector<std::string> aliases(const LedgerView &view) {
        std::vector<std::string> all;
        for (const KnownVolume &volume : view.volumes) {
            all.push_back(volume.attributes.alias);
        }
        return all;
    }
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(LedgerViewRead, VolumesComeInTheOrderInWhichTheyWereFirstSeenThoseThatAreGoneOnlyInTheWhole) {
    observe({okVolume("b"), okVolume("c")}, NOW - 20000);
    observe({okVolume("a"), okVolume("c")}, NOW - 10000);
    EXPECT_EQ(aliases(read(true)), (Lines{"b", "c", "a"}));
    EXPECT_EQ(aliases(read()), (Lines{"c", "a"}));
    EXPECT_EQ(read().now, NOW);
    EXPECT_EQ(read().age, 10000);
    EXPECT_EQ(nowMs(), NOW);
}

TEST_F(LedgerViewRead, OperationsOfOursSinceTheLastObservationComeWithIt) {
    Operation early = operation("refresh");
    early.begun = early.ended = NOW - 20000;
    Operation late = operation("scan");
    late.begun = late.ended = NOW - 1000;
    observe({okVolume()}, NOW - 10000);
    for (Operation *each : {&early, &late}) {
        beginOperation(ledger().get(), each);
        endOperation(ledger().get(), *each, "boot-1", "");
    }
    ASSERT_EQ(read().operations.size(), 1U);
    EXPECT_EQ(read().operations[0].command, "scan");
}

TEST_F(LedgerViewRead, ALedgerThatCannotBeReadIsASentence) {
    LedgerView view;
    std::string problem;
    EXPECT_FALSE(readLedger(&view, &problem));
    EXPECT_EQ(problem, "there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet");
    ledger()->run("DROP TABLE volumes");
    EXPECT_FALSE(readWholeLedger(&view, &problem));
    EXPECT_EQ(problem, "/dumps/dravik.db cannot be read: no such table: volumes");
}

TEST_F(LedgerViewRead, AClockThatWasSetBackMakesNoNegativeAge) {
    observe({okVolume()}, NOW + 5000);
    EXPECT_EQ(read().age, 0);
    EXPECT_FALSE(isStale(read()));
}

TEST_F(LedgerViewRead, AStaleViewSaysSinceWhenForHowLongAndWhy) {
    observe({okVolume()}, NOW - 60000);
    EXPECT_FALSE(isStale(read()));
    EXPECT_EQ(stateOf(read(), read().volumes[0]), VolumeState::OK);
    host.stopClock(NOW + 1);
    EXPECT_TRUE(isStale(read()));
    EXPECT_EQ(stateOf(read(), read().volumes[0]), VolumeState::UNKNOWN);
    EXPECT_EQ(staleText(read()), "nothing observed since 2026-11-21 03:11:41, 60 s ago: dravik-monitor has "
                                 "written nothing since then; is it running?");
    failToObserve("the multipath tool cannot be run");
    EXPECT_TRUE(isStale(read()));
    EXPECT_EQ(staleText(read()),
              "nothing observed since 2026-11-21 03:11:41, 60 s ago: the multipath tool cannot be run");
    host.stopClock(NOW + 5 * 3600 * 1000LL);
    EXPECT_EQ(staleText(read()), "nothing observed since 2026-11-21 03:11:41, 5 h ago: dravik-monitor has "
                                 "written nothing since then; is it running?");
}

TEST_F(LedgerViewRead, ALedgerInWhichNothingHasBeenObservedIsStale) {
    ledger();
    EXPECT_TRUE(isStale(read()));
    EXPECT_EQ(staleText(read()), "nothing has been observed yet");
    EXPECT_EQ(observationJson(read()).line(),
              R"({"quality":"never","reason":null,"time":null,"age_s":null,"tool_ms":null,)"
              R"("duration_ms":null,"volumes":null,"paths":null})");
    failToObserve("memory ran out");
    EXPECT_EQ(staleText(read()), "nothing has been observed yet: memory ran out");
}

TEST_F(LedgerViewRead, WhatIsToBeSaidOfTheLastObservationIsWhyItIsNoGoodOne) {
    kernel.volumes = {"dm-fine/fine"};
    observe({okVolume()}, NOW - 10000);
    EXPECT_EQ(qualityText(read()), "");
    observe({}, NOW - 5000);
    EXPECT_EQ(qualityText(read()),
              "the last observation is doubtful: not listed, though the kernel has it: fine");
    failToObserve("memory ran out", NOW - 1000);
    EXPECT_EQ(qualityText(read()), "the last observation failed: memory ran out");
    EXPECT_EQ(observationJson(read()).line(),
              R"({"quality":"failed","reason":"memory ran out","time":"2026-11-21T03:12:40.047Z",)"
              R"("age_s":1.000,"tool_ms":12,"duration_ms":31,"volumes":0,"paths":0})");
}

TEST_F(LedgerViewRead, ACommandWithoutAnAnswerSaysSoOnStandardErrorAndAsStructuredDataWhereThatIsAsked) {
    static bool json;
    const auto fail = [](const OwnCall &) { return failOwnCommand("list", "no \"x\x1b[2J\"", json, 7); };
    json = false;
    EXPECT_EQ(answer(fail, {"list"}), "! dravik list: no \"x\\x1b[2J\"\n[7]\n");
    json = true;
    EXPECT_EQ(answer(fail, {"list"}),
              document("list", R"("error":"no \"x\u001b[2J\"")") + "! dravik list: no \"x\\x1b[2J\"\n[7]\n");
}

TEST_F(LedgerViewRead, TheArraysNamesAreThoseOfTheCacheAMissingOrDamagedOneKnowsNone) {
    EXPECT_EQ(VdiskNames().of("36a"), "");
    host.dumps.write("storage_config.json", R"({"disk": [{"wwid": "36a", "vdisk_name": "vol_a"}]})");
    EXPECT_EQ(VdiskNames().of("36a"), "vol_a");
    EXPECT_EQ(VdiskNames().of("36b"), "");
    host.dumps.write("storage_config.json", R"({"disk": [{"wwid": "36a", "vdisk_)");
    EXPECT_EQ(VdiskNames().of("36a"), "");
}

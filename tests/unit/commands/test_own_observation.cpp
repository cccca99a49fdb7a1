// An observation of a command's own, where the ledger's last one is too old.
#include "commands/own_observation.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

const char *const SDB_READY = "1:0:0:1 sdb 8:16 active ready running";
const char *const SDC_READY = "2:0:0:1 sdc 8:16 active ready running";

// The monitor has seen "mpatha" with sdb and sdc, an hour ago.
class OwnObservation : public LedgerOnHost {
  protected:
    static constexpr Milliseconds AN_HOUR_AGO = NOW - 3600000;

    OwnObservation() {
        SeenVolume volume =
            seenVolume("mpatha", {seenPath("sdb", "host1", "p1"), seenPath("sdc", "host2", "p2", "2:0:0:1")});
        volume.wwid = "360000000000000000000000000000001";
        volume.attributes.map = "dm-3";
        observe({volume}, AN_HOUR_AGO);
        kernel_files.bootId("boot-1");
        kernel_files.map("dm-3", "mpatha");
        kernel_files.device("dm-3", "sdb");
        kernel_files.device("dm-3", "sdc");
    }
    LedgerView look() {
        LedgerView view;
        std::string problem;
        EXPECT_TRUE(readWholeLedger(&view, &problem)) << problem;
        observeNow(&view);
        return view;
    }
    static Lines presences(const LedgerView &view) {
        Lines lines;
        for (const KnownPath &path : view.volumes.at(0).paths) {
            lines.push_back(path.attributes.name + " " + presenceWord(path.presence) +
                            (path.working ? " works" : ""));
        }
        return lines;
    }
};

} // namespace

TEST_F(OwnObservation, WhatIsSeenIsJudgedAgainstWhatTheLedgerKnows) {
    kernel_files.remove("/sys/block/dm-3/slaves/sdc");
    kernel_files.remove("/sys/block/sdc");
    host.answer(QUERY_ALL, listing({SDB_READY}));
    const LedgerView view = look();
    EXPECT_FALSE(isStale(view));
    EXPECT_EQ(view.observation.quality, Quality::GOOD);
    EXPECT_EQ(view.observation.time, NOW);
    EXPECT_EQ(view.observation.seen, NOW);
    EXPECT_EQ(view.observation.boot_id, "boot-1");
    EXPECT_EQ(view.observation.volumes, 1);
    EXPECT_EQ(view.observation.paths, 1);
    EXPECT_EQ(view.now, NOW);
    EXPECT_EQ(view.age, 0);
    EXPECT_EQ(presences(view), (Lines{"sdb present works", "sdc missing"}));
    EXPECT_EQ(stateOf(view, view.volumes[0]), VolumeState::LAST_PATH);
    EXPECT_EQ(host.calls, Lines{QUERY_ALL});
}

TEST_F(OwnObservation, NothingIsWritten) {
    host.answer(QUERY_ALL, listing({SDB_READY}));
    const std::string before = host.dumps.read("dravik.db");
    look();
    EXPECT_EQ(host.dumps.read("dravik.db"), before);
    EXPECT_EQ(ledger()->number("SELECT count(*) FROM events"), 1);
    EXPECT_EQ(loadObservation(ledger().get()).time, AN_HOUR_AGO);
}

TEST_F(OwnObservation, WhatTheKernelHasThoughItIsNotListedIsUnseenSinceTheLedgerLastSawAnything) {
    host.answer(QUERY_ALL, listing({SDB_READY}));
    const LedgerView view = look();
    EXPECT_EQ(view.observation.quality, Quality::DOUBTFUL);
    EXPECT_EQ(view.observation.reason, "not listed, though the kernel has it: sdc of mpatha");
    EXPECT_EQ(presences(view), (Lines{"sdb present works", "sdc unseen works"}));
    EXPECT_EQ(view.volumes[0].paths[1].unseen_since, AN_HOUR_AGO);
    EXPECT_EQ(stateOf(view, view.volumes[0]), VolumeState::UNKNOWN);
}

TEST_F(OwnObservation, WhereNothingCouldBeObservedTheViewKeepsItsVolumesStaysStaleAndSaysWhy) {
    host.startNothing();
    const LedgerView view = look();
    EXPECT_TRUE(isStale(view));
    EXPECT_EQ(view.observation.quality, Quality::FAILED);
    EXPECT_EQ(view.observation.reason, "the multipath tool cannot be run");
    EXPECT_EQ(view.observation.time, NOW);
    EXPECT_EQ(view.observation.seen, AN_HOUR_AGO);
    EXPECT_EQ(presences(view), (Lines{"sdb present works", "sdc present works"}));
    EXPECT_EQ(stateOf(view, view.volumes[0]), VolumeState::UNKNOWN);
}

TEST_F(OwnObservation, AnOperationSinceTheLedgersLastObservationIsWhoTookAPathOffline) {
    Operation done = operation("setstate", "mpatha", "sdb", "offline");
    done.begun = done.ended = NOW - 1000;
    beginOperation(ledger().get(), &done);
    endOperation(ledger().get(), done, "boot-1", "");
    host.answer(QUERY_ALL, listing({"1:0:0:1 sdb 8:16 failed faulty offline", SDC_READY}));
    EXPECT_EQ(look().volumes[0].paths[0].offline_by, "alice");
}

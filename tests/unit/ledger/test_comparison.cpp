// What changed between what is known and what was listed: each kind of event, with its numbers.
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

// A path with one of its attributes another.
SeenPath with(SeenPath path, std::string PathAttributes::*attribute, const std::string &word) {
    path.attributes.*attribute = word;
    judge(&path);
    return path;
}

SeenVolume with(SeenVolume volume, std::string VolumeAttributes::*attribute, const std::string &word) {
    volume.attributes.*attribute = word;
    return volume;
}

} // namespace

// ---- what is seen for the first time

TEST(Comparison, WhatIsSeenForTheFirstTimeIsOneEventAVolume) {
    Watcher watcher;
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, failed(SDC)}), seenVolume("b", {SDB})}),
              (Lines{"volume_appeared a 1/2 fault", "volume_appeared b 1/1 fault"}));
    EXPECT_EQ(watcher.comparison.quality, Quality::GOOD);
    EXPECT_EQ(watcher.kernel.questions, Lines());
}

TEST(Comparison, AVolumeThatComesLaterIsOneEventToo) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB})});
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB}), seenVolume("b", {SDC, failed(SDD)})}),
              Lines{"volume_appeared b 1/2 fault"});
}

TEST(Comparison, WhatHasNotChangedIsNoEventAndNoQuestion) {
    Watcher watcher;
    const SeenTopology topology = {seenVolume("a", {SDB, failed(SDC)}), seenVolume("b", {})};
    watcher.see(topology);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(watcher.see(topology), Lines());
        EXPECT_EQ(watcher.kernel.questions, Lines());
        EXPECT_FALSE(watcher.comparison.needs_time);
    }
}

TEST(Comparison, TheOrderOfTheListingIsNoChange) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC}), seenVolume("b", {SDD})});
    EXPECT_EQ(watcher.see({seenVolume("b", {SDD}), seenVolume("a", {SDC, SDB})}), Lines());
}

TEST(Comparison, AnEventTellsWhenAndWhereAndHowWellItWasSeen) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC})});
    watcher.see({seenVolume("a", {with(SDB, &PathAttributes::checker_state, "ghost"), SDC})});
    ASSERT_EQ(watcher.comparison.events.size(), 1U);
    const Event &event = watcher.comparison.events[0];
    EXPECT_EQ(event.time, watcher.circumstances.time);
    EXPECT_EQ(event.boot_id, "boot-1");
    EXPECT_EQ(event.quality, Quality::GOOD);
    EXPECT_EQ(event.kind, "path_checker_state");
    EXPECT_EQ(event.wwid, "36a");
    EXPECT_EQ(event.alias, "a");
    EXPECT_TRUE(event.has_path);
    EXPECT_EQ(event.path_name, "sdb");
    EXPECT_EQ(event.path_address, "1:0:0:1");
    EXPECT_EQ(event.initiator, "i1");
    EXPECT_EQ(event.target_port, "p1");
    EXPECT_EQ(event.from, "ready");
    EXPECT_EQ(event.to, "ghost");
    EXPECT_EQ(event.number, 0);
    EXPECT_EQ(event.incident, 0);
}

// ---- a path's states

TEST(Comparison, EachStateOfAPathThatChangesIsAnEventAndTheVolumesVerdictBehindThem) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC})});
    SeenPath path = failed(SDB);
    path.attributes.online_state = "offline";
    path.attributes.group_status = "enabled";
    EXPECT_EQ(watcher.see({seenVolume("a", {path, SDC})}),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 fault",
                     "path_dm_state a/sdb active->failed 1/2 fault",
                     "path_online_state a/sdb running->offline 1/2 fault",
                     "path_group_state a/sdb active->enabled 1/2 fault",
                     "volume_state a ok->last_path 1/2 fault"}));
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, SDC})}),
              (Lines{"path_checker_state a/sdb faulty->ready 2/2 fault",
                     "path_dm_state a/sdb failed->active 2/2 fault",
                     "path_online_state a/sdb offline->running 2/2 fault",
                     "path_group_state a/sdb enabled->active 2/2 fault",
                     "volume_state a last_path->ok 2/2 fault"}));
}

TEST(Comparison, AStateThatCarriesNoLossChangesNoVerdict) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC})});
    EXPECT_EQ(watcher.see({seenVolume("a", {with(SDB, &PathAttributes::group_status, "enabled"), SDC})}),
              Lines{"path_group_state a/sdb active->enabled 2/2 fault"});
}

TEST(Comparison, TheVerdictGoesThroughAllItsWords) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC, SDD})});
    watcher.see({seenVolume("a", {failed(SDB), SDC, SDD})});
    EXPECT_EQ(eventText(watcher.comparison.events.back()), "volume_state a ok->degraded 2/3 fault");
    watcher.see({seenVolume("a", {failed(SDB), SDC, failed(SDD)})});
    EXPECT_EQ(eventText(watcher.comparison.events.back()), "volume_state a degraded->last_path 1/3 fault");
    watcher.see({seenVolume("a", {failed(SDB), failed(SDC), failed(SDD)})});
    EXPECT_EQ(eventText(watcher.comparison.events.back()), "volume_state a last_path->none 0/3 fault");
    watcher.see({seenVolume("a", {SDB, SDC, SDD})});
    EXPECT_EQ(eventText(watcher.comparison.events.back()), "volume_state a none->ok 3/3 fault");
}

TEST(Comparison, SeveralVolumesAreToldOneBehindTheOther) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC}), seenVolume("b", {SDD})});
    EXPECT_EQ(watcher.see({seenVolume("a", {failed(SDB), SDC}), seenVolume("b", {failed(SDD)})}),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 fault",
                     "path_dm_state a/sdb active->failed 1/2 fault", "volume_state a ok->last_path 1/2 fault",
                     "path_checker_state b/sdd ready->faulty 0/1 fault",
                     "path_dm_state b/sdd active->failed 0/1 fault", "volume_state b ok->none 0/1 fault"}));
}

// ---- paths that come and move

TEST(Comparison, ANewPathOfAKnownVolumeAppears) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB})});
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, SDC})}), Lines{"path_appeared a/sdc ->ready 2/2 fault"});
    // It belongs to what the volume has had, from now on.
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, failed(SDC)})}).back(),
              "volume_state a ok->last_path 1/2 fault");
}

TEST(Comparison, APathWhoseKernelNameIsAnotherHasMovedAndNothingIsLost) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC})});
    EXPECT_EQ(watcher.see({seenVolume("a", {with(SDB, &PathAttributes::name, "sdx"), SDC})}),
              Lines{"path_moved a/sdx sdb->sdx 2/2 fault"});
    EXPECT_EQ(watcher.kernel.questions, Lines());
    EXPECT_EQ(watcher.volume("a").paths.size(), 2U);
}

TEST(Comparison, AWholeRenumberingIsMovesAlone) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC}), seenVolume("b", {SDD})});
    EXPECT_EQ(watcher.see({seenVolume("a", {with(SDB, &PathAttributes::name, "sdc"),
                                            with(SDC, &PathAttributes::name, "sdd")}),
                           seenVolume("b", {with(SDD, &PathAttributes::name, "sdb")})}),
              (Lines{"path_moved a/sdc sdb->sdc 2/2 fault", "path_moved a/sdd sdc->sdd 2/2 fault",
                     "path_moved b/sdb sdd->sdb 1/1 fault"}));
}

TEST(Comparison, TwinsAreTwoPathsAndBothKeepTheirEvents) {
    Watcher watcher;
    SeenPath twin = seenPath("sdt", "i1", "p1");
    twin.key.twin = 1;
    watcher.see({seenVolume("a", {SDB, twin})});
    EXPECT_EQ(
        watcher.see({seenVolume("a", {SDB, failed(twin)})}),
        (Lines{"path_checker_state a/sdt ready->faulty 1/2 fault",
               "path_dm_state a/sdt active->failed 1/2 fault", "volume_state a ok->last_path 1/2 fault"}));
    EXPECT_EQ(watcher.see({seenVolume("a", {failed(SDB), twin})}),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 fault",
                     "path_dm_state a/sdb active->failed 1/2 fault",
                     "path_checker_state a/sdt faulty->ready 1/2 fault",
                     "path_dm_state a/sdt failed->active 1/2 fault"}));
}

TEST(Comparison, PathsWithoutInitiatorPortAndLunAreToldApartByTheirNames) {
    Watcher watcher;
    SeenPath one = seenPath("x1", "", "", "");
    SeenPath two = seenPath("x2", "", "", "");
    one.key.lun = two.key.lun = "";
    two.key.twin = 1;
    watcher.see({seenVolume("a", {one, two})});
    EXPECT_EQ(
        watcher.see({seenVolume("a", {one, failed(two)})}),
        (Lines{"path_checker_state a/x2 ready->faulty 1/2 fault",
               "path_dm_state a/x2 active->failed 1/2 fault", "volume_state a ok->last_path 1/2 fault"}));
}

TEST(Comparison, ATargetPortThatIsFoundLaterMakesNoNewPath) {
    Watcher watcher;
    watcher.see({seenVolume("a", {seenPath("sdb", "i1", ""), SDC})});
    EXPECT_EQ(watcher.see({seenVolume("a", {SDB, SDC})}), Lines());
    ASSERT_EQ(watcher.volume("a").paths.size(), 2U);
    EXPECT_EQ(watcher.volume("a").paths[0].key.target_port, "p1");
    // One whose port cannot be had for a moment stays the path of that port.
    EXPECT_EQ(watcher.see({seenVolume("a", {seenPath("sdb", "i1", ""), SDC})}), Lines());
    EXPECT_EQ(watcher.volume("a").paths.size(), 2U);
    EXPECT_EQ(watcher.state("a"), "ok");
}

// ---- a volume's own changes

TEST(Comparison, AVolumeThatIsRenamedIsToldWithBothNames) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB})});
    EXPECT_EQ(watcher.see({with(seenVolume("a", {SDB}), &VolumeAttributes::alias, "database")}),
              Lines{"volume_renamed database a->database 1/1 fault"});
}

TEST(Comparison, AVolumeThatIsResizedIsToldWithBothSizesAsListed) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB})});
    SeenVolume larger = with(seenVolume("a", {SDB}), &VolumeAttributes::size, "12.5G");
    larger.attributes.size_bytes = 25LL << 29;
    EXPECT_EQ(watcher.see({larger}), Lines{"volume_resized a 10G->12.5G 1/1 fault"});
    EXPECT_EQ(watcher.volume("a").attributes.size_bytes, 25LL << 29);
}

TEST(Comparison, WhatIsNoEventIsStillRemembered) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB})});
    SeenPath path = with(SDB, &PathAttributes::group_priority, "10");
    path = with(path, &PathAttributes::group_policy, "queue-length 0");
    path = with(path, &PathAttributes::device_id, "65:16");
    EXPECT_EQ(watcher.see({with(seenVolume("a", {path}), &VolumeAttributes::map, "dm-77")}), Lines());
    EXPECT_EQ(watcher.volume("a").attributes.map, "dm-77");
    EXPECT_EQ(watcher.volume("a").paths[0].attributes.group_priority, "10");
    EXPECT_EQ(watcher.volume("a").paths[0].attributes.group_policy, "queue-length 0");
    EXPECT_EQ(watcher.volume("a").paths[0].attributes.device_id, "65:16");
}

TEST(Comparison, AVolumeWithoutPathsIsAVolumeInStateNoneAndBlindsNothing) {
    Watcher watcher;
    EXPECT_EQ(watcher.see({seenVolume("a", {}), seenVolume("b", {SDB, SDC})}),
              (Lines{"volume_appeared a 0/0 fault", "volume_appeared b 2/2 fault"}));
    EXPECT_EQ(watcher.state("a"), "none");
    EXPECT_EQ(
        watcher.see({seenVolume("a", {}), seenVolume("b", {failed(SDB), SDC})}),
        (Lines{"path_checker_state b/sdb ready->faulty 1/2 fault",
               "path_dm_state b/sdb active->failed 1/2 fault", "volume_state b ok->last_path 1/2 fault"}));
    EXPECT_EQ(watcher.see({seenVolume("a", {SDD}), seenVolume("b", {failed(SDB), SDC})}),
              (Lines{"path_appeared a/sdd ->ready 1/1 fault", "volume_state a none->ok 1/1 fault"}));
}

TEST(Comparison, AVolumeThatLosesAllItsPathsIsToldSo) {
    Watcher watcher;
    watcher.see({seenVolume("a", {SDB, SDC})});
    EXPECT_EQ(watcher.see({seenVolume("a", {})}),
              (Lines{"volume_without_paths a 0/2 fault", "path_gone a/sdb ready-> 0/2 fault",
                     "path_gone a/sdc ready-> 0/2 fault", "volume_state a ok->none 0/2 fault"}));
    EXPECT_EQ(watcher.see({seenVolume("a", {})}), Lines());
}

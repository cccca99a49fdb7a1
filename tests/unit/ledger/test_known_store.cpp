// What is known, written and read back: every field, only what changed, baselines that somebody has accepted.
#include "ledger/known_store.h"

#include <string>

#include <gtest/gtest.h>

#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

class KnownStore : public testing::Test {
  protected:
    KnownStore() : database("/dumps/test.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0) {
        migrate(&database);
    }
    // The rows that `sql` asks for, their columns parted by "|", one a line.
    std::string rows(const char *sql) {
        std::string all;
        const auto add = [](void *text, int columns, char **values, char ** /*names*/) {
            auto *lines = static_cast<std::string *>(text);
            for (int i = 0; i < columns; ++i) {
                *lines += std::string(i == 0 ? "" : "|") + (values[i] == nullptr ? "(null)" : values[i]);
            }
            *lines += "\n";
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(database.get(), sql, add, &all, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database.get());
        return all;
    }
    DumpsFolder dumps;
    Database database;
};

KnownPath anyPath(const std::string &name) {
    KnownPath path;
    path.key = {"0x10000090fa000001", "0x20d0000b5d6a1010", "7", 2};
    path.attributes = {name, "1:0:0:7", "8:16",   "fc",     "service-time 0",
                       "50", "active",  "failed", "faulty", "offline"};
    path.presence = Presence::UNSEEN;
    path.unseen_since = 1001;
    path.working = true;
    path.transitions = 12;
    path.last_failed = 1002;
    path.last_returned = 1003;
    path.failures[0] = 1004;
    path.failures[1] = 1005;
    path.failures[2] = 1006;
    path.flapping = true;
    path.offline_by = "alice";
    path.changed = true;
    return path;
}

KnownVolume anyVolume(const std::string &wwid) {
    KnownVolume volume;
    volume.wwid = wwid;
    volume.attributes = {"it's", "dm-3", "KORVEL", "QVX", "10G", 10737418240, "fc"};
    volume.presence = Presence::UNSEEN;
    volume.unseen_since = 900;
    volume.state = VolumeState::LAST_PATH;
    volume.changed = true;
    return volume;
}

} // namespace

TEST_F(KnownStore, AnEmptyLedgerKnowsNothing) {
    EXPECT_TRUE(loadKnown(&database).empty());
    const Observation never = loadObservation(&database);
    EXPECT_EQ(never.quality, Quality::NEVER);
    EXPECT_EQ(never.time, 0);
}

TEST_F(KnownStore, EveryFieldOfAVolumeAndItsPathsIsWrittenAndReadBack) {
    KnownTopology known = {anyVolume("36a"), anyVolume("36b")};
    known[0].paths = {anyPath("sdb"), anyPath("sdc")};
    known[0].baseline = {{known[0].paths[0].key, "sdb"}, {{"i", "p", "1", 0}, "sdz"}};
    known[0].baseline_changed = true;
    known[1].gone = true;
    saveKnown(&database, &known, 5000);
    EXPECT_NE(known[0].id, 0);
    EXPECT_NE(known[0].paths[1].id, 0);

    const KnownTopology read = loadKnown(&database);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0].id, known[0].id);
    EXPECT_EQ(read[0].wwid, "36a");
    EXPECT_EQ(read[0].attributes.alias, "it's");
    EXPECT_EQ(read[0].attributes.map, "dm-3");
    EXPECT_EQ(read[0].attributes.vendor, "KORVEL");
    EXPECT_EQ(read[0].attributes.product, "QVX");
    EXPECT_EQ(read[0].attributes.size, "10G");
    EXPECT_EQ(read[0].attributes.size_bytes, 10737418240);
    EXPECT_EQ(read[0].attributes.transport, "fc");
    EXPECT_FALSE(read[0].gone);
    EXPECT_TRUE(read[1].gone);
    EXPECT_EQ(read[0].presence, Presence::UNSEEN);
    EXPECT_EQ(read[0].unseen_since, 900);
    EXPECT_EQ(read[0].state, VolumeState::LAST_PATH);
    EXPECT_FALSE(read[0].changed);
    ASSERT_EQ(read[0].paths.size(), 2U);
    EXPECT_TRUE(read[1].paths.empty());
    const KnownPath &path = read[0].paths[1];
    EXPECT_EQ(path.id, known[0].paths[1].id);
    EXPECT_EQ(path.key.initiator, "0x10000090fa000001");
    EXPECT_EQ(path.key.target_port, "0x20d0000b5d6a1010");
    EXPECT_EQ(path.key.lun, "7");
    EXPECT_EQ(path.key.twin, 2);
    EXPECT_EQ(path.attributes.name, "sdc");
    EXPECT_EQ(path.attributes.address, "1:0:0:7");
    EXPECT_EQ(path.attributes.device_id, "8:16");
    EXPECT_EQ(path.attributes.transport, "fc");
    EXPECT_EQ(path.attributes.group_policy, "service-time 0");
    EXPECT_EQ(path.attributes.group_priority, "50");
    EXPECT_EQ(path.attributes.group_status, "active");
    EXPECT_EQ(path.attributes.dm_state, "failed");
    EXPECT_EQ(path.attributes.checker_state, "faulty");
    EXPECT_EQ(path.attributes.online_state, "offline");
    EXPECT_EQ(path.presence, Presence::UNSEEN);
    EXPECT_EQ(path.unseen_since, 1001);
    EXPECT_TRUE(path.working);
    EXPECT_EQ(path.transitions, 12);
    EXPECT_EQ(path.last_failed, 1002);
    EXPECT_EQ(path.last_returned, 1003);
    EXPECT_EQ(path.failures[0], 1004);
    EXPECT_EQ(path.failures[1], 1005);
    EXPECT_EQ(path.failures[2], 1006);
    EXPECT_TRUE(path.flapping);
    EXPECT_EQ(path.offline_by, "alice");
    EXPECT_FALSE(path.changed);
    ASSERT_EQ(read[0].baseline.size(), 2U);
    EXPECT_EQ(read[0].baseline[1].key.target_port, "p");
    EXPECT_EQ(read[0].baseline[1].name, "sdz");
    EXPECT_EQ(rows("SELECT accepted, accepted_by FROM baseline"), "5000|learned\n5000|learned\n");
}

TEST_F(KnownStore, OnlyWhatIsMarkedIsWritten) {
    KnownTopology known = {anyVolume("36a")};
    known[0].paths = {anyPath("sdb"), anyPath("sdc")};
    saveKnown(&database, &known, 1);
    KnownTopology again = loadKnown(&database);
    again[0].attributes.alias = "not marked";
    again[0].paths[0].transitions = 77;
    again[0].paths[1].transitions = 99;
    again[0].paths[1].changed = true;
    saveKnown(&database, &again, 2);
    EXPECT_EQ(rows("SELECT alias FROM volumes"), "it's\n");
    EXPECT_EQ(rows("SELECT name, transitions FROM paths ORDER BY id"), "sdb|12\nsdc|99\n");
}

TEST_F(KnownStore, WhatSomebodyHasAcceptedStaysWhileOtherPathsAreLearned) {
    KnownTopology known = {anyVolume("36a")};
    known[0].baseline = {{{"i", "p", "1", 0}, "sdb"}, {{"i", "q", "1", 0}, "sdc"}};
    known[0].baseline_changed = true;
    saveKnown(&database, &known, 1);
    database.run("UPDATE baseline SET accepted = 2, accepted_by = 'alice' WHERE target_port = 'p'");
    KnownTopology again = loadKnown(&database);
    again[0].baseline = {again[0].baseline[0], {{"j", "r", "1", 0}, "sdd"}};
    again[0].baseline_changed = true;
    saveKnown(&database, &again, 3);
    EXPECT_EQ(
        rows("SELECT initiator, target_port, name, accepted, accepted_by FROM baseline ORDER BY target_port"),
        "i|p|sdb|2|alice\nj|r|sdd|3|learned\n");
}

TEST_F(KnownStore, RowsOfAVolumeThatIsNotThereAreIgnored) {
    KnownTopology known = {anyVolume("36a")};
    known[0].paths = {anyPath("sdb")};
    saveKnown(&database, &known, 1);
    database.run("UPDATE paths SET volume = 777");
    const KnownTopology read = loadKnown(&database);
    ASSERT_EQ(read.size(), 1U);
    EXPECT_TRUE(read[0].paths.empty());
}

TEST_F(KnownStore, ForTheVerdictTheVolumesAreReadWholeAndOfPathsAndBaselinesWhatItAsksFor) {
    KnownTopology known = {anyVolume("36a"), anyVolume("36b")};
    KnownPath path = anyPath("sdb");
    path.presence = Presence::UNSEEN;
    path.unseen_since = 77;
    path.working = true;
    KnownPath other = anyPath("sdc");
    other.key.initiator = "host1";
    other.key.target_port = "";
    other.presence = Presence::MISSING;
    other.working = false;
    known[0].paths = {path, other};
    known[0].baseline = {{path.key, "sdb"}};
    known[0].baseline_changed = true;
    saveKnown(&database, &known, 1);
    const KnownTopology read = loadForVerdict(&database);
    const KnownTopology whole = loadKnown(&database);
    ASSERT_EQ(read.size(), 2U);
    for (size_t i = 0; i < read.size(); ++i) {
        EXPECT_EQ(read[i].wwid, whole[i].wwid);
        EXPECT_EQ(read[i].attributes.alias, whole[i].attributes.alias);
        EXPECT_EQ(read[i].attributes.size_bytes, whole[i].attributes.size_bytes);
        EXPECT_EQ(read[i].presence, whole[i].presence);
        EXPECT_EQ(read[i].gone, whole[i].gone);
    }
    ASSERT_EQ(read[0].paths.size(), 2U);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(read[0].paths[i].key.initiator, whole[0].paths[i].key.initiator);
        EXPECT_EQ(read[0].paths[i].key.target_port, whole[0].paths[i].key.target_port);
        EXPECT_EQ(read[0].paths[i].presence, whole[0].paths[i].presence);
        EXPECT_EQ(read[0].paths[i].unseen_since, whole[0].paths[i].unseen_since);
        EXPECT_EQ(read[0].paths[i].working, whole[0].paths[i].working);
    }
    EXPECT_EQ(read[0].paths[0].unseen_since, 77);
    EXPECT_TRUE(read[1].paths.empty());
    ASSERT_EQ(read[0].baseline.size(), 1U);
    EXPECT_EQ(read[0].baseline[0].key.initiator, whole[0].baseline[0].key.initiator);
    EXPECT_EQ(read[0].baseline[0].key.target_port, whole[0].baseline[0].key.target_port);
}

// ---- observations

TEST_F(KnownStore, TheLastObservationIsReadBackAndEachIsCounted) {
    Observation observation;
    observation.quality = Quality::DOUBTFUL;
    observation.reason = "why";
    observation.time = 10;
    observation.tool_ms = 11;
    observation.duration_ms = 12;
    observation.volumes = 13;
    observation.paths = 14;
    observation.boot_id = "boot";
    observation.seen = 9;
    saveObservation(&database, observation, true);
    observation.time = 20;
    saveObservation(&database, observation, false);
    const Observation read = loadObservation(&database);
    EXPECT_EQ(read.quality, Quality::DOUBTFUL);
    EXPECT_EQ(read.reason, "why");
    EXPECT_EQ(read.time, 20);
    EXPECT_EQ(read.tool_ms, 11);
    EXPECT_EQ(read.duration_ms, 12);
    EXPECT_EQ(read.volumes, 13);
    EXPECT_EQ(read.paths, 14);
    EXPECT_EQ(read.boot_id, "boot");
    EXPECT_EQ(read.seen, 9);
    EXPECT_EQ(rows("SELECT quality, count FROM observation_count"), "doubtful|2\n");
    EXPECT_EQ(rows("SELECT quality, reason, time FROM observations"), "doubtful|why|10\n");
    observation.quality = Quality::GOOD;
    saveObservation(&database, observation, true);
    EXPECT_EQ(rows("SELECT quality, count FROM observation_count ORDER BY quality"), "doubtful|2\ngood|1\n");
    EXPECT_EQ(rows("SELECT count(*) FROM observations"), "2\n");
}

TEST_F(KnownStore, CountsTheStatesOfTheVolumesThatAreNotGone) {
    KnownTopology known;
    for (const auto &[state, gone] : {std::pair(VolumeState::OK, false), std::pair(VolumeState::OK, false),
                                      std::pair(VolumeState::OK, true), std::pair(VolumeState::NONE, false),
                                      std::pair(VolumeState::DEGRADED, false)}) {
        KnownVolume volume;
        volume.wwid = "36" + std::to_string(known.size());
        volume.state = state;
        volume.gone = gone;
        volume.changed = true;
        known.push_back(volume);
    }
    saveKnown(&database, &known, 1);
    const StateCounts counts = countStates(&database);
    EXPECT_EQ(counts.of_state[static_cast<size_t>(VolumeState::OK)], 2);
    EXPECT_EQ(counts.of_state[static_cast<size_t>(VolumeState::NONE)], 1);
    EXPECT_EQ(counts.of_state[static_cast<size_t>(VolumeState::DEGRADED)], 1);
    EXPECT_EQ(counts.of_state[static_cast<size_t>(VolumeState::LAST_PATH)], 0);
    EXPECT_EQ(counts.of_state[static_cast<size_t>(VolumeState::UNKNOWN)], 0);
}

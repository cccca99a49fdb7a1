// A volume and its paths as structured data.
#include "commands/volume_json.h"

#include <gtest/gtest.h>

#include "tests/support/ledger_maker.h"

using namespace dravik;

namespace {

constexpr Milliseconds NOW = 1795230761047; // 2026-11-21 03:12:41.047 UTC

const std::string SDB =
    R"({"name":"sdb","address":"1:0:0:1","device_id":"8:16","lun":1,"initiator":"i1","target_port":"p1",)"
    R"("transport":"fc","group":{"policy":"service-time 0","priority":50,"status":"active"},)";
const std::string READY = R"("dm_state":"active","checker_state":"ready","online_state":"running")";
const std::string VOLUME = R"({"alias":"a","wwid":"36a","vdisk_name":"vol_a","map":"dm-a","vendor":"KORVEL",)"
                           R"("product":"QVX","size":"10G","size_bytes":10737418240,"transport":"fc",)";

KnownPath known(const SeenPath &seen) {
    KnownPath path;
    path.key = seen.key;
    path.attributes = seen.attributes;
    path.working = seen.working;
    return path;
}

KnownVolume knownVolume() {
    const SeenVolume seen = seenVolume("a", {});
    KnownVolume volume;
    volume.wwid = seen.wwid;
    volume.attributes = seen.attributes;
    volume.paths = {known(seenPath("sdb"))};
    return volume;
}

} // namespace

TEST(VolumeJson, AKnownVolumeHasItsStateWhatItSurvivesAndItsPaths) {
    EXPECT_EQ(knownVolumeJson(knownVolume(), "vol_a", VolumeState::OK, NOW).line(),
              VOLUME +
                  R"("presence":"present","state":"ok","paths_known":1,"paths_working":1,)"
                  R"("survives":{"path":false,"initiator":false,"target_port":false},"paths":[)" +
                  SDB + READY +
                  R"(,"working":true,"presence":"present","flapping":false,"transitions":0,)"
                  R"("last_failed":null,"last_returned":null,"offline_by":null}]})");
}

TEST(VolumeJson, AKnownPathHasItsHistory) {
    KnownVolume volume = knownVolume();
    volume.presence = Presence::UNSEEN;
    volume.paths[0] = known(failed(seenPath("sdb")));
    volume.paths[0].presence = Presence::MISSING;
    volume.paths[0].flapping = true;
    volume.paths[0].transitions = 3;
    volume.paths[0].last_failed = NOW;
    volume.paths[0].last_returned = NOW - 1047;
    volume.paths[0].offline_by = "alice";
    EXPECT_EQ(knownVolumeJson(volume, "vol_a", VolumeState::NONE, NOW).line(),
              VOLUME +
                  R"("presence":"unseen","state":"none","paths_known":1,"paths_working":0,)"
                  R"("survives":{"path":false,"initiator":false,"target_port":false},"paths":[)" +
                  SDB +
                  R"("dm_state":"failed","checker_state":"faulty","online_state":"running",)"
                  R"("working":false,"presence":"missing","flapping":true,"transitions":3,)"
                  R"("last_failed":"2026-11-21T03:12:41.047Z","last_returned":"2026-11-21T03:12:40.000Z",)"
                  R"("offline_by":"alice"}]})");
}

TEST(VolumeJson, WhatAVolumeSurvivesIsWhatItsWorkingPathsDo) {
    KnownVolume volume = knownVolume();
    volume.paths.push_back(known(seenPath("sdc", "i2", "p1")));
    volume.paths.push_back(known(failed(seenPath("sdd", "i2", "p2"))));
    const std::string line = knownVolumeJson(volume, "", VolumeState::DEGRADED, NOW).line();
    const size_t from = line.find(R"("paths_known")");
    EXPECT_EQ(line.substr(from, line.find(R"("paths":)") - from),
              R"("paths_known":3,"paths_working":2,)"
              R"("survives":{"path":true,"initiator":true,"target_port":false},)");
}

TEST(VolumeJson, ASeenVolumeLacksWhatOnlyTheLedgerKnows) {
    EXPECT_EQ(seenVolumeJson(seenVolume("a", {seenPath("sdb")}), "vol_a").line(),
              VOLUME + R"("paths":[)" + SDB + READY + "}]}");
}

TEST(VolumeJson, WhatIsNotKnownIsNull) {
    SeenVolume volume = seenVolume("a", {seenPath("sdb")});
    volume.attributes.size = volume.attributes.transport = "";
    volume.attributes.size_bytes = 0;
    SeenPath &path = volume.paths[0];
    path.key = {"", "", "", 0};
    path.attributes = {"sdb", "1:0:0:1", "8:16", "", "", "", "", "", "", ""};
    EXPECT_EQ(seenVolumeJson(volume, "").line(),
              R"({"alias":"a","wwid":"36a","vdisk_name":null,"map":"dm-a","vendor":"KORVEL",)"
              R"("product":"QVX","size":null,"size_bytes":null,"transport":null,"paths":[)"
              R"({"name":"sdb","address":"1:0:0:1","device_id":"8:16","lun":null,"initiator":null,)"
              R"("target_port":null,"transport":null,)"
              R"("group":{"policy":null,"priority":null,"status":null},)"
              R"("dm_state":null,"checker_state":null,"online_state":null}]})");
    path.attributes.group_priority = "5x";
    path.key.lun = "0x01";
    const std::string line = seenVolumeJson(volume, "").line();
    EXPECT_NE(line.find(R"("lun":null)"), std::string::npos);
    EXPECT_NE(line.find(R"("priority":null)"), std::string::npos);
}

// An event as structured data.
#include "commands/event_json.h"

#include <gtest/gtest.h>

#include "ledger/event_kinds.h"

namespace {

dravik::Event pathEvent() {
    dravik::Event event;
    event.number = 812;
    event.incident = 77;
    event.time = 1795230761047; // 2026-11-21 03:12:41.047 UTC
    event.boot_id = "boot-1";
    event.kind = dravik::PATH_CHECKER_STATE;
    event.wwid = "36a";
    event.alias = "a";
    event.has_path = true;
    event.path_name = "sdb";
    event.path_address = "1:0:0:1";
    event.initiator = "0x10000090fa000001";
    event.target_port = "0x20d0000b5d6a1010";
    event.from = "ready";
    event.to = "faulty";
    event.paths_working = 3;
    event.paths_known = 4;
    event.cause = "fault";
    return event;
}

} // namespace

TEST(EventJson, HasEveryMember) {
    EXPECT_EQ(dravik::eventJson(pathEvent(), "vol_a").line(),
              R"({"number":812,"incident":77,"time":"2026-11-21T03:12:41.047Z","boot_id":"boot-1",)"
              R"("quality":"good","kind":"path_checker_state",)"
              R"("volume":{"alias":"a","wwid":"36a","vdisk_name":"vol_a"},)"
              R"("path":{"name":"sdb","address":"1:0:0:1","initiator":"0x10000090fa000001",)"
              R"("target_port":"0x20d0000b5d6a1010"},"from":"ready","to":"faulty","paths_working":3,)"
              R"("paths_known":4,"cause":"fault","operator":null})");
}

TEST(EventJson, WhatIsNotKnownIsNull) {
    dravik::Event event = pathEvent();
    event.boot_id = event.path_address = event.initiator = event.target_port = event.from = "";
    event.quality = dravik::Quality::DOUBTFUL;
    EXPECT_EQ(dravik::eventJson(event, "").line(),
              R"({"number":812,"incident":77,"time":"2026-11-21T03:12:41.047Z","boot_id":null,)"
              R"("quality":"doubtful","kind":"path_checker_state",)"
              R"("volume":{"alias":"a","wwid":"36a","vdisk_name":null},)"
              R"("path":{"name":"sdb","address":null,"initiator":null,"target_port":null},"from":null,)"
              R"("to":"faulty","paths_working":3,"paths_known":4,"cause":"fault","operator":null})");
}

TEST(EventJson, AnOperatorHasANameAndACommandLine) {
    dravik::Event event = pathEvent();
    event.cause = "operator";
    event.user = "alice";
    event.command = "dravik refresh";
    const std::string line = dravik::eventJson(event, "").line();
    EXPECT_EQ(line.substr(line.find(R"("cause")")),
              R"("cause":"operator","operator":{"user":"alice","command":"dravik refresh"}})");
    event.cause = "host_restart";
    const std::string restart = dravik::eventJson(event, "").line();
    EXPECT_EQ(restart.substr(restart.find(R"("cause")")), R"("cause":"host_restart","operator":null})");
}

TEST(EventJson, WhatIsAboutTheHostHasNeitherVolumeNorPathNorCounts) {
    dravik::Event event;
    event.number = event.incident = 1;
    event.time = 1795230761047;
    event.kind = dravik::MONITOR_STARTED;
    EXPECT_EQ(dravik::eventJson(event, "").line(),
              R"({"number":1,"incident":1,"time":"2026-11-21T03:12:41.047Z","boot_id":null,)"
              R"("quality":"good","kind":"monitor_started","volume":null,"path":null,"from":null,"to":null,)"
              R"("paths_working":null,"paths_known":null,"cause":null,"operator":null})");
}

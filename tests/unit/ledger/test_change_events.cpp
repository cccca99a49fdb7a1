// The events of one comparison, field by field.
#include "ledger/change_events.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_kinds.h"

namespace {

using namespace dravik;

KnownVolume volume() {
    KnownVolume made;
    made.wwid = "3600";
    made.attributes.alias = "mpatha";
    return made;
}

KnownPath path() {
    KnownPath made;
    made.key = {"0x21000024ff5d6a11", "0x20d0000b5d6a1010", "1", 0};
    made.attributes.name = "sdb";
    made.attributes.address = "1:0:0:1";
    return made;
}

Circumstances circumstances() {
    Circumstances at;
    at.time = 5000;
    at.boot_id = "boot";
    Operation operation;
    operation.user = "alice";
    operation.command = "setstate";
    operation.line = "dravik setstate";
    operation.volume = "mpatha";
    operation.path = "sdb";
    operation.detail = "offline";
    at.operations = {operation};
    return at;
}

// All that an event holds but its numbers in the ledger.
std::string shown(const Event &event) {
    std::string text = std::to_string(event.time) + " " + event.boot_id + " " + qualityWord(event.quality) +
                       " " + event.kind + " " + event.alias + "," + event.wwid + " ";
    if (event.has_path) {
        text += event.path_name + "," + event.path_address + "," + event.initiator + "," + event.target_port +
                " ";
    }
    return text + event.from + "->" + event.to + " " + std::to_string(event.paths_working) + "/" +
           std::to_string(event.paths_known) + " " + event.cause + " " + event.user + " " + event.command;
}

std::vector<std::string> shown(const std::vector<Event> &events) {
    std::vector<std::string> texts;
    for (const Event &event : events) {
        texts.push_back(shown(event));
    }
    return texts;
}

} // namespace

TEST(ChangeEvents, EachIsToldInItsOrderWithVolumePathAndCause) {
    const Circumstances at = circumstances();
    ChangeEvents events(at);
    EXPECT_EQ(events.count(), 0U);
    events.tell(VOLUME_RESIZED, volume(), "1G", "2G");
    events.tellPath(PATH_DM_STATE, volume(), path(), "active", "failed");
    EXPECT_EQ(events.count(), 2U);
    EXPECT_EQ(
        shown(events.take(Quality::GOOD)),
        (std::vector<std::string>{
            "5000 boot good volume_resized mpatha,3600 1G->2G 0/0 fault  ",
            "5000 boot good path_dm_state mpatha,3600 sdb,1:0:0:1,0x21000024ff5d6a11,0x20d0000b5d6a1010 "
            "active->failed 0/0 operator alice dravik setstate"}));
}

TEST(ChangeEvents, TheOutcomeOfEventsHasTheirCause) {
    const Circumstances at = circumstances();
    ChangeEvents events(at);
    events.tell(VOLUME_RESIZED, volume(), "1G", "2G");
    events.tellPath(PATH_DM_STATE, volume(), path(), "active", "failed");
    events.tellOutcome(1, VOLUME_STATE, volume(), "ok", "last_path");
    events.tellOutcome(0, VOLUME_STATE, volume(), "ok", "last_path");
    const std::vector<std::string> told = shown(events.take(Quality::DOUBTFUL));
    ASSERT_EQ(told.size(), 4U);
    EXPECT_EQ(told[2],
              "5000 boot doubtful volume_state mpatha,3600 ok->last_path 0/0 operator alice dravik setstate");
    EXPECT_EQ(told[3], "5000 boot doubtful volume_state mpatha,3600 ok->last_path 0/0 fault  ");
}

TEST(ChangeEvents, ThePathsAreFilledInFromAPlaceOn) {
    const Circumstances at = circumstances();
    ChangeEvents events(at);
    events.tell(VOLUME_GONE, volume(), "ok", "");
    events.tell(VOLUME_APPEARED, volume(), "", "");
    events.tell(VOLUME_UNSEEN, volume(), "", "");
    events.setPaths(1, 3, 4);
    EXPECT_EQ(shown(events.take(Quality::GOOD)),
              (std::vector<std::string>{"5000 boot good volume_gone mpatha,3600 ok-> 0/0 fault  ",
                                        "5000 boot good volume_appeared mpatha,3600 -> 3/4 fault  ",
                                        "5000 boot good volume_unseen mpatha,3600 -> 3/4 fault  "}));
}

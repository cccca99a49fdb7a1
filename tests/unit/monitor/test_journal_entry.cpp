// An incident as an entry of the journal.
#include "monitor/journal_entry.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_kinds.h"
#include "ledger/message_ids.h"

using namespace dravik;

namespace {

using Fields = std::vector<std::string>;

Event pathLost() {
    Event event;
    event.number = 812;
    event.incident = 77;
    event.boot_id = "boot";
    event.kind = PATH_CHECKER_STATE;
    event.wwid = "3600a";
    event.alias = "database";
    event.has_path = true;
    event.path_name = "sdb";
    event.path_address = "1:0:0:1";
    event.initiator = "0x1000";
    event.target_port = "0x20d0";
    event.from = "ready";
    event.to = "faulty";
    event.paths_working = 3;
    event.paths_known = 4;
    event.cause = "fault";
    return event;
}

std::string id(const char *kind) {
    return std::string("MESSAGE_ID=") + messageIdOf(kind);
}

TEST(JournalEntry, OfOneEventHasAllItsFields) {
    const JournalEntry entry = entryOfIncident({pathLost()}, "vol_db");
    EXPECT_EQ(entry.priority, 4);
    EXPECT_EQ(entry.message, "database sdb: ready -> faulty, 3 of 4 paths work (fault)");
    EXPECT_EQ(entry.fields, (Fields{"MESSAGE=database sdb: ready -> faulty, 3 of 4 paths work (fault)",
                                    "PRIORITY=4", "SYSLOG_IDENTIFIER=dravik-monitor", id(PATH_CHECKER_STATE),
                                    "DRAVIK_EVENT=path_checker_state", "DRAVIK_NUMBER=812",
                                    "DRAVIK_INCIDENT=77", "DRAVIK_VOLUME=database", "DRAVIK_WWID=3600a",
                                    "DRAVIK_VDISK_NAME=vol_db", "DRAVIK_PATH=sdb", "DRAVIK_INITIATOR=0x1000",
                                    "DRAVIK_TARGET_PORT=0x20d0", "DRAVIK_FROM=ready", "DRAVIK_TO=faulty",
                                    "DRAVIK_PATHS_WORKING=3", "DRAVIK_PATHS_KNOWN=4", "DRAVIK_CAUSE=fault"}));
}

TEST(JournalEntry, LeavesOutWhatIsNotKnown) {
    Event started;
    started.number = 1;
    started.incident = 1;
    started.kind = MONITOR_STARTED;
    EXPECT_EQ(entryOfIncident({started}, "").fields,
              (Fields{"MESSAGE=dravik-monitor started", "PRIORITY=6", "SYSLOG_IDENTIFIER=dravik-monitor",
                      id(MONITOR_STARTED), "DRAVIK_EVENT=monitor_started", "DRAVIK_NUMBER=1",
                      "DRAVIK_INCIDENT=1"}));
}

TEST(JournalEntry, OfAnOperatorNamesHim) {
    Event operation;
    operation.number = 5;
    operation.incident = 4;
    operation.kind = OPERATION;
    operation.wwid = "3600a";
    operation.alias = "database";
    operation.to = "0";
    operation.cause = "operator";
    operation.user = "alice";
    operation.command = "dravik delete database";
    EXPECT_EQ(entryOfIncident({operation}, "").fields,
              (Fields{"MESSAGE=alice ran dravik delete database", "PRIORITY=6",
                      "SYSLOG_IDENTIFIER=dravik-monitor", id(OPERATION), "DRAVIK_EVENT=operation",
                      "DRAVIK_NUMBER=5", "DRAVIK_INCIDENT=4", "DRAVIK_VOLUME=database", "DRAVIK_WWID=3600a",
                      "DRAVIK_TO=0", "DRAVIK_CAUSE=operator", "DRAVIK_USER=alice"}));
}

TEST(JournalEntry, OfSeveralEventsHasTheFieldsOfTheFirstTheirCountAndTheMostSeverePriority) {
    Event state = pathLost();
    state.number = 813;
    state.kind = VOLUME_STATE;
    state.has_path = false;
    state.path_name = "";
    state.from = "last_path";
    state.to = "none";
    state.paths_working = 0;
    const JournalEntry entry = entryOfIncident({pathLost(), state}, "");
    EXPECT_EQ(entry.priority, 2);
    EXPECT_EQ(entry.fields.front(), "MESSAGE=database sdb: ready -> faulty, 0 of 4 paths work (fault)");
    EXPECT_EQ(entry.fields[1], "PRIORITY=2");
    EXPECT_EQ(entry.fields[3], id(PATH_CHECKER_STATE));
    EXPECT_EQ(entry.fields[5], "DRAVIK_NUMBER=812");
    EXPECT_EQ(entry.fields.back(), "DRAVIK_EVENTS=2");
}

TEST(JournalEntry, MessageIsOneLineOfUtf8AndTheOtherFieldsStayAsListed) {
    Event event = pathLost();
    event.alias = "da\x1b[2J\nta\xff\xc3\xa4";
    const JournalEntry entry = entryOfIncident({event}, "v\n1");
    EXPECT_EQ(entry.message,
              "da\\x1b[2J\\x0ata\xef\xbf\xbd\xc3\xa4 sdb: ready -> faulty, 3 of 4 paths work (fault)");
    EXPECT_EQ(entry.fields.front(), "MESSAGE=" + entry.message);
    EXPECT_EQ(entry.fields[7], "DRAVIK_VOLUME=da\x1b[2J\nta\xff\xc3\xa4");
    EXPECT_EQ(entry.fields[9], "DRAVIK_VDISK_NAME=v\n1");
}

TEST(JournalEntry, MessageIsAtMost2000BytesAndNoCharacterIsCut) {
    Event event = pathLost();
    event.alias = std::string(1996, 'a');
    EXPECT_EQ(entryOfIncident({event}, "").message, std::string(1996, 'a') + " ...");
    event.alias = std::string(1996, 'a') + "\xc3\xa4";
    EXPECT_EQ(entryOfIncident({event}, "").message, std::string(1996, 'a') + "...");
    event.alias = std::string(1995, 'a') + "\xc3\xa4";
    EXPECT_EQ(entryOfIncident({event}, "").message, std::string(1995, 'a') + "\xc3\xa4...");
    event.kind = OPERATION;
    event.user = "";
    event.to = "0";
    event.command = std::string(2000 - 5, 'b');
    EXPECT_EQ(entryOfIncident({event}, "").message, " ran " + std::string(1995, 'b'));
}

TEST(JournalEntry, OfWhatIsLeftOutSaysHowMuch) {
    const JournalEntry entry = entryOfLeftOut(4001);
    const std::string message = "4001 older incidents are left out here, too many at once: see dravik events";
    EXPECT_EQ(entry.priority, 4);
    EXPECT_EQ(entry.message, message);
    EXPECT_EQ(entry.fields, (Fields{"MESSAGE=" + message, "PRIORITY=4", "SYSLOG_IDENTIFIER=dravik-monitor",
                                    std::string("MESSAGE_ID=") + LEFT_OUT_MESSAGE_ID}));
    EXPECT_EQ(entryOfLeftOut(1).message,
              "1 older incident is left out here, too many at once: see dravik events");
}

} // namespace

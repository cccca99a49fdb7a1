// Incidents as lines for people.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

#include "commands/incident_line.h"
#include "ledger/event_kinds.h"

namespace {

using dravik::Event;

Event onPath(const std::string &alias, const std::string &name) {
    Event event;
    event.number = 1000;
    event.incident = 812;
    event.time = 1795230761047; // 2026-11-21 03:12:41.047 UTC
    event.kind = dravik::PATH_GONE;
    event.wwid = "36a";
    event.alias = alias;
    event.has_path = true;
    event.path_name = name;
    event.paths_working = 3;
    event.paths_known = 4;
    event.cause = "fault";
    return event;
}

class IncidentLine : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "EAST-1", 1);
        tzset();
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
};

TEST_F(IncidentLine, BeginsWithTheLocalTimeAndTheNumberOfTheIncident) {
    EXPECT_EQ(dravik::incidentLine({onPath("database", "sdb"), onPath("database", "sdc")}),
              "2026-11-21 04:12:41  #812  database: sdb sdc gone, 3 of 4 paths work (fault)");
    EXPECT_EQ(dravik::eventLine(onPath("database", "sdb")),
              "2026-11-21 04:12:41  #812  database sdb: gone, 3 of 4 paths work (fault)");
}

TEST_F(IncidentLine, ControlBytesDoNotReachTheTerminal) {
    EXPECT_EQ(dravik::incidentLine({onPath("data\x1b[2Jbase", "sd\nb")}),
              "2026-11-21 04:12:41  #812  data\\x1b[2Jbase sd\\x0ab: gone, 3 of 4 paths work (fault)");
}

} // namespace

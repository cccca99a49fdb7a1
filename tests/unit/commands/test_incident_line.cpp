// Incidents as lines for people.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

#include "commands/incident_line.h"
#include "ledger/event_kinds.h"

namespace {

using dravik::Event;
using dravik::incidentLine;

constexpr char PORT[] = "0x20d0000b5d6a1010";

Event onVolume(const char *kind, const std::string &alias, const char *from = "", const char *to = "") {
    Event event;
    event.number = 1000;
    event.incident = 812;
    event.time = 1795230761047; // 2026-11-21 03:12:41.047 UTC
    event.kind = kind;
    event.wwid = "36" + alias;
    event.alias = alias;
    event.from = from;
    event.to = to;
    event.paths_working = 3;
    event.paths_known = 4;
    event.cause = "fault";
    return event;
}

Event onPath(const char *kind, const std::string &alias, const std::string &name, const char *from = "",
             const char *to = "", const char *port = PORT) {
    Event event = onVolume(kind, alias, from, to);
    event.has_path = true;
    event.path_name = name;
    event.path_address = "1:0:0:" + name;
    event.initiator = "0x10000090fa000001";
    event.target_port = port;
    return event;
}

class IncidentLine : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
};

const std::string HEAD = "2026-11-21 03:12:41  #812  ";

TEST_F(IncidentLine, APortThatTakesPathsOfSeveralVolumesAlongIsNamed) {
    std::vector<Event> events;
    for (const char *alias : {"a", "b", "c", "d", "e"}) {
        events.push_back(
            onPath(dravik::PATH_CHECKER_STATE, alias, std::string("sd") + alias, "ready", "faulty"));
        events.push_back(onPath(dravik::PATH_DM_STATE, alias, std::string("sd") + alias, "active", "failed"));
        events.push_back(onVolume(dravik::VOLUME_STATE, alias, "ok", "degraded"));
    }
    EXPECT_EQ(incidentLine(events), HEAD + "port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, "
                                           "all volumes keep working (fault)");
}

TEST_F(IncidentLine, AnInitiatorIsNamedWhereThePortsDiffer) {
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_CHECKER_STATE, "a", "sda", "ready", "faulty", "p1"),
                            onPath(dravik::PATH_CHECKER_STATE, "b", "sdb", "ready", "faulty", "p2")}),
              HEAD + "initiator 0x10000090fa000001: 2 paths of 2 volumes ready -> faulty, all volumes keep "
                     "working (fault)");
}

TEST_F(IncidentLine, VolumesWithoutAWorkingPathAreNamed) {
    std::vector<Event> events = {onPath(dravik::PATH_CHECKER_STATE, "a", "sda", "ready", "faulty"),
                                 onPath(dravik::PATH_CHECKER_STATE, "b", "sdb", "ready", "faulty")};
    events[1].paths_working = 0;
    EXPECT_EQ(
        incidentLine(events),
        HEAD + "port 0x20d0000b5d6a1010: 2 paths of 2 volumes ready -> faulty, no path works of: b (fault)");
}

TEST_F(IncidentLine, OnePathIsNamedWithItsVolume) {
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_CHECKER_STATE, "database", "sdb", "ready", "faulty")}),
              HEAD + "database sdb: ready -> faulty, 3 of 4 paths work (fault)");
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_MOVED, "database", "sdf", "sdb", "sdf")}),
              HEAD + "database sdf: renamed sdb -> sdf, 3 of 4 paths work (fault)");
}

TEST_F(IncidentLine, PathsThatMovedAreToldOneByOneUpToSixAndThenCounted) {
    std::vector<Event> events = {onPath(dravik::PATH_MOVED, "a", "sdf", "sdb", "sdf"),
                                 onPath(dravik::PATH_MOVED, "b", "sdb", "sdf", "sdb", "p2")};
    const std::string rest = ", all volumes keep working (fault)";
    EXPECT_EQ(incidentLine(events), HEAD +
                                        "initiator 0x10000090fa000001: a sdf renamed sdb -> sdf, "
                                        "b sdb renamed sdf -> sdb" +
                                        rest);
    for (const char *name : {"sdm", "sdn", "sdo", "sdp", "sdq"}) {
        events.push_back(onPath(dravik::PATH_MOVED, "b", name, "sdz", name));
    }
    EXPECT_EQ(incidentLine(events),
              HEAD + "initiator 0x10000090fa000001: 7 paths of 2 volumes renamed" + rest);
}

TEST_F(IncidentLine, SeveralPathsOfOneVolumeAreNamed) {
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_GONE, "database", "sdb", "ready", ""),
                            onPath(dravik::PATH_GONE, "database", "sdc", "ready", "", "p2"),
                            onPath(dravik::PATH_GROUP_STATE, "database", "sdd", "enabled", "active", "p3")}),
              HEAD + "database: sdb sdc gone, 3 of 4 paths work (fault)");
}

TEST_F(IncidentLine, WhatOnlyFollowsIsToldWhereItStandsAlone) {
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_GROUP_STATE, "database", "sdd", "enabled", "active")}),
              HEAD + "database sdd: group enabled -> active, 3 of 4 paths work (fault)");
    EXPECT_EQ(incidentLine({onVolume(dravik::VOLUME_STATE, "database", "degraded", "last_path")}),
              HEAD + "database: degraded -> last path, 3 of 4 paths work (fault)");
}

TEST_F(IncidentLine, FlappingStandsBesideTheChange) {
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_CHECKER_STATE, "database", "sdb", "ready", "faulty"),
                            onPath(dravik::PATH_FLAPPING, "database", "sdb")}),
              HEAD + "database sdb: ready -> faulty, flapping, 3 of 4 paths work (fault)");
}

TEST_F(IncidentLine, VolumesThatComeAndGo) {
    EXPECT_EQ(incidentLine({onVolume(dravik::VOLUME_GONE, "database", "ok", "")}),
              HEAD + "database: gone (fault)");
    EXPECT_EQ(incidentLine({onVolume(dravik::VOLUME_RESIZED, "database", "10G", "20G")}),
              HEAD + "database: resized 10G -> 20G, 3 of 4 paths work (fault)");
}

TEST_F(IncidentLine, TheOperatorIsNamedWithTheCommandLine) {
    Event event = onPath(dravik::PATH_DM_STATE, "database", "sdb", "active", "failed");
    event.cause = "operator";
    event.user = "alice";
    event.command = "dravik setstate -path_alias database -device_name sdb -state offline";
    EXPECT_EQ(incidentLine({event}),
              HEAD + "database sdb: dm state active -> failed, 3 of 4 paths work (operator alice: dravik "
                     "setstate -path_alias database -device_name sdb -state offline)");
    event.cause = "host_restart";
    EXPECT_EQ(incidentLine({event}),
              HEAD + "database sdb: dm state active -> failed, 3 of 4 paths work (host restart)");
}

TEST_F(IncidentLine, WhatIsAboutTheHostHasNoSubject) {
    Event event;
    event.incident = 812;
    event.time = 1795230761047;
    event.kind = dravik::MONITOR_STARTED;
    EXPECT_EQ(incidentLine({event}), HEAD + "dravik-monitor started");
    event.kind = dravik::OBSERVATION_QUALITY;
    event.from = "good";
    event.to = "failed";
    EXPECT_EQ(incidentLine({event}), HEAD + "observation good -> failed");
    event.kind = dravik::OPERATION;
    event.user = "root";
    event.command = "dravik delete mpatha";
    event.to = "123";
    event.cause = "operator";
    EXPECT_EQ(incidentLine({event}), HEAD + "root ran dravik delete mpatha: failed with code 123");
    event.to = "0";
    EXPECT_EQ(dravik::eventLine(event), HEAD + "root ran dravik delete mpatha");
}

TEST_F(IncidentLine, ControlBytesDoNotReachTheTerminal) {
    EXPECT_EQ(incidentLine({onPath(dravik::PATH_GONE, "data\x1b[2Jbase", "sd\nb")}),
              HEAD + "data\\x1b[2Jbase sd\\x0ab: gone, 3 of 4 paths work (fault)");
}

} // namespace

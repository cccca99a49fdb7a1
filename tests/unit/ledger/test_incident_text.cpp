// Incidents in words.
#include <gtest/gtest.h>

#include "ledger/event_kinds.h"
#include "ledger/incident_text.h"

namespace {

using dravik::Event;
using dravik::incidentText;

constexpr char PORT[] = "0x20d0000b5d6a1010";

Event onVolume(const char *kind, const std::string &alias, const char *from = "", const char *to = "") {
    Event event;
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

TEST(IncidentText, APortThatTakesPathsOfSeveralVolumesAlongIsNamed) {
    std::vector<Event> events;
    for (const char *alias : {"a", "b", "c", "d", "e"}) {
        events.push_back(
            onPath(dravik::PATH_CHECKER_STATE, alias, std::string("sd") + alias, "ready", "faulty"));
        events.push_back(onPath(dravik::PATH_DM_STATE, alias, std::string("sd") + alias, "active", "failed"));
        events.push_back(onVolume(dravik::VOLUME_STATE, alias, "ok", "degraded"));
    }
    EXPECT_EQ(incidentText(events), "port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, "
                                    "all volumes keep working (fault)");
}

TEST(IncidentText, AnInitiatorIsNamedWhereThePortsDiffer) {
    EXPECT_EQ(incidentText({onPath(dravik::PATH_CHECKER_STATE, "a", "sda", "ready", "faulty", "p1"),
                            onPath(dravik::PATH_CHECKER_STATE, "b", "sdb", "ready", "faulty", "p2")}),
              "initiator 0x10000090fa000001: 2 paths of 2 volumes ready -> faulty, all volumes keep "
              "working (fault)");
}

TEST(IncidentText, VolumesWithoutAWorkingPathAreNamed) {
    std::vector<Event> events = {onPath(dravik::PATH_CHECKER_STATE, "a", "sda", "ready", "faulty"),
                                 onPath(dravik::PATH_CHECKER_STATE, "b", "sdb", "ready", "faulty")};
    events[1].paths_working = 0;
    EXPECT_EQ(incidentText(events),
              "port 0x20d0000b5d6a1010: 2 paths of 2 volumes ready -> faulty, no path works of: b (fault)");
}

// So many volumes that each lose their last path to one port.
std::vector<Event> lossesOf(size_t count) {
    std::vector<Event> events;
    for (size_t i = 0; i < count; ++i) {
        events.push_back(onPath(dravik::PATH_CHECKER_STATE, "v" + std::to_string(i), "sd" + std::to_string(i),
                                "ready", "faulty"));
        events.back().paths_working = 0;
    }
    return events;
}

TEST(IncidentText, UpToSixVolumesWithoutAWorkingPathAreNamedAndMoreCounted) {
    EXPECT_EQ(incidentText(lossesOf(6)), "port 0x20d0000b5d6a1010: 6 paths of 6 volumes ready -> faulty, "
                                         "no path works of: v0 v1 v2 v3 v4 v5 (fault)");
    EXPECT_EQ(incidentText(lossesOf(18)), "port 0x20d0000b5d6a1010: 18 paths of 18 volumes ready -> faulty, "
                                          "no path works of: v0 v1 v2 v3 v4 v5 and 12 more (fault)");
}

TEST(IncidentText, VolumesThatAreRenamedOrResizedAreToldOneByOneUpToSixAndThenCounted) {
    std::vector<Event> events;
    for (const char *alias : {"a", "b", "c", "d", "e", "f"}) {
        events.push_back(onVolume(dravik::VOLUME_RENAMED, alias, "old", alias));
    }
    EXPECT_EQ(incidentText(events), "a renamed old -> a, b renamed old -> b, c renamed old -> c, "
                                    "d renamed old -> d, e renamed old -> e, f renamed old -> f, "
                                    "all volumes keep working (fault)");
    events.push_back(onVolume(dravik::VOLUME_RENAMED, "g", "old", "g"));
    events.push_back(onVolume(dravik::VOLUME_RESIZED, "g", "1G", "2G"));
    EXPECT_EQ(incidentText(events),
              "7 volumes renamed, g resized 1G -> 2G, all volumes keep working (fault)");
}

TEST(IncidentText, OnePathIsNamedWithItsVolume) {
    EXPECT_EQ(incidentText({onPath(dravik::PATH_CHECKER_STATE, "database", "sdb", "ready", "faulty")}),
              "database sdb: ready -> faulty, 3 of 4 paths work (fault)");
    EXPECT_EQ(incidentText({onPath(dravik::PATH_MOVED, "database", "sdf", "sdb", "sdf")}),
              "database sdf: renamed sdb -> sdf, 3 of 4 paths work (fault)");
}

TEST(IncidentText, PathsThatMovedAreToldOneByOneUpToSixAndThenCounted) {
    std::vector<Event> events = {onPath(dravik::PATH_MOVED, "a", "sdf", "sdb", "sdf"),
                                 onPath(dravik::PATH_MOVED, "b", "sdb", "sdf", "sdb", "p2")};
    const std::string rest = ", all volumes keep working (fault)";
    EXPECT_EQ(incidentText(events), "initiator 0x10000090fa000001: a sdf renamed sdb -> sdf, "
                                    "b sdb renamed sdf -> sdb" +
                                        rest);
    for (const char *name : {"sdm", "sdn", "sdo", "sdp", "sdq"}) {
        events.push_back(onPath(dravik::PATH_MOVED, "b", name, "sdz", name));
    }
    EXPECT_EQ(incidentText(events), "initiator 0x10000090fa000001: 7 paths of 2 volumes renamed" + rest);
}

TEST(IncidentText, SeveralPathsOfOneVolumeAreNamed) {
    EXPECT_EQ(incidentText({onPath(dravik::PATH_GONE, "database", "sdb", "ready", ""),
                            onPath(dravik::PATH_GONE, "database", "sdc", "ready", "", "p2"),
                            onPath(dravik::PATH_GROUP_STATE, "database", "sdd", "enabled", "active", "p3")}),
              "database: sdb sdc gone, 3 of 4 paths work (fault)");
}

TEST(IncidentText, WhatOnlyFollowsIsToldWhereItStandsAlone) {
    EXPECT_EQ(incidentText({onPath(dravik::PATH_GROUP_STATE, "database", "sdd", "enabled", "active")}),
              "database sdd: group enabled -> active, 3 of 4 paths work (fault)");
    EXPECT_EQ(incidentText({onVolume(dravik::VOLUME_STATE, "database", "degraded", "last_path")}),
              "database: degraded -> last path, 3 of 4 paths work (fault)");
}

TEST(IncidentText, FlappingStandsBesideTheChange) {
    EXPECT_EQ(incidentText({onPath(dravik::PATH_CHECKER_STATE, "database", "sdb", "ready", "faulty"),
                            onPath(dravik::PATH_FLAPPING, "database", "sdb")}),
              "database sdb: ready -> faulty, flapping, 3 of 4 paths work (fault)");
}

TEST(IncidentText, VolumesThatComeAndGo) {
    EXPECT_EQ(incidentText({onVolume(dravik::VOLUME_GONE, "database", "ok", "")}), "database: gone (fault)");
    EXPECT_EQ(incidentText({onVolume(dravik::VOLUME_RESIZED, "database", "10G", "20G")}),
              "database: resized 10G -> 20G, 3 of 4 paths work (fault)");
}

TEST(IncidentText, TheOperatorIsNamedWithTheCommandLine) {
    Event event = onPath(dravik::PATH_DM_STATE, "database", "sdb", "active", "failed");
    event.cause = "operator";
    event.user = "alice";
    event.command = "dravik setstate -path_alias database -device_name sdb -state offline";
    EXPECT_EQ(incidentText({event}),
              "database sdb: dm state active -> failed, 3 of 4 paths work (operator alice: dravik "
              "setstate -path_alias database -device_name sdb -state offline)");
    event.cause = "host_restart";
    EXPECT_EQ(incidentText({event}),
              "database sdb: dm state active -> failed, 3 of 4 paths work (host restart)");
}

TEST(IncidentText, WhatIsAboutTheHostHasNoSubject) {
    Event event;
    event.kind = dravik::MONITOR_STARTED;
    EXPECT_EQ(incidentText({event}), "dravik-monitor started");
    event.kind = dravik::OBSERVATION_QUALITY;
    event.from = "good";
    event.to = "failed";
    EXPECT_EQ(incidentText({event}), "observation good -> failed");
    event.kind = dravik::OPERATION;
    event.user = "root";
    event.command = "dravik delete mpatha";
    event.to = "123";
    event.cause = "operator";
    EXPECT_EQ(incidentText({event}), "root ran dravik delete mpatha: failed with code 123");
    event.to = "0";
    EXPECT_EQ(dravik::eventText(event), "root ran dravik delete mpatha");
}

TEST(IncidentText, NamesStandAsTheyWereListed) {
    EXPECT_EQ(incidentText({onPath(dravik::PATH_GONE, "data\x1b[2Jbase", "sd\nb")}),
              "data\x1b[2Jbase sd\nb: gone, 3 of 4 paths work (fault)");
}

} // namespace

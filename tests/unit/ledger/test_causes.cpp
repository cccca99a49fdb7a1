// Which of our own commands a change is put down to, and who took a path offline.
#include "ledger/causes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/rules.h"

namespace {

using namespace dravik;

constexpr char WWID[] = "3600b5d60001a2b3c0000000000000001";

Operation ran(const std::string &command, const std::string &volume = "", const std::string &path = "",
              const std::string &detail = "", int code = 0) {
    Operation operation;
    operation.ended = 2000;
    operation.user = "alice";
    operation.command = command;
    operation.line = "dravik " + command;
    operation.volume = volume;
    operation.path = path;
    operation.detail = detail;
    operation.code = code;
    return operation;
}

// An event of the volume "database"; with a path, of that one.
Event eventOf(const std::string &kind, const std::string &path = "", const std::string &to = "") {
    Event event;
    event.kind = kind;
    event.wwid = WWID;
    event.alias = "database";
    event.has_path = !path.empty();
    event.path_name = path;
    event.to = to;
    return event;
}

// "fault", "host_restart", or "operator alice: dravik setstate".
std::string shown(const Event &event) {
    return event.user.empty() ? event.cause : event.cause + " " + event.user + ": " + event.command;
}

std::string causeOf(const std::vector<Operation> &operations, Event event, bool same_boot = true) {
    Circumstances at;
    at.same_boot = same_boot;
    at.operations = operations;
    setCause(at, &event);
    return shown(event);
}

// The operation that ran, the event, and what is its cause.
struct CauseCase {
    Operation operation;
    Event event;
    std::string cause;
};

const std::string BY_SETSTATE = "operator alice: dravik setstate";
const Operation OFFLINE = ran("setstate", "database", "sdb", "offline");

const Rule<CauseCase> CAUSE_RULES[] = {
    {"SetstateExplainsWhatHappensToItsPath",
     {{OFFLINE, eventOf("path_dm_state", "sdb", "failed"), BY_SETSTATE},
      {OFFLINE, eventOf("path_checker_state", "sdb", "faulty"), BY_SETSTATE},
      {ran("setstate", WWID, "sdb", "online"), eventOf("path_dm_state", "sdb", "active"), BY_SETSTATE}}},
    {"SetstateExplainsNothingOfOtherPathsAndVolumes",
     {{OFFLINE, eventOf("path_dm_state", "sdc", "failed"), "fault"},
      {OFFLINE, eventOf("volume_gone"), "fault"},
      {ran("setstate", "backup", "sdb", "offline"), eventOf("path_dm_state", "sdb", "failed"), "fault"},
      {ran("setstate", "", "sdb", "offline"), eventOf("path_dm_state", "sdb", "failed"), "fault"}}},
    {"SetstateExplainsThatAnotherPathGroupOfItsVolumeIsUsed",
     {{OFFLINE, eventOf("path_group_state", "sdc", "active"), BY_SETSTATE},
      {ran("setstate", "backup", "sdb", "offline"), eventOf("path_group_state", "sdc", "active"), "fault"}}},
    {"ASetstateThatFailedExplainsNothing",
     {{ran("setstate", "database", "sdb", "offline", 137), eventOf("path_dm_state", "sdb", "failed"),
       "fault"}}},
    {"DeleteExplainsEverythingThatHappensToItsVolume",
     {{ran("delete", "database"), eventOf("volume_gone"), "operator alice: dravik delete"},
      {ran("delete", WWID), eventOf("path_gone", "sdc"), "operator alice: dravik delete"},
      {ran("delete", "database", "", "", 3), eventOf("path_gone", "sdc"), "operator alice: dravik delete"},
      {ran("delete", "backup"), eventOf("volume_gone"), "fault"}}},
    {"SetaliasAndDelaliasExplainTheNewName",
     {{ran("setalias", WWID), eventOf("volume_renamed"), "operator alice: dravik setalias"},
      {ran("delalias", WWID), eventOf("volume_renamed"), "operator alice: dravik delalias"},
      {ran("setalias", WWID), eventOf("path_gone", "sdb"), "fault"},
      {ran("setalias", "another"), eventOf("volume_renamed"), "fault"}}},
    {"AggregationExplainsWhatComesBack",
     {{ran("aggregation"), eventOf("path_dm_state", "sdb", "active"), "operator alice: dravik aggregation"},
      {ran("aggregation"), eventOf("path_checker_state", "sdb", "ready"),
       "operator alice: dravik aggregation"},
      {ran("aggregation"), eventOf("path_online_state", "sdb", "running"),
       "operator alice: dravik aggregation"},
      {ran("aggregation"), eventOf("path_appeared", "sdb"), "operator alice: dravik aggregation"},
      {ran("aggregation"), eventOf("path_group_state", "sdb", "active"),
       "operator alice: dravik aggregation"},
      {ran("aggregation"), eventOf("path_group_state", "sdb", "failed"), "fault"},
      {ran("aggregation"), eventOf("path_dm_state", "sdb", "failed"), "fault"},
      {ran("aggregation"), eventOf("volume_gone"), "fault"}}},
    {"RefreshAndStopExplainEverything",
     {{ran("refresh"), eventOf("path_gone", "sdb"), "operator alice: dravik refresh"},
      {ran("refresh", "", "", "", 3), eventOf("volume_gone"), "operator alice: dravik refresh"},
      {ran("stop"), eventOf("path_checker_state", "sdb", "faulty"), "operator alice: dravik stop"}}},
    {"WhatWasRefusedExplainsNothing",
     {{ran("refresh", "", "", REFUSED, 105), eventOf("path_gone", "sdb"), "fault"},
      {ran("stop", "", "", REFUSED, 105), eventOf("path_gone", "sdb"), "fault"}}},
    {"OtherCommandsExplainNothing",
     {{ran("scan"), eventOf("volume_appeared"), "fault"},
      {ran("config"), eventOf("path_gone", "sdb"), "fault"},
      {ran("start"), eventOf("path_dm_state", "sdb", "active"), "fault"}}},
};

class CausesOfEvents : public testing::TestWithParam<Rule<CauseCase>> {};

KnownVolume database() {
    KnownVolume volume;
    volume.wwid = WWID;
    volume.attributes.alias = "database";
    return volume;
}

// "alice changed": whose offline path sdb is after these operations, when `before` took it offline.
std::string offlineBy(const std::vector<Operation> &operations, const std::string &before = "") {
    Circumstances at;
    at.operations = operations;
    KnownPath path;
    path.attributes.name = "sdb";
    path.offline_by = before;
    noteOfflineBy(at, database(), &path);
    return path.offline_by + (path.changed ? " changed" : "");
}

} // namespace

TEST_P(CausesOfEvents, AreAsTheRuleSays) {
    for (const CauseCase &row : GetParam().cases) {
        EXPECT_EQ(causeOf({row.operation}, row.event), row.cause) << row.operation.command << row.event.kind;
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, CausesOfEvents, testing::ValuesIn(CAUSE_RULES), nameOfRule);

TEST(Causes, WithoutAnOperationAChangeIsAFault) {
    EXPECT_EQ(causeOf({}, eventOf("path_dm_state", "sdb", "failed")), "fault");
}

TEST(Causes, WhatChangedWhileTheHostWasRestartedIsPutDownToThat) {
    EXPECT_EQ(causeOf({OFFLINE}, eventOf("path_dm_state", "sdb", "failed"), false), "host_restart");
}

TEST(Causes, TheFirstOperationThatExplainsIsNamed) {
    Operation second = OFFLINE;
    second.user = "bob";
    EXPECT_EQ(causeOf({ran("scan"), OFFLINE, second}, eventOf("path_dm_state", "sdb", "failed")),
              BY_SETSTATE);
}

TEST(Causes, WhatFollowsFromOtherEventsHasTheirCauseAFaultBeforeAnOperator) {
    Circumstances at;
    Event by_alice = eventOf("path_dm_state", "sdb", "failed");
    by_alice.cause = "operator";
    by_alice.user = "alice";
    by_alice.command = "dravik setstate";
    Event fault = eventOf("path_dm_state", "sdc", "failed");
    fault.cause = "fault";
    const auto outcomeOf = [&at](const std::vector<Event> &others, size_t first) {
        Event state = eventOf("volume_state", "", "none");
        setCauseOfOthers(at, others, first, &state);
        return shown(state);
    };
    EXPECT_EQ(outcomeOf({by_alice, by_alice}, 0), BY_SETSTATE);
    EXPECT_EQ(outcomeOf({by_alice, fault}, 0), "fault");
    EXPECT_EQ(outcomeOf({fault, by_alice}, 1), BY_SETSTATE);
    EXPECT_EQ(outcomeOf({by_alice}, 1), "fault");
    EXPECT_EQ(outcomeOf({}, 0), "fault");
}

TEST(Causes, SetstateTakesAPathOfflineAndBringsItBack) {
    EXPECT_EQ(offlineBy({OFFLINE}), "alice changed");
    EXPECT_EQ(offlineBy({OFFLINE}, "alice"), "alice");
    EXPECT_EQ(offlineBy({ran("setstate", WWID, "sdb", "offline")}, "bob"), "alice changed");
    EXPECT_EQ(offlineBy({ran("setstate", "database", "sdb", "online")}, "bob"), " changed");
    EXPECT_EQ(offlineBy({OFFLINE, ran("setstate", "database", "sdb", "online")}), "");
    EXPECT_EQ(offlineBy({ran("setstate", "database", "sdb", "online"), OFFLINE}), "alice changed");
}

TEST(Causes, OtherPathsAndWhatFailedOrWasRefusedTakeNothingOffline) {
    EXPECT_EQ(offlineBy({}, "alice"), "alice");
    EXPECT_EQ(offlineBy({ran("setstate", "database", "sdc", "offline")}), "");
    EXPECT_EQ(offlineBy({ran("setstate", "backup", "sdb", "offline")}), "");
    EXPECT_EQ(offlineBy({ran("setstate", "database", "sdb", "offline", 137)}), "");
    EXPECT_EQ(offlineBy({ran("refresh", "", "", REFUSED, 105)}, "alice"), "alice");
}

TEST(Causes, AggregationAndRefreshBringAllPathsBack) {
    EXPECT_EQ(offlineBy({ran("aggregation")}, "alice"), " changed");
    EXPECT_EQ(offlineBy({ran("refresh")}, "alice"), " changed");
    EXPECT_EQ(offlineBy({ran("refresh", "", "", "", 3)}, "alice"), "alice");
}

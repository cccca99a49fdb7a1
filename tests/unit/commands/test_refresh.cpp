// The refresh: what it runs, in which order, what it removes, and what ends it.
#include "commands/refresh.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

// One path in a group of its own, as the listing has it.
struct Path {
    std::string name;
    std::string priority;
    std::string checker;
};

std::string device(const std::string &alias, const std::string &number, const std::vector<Path> &paths) {
    std::string text = listing({}, alias, number);
    for (const Path &path : paths) {
        text += "|-+- policy='service-time 0' prio=" + path.priority + " status=enabled\n| `- 1:0:0:1 " +
                path.name + " 8:16 failed " + path.checker + " running\n";
    }
    return text;
}

// What a refresh of the topology `text` runs between its query and its scan; it must go on to its end.
Calls removedFrom(const std::string &text) {
    FakeHost host;
    host.answer(QUERY_ALL, text);
    for (const char *name : {"sdb", "sdc", "sdd", "nvme0n1"}) {
        host.node(std::string("/sys/block/") + name);
    }
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(refresh, &result));
    EXPECT_EQ(&EC_ok, result);
    const Calls tail = {SCAN, DISCOVER, "sleep 1", REVIVE, REBUILD};
    EXPECT_GE(host.calls.size(), tail.size() + 1);
    const auto end = host.calls.end() - static_cast<Calls::difference_type>(tail.size());
    EXPECT_EQ(QUERY_ALL, host.calls.front());
    EXPECT_EQ(tail, Calls(end, host.calls.end()));
    return {host.calls.begin() + 1, end};
}

// The record of a refresh that must end early, and all that it ran.
Calls endedRefresh(FakeHost *host, s_ecItems *expected) {
    EXPECT_EQ(expected, refresh());
    return host->calls;
}

} // namespace

// ---- what is removed

namespace {

// A listing, and the command lines that remove what is dead in it.
struct RemovalCase {
    std::string listing;
    Calls removals;
};

const Rule<RemovalCase> REMOVAL_RULES[] = {
    {"AHealthyTopologyLosesNothing",
     {{device("mpatha", "3", {{"sdb", "50", "ready"}, {"sdc", "0", "ready"}}), {}}, {"", {}}}},
    {"AFaultyPathInAGroupOfPriority0IsDeletedAndTheMapStaysWithAHealthyOne",
     {{device("mpatha", "3", {{"sdb", "0", "faulty"}, {"sdc", "50", "ready"}}), {deletionOf("sdb")}}}},
    {"ADeviceWhoseEveryPathIsDeadLosesAllOfThemAndItsMap",
     {{device("mpatha", "3", {{"sdb", "0", "faulty"}, {"sdc", "0", "faulty"}}),
       {deletionOf("sdb"), deletionOf("sdc"), "velomux -f /dev/dm-3"}}}},
    {"AFaultyPathInAGroupOfPriority50IsNotRemoved", {{device("mpatha", "3", {{"sdb", "50", "faulty"}}), {}}}},
    {"ADeviceWithoutPathsLosesItsMap", {{device("mpatha", "3", {}), {"velomux -f /dev/dm-3"}}}},
    {"TheFirstCharacterOfThePriorityAndSixOfTheCheckerDecide",
     {{device("mpatha", "3", {{"sdb", "05", "faulty_x"}}), {deletionOf("sdb"), "velomux -f /dev/dm-3"}},
      {device("mpatha", "3", {{"sdb", "0", "fault"}}), {}},
      {device("mpatha", "3", {{"sdb", "0", "i/o"}}), {}},
      {device("mpatha", "3", {{"sdb", "-1", "faulty"}}), {}}}},
    {"DeadPathsThatSysfsDoesNotKnowCountAsDeadWithoutACommand",
     {{device("mpatha", "3", {{"sdx", "0", "faulty"}}), {"velomux -f /dev/dm-3"}}}},
    {"ADeadNvmePathIsDeletedLikeAnyOther",
     {{device("mpatha", "3", {{"nvme0n1", "0", "faulty"}}),
       {deletionOf("nvme0n1"), "velomux -f /dev/dm-3"}}}},
    {"DevicesAreClearedInTheOrderOfTheListing",
     {{device("mpatha", "3", {{"sdb", "0", "faulty"}}) + device("mpathb", "4", {{"sdc", "50", "ready"}}) +
           device("mpathc", "5", {{"sdd", "0", "faulty"}}),
       {deletionOf("sdb"), "velomux -f /dev/dm-3", deletionOf("sdd"), "velomux -f /dev/dm-5"}}}},
};

class RefreshRemoval : public testing::TestWithParam<Rule<RemovalCase>> {};

} // namespace

TEST_P(RefreshRemoval, IsOfWhatIsDeadAlone) {
    for (const RemovalCase &row : GetParam().cases) {
        EXPECT_EQ(row.removals, removedFrom(row.listing)) << row.listing;
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, RefreshRemoval, testing::ValuesIn(REMOVAL_RULES), nameOfRule);

// ---- what ends it

TEST(Refresh, AFailedQueryEndsIt) {
    FakeHost host;
    host.answer(QUERY_ALL, "", 127);
    EXPECT_EQ(Calls{QUERY_ALL}, endedRefresh(&host, &EC_exe_cmd_failed));
}

TEST(Refresh, AMalformedListingEndsItBeforeAnythingIsRemoved) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.answer(QUERY_ALL, device("mpatha", "3", {{"sdb", "0", "faulty"}}) + "|-+- nonsense\n");
    EXPECT_EQ(Calls{QUERY_ALL}, endedRefresh(&host, &EC_parse_cmd_out));
}

TEST(Refresh, ADeletionThatCannotBeRunEndsItAndWhatWasRemovedStaysRemoved) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/sdc");
    host.answer(QUERY_ALL, device("mpatha", "3", {{"sdb", "0", "faulty"}, {"sdc", "0", "faulty"}}));
    host.answer(deletionOf("sdc"), "", NOT_STARTED);
    EXPECT_EQ((Calls{QUERY_ALL, deletionOf("sdb"), deletionOf("sdc")}),
              endedRefresh(&host, &EC_exe_cmd_failed));
}

TEST(Refresh, AMapInUseEndsIt) {
    FakeHost host;
    host.answer(QUERY_ALL, device("mpatha", "3", {}) + device("mpathb", "4", {}));
    host.answer("velomux -f /dev/dm-3", "mpatha: map in use\n", 1);
    EXPECT_EQ((Calls{QUERY_ALL, "velomux -f /dev/dm-3"}), endedRefresh(&host, &EC_del_failed_for_using));
}

TEST(Refresh, AScanThatCannotBeRunEndsIt) {
    FakeHost host;
    host.answer(DISCOVER, "", NOT_STARTED);
    EXPECT_EQ((Calls{QUERY_ALL, SCAN, DISCOVER}), endedRefresh(&host, &EC_exe_cmd_failed));
}

TEST(Refresh, ItsRecordIsThatOfTheAggregation) {
    FakeHost host;
    host.answer(REBUILD, "", NOT_STARTED);
    EXPECT_EQ((Calls{QUERY_ALL, SCAN, DISCOVER, "sleep 1", REVIVE, REBUILD}),
              endedRefresh(&host, &EC_exe_cmd_failed));
}

TEST(Refresh, AHostileNameOfTheListingIsNeverHandedToAShell) {
    for (const std::string name : {"sd;reboot", "sd$(reboot)", "sd`x`", "sd|x", "sd&x", "sd>x", "-sd"}) {
        FakeHost host;
        host.node("/sys/block/" + name);
        host.answer(QUERY_ALL, device("mpatha", "3", {{name, "0", "faulty"}}));
        EXPECT_EQ(Calls{QUERY_ALL}, endedRefresh(&host, &EC_exe_cmd_failed)) << name;
    }
}

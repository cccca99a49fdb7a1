// Device and path records: their lists, their reuse, and the questions asked of them.
#include "struct/s_dravik.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/allocation_count.h"
#include "tests/support/dumps_redirect.h"

namespace {

using Names = std::vector<std::string>;

struct FreeDevices {
    void operator()(s_dravik *head) const {
        freeDravik(head);
    }
};
using Devices = std::unique_ptr<s_dravik, FreeDevices>;

// A cursor at the end of a list, the way a parser fills one.
s_dravik *appendDevice(s_dravik *cursor, const char *alias) {
    s_dravik *device = getOrMallocNextDravik(cursor);
    snprintf(device->path_alias, sizeof(device->path_alias), "%s", alias);
    cursor->end = false;
    return device;
}

s_path_dev *appendPath(s_path_dev *cursor, const char *name) {
    s_path_dev *path = getOrMallocNextPathDev(cursor);
    snprintf(path->dev_name, sizeof(path->dev_name), "%s", name);
    cursor->end = false;
    return path;
}

// What a query does: empties the list and fills it anew.
void refill(s_dravik *head, const Names &aliases) {
    initDravik(head);
    s_dravik *cursor = head;
    for (const std::string &alias : aliases) {
        cursor = appendDevice(cursor, alias.c_str());
    }
}

// Gives a device paths that work, as many as there are names.
void setPaths(s_dravik *device, const Names &names) {
    if (device->pdev == nullptr) {
        device->pdev = mallocPathDev();
    }
    initPathDev(device->pdev);
    s_path_dev *cursor = device->pdev;
    for (const std::string &name : names) {
        cursor = appendPath(cursor, name.c_str());
        snprintf(cursor->checker_state, sizeof(cursor->checker_state), "ready");
        snprintf(cursor->path_status, sizeof(cursor->path_status), "active");
        snprintf(cursor->dravik_status, sizeof(cursor->dravik_status), "running");
        snprintf(cursor->group_status, sizeof(cursor->group_status), "active");
    }
}

Names aliasesOf(const s_dravik *head) {
    Names names;
    for (const s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        names.emplace_back(device->path_alias);
    }
    return names;
}

Names namesOf(const s_path_dev *head) {
    Names names;
    for (const s_path_dev *path = firstPathDev(head); path != nullptr; path = nextPathDev(path)) {
        names.emplace_back(path->dev_name);
    }
    return names;
}

template <typename Node> int chainLength(const Node *head) {
    int length = 0;
    for (const Node *node = head->next; node != nullptr; node = node->next) {
        ++length;
    }
    return length;
}

unsigned int isFailed(const s_dravik *device) {
    unsigned int flag = 7;
    isFailedDevice(device, &flag);
    return flag;
}

unsigned int isNvme(const s_dravik *device) {
    unsigned int flag = 7;
    isNVMeDevice(device, &flag);
    return flag;
}

class SDravik : public ::testing::Test {
  protected:
    DumpsFolder dumps;
    Devices head{mallocDravik()};
};

} // namespace

TEST_F(SDravik, ANewNodeIsZeroedWithItsEndFlagSetAndOneLogLine) {
    EXPECT_EQ(dumps.commandLogLines(), (Names{"INFO  mallocDravik # Malloc struct s_dravik."}));
    s_dravik zeroed = {};
    zeroed.end = true;
    EXPECT_EQ(memcmp(head.get(), &zeroed, sizeof(zeroed)), 0);

    dumps.forgetLogs();
    s_path_dev *path = mallocPathDev();
    EXPECT_EQ(dumps.commandLogLines(), (Names{"INFO  mallocPathDev # Malloc struct s_path_dev."}));
    s_path_dev zeroed_path = {};
    zeroed_path.end = true;
    EXPECT_EQ(memcmp(path, &zeroed_path, sizeof(zeroed_path)), 0);
    freePathDev(path);
}

TEST_F(SDravik, AListJustAllocatedOrJustResetIsEmptyForEverySearch) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(findDravikByPathAlias(head.get(), "mpatha"), nullptr);
        EXPECT_EQ(findDravikByPathAlias_noMemoryLeak(head.get(), "mpatha"), nullptr);
        EXPECT_EQ(findDravikByDeviceName(head.get(), "mpatha", "sdb"), nullptr);
        EXPECT_EQ(firstDravik(head.get()), nullptr);
        refill(head.get(), {"mpatha"});
        setPaths(head->next, {"sdb"});
        EXPECT_NE(findDravikByDeviceName(head.get(), "mpatha", "sdb"), nullptr);
        initDravik(head.get());
    }
    s_dravik pathless = {};
    EXPECT_EQ(isNvme(&pathless), 0U);
    EXPECT_EQ(isFailed(&pathless), 1U);
    s_path_dev empty = {};
    empty.end = true;
    pathless.pdev = &empty;
    EXPECT_EQ(isNvme(&pathless), 0U);
    EXPECT_EQ(isFailed(&pathless), 1U);
}

TEST_F(SDravik, AfterThreeDevicesAndThenTwoTheThirdNodeStaysAndIsNeverReported) {
    refill(head.get(), {"a", "b", "c"});
    refill(head.get(), {"d", "e"});
    EXPECT_EQ(chainLength(head.get()), 3);
    EXPECT_EQ(aliasesOf(head.get()), (Names{"d", "e"}));
    EXPECT_TRUE(head->next->next->end);
    EXPECT_STREQ(head->next->next->next->path_alias, "c"); // stale, and no search finds it
    EXPECT_EQ(findDravikByPathAlias(head.get(), "c"), nullptr);
    EXPECT_EQ(findDravikByPathAlias_noMemoryLeak(head.get(), "c"), nullptr);
}

TEST_F(SDravik, ARefillWithinTheLargestTopologySeenAllocatesNothing) {
    refill(head.get(), {"a", "b", "c"});
    setPaths(head->next, {"sdb", "sdc"});
    dumps.forgetLogs();
    refill(head.get(), {"d", "e", "f"});
    setPaths(head->next, {"sdd", "sde"});
    EXPECT_EQ(dumps.commandLogLines(), Names{});
    EXPECT_EQ(aliasesOf(head.get()), (Names{"d", "e", "f"}));
    EXPECT_EQ(namesOf(head->next->pdev), (Names{"sdd", "sde"}));
}

TEST_F(SDravik, AReusedDeviceKeepsItsPathNodesButTheirListIsEmpty) {
    refill(head.get(), {"a"});
    setPaths(head->next, {"sdb", "sdc"});
    refill(head.get(), {"b"});
    ASSERT_NE(head->next->pdev, nullptr);
    EXPECT_TRUE(head->next->pdev->end);
    EXPECT_EQ(chainLength(head->next->pdev), 2);
    EXPECT_EQ(namesOf(head->next->pdev), Names{});
}

TEST_F(SDravik, ResettingANodeClearsItsDataAndKeepsItsPlace) {
    refill(head.get(), {"a", "b"});
    s_dravik *second = head->next->next;
    _initDravik(head->next);
    EXPECT_STREQ(head->next->path_alias, "");
    EXPECT_TRUE(head->next->end);
    EXPECT_EQ(head->next->next, second);
}

TEST_F(SDravik, GettingTheNextNodeDoesNotTouchTheCursorsEndFlag) {
    s_dravik *next = getOrMallocNextDravik(head.get());
    EXPECT_TRUE(head->end);
    EXPECT_TRUE(next->end);
    head->end = false;
    EXPECT_EQ(getOrMallocNextDravik(head.get()), next);
    EXPECT_FALSE(head->end);
}

TEST_F(SDravik, NullArgumentsAreHarmless) {
    initPathDev(nullptr);
    _initPathDev(nullptr);
    freePathDev(nullptr);
    _freePathDev(nullptr);
    initDravik(nullptr);
    _initDravik(nullptr);
    freeDravik(nullptr);
    _freeDravik(nullptr);
    EXPECT_EQ(getOrMallocNextPathDev(nullptr), nullptr);
    EXPECT_EQ(getOrMallocNextDravik(nullptr), nullptr);
    EXPECT_EQ(findDravikByPathAlias(nullptr, "a"), nullptr);
    EXPECT_EQ(findDravikByPathAlias_noMemoryLeak(nullptr, "a"), nullptr);
    EXPECT_EQ(findDravikByDeviceName(nullptr, "a", "sdb"), nullptr);
    refill(head.get(), {"a"});
    setPaths(head->next, {"sdb"});
    EXPECT_EQ(findDravikByPathAlias(head.get(), nullptr), nullptr);
    EXPECT_EQ(findDravikByPathAlias_noMemoryLeak(head.get(), nullptr), nullptr);
    EXPECT_EQ(findDravikByDeviceName(head.get(), nullptr, "sdb"), nullptr);
    EXPECT_EQ(findDravikByDeviceName(head.get(), "a", nullptr), nullptr);
}

TEST_F(SDravik, TheLenientSearchStopsAtAMissingSuccessor) {
    refill(head.get(), {"a"});
    head->next->end = false; // a malformed list: no last node
    EXPECT_EQ(findDravikByPathAlias(head.get(), "b"), nullptr);
    EXPECT_EQ(findDravikByPathAlias(head.get(), "a"), head->next);
}

TEST_F(SDravik, AliasesAreComparedOver65CharactersAndDeviceNamesOver30) {
    const std::string alias(65, 'a');
    refill(head.get(), {alias});
    EXPECT_EQ(findDravikByPathAlias(head.get(), (alias + "x").c_str()), head->next);
    EXPECT_EQ(findDravikByPathAlias_noMemoryLeak(head.get(), (alias + "y").c_str()), head->next);
    EXPECT_EQ(findDravikByPathAlias(head.get(), alias.substr(0, 64).c_str()), nullptr);

    const std::string name(30, 's');
    setPaths(head->next, {"sdb", name});
    EXPECT_EQ(findDravikByDeviceName(head.get(), alias.c_str(), (name + "tail").c_str()),
              head->next->pdev->next->next);
    EXPECT_EQ(findDravikByDeviceName(head.get(), alias.c_str(), name.substr(0, 29).c_str()), nullptr);
}

TEST_F(SDravik, TheFirstOfTwoDevicesOrPathsOfOneNameIsFound) {
    refill(head.get(), {"a", "a"});
    setPaths(head->next, {"sdb", "sdb"});
    EXPECT_EQ(findDravikByPathAlias(head.get(), "a"), head->next);
    EXPECT_EQ(findDravikByDeviceName(head.get(), "a", "sdb"), head->next->pdev->next);
}

TEST_F(SDravik, APathOfAnotherDeviceIsNotFound) {
    refill(head.get(), {"a", "b"});
    setPaths(head->next, {"sdb"});
    EXPECT_EQ(findDravikByDeviceName(head.get(), "b", "sdb"), nullptr); // no path list at all
    setPaths(head->next->next, {"sdc"});
    EXPECT_EQ(findDravikByDeviceName(head.get(), "b", "sdb"), nullptr);
}

TEST_F(SDravik, ADeviceIsFailedWhenEachPathFailsInOneOfFourWays) {
    refill(head.get(), {"a"});
    s_dravik *device = head->next;
    snprintf(device->wwid, sizeof(device->wwid), "3600b5d60001a2b3c0000000000000001");
    struct Case {
        char *(*field)(s_path_dev *);
        const char *value;
    };
    const Case cases[] = {
        {[](s_path_dev *path) { return path->checker_state; }, "faulty"},
        {[](s_path_dev *path) { return path->path_status; }, "failed"},
        {[](s_path_dev *path) { return path->dravik_status; }, "offline"},
        {[](s_path_dev *path) { return path->group_status; }, "failed"},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(one.value);
        setPaths(device, {"sdb", "sdc"});
        dumps.forgetLogs();
        snprintf(one.field(device->pdev->next), 31, "%s", one.value);
        EXPECT_EQ(isFailed(device), 0U); // one healthy path among failed ones
        EXPECT_EQ(dumps.commandLogLines(), Names{});
        snprintf(one.field(device->pdev->next->next), 31, "%s", one.value);
        EXPECT_EQ(isFailed(device), 1U);
        EXPECT_EQ(dumps.commandLogLines(),
                  (Names{"ERROR isFailedDevice # This device (3600b5d60001a2b3c0000000000000001) is a failed "
                         "device.\n"}));
        // Exactly that word: a longer one is another state.
        snprintf(one.field(device->pdev->next), 31, "%sx", one.value);
        EXPECT_EQ(isFailed(device), 0U);
    }
}

TEST_F(SDravik, DifferentFailuresOfDifferentPathsAddUp) {
    refill(head.get(), {"a"});
    setPaths(head->next, {"sdb", "sdc", "sdd"});
    s_path_dev *path = head->next->pdev->next;
    snprintf(path->checker_state, 31, "faulty");
    snprintf(path->next->dravik_status, 31, "offline");
    EXPECT_EQ(isFailed(head->next), 0U);
    snprintf(path->next->next->group_status, 31, "failed");
    EXPECT_EQ(isFailed(head->next), 1U);
}

TEST_F(SDravik, ADeviceWithoutPathsIsFailedAndNothingIsLogged) {
    refill(head.get(), {"a"});
    dumps.forgetLogs();
    EXPECT_EQ(isFailed(head->next), 1U);
    setPaths(head->next, {});
    dumps.forgetLogs();
    EXPECT_EQ(isFailed(head->next), 1U);
    EXPECT_EQ(dumps.commandLogLines(), Names{});
}

TEST_F(SDravik, NvmeIsTestedExactly) {
    refill(head.get(), {"a"});
    for (const char *host_interface : {"fc-nvme", "rdma-nvme"}) {
        setPaths(head->next, {"sdb", "nvme0n1"});
        snprintf(head->next->pdev->next->next->host_interface, 31, "%s", host_interface);
        EXPECT_EQ(isNvme(head->next), 1U) << host_interface;
    }
    for (const char *host_interface : {"", "fc", "iscsi", "sas", "fc-nvme2", "tcp-nvme", "xfc-nvme"}) {
        setPaths(head->next, {"sdb", "nvme0n1"});
        snprintf(head->next->pdev->next->next->host_interface, 31, "%s", host_interface);
        EXPECT_EQ(isNvme(head->next), 0U) << host_interface;
    }
}

TEST_F(SDravik, StalePathsAreNeverAsked) {
    refill(head.get(), {"a"});
    setPaths(head->next, {"sdb", "nvme0n1"});
    snprintf(head->next->pdev->next->next->host_interface, 31, "fc-nvme");
    setPaths(head->next, {"sdb"});
    EXPECT_EQ(isNvme(head->next), 0U);
    EXPECT_EQ(findDravikByDeviceName(head.get(), "a", "nvme0n1"), nullptr);
}

TEST_F(SDravik, FreeingAListReleasesItsSpareNodesAndTheirPathsToo) {
    const long before = heldBlocks();
    s_dravik *devices = mallocDravik();
    refill(devices, {"a", "b", "c"});
    setPaths(devices->next->next->next, {"sdb", "sdc"});
    refill(devices, {"a"});
    EXPECT_EQ(heldBlocks() - before, 7); // four devices, the head with them, and three paths with theirs
    freeDravik(devices);
    EXPECT_EQ(heldBlocks(), before);

    s_path_dev *paths = mallocPathDev();
    appendPath(appendPath(paths, "sdb"), "sdc");
    initPathDev(paths);
    EXPECT_EQ(heldBlocks() - before, 3);
    freePathDev(paths);
    EXPECT_EQ(heldBlocks(), before);
}

TEST_F(SDravik, FreeingOneNodeReleasesItAloneADeviceWithItsPaths) {
    refill(head.get(), {"a", "b"});
    setPaths(head->next->next, {"sdb", "sdc"});
    s_path_dev *paths = head->next->next->pdev;
    const long before = heldBlocks();
    _freePathDev(paths->next->next);
    paths->next->next = nullptr;
    EXPECT_EQ(before - heldBlocks(), 1);
    _freeDravik(head->next->next);
    head->next->next = nullptr;
    EXPECT_EQ(before - heldBlocks(), 4); // and the device, the head of its paths, the path that was left
}

TEST(SDravikLimit, NoListGrowsPastItsLargestNumberOfNodes) {
    const DumpsFolder dumps;
    s_path_dev last = {};
    last.position = MAX_LIST_NODES;
    EXPECT_EQ(getOrMallocNextPathDev(&last), nullptr);
    s_dravik last_device = {};
    last_device.position = MAX_LIST_NODES;
    EXPECT_EQ(getOrMallocNextDravik(&last_device), nullptr);
    EXPECT_EQ(dumps.commandLogLines(), Names{});

    last.position = MAX_LIST_NODES - 1;
    s_path_dev *one_more = getOrMallocNextPathDev(&last);
    ASSERT_NE(one_more, nullptr);
    EXPECT_EQ(getOrMallocNextPathDev(one_more), nullptr);
    _initPathDev(one_more);
    EXPECT_EQ(getOrMallocNextPathDev(one_more), nullptr); // a reset node keeps its place
    freePathDev(one_more);
}

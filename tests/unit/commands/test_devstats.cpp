// What `devstats` registers with the statistics engine, and in which order.
#include "commands/devstats.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stats/device_list.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_host.h"

namespace {

struct FreeDravik {
    void operator()(s_dravik *head) const {
        freeDravik(head);
    }
};
using Topology = std::unique_ptr<s_dravik, FreeDravik>;

struct Device {
    std::string alias;
    std::string number;
    std::vector<std::string> paths;
};

Topology topologyOf(const std::vector<Device> &devices) {
    Topology head(mallocDravik());
    s_dravik *cursor = head.get();
    for (const Device &device : devices) {
        s_dravik *node = getOrMallocNextDravik(cursor);
        cursor->end = false;
        cursor = node;
        snprintf(node->path_alias, sizeof(node->path_alias), "%s", device.alias.c_str());
        snprintf(node->device_number, sizeof(node->device_number), "%s", device.number.c_str());
        s_path_dev *path_cursor = node->pdev = mallocPathDev();
        for (const std::string &name : device.paths) {
            s_path_dev *path = getOrMallocNextPathDev(path_cursor);
            path_cursor->end = false;
            path_cursor = path;
            snprintf(path->dev_name, sizeof(path->dev_name), "%s", name.c_str());
        }
    }
    return head;
}

// The entries of the statistics engine's list.
class Devstats : public testing::Test {
  protected:
    ~Devstats() override {
        sfree_dev_list();
    }
    // "NAME ALIAS" of each entry of the list.
    static std::vector<std::string> registered() {
        std::vector<std::string> entries;
        for (int i = 0; i < dlist_idx; ++i) {
            entries.push_back(std::string(st_dev_list[i].name) + " " + st_dev_list[i].alias);
        }
        return entries;
    }
};

class DevstatsRegistering : public Devstats {
  protected:
    DevstatsRegistering() {
        salloc_dev_list(10);
    }
    DumpsFolder dumps; // for the notes of allocations
};

} // namespace

TEST_F(DevstatsRegistering, EachDeviceIsFollowedByItsPathsAndBringsItsAlias) {
    const Topology head =
        topologyOf({{"mpatha", "987654", {"sdxa", "sdxb"}}, {"database", "987655", {"sdxc"}}});
    testing::internal::CaptureStdout();
    printDravikStats(firstDravik(head.get()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(registered(), (std::vector<std::string>{"dm-987654 mpatha", "sdxa ", "sdxb ",
                                                      "dm-987655 database", "sdxc "}));
}

TEST_F(DevstatsRegistering, ADeviceWithoutPathsIsRegisteredAlone) {
    const Topology head = topologyOf({{"mpatha", "987654", {}}});
    freePathDev(firstDravik(head.get())->pdev);
    firstDravik(head.get())->pdev = nullptr;
    _printOneDravikStats(firstDravik(head.get()));
    EXPECT_EQ(registered(), std::vector<std::string>{"dm-987654 mpatha"});
}

TEST_F(DevstatsRegistering, NoDeviceRegistersNothing) {
    printDravikStats(nullptr);
    EXPECT_EQ(registered(), std::vector<std::string>{});
}

TEST_F(DevstatsRegistering, APathOfTwoDevicesIsRegisteredOnce) {
    const Topology head = topologyOf({{"a", "987654", {"sdxa"}}, {"b", "987655", {"sdxa", "sdxb"}}});
    printDravikStats(firstDravik(head.get()));
    EXPECT_EQ(registered(), (std::vector<std::string>{"dm-987654 a", "sdxa ", "dm-987655 b", "sdxb "}));
}

// ---- from the topology

namespace {

// A host with one device over two paths, and the list of the statistics engine as it is before a command.
class DevstatsQuery : public Devstats {
  protected:
    void SetUp() override {
        host.answer(QUERY_ALL, LISTING);
        host.answer("velomux -ll mpatha", LISTING);
    }

    const std::string LISTING = listing({readyPath("sdxa"), readyPath("sdxb")}, "mpatha", "987654");
    FakeHost host;
};

} // namespace

TEST_F(DevstatsQuery, EveryDeviceOfTheTopologyIsRegisteredAndNothingPrinted) {
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(queryDevStats, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(registered(), (std::vector<std::string>{"dm-987654 mpatha", "sdxa ", "sdxb "}));
    EXPECT_EQ(host.calls, std::vector<std::string>{QUERY_ALL});
}

TEST_F(DevstatsQuery, OneDeviceIsAskedForByItsName) {
    EXPECT_EQ(&EC_info_ok, querySingleDevStats("mpatha"));
    EXPECT_EQ(registered(), (std::vector<std::string>{"dm-987654 mpatha", "sdxa ", "sdxb "}));
    EXPECT_EQ(host.calls, std::vector<std::string>{"velomux -ll mpatha"});
}

TEST_F(DevstatsQuery, TheListHasAnEntryForEachLineOfTheListing) {
    EXPECT_EQ(&EC_info_ok, queryDevStats());
    // Seven lines, the empty one behind the last newline too, and one entry more that the presaving may need.
    for (int i = dlist_idx; i < 8; ++i) {
        EXPECT_EQ(update_dev_list(&dlist_idx, ("more" + std::to_string(i)).c_str(), ""), i);
    }
    EXPECT_EQ(update_dev_list(&dlist_idx, "one too many", ""), -1);
}

TEST_F(DevstatsQuery, AFailedQueryRegistersNothingAndItsRecordIsTheAnswer) {
    EXPECT_EQ(&EC_no_this_device, querySingleDevStats("mpathx"));
    host.answer(QUERY_ALL, "", 127);
    EXPECT_EQ(&EC_exe_cmd_failed, queryDevStats());
    host.answer(QUERY_ALL, "mpatha dm-3 KORVEL,QVX");
    EXPECT_EQ(&EC_parse_cmd_out, queryDevStats());
    EXPECT_EQ(registered(), std::vector<std::string>{});
}

// What `devstats` registers with the statistics engine, and in which order.
#include "commands/devstats.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stats/device_list.h"
#include "tests/support/dumps_redirect.h"

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

class Devstats : public testing::Test {
  protected:
    void SetUp() override {
        salloc_dev_list(10);
    }
    void TearDown() override {
        sfree_dev_list();
        dlist_idx = 0;
    }
    // "NAME ALIAS" of each entry of the list.
    static std::vector<std::string> registered() {
        std::vector<std::string> entries;
        for (int i = 0; i < dlist_idx; ++i) {
            entries.push_back(std::string(st_dev_list[i].name) + " " + st_dev_list[i].alias);
        }
        return entries;
    }
    DumpsFolder dumps; // for the notes of allocations
};

} // namespace

TEST_F(Devstats, EachDeviceIsFollowedByItsPathsAndBringsItsAlias) {
    const Topology head =
        topologyOf({{"mpatha", "987654", {"sdxa", "sdxb"}}, {"database", "987655", {"sdxc"}}});
    testing::internal::CaptureStdout();
    printDravikStats(firstDravik(head.get()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(registered(), (std::vector<std::string>{"dm-987654 mpatha", "sdxa ", "sdxb ",
                                                      "dm-987655 database", "sdxc "}));
}

TEST_F(Devstats, ADeviceWithoutPathsIsRegisteredAlone) {
    const Topology head = topologyOf({{"mpatha", "987654", {}}});
    freePathDev(firstDravik(head.get())->pdev);
    firstDravik(head.get())->pdev = nullptr;
    _printOneDravikStats(firstDravik(head.get()));
    EXPECT_EQ(registered(), std::vector<std::string>{"dm-987654 mpatha"});
}

TEST_F(Devstats, NoDeviceRegistersNothing) {
    printDravikStats(nullptr);
    EXPECT_EQ(registered(), std::vector<std::string>{});
}

TEST_F(Devstats, APathOfTwoDevicesIsRegisteredOnce) {
    const Topology head = topologyOf({{"a", "987654", {"sdxa"}}, {"b", "987655", {"sdxa", "sdxb"}}});
    printDravikStats(firstDravik(head.get()));
    EXPECT_EQ(registered(), (std::vector<std::string>{"dm-987654 a", "sdxa ", "dm-987655 b", "sdxb "}));
}

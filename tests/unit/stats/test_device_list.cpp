// The list of devices to report.
#include "stats/device_list.h"

#include <cstring>
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/seeded_random.h"
#include "tests/support/stats_host.h"

namespace {

class DeviceList : public testing::Test {
  protected:
    StatsHost host;

    static int add(const std::string &name, const std::string &alias) {
        return update_dev_list(&dlist_idx, name.c_str(), alias.c_str());
    }
};

TEST_F(DeviceList, AFreshListIsEmptyAndZeroFilled) {
    salloc_dev_list(3);
    EXPECT_EQ(dlist_idx, 0);
    const s_dev_list empty = {};
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(memcmp(&st_dev_list[i], &empty, sizeof(empty)), 0);
    }
    add("sdb", "");
    salloc_dev_list(3);
    EXPECT_EQ(dlist_idx, 0);
    EXPECT_STREQ(st_dev_list[0].name, "");
    sfree_dev_list();
    EXPECT_EQ(st_dev_list, nullptr);
    EXPECT_EQ(dlist_idx, 0);
    sfree_dev_list();
}

TEST_F(DeviceList, AnAllocationThatFailsExitsWithFour) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own allocator does not live within a limit";
#endif
    const auto allocate_without_memory = [] {
        const rlimit limit = {64UL << 20, 64UL << 20};
        setrlimit(RLIMIT_AS, &limit);
        salloc_dev_list(1000000);
    };
    EXPECT_EXIT(allocate_without_memory(), testing::ExitedWithCode(4), "^malloc: Cannot allocate memory\n$");
}

TEST_F(DeviceList, NewNamesAreAppendedAndKnownOnesKeepTheirPlaceAndAlias) {
    salloc_dev_list(4);
    EXPECT_EQ(add("dm-3", "mpatha"), 0);
    EXPECT_EQ(add("sdb", "sdb"), 1);
    EXPECT_EQ(add("sdc", "sdc"), 2);
    EXPECT_EQ(add("dm-3", "another"), 0);
    EXPECT_EQ(add("sdb", "dm-9"), 1);
    EXPECT_EQ(dlist_idx, 3);
    EXPECT_STREQ(st_dev_list[0].name, "dm-3");
    EXPECT_STREQ(st_dev_list[0].alias, "mpatha");
    EXPECT_STREQ(st_dev_list[1].name, "sdb");
    EXPECT_STREQ(st_dev_list[1].alias, "");
    EXPECT_STREQ(st_dev_list[2].alias, "");
    EXPECT_EQ(st_dev_list[0].disk_flag, 0);
}

TEST_F(DeviceList, NamesAreComparedExactly) {
    salloc_dev_list(4);
    EXPECT_EQ(add("sda", ""), 0);
    EXPECT_EQ(add("sdaa", ""), 1);
    EXPECT_EQ(add("SDA", ""), 2);
    EXPECT_EQ(add("sd", ""), 3);
}

TEST_F(DeviceList, NamesAndAliasesAreCutAtSeventyOneCharacters) {
    salloc_dev_list(2);
    const std::string name = "dm-" + std::string(97, '1');
    EXPECT_EQ(add(name, std::string(100, 'a')), 0);
    EXPECT_EQ(st_dev_list[0].name, name.substr(0, 71));
    EXPECT_EQ(st_dev_list[0].alias, std::string(71, 'a'));
    EXPECT_STREQ(st_dev_list[1].name, "");
    // The cut name is another name than the whole one.
    EXPECT_EQ(add(name, ""), 1);
    EXPECT_EQ(add(name.substr(0, 71), ""), 0);
}

TEST_F(DeviceList, AFullOrMissingListTakesNothing) {
    EXPECT_EQ(add("sdb", ""), -1);
    salloc_dev_list(1);
    EXPECT_EQ(add("sdb", ""), 0);
    EXPECT_EQ(add("sdc", ""), 1); // the room that the presaving may need
    EXPECT_EQ(add("sdd", ""), -1);
    EXPECT_EQ(add("sdc", ""), 1);
    EXPECT_EQ(dlist_idx, 2);
    salloc_dev_list(-5);
    EXPECT_EQ(add("sdb", ""), 0);
    EXPECT_EQ(add("sdc", ""), -1);
}

TEST_F(DeviceList, TheNameColumnIsAsWideAsTheLongestAliasOfADeviceButAtLeastThirteen) {
    EXPECT_EQ(get_max_dev_alias_name_len(), 13);
    listDevices({"dm-1=short", "sdb"});
    EXPECT_EQ(get_max_dev_alias_name_len(), 13);
    listDevices({"dm-1=" + std::string(13, 'a'), "sdb"});
    EXPECT_EQ(get_max_dev_alias_name_len(), 13);
    listDevices({"dm-1=" + std::string(14, 'a'), "sdb"});
    EXPECT_EQ(get_max_dev_alias_name_len(), 14);
    listDevices(
        {"dm-1=x", "dm-2=" + std::string(30, 'a'), "dm-3=y", "a-path-whose-name-is-much-longer-than-that"});
    EXPECT_EQ(get_max_dev_alias_name_len(), 30);
}

TEST_F(DeviceList, TheIndexAnswersAsTheLinearSearchDoes) {
    std::mt19937 random = seededRandom(4711);
    for (int round = 0; round < 30; round++) {
        const int entries = 1 + static_cast<int>(random() % 300);
        salloc_dev_list(entries);
        for (int i = 0; i < entries * 2; i++) {
            std::string name = (random() % 3 == 0 ? "dm-" : "sd") + std::to_string(random() % 200);
            if (random() % 10 == 0) {
                name += std::string(70, 'x');
            }
            int expected = 0;
            while (expected < dlist_idx && name != st_dev_list[expected].name) {
                expected++;
            }
            if (expected == entries + 1) {
                expected = -1;
            }
            ASSERT_EQ(add(name, "alias"), expected) << name;
        }
    }
}

} // namespace

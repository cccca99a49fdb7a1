// Slots: how many there are, who gets which, when they are free again.
#include "stats/sample_tables.h"

#include <cstring>
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

#include <gtest/gtest.h>

#include "stats/stats.h"
#include "tests/support/seeded_random.h"
#include "tests/support/stats_host.h"

namespace {

class SampleTables : public testing::Test {
  protected:
    StatsHost host;

    void initWith(int lines) {
        std::string text;
        for (int i = 0; i < lines; i++) {
            text += diskstatsLine("init" + std::to_string(i), {});
        }
        host.diskstats(text);
        io_sys_init();
    }
    static void save(const std::string &name, unsigned long reads, int sample) {
        s_iodev counters = {};
        counters.read_ios = reads;
        save_stats(name.c_str(), sample, &counters, iodev_nr, st_hdr_iodev);
    }
    static void saveInReading(const std::string &name, unsigned long reads) {
        s_iodev counters = {};
        counters.read_ios = reads;
        saveReading(name, &counters);
    }
};

TEST_F(SampleTables, AHeaderEntryTakesEightyBytes) {
    EXPECT_EQ(sizeof(s_hdr_iodev), 80U);
}

TEST_F(SampleTables, TheTablesHoldFourSlotsMoreThanTheFileHasLines) {
    initWith(3);
    EXPECT_EQ(iodev_nr, 7);
    EXPECT_TRUE(st_settings.has_diskstats);
    EXPECT_FALSE(st_settings.has_sysfs);
    EXPECT_GE(cpu_nr, 1);
    const s_iodev zero = {};
    const s_hdr_iodev empty = {};
    for (int i = 0; i < iodev_nr; i++) {
        EXPECT_TRUE(st_iodev[0][i] == zero);
        EXPECT_TRUE(st_iodev[1][i] == zero);
        EXPECT_TRUE(st_hdr_iodev[i] == empty);
    }
    const s_cpu no_time = {};
    EXPECT_EQ(memcmp(st_cpu[0], &no_time, sizeof(no_time)), 0);
    EXPECT_EQ(memcmp(st_cpu[1], &no_time, sizeof(no_time)), 0);
    group_nr = 2;
    io_sys_init();
    EXPECT_EQ(iodev_nr, 9);
}

TEST_F(SampleTables, ALastLineWithoutANewlineCountsToo) {
    host.diskstats("   8 0 sda 1\n   8 16 sdb 1");
    io_sys_init();
    EXPECT_EQ(iodev_nr, 6);
}

TEST_F(SampleTables, WithoutCounterLinesTheDevicesUnderSysfsAreCounted) {
    host.write("/sys/block/sda/stat", "1\n");
    host.write("/sys/block/sda/sda1/stat", "1\n");
    host.write("/sys/block/sda/sda2/stat", "1\n");
    host.write("/sys/block/sda/queue/depth", "1\n");
    host.write("/sys/block/dm-0/stat", "1\n");
    io_sys_init();
    EXPECT_EQ(iodev_nr, 6);
    EXPECT_FALSE(st_settings.has_diskstats);
    EXPECT_TRUE(st_settings.has_sysfs);
    st_settings.partitions = true;
    host.diskstats("");
    io_sys_init();
    EXPECT_EQ(iodev_nr, 8);
    EXPECT_FALSE(st_settings.has_diskstats);
}

TEST_F(SampleTables, PartitionsOfChosenDisksAreSoughtUnderSysfs) {
    host.write("/sys/block/sda/stat", "1\n");
    host.write("/sys/block/sda/sda1/stat", "1\n");
    host.diskstats("   8 0 sda 1\n");
    st_settings.partitions = true;
    io_sys_init();
    EXPECT_EQ(iodev_nr, 6);
    EXPECT_TRUE(st_settings.has_diskstats);
    EXPECT_TRUE(st_settings.has_sysfs);
    st_settings.all_partitions = true;
    io_sys_init();
    EXPECT_EQ(iodev_nr, 5);
    EXPECT_FALSE(st_settings.has_sysfs);
}

TEST_F(SampleTables, NoDiskAnywhereExitsWithTwo) {
    EXPECT_EXIT(io_sys_init(), testing::ExitedWithCode(2), "^Cannot find disk data\n$");
    host.diskstats("");
    host.write("/sys/block/readme", "no device\n");
    EXPECT_EXIT(io_sys_init(), testing::ExitedWithCode(2), "^Cannot find disk data\n$");
}

TEST_F(SampleTables, AnAllocationThatFailsExitsWithFour) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own allocator does not live within a limit";
#endif
    host.diskstats(std::string(1000000, '\n'));
    const auto init_without_memory = [] {
        const rlimit limit = {64UL << 20, 64UL << 20};
        setrlimit(RLIMIT_AS, &limit);
        io_sys_init();
    };
    EXPECT_EXIT(init_without_memory(), testing::ExitedWithCode(4), "^malloc: Cannot allocate memory\n$");
}

TEST_F(SampleTables, FreeingReleasesEverythingAndMayBeRepeated) {
    initWith(3);
    io_sys_free();
    io_sys_free();
    EXPECT_EQ(st_hdr_iodev, nullptr);
    EXPECT_EQ(st_iodev[0], nullptr);
    EXPECT_EQ(st_iodev[1], nullptr);
    EXPECT_EQ(st_cpu[0], nullptr);
    EXPECT_EQ(st_cpu[1], nullptr);
    EXPECT_EQ(iodev_nr, 0);
}

// ---- presaving

TEST_F(SampleTables, TheListIsPresavedWithOneEntryMoreForTheGroupsName) {
    initWith(3);
    listDevices({"dm-3=mpatha", "sdb", "sdc"});
    presave_device_list();
    EXPECT_EQ(dlist_idx, 4);
    EXPECT_STREQ(st_dev_list[3].name, "");
    EXPECT_EQ(slotsOf(0), "dm-3:1:1:0/0 sdb:1:1:0/0 sdc:1:1:0/0 :1:1:0/0 ");
}

TEST_F(SampleTables, ANameThatBeginsWithABlankIsAGroup) {
    initWith(3);
    listDevices({"dm-3=mpatha", "sdb"});
    strcpy(st_group_name, " all");
    presave_device_list();
    EXPECT_EQ(slotsOf(0), "dm-3:1:1:0/0 sdb:1:1:0/0  all:2:1:0/0 ");
}

TEST_F(SampleTables, AListLongerThanTheTablesIsPresavedAsFarAsTheyReach) {
    initWith(1);
    listDevices({"a", "b", "c", "d", "e", "f", "g"});
    presave_device_list();
    EXPECT_EQ(slotsOf(0), "a:1:1:0/0 b:1:1:0/0 c:1:1:0/0 d:1:1:0/0 e:1:1:0/0 ");
    EXPECT_EQ(dlist_idx, 8);
}

TEST_F(SampleTables, WithAnEmptyListTheLastSlotIsTheGroups) {
    initWith(1);
    strcpy(st_group_name, " all");
    presave_device_list();
    EXPECT_EQ(slotsOf(0), "- - - -  all:2:1:0/0 ");
    EXPECT_EQ(dlist_idx, 0);
}

// ---- saving

TEST_F(SampleTables, ANewDeviceTakesTheFirstFreeSlotAndIsMeasuredFromZero) {
    initWith(1);
    st_iodev[0][0].read_ios = 99;
    save("sda", 5, 1);
    save("sdb", 6, 1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:5/0 sdb:1:1:6/0 ");
    EXPECT_EQ(slotsOf(0), "sda:1:1:0/0 sdb:1:1:0/0 ");
}

TEST_F(SampleTables, AKnownDeviceKeepsItsSlotAndTheOtherSample) {
    initWith(1);
    save("sda", 5, 1);
    save("sdb", 6, 1);
    save("sdb", 8, 0);
    EXPECT_EQ(slotsOf(0), "sda:1:1:0/0 sdb:1:1:8/0 ");
    EXPECT_EQ(slotsOf(1), "sda:1:1:5/0 sdb:1:1:6/0 ");
}

TEST_F(SampleTables, WithoutAFreeSlotASampleIsDropped) {
    initWith(1);
    for (const char *name : {"a", "b", "c", "d", "e", "f"}) {
        save(name, 1, 0);
    }
    EXPECT_EQ(slotsOf(0), "a:1:1:1/0 b:1:1:1/0 c:1:1:1/0 d:1:1:1/0 e:1:1:1/0 ");
}

TEST_F(SampleTables, ANameIsCutAtSeventyOneCharactersAndFoundAgain) {
    initWith(1);
    const std::string name(90, 'n');
    save(name, 1, 0);
    save(name, 2, 0);
    EXPECT_EQ(slotsOf(0), std::string(71, 'n') + ":1:1:2/0 ");
    beginReading(0);
    saveInReading(name, 3);
    endReading();
    EXPECT_EQ(slotsOf(0), std::string(71, 'n') + ":1:1:3/0 ");
}

TEST_F(SampleTables, AVanishedDeviceFreesItsSlotAndANewOneReusesIt) {
    initWith(1);
    for (const char *name : {"a", "b", "c"}) {
        save(name, 1, 0);
    }
    beginReading(1);
    EXPECT_EQ(st_hdr_iodev[0].status, SLOT_UNREGISTERED);
    saveInReading("a", 2);
    saveInReading("c", 2);
    endReading();
    EXPECT_EQ(slotsOf(1), "a:1:1:2/0 - c:1:1:2/0 ");
    beginReading(0);
    saveInReading("a", 3);
    saveInReading("new", 7);
    saveInReading("c", 3);
    endReading();
    EXPECT_EQ(slotsOf(0), "a:1:1:3/0 new:1:1:7/0 c:1:1:3/0 ");
    EXPECT_EQ(slotsOf(1), "a:1:1:2/0 new:1:1:0/0 c:1:1:2/0 ");
}

TEST_F(SampleTables, ADeviceThatComesBackIsANewOne) {
    initWith(1);
    save("a", 1, 0);
    save("b", 1, 0);
    beginReading(1); // nothing is there
    endReading();
    EXPECT_EQ(slotsOf(1), "");
    beginReading(0);
    saveInReading("b", 9);
    saveInReading("a", 8);
    endReading();
    EXPECT_EQ(slotsOf(0), "b:1:1:9/0 a:1:1:8/0 ");
    EXPECT_EQ(slotsOf(1), "b:1:1:0/0 a:1:1:0/0 ");
}

TEST_F(SampleTables, AGroupKeepsItsSlotThroughAReading) {
    initWith(1);
    strcpy(st_group_name, " all");
    listDevices({"sda"});
    presave_device_list();
    beginReading(0);
    saveInReading("sda", 3);
    endReading();
    EXPECT_EQ(slotsOf(0), "sda:1:1:3/0  all:2:1:0/0 ");
}

// Two engines side by side: one through the index, one through save_stats.
TEST_F(SampleTables, TheIndexAnswersAsTheLinearSearchDoes) {
    std::mt19937 random = seededRandom(815);
    for (int round = 0; round < 20; round++) {
        initWith(1 + static_cast<int>(random() % 40));
        listDevices({"sd3", "sd5", "dm-1=x", "gone"});
        presave_device_list();
        std::vector<s_hdr_iodev> header(st_hdr_iodev, st_hdr_iodev + iodev_nr);
        std::vector<s_iodev> samples[2] = {{st_iodev[0], st_iodev[0] + iodev_nr},
                                           {st_iodev[1], st_iodev[1] + iodev_nr}};
        for (int reading = 0; reading < 8; reading++) {
            const int sample = reading % 2;
            std::vector<std::string> names;
            for (unsigned int i = 0; i < random() % 60; i++) {
                names.push_back((random() % 4 == 0 ? "dm-" : "sd") + std::to_string(random() % 50));
            }
            beginReading(sample);
            for (size_t i = 0; i < names.size(); i++) {
                saveInReading(names[i], i + 1);
            }
            endReading();
            const std::vector<s_hdr_iodev> indexed(st_hdr_iodev, st_hdr_iodev + iodev_nr);
            const std::vector<s_iodev> indexed_samples[2] = {{st_iodev[0], st_iodev[0] + iodev_nr},
                                                             {st_iodev[1], st_iodev[1] + iodev_nr}};
            // The same again on the other engine's tables.
            std::copy(header.begin(), header.end(), st_hdr_iodev);
            std::copy(samples[0].begin(), samples[0].end(), st_iodev[0]);
            std::copy(samples[1].begin(), samples[1].end(), st_iodev[1]);
            set_entries_unregistered(iodev_nr, st_hdr_iodev);
            for (size_t i = 0; i < names.size(); i++) {
                save(names[i], i + 1, sample);
            }
            free_unregistered_entries(iodev_nr, st_hdr_iodev);
            header.assign(st_hdr_iodev, st_hdr_iodev + iodev_nr);
            samples[0].assign(st_iodev[0], st_iodev[0] + iodev_nr);
            samples[1].assign(st_iodev[1], st_iodev[1] + iodev_nr);
            ASSERT_TRUE(indexed == header);
            ASSERT_TRUE(indexed_samples[0] == samples[0]);
            ASSERT_TRUE(indexed_samples[1] == samples[1]);
        }
    }
}

} // namespace

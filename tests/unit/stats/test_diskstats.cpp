// The reader of /proc/diskstats: the conversion of a line, and which lines count.
#include "stats/diskstats.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stats/stats.h"
#include "tests/support/seeded_random.h"
#include "tests/support/stats_host.h"

namespace {

class Diskstats : public testing::Test {
  protected:
    StatsHost host;

    // Tables with so many slots, sampled from the file.
    void read(const std::string &text, int slots = 16, int sample = 1) {
        prepare(slots);
        host.diskstats(text);
        read_diskstats_stat(sample);
    }
    void prepare(int slots) {
        host.diskstats(std::string(static_cast<size_t>(slots - 4), '\n'));
        io_sys_init();
    }
};

// ---- conversion

struct Scanned {
    unsigned int major = 0;
    unsigned int minor = 0;
    char name[400] = "";
    unsigned long c[7] = {};
    unsigned int m[4] = {};
    int count = 0;
};

Scanned scanf14(const std::string &line) {
    Scanned s;
    // NOLINTNEXTLINE(cert-err34-c): this very conversion is the contract
    s.count = sscanf(line.c_str(), "%u %u %s %lu %lu %lu %lu %lu %lu %lu %u %u %u %u", &s.major, &s.minor,
                     s.name, &s.c[0], &s.c[1], &s.c[2], &s.c[3], &s.c[4], &s.c[5], &s.c[6], &s.m[0], &s.m[1],
                     &s.m[2], &s.m[3]);
    s.count = s.count < 0 ? 0 : s.count;
    return s;
}

void expectAsScanf(const std::string &line) {
    const Scanned expected = scanf14(line);
    DiskstatsFields fields = {};
    ASSERT_EQ(parse_diskstats_line(line, &fields), expected.count) << line;
    EXPECT_EQ(fields.major, expected.major) << line;
    EXPECT_EQ(fields.minor, expected.minor) << line;
    if (expected.count >= 3) {
        EXPECT_EQ(fields.name, expected.name) << line;
    }
    for (int i = 0; i < 7; i++) {
        EXPECT_EQ(fields.counts[i], expected.c[i]) << line;
    }
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(fields.more[i], expected.m[i]) << line;
    }
}

TEST_F(Diskstats, FieldsAreConvertedAsScanfConvertsThem) {
    for (const char *line :
         {"   8      16 sdb 5123 87 412345 2210 998 12 80112 640 0 1900 2850 0 0 0 0 12 3",
          " 253       3 dm-3 1 2 3 4 5 6 7 8 9 10 11",
          "8 16 sdb1 5123 412345 998 80112",
          "",
          "   ",
          "8",
          "8 16",
          "8 16 sdb",
          "x 16 sdb 1",
          "8 x sdb 1",
          "8 16sdb 1 2",
          "+8 -1 sdb -1 +2 - 3",
          "8 16 sdb 1 2 3 4 5 6 7 8 9 10 11x",
          "8 16 sdb 1 2 3 4 5 6 7 8 9 10 x",
          "8\t16\vsdb\f1\r2 3",
          "4294967296 4294967297 sdb 18446744073709551615 18446744073709551616 99999999999999999999999",
          "8 16 sdb -18446744073709551615 -18446744073709551616 -1",
          "8 16 sdb 0000000000000000000000000000000007 1",
          "8 16 sdb 1 2 3 4 5 6 7 4294967296 -1 18446744073709551616 99999999999999999999",
          "8 16 sdb 0x10 2",
          "8 16 sdb 1.5 2",
          "8 16 sdb 1 2 3 4 5 6 7 8 9 10 +",
          "- 1 sdb",
          "8 16 \xFFsdb 1"}) {
        expectAsScanf(line);
    }
}

TEST_F(Diskstats, ANulEndsALineAsItEndsAText) {
    const std::string line("8 16 sd\0b 1 2", 13);
    DiskstatsFields fields = {};
    EXPECT_EQ(parse_diskstats_line(line, &fields), 3);
    EXPECT_EQ(fields.name, "sd");
    EXPECT_EQ(parse_diskstats_line(std::string("8 \0 16", 6), &fields), 1);
}

TEST_F(Diskstats, RandomLinesAreConvertedAsScanfConvertsThem) {
    std::mt19937 random = seededRandom(99);
    const char *parts[] = {" ",
                           "  ",
                           "\t",
                           "1",
                           "8",
                           "16",
                           "sdb",
                           "dm-3",
                           "-",
                           "+",
                           "0",
                           "18446744073709551615",
                           "18446744073709551616",
                           "4294967295",
                           "4294967296",
                           "9999999999999999999",
                           "x",
                           "12345678901234567890123"};
    for (int i = 0; i < 200000; i++) {
        std::string line;
        const auto pieces = static_cast<unsigned int>(random() % 34);
        for (unsigned int j = 0; j < pieces; j++) {
            line += parts[random() % std::size(parts)];
            if (random() % 3 != 0) {
                line += ' ';
            }
        }
        expectAsScanf(line);
        if (HasFailure()) {
            FAIL() << "at " << i;
        }
    }
}

// ---- /proc/diskstats

TEST_F(Diskstats, AllElevenCountersOfADeviceAreKept) {
    listDevices({"sdb"});
    read("   8      16 sdb 1 2 3 4 5 6 7 8 9 10 11\n");
    EXPECT_STREQ(st_hdr_iodev[0].name, "sdb");
    const s_iodev &c = st_iodev[1][0];
    EXPECT_EQ(c.read_ios, 1U);
    EXPECT_EQ(c.read_merges, 2U);
    EXPECT_EQ(c.read_sectors, 3U);
    EXPECT_EQ(c.read_ms, 4U);
    EXPECT_EQ(c.write_ios, 5U);
    EXPECT_EQ(c.write_merges, 6U);
    EXPECT_EQ(c.write_sectors, 7U);
    EXPECT_EQ(c.write_ms, 8U);
    EXPECT_EQ(c.ios_in_progress, 9U);
    EXPECT_EQ(c.io_ms, 10U);
    EXPECT_EQ(c.weighted_io_ms, 11U);
}

TEST_F(Diskstats, ALineOfANewerKernelIsAWholeDevice) {
    listDevices({"sdb"});
    st_settings.extended_layout = true;
    read("   8      16 sdb 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n   8 17 sdb1 1 2 3 4\n   8 18 short 1 "
         "2 3 4 5\n");
    EXPECT_EQ(slotsOf(1), "sdb:1:1:1/5 ");
}

TEST_F(Diskstats, MillisecondsOfSixtyFourBitsKeepTheirLowerHalf) {
    listDevices({"sdb"});
    read("8 16 sdb 1 2 3 4294967298 5 6 7 4294967299 9 10 11\n");
    EXPECT_EQ(st_iodev[1][0].read_ms, 2U);
    EXPECT_EQ(st_iodev[1][0].write_ms, 3U);
}

TEST_F(Diskstats, WithADeviceListEveryWholeLineIsKept) {
    listDevices({"sdb"});
    read(diskstatsLine("sda", {1}) + diskstatsLine("sda1", {2}) + diskstatsLine("sdb", {3}));
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/0 sda1:1:1:2/0 sdb:1:1:3/0 ");
}

TEST_F(Diskstats, WithoutAListPartitionsAreSkippedUnlessWanted) {
    host.write("/sys/block/sda/stat", "");
    host.write("/sys/block/cciss!c0d0/stat", "");
    const std::string text =
        diskstatsLine("sda", {1}) + diskstatsLine("sda1", {2}) + diskstatsLine("cciss/c0d0", {3});
    read(text);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/0 cciss/c0d0:1:1:3/0 ");
    st_settings.partitions = true;
    st_settings.all_partitions = true;
    read(text);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/0 sda1:1:1:2/0 cciss/c0d0:1:1:3/0 ");
}

TEST_F(Diskstats, AnOldPartitionLineKeepsItsFourCounters) {
    const std::string text = "8 17 sdb1 1 2 3 4\n";
    listDevices({"sdb1"});
    read(text);
    EXPECT_EQ(slotsOf(1), "sdb1:1:1:1/3 ");
    EXPECT_EQ(st_iodev[1][0].read_sectors, 2U);
    EXPECT_EQ(st_iodev[1][0].write_sectors, 4U);
    EXPECT_EQ(st_iodev[1][0].read_ms, 0U);
    st_settings.extended_layout = true;
    read(text);
    EXPECT_EQ(slotsOf(1), "");
    st_settings.extended_layout = false;
    sfree_dev_list();
    read(text);
    EXPECT_EQ(slotsOf(1), "");
    st_settings.partitions = true;
    st_settings.all_partitions = true;
    read(text);
    EXPECT_EQ(slotsOf(1), "sdb1:1:1:1/3 ");
}

TEST_F(Diskstats, RubbishLinesAreSkipped) {
    listDevices({"sdb"});
    read("rubbish\n\n8 16 sdc 1 2 3\n8 16 sdd 1 2 3 4 5 6 7 8 9 10\n" + std::string(500, '9') + "\n" +
         diskstatsLine("sdb", {3}) + "8 16 sde 1 2 3 4 5 6 7 8 9 10 11"); // no newline at the end
    EXPECT_EQ(slotsOf(1), "sdb:1:1:3/0 sde:1:1:1/5 ");
}

TEST_F(Diskstats, AMissingOrEmptyFileRegistersNobodyAndTheDevicesComeBackWithIt) {
    listDevices({"sda", "sdb"});
    const std::string text = diskstatsLine("sda", {1}) + diskstatsLine("sdb", {2});
    read(text);
    host.remove("/proc/diskstats");
    read_diskstats_stat(0);
    EXPECT_EQ(slotsOf(0), "");
    host.diskstats("");
    read_diskstats_stat(1);
    EXPECT_EQ(slotsOf(1), "");
    host.diskstats(text);
    read_diskstats_stat(0);
    EXPECT_EQ(slotsOf(0), "sda:1:1:1/0 sdb:1:1:2/0 ");
    EXPECT_EQ(slotsOf(1), "sda:1:1:0/0 sdb:1:1:0/0 ");
}

TEST_F(Diskstats, DevicesBeyondTheTablesAreDropped) {
    listDevices({"sda"});
    std::string text;
    for (int i = 0; i < 9; i++) {
        text += diskstatsLine("sd" + std::to_string(i), {1});
    }
    read(text, 5);
    EXPECT_EQ(slotsOf(1), "sd0:1:1:1/0 sd1:1:1:1/0 sd2:1:1:1/0 sd3:1:1:1/0 sd4:1:1:1/0 ");
}

TEST_F(Diskstats, ADeviceTwiceInTheFileKeepsTheLaterCounters) {
    listDevices({"sda"});
    read(diskstatsLine("sda", {1}) + diskstatsLine("sda", {2}));
    EXPECT_EQ(slotsOf(1), "sda:1:1:2/0 ");
}

} // namespace

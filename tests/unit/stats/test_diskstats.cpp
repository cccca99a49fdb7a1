// The readers of the kernel's counters: lines and their conversion, /proc/diskstats, sysfs, the clocks.
#include "stats/stats.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/stats_host.h"

namespace {

class StatReaders : public testing::Test {
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
    std::vector<std::string> linesOf(const std::string &text) const {
        host.write("/lines", text);
        LineReader reader(host.path("/lines").c_str());
        EXPECT_TRUE(reader.isOpen());
        std::vector<std::string> lines;
        std::string_view line;
        while (reader.next(&line)) {
            lines.emplace_back(line);
        }
        return lines;
    }
};

using Lines = std::vector<std::string>;

// ---- lines

TEST_F(StatReaders, LinesComeWithoutTheirNewlineAndTheLastMayHaveNone) {
    EXPECT_EQ(linesOf(""), Lines{});
    EXPECT_EQ(linesOf("\n"), Lines{""});
    EXPECT_EQ(linesOf("a\n\nb\n"), (Lines{"a", "", "b"}));
    EXPECT_EQ(linesOf("a\nb"), (Lines{"a", "b"}));
}

TEST_F(StatReaders, ALongLineIsCutAndItsRestIsNoLineOfItsOwn) {
    for (const size_t length : {255U, 256U, 257U, 65535U, 65536U, 65537U, 70000U, 200000U}) {
        const std::string text = "first\n" + std::string(length, 'x') + "\nlast\n";
        EXPECT_EQ(linesOf(text), (Lines{"first", std::string(std::min<size_t>(length, 256), 'x'), "last"}))
            << length;
        EXPECT_EQ(linesOf(std::string(length, 'x')), (Lines{std::string(std::min<size_t>(length, 256), 'x')}))
            << length;
    }
}

TEST_F(StatReaders, LinesAcrossThePiecesOfAReadAreWhole) {
    Lines expected;
    std::string text;
    for (int i = 0; i < 20000; i++) {
        expected.push_back("line " + std::to_string(i * 7919) +
                           std::string(static_cast<size_t>(i % 50), '.'));
        text += expected.back() + "\n";
    }
    EXPECT_EQ(linesOf(text), expected);
    host.write("/lines", text);
    EXPECT_EQ(countLines(host.path("/lines").c_str()), 20000);
}

TEST_F(StatReaders, AMissingFileHasNoLines) {
    LineReader reader(host.path("/missing").c_str());
    std::string_view line;
    EXPECT_FALSE(reader.isOpen());
    EXPECT_FALSE(reader.next(&line));
    EXPECT_EQ(countLines(host.path("/missing").c_str()), 0);
    EXPECT_EQ(countLines(host.path("").c_str()), 0); // a folder: opens, cannot be read
}

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

TEST_F(StatReaders, FieldsAreConvertedAsScanfConvertsThem) {
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

TEST_F(StatReaders, ANulEndsALineAsItEndsAText) {
    const std::string line("8 16 sd\0b 1 2", 13);
    DiskstatsFields fields = {};
    EXPECT_EQ(parse_diskstats_line(line, &fields), 3);
    EXPECT_EQ(fields.name, "sd");
    EXPECT_EQ(parse_diskstats_line(std::string("8 \0 16", 6), &fields), 1);
}

TEST_F(StatReaders, RandomLinesAreConvertedAsScanfConvertsThem) {
    constexpr unsigned int SEED = 99;
    std::mt19937 random(SEED); // NOLINT(cert-msc32-c,cert-msc51-cpp): a failure must come back
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
            FAIL() << SEED << " at " << i;
        }
    }
}

// ---- /proc/diskstats

TEST_F(StatReaders, AllElevenCountersOfADeviceAreKept) {
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

TEST_F(StatReaders, ALineOfANewerKernelIsAWholeDevice) {
    listDevices({"sdb"});
    st_settings.extended_layout = true;
    read("   8      16 sdb 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n   8 17 sdb1 1 2 3 4\n   8 18 short 1 "
         "2 3 4 5\n");
    EXPECT_EQ(slotsOf(1), "sdb:1:1:1/5 ");
}

TEST_F(StatReaders, MillisecondsOfSixtyFourBitsKeepTheirLowerHalf) {
    listDevices({"sdb"});
    read("8 16 sdb 1 2 3 4294967298 5 6 7 4294967299 9 10 11\n");
    EXPECT_EQ(st_iodev[1][0].read_ms, 2U);
    EXPECT_EQ(st_iodev[1][0].write_ms, 3U);
}

TEST_F(StatReaders, WithADeviceListEveryWholeLineIsKept) {
    listDevices({"sdb"});
    read(diskstatsLine("sda", {1}) + diskstatsLine("sda1", {2}) + diskstatsLine("sdb", {3}));
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/0 sda1:1:1:2/0 sdb:1:1:3/0 ");
}

TEST_F(StatReaders, WithoutAListPartitionsAreSkippedUnlessWanted) {
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

TEST_F(StatReaders, AnOldPartitionLineKeepsItsFourCounters) {
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

TEST_F(StatReaders, RubbishLinesAreSkipped) {
    listDevices({"sdb"});
    read("rubbish\n\n8 16 sdc 1 2 3\n8 16 sdd 1 2 3 4 5 6 7 8 9 10\n" + std::string(500, '9') + "\n" +
         diskstatsLine("sdb", {3}) + "8 16 sde 1 2 3 4 5 6 7 8 9 10 11"); // no newline at the end
    EXPECT_EQ(slotsOf(1), "sdb:1:1:3/0 sde:1:1:1/5 ");
}

TEST_F(StatReaders, AMissingOrEmptyFileRegistersNobodyAndTheDevicesComeBackWithIt) {
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

TEST_F(StatReaders, DevicesBeyondTheTablesAreDropped) {
    listDevices({"sda"});
    std::string text;
    for (int i = 0; i < 9; i++) {
        text += diskstatsLine("sd" + std::to_string(i), {1});
    }
    read(text, 5);
    EXPECT_EQ(slotsOf(1), "sd0:1:1:1/0 sd1:1:1:1/0 sd2:1:1:1/0 sd3:1:1:1/0 sd4:1:1:1/0 ");
}

TEST_F(StatReaders, ADeviceTwiceInTheFileKeepsTheLaterCounters) {
    listDevices({"sda"});
    read(diskstatsLine("sda", {1}) + diskstatsLine("sda", {2}));
    EXPECT_EQ(slotsOf(1), "sda:1:1:2/0 ");
}

// ---- sysfs

constexpr char DISK_FILE[] = "    1   2   3   4   5   6   7   8   9   10   11    12 13 14 15 16 17\n";

TEST_F(StatReaders, ACounterFileHoldsElevenValuesOfADiskOrFourOfAPartition) {
    s_iodev counters = {};
    host.write("/file", DISK_FILE);
    EXPECT_EQ(read_sysfs_file(host.path("/file").c_str(), &counters), 11);
    const s_iodev disk = {3, 7, 1, 2, 5, 6, 4, 8, 9, 10, 11};
    EXPECT_TRUE(counters == disk);
    host.write("/file", "1 2 3 4\n");
    EXPECT_EQ(read_sysfs_file(host.path("/file").c_str(), &counters), 4);
    const s_iodev partition = {2, 4, 1, 0, 3, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(counters == partition);
    for (const char *text : {"", "x", "1 2 3 4 5", "1 2 3"}) {
        s_iodev untouched = disk;
        host.write("/file", text);
        EXPECT_LT(read_sysfs_file(host.path("/file").c_str(), &untouched), 6);
        EXPECT_TRUE(untouched == disk) << text;
    }
    EXPECT_EQ(read_sysfs_file(host.path("/missing").c_str(), &counters), 0);
}

TEST_F(StatReaders, ListedDevicesAreReadFromSysfsWithAnExclamationMarkForASlash) {
    listDevices({"dm-3=mpatha", "cciss/c0d0", "missing", "sdb"});
    prepare(8);
    host.write("/sys/block/dm-3/stat", DISK_FILE);
    host.write("/sys/block/cciss!c0d0/stat", DISK_FILE);
    host.write("/sys/block/sdb/stat", DISK_FILE);
    host.write("/sys/block/sdb/sdb1/stat", DISK_FILE);
    host.write("/sys/block/sdc/stat", DISK_FILE);
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "dm-3:1:1:1/5 cciss/c0d0:1:1:1/5 sdb:1:1:1/5 ");
}

TEST_F(StatReaders, AListedDisksPartitionsAreReadWhenItsFlagIsSet) {
    listDevices({"sda", "sdb"});
    prepare(8);
    st_dev_list[1].disk_flag = 1;
    host.write("/sys/block/sda/stat", DISK_FILE);
    host.write("/sys/block/sda/sda1/stat", DISK_FILE);
    host.write("/sys/block/sdb/stat", DISK_FILE);
    host.write("/sys/block/sdb/queue/depth", "1");
    host.write("/sys/block/sdb/sdb1/stat", "1 2 3 4\n");
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/5 sdb:1:1:1/5 sdb1:1:1:1/3 ");
    st_settings.extended_layout = true;
    read_sysfs_dlist_stat(0);
    EXPECT_EQ(slotsOf(0), "sda:1:1:1/5 sdb:1:1:1/5 ");
    // The flag of a disk that cannot be read does not matter.
    st_settings.extended_layout = false;
    host.write("/sys/block/sdb/stat", "rubbish");
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/5 ");
}

TEST_F(StatReaders, WithoutAListEveryDeviceUnderSysfsIsRead) {
    prepare(8);
    host.write("/sys/block/sda/stat", DISK_FILE);
    host.write("/sys/block/sda/sda1/stat", DISK_FILE);
    host.write("/sys/block/empty/other", "");
    read_sysfs_stat(1);
    EXPECT_EQ(slotsOf(1), "sda:1:1:1/5 ");
    st_settings.all_partitions = true;
    read_sysfs_stat(0);
    EXPECT_EQ(slotsOf(0), "sda:1:1:1/5 sda1:1:1:1/5 ");
}

TEST_F(StatReaders, AVanishedDeviceOfSysfsFreesItsSlot) {
    prepare(8);
    host.write("/sys/block/sda/stat", DISK_FILE);
    read_sysfs_stat(1);
    host.remove("/sys/block/sda");
    host.write("/sys/block/sdb/stat", DISK_FILE);
    read_sysfs_stat(0);
    EXPECT_EQ(slotsOf(0), "- sdb:1:1:1/5 ");
}

TEST_F(StatReaders, ANameThatLeadsNowhereWithinThePathsRoomIsLeftOut) {
    salloc_dev_list(1);
    strcpy(st_dev_list[0].name, "../../etc");
    dlist_idx = 1;
    prepare(8);
    host.write("/etc/stat", DISK_FILE);
    read_sysfs_dlist_stat(1);
    EXPECT_EQ(slotsOf(1), "");
    const std::string deep = "/" + std::string(1010, 'x');
    st_system_root = deep.c_str();
    EXPECT_FALSE(is_whole_device("sda"));
    EXPECT_EQ(count_sysfs_devices(true), 0);
}

// ---- clocks

TEST_F(StatReaders, TheTickRateIsTheSystems) {
    get_HZ();
    EXPECT_EQ(hz, static_cast<unsigned int>(sysconf(_SC_CLK_TCK)));
    EXPECT_EQ(get_cpu_nr(), sysconf(_SC_NPROCESSORS_ONLN));
}

TEST_F(StatReaders, TheCpuLineIsReadAndSummedWithoutTheGuestsThatUserAndNiceHold) {
    s_cpu cpu;
    unsigned long long ticks = 77;
    host.write("/proc/stat", "intr 5\ncpu0 9 9 9 9\ncpu  10 20 30 40 50 60 70 80 3 4\ncpu1 9 9 9 9\n");
    read_stat_cpu(&cpu, &ticks);
    EXPECT_EQ(ticks, 360U);
    EXPECT_EQ(cpu.user, 10U);
    EXPECT_EQ(cpu.nice, 20U);
    EXPECT_EQ(cpu.system, 30U);
    EXPECT_EQ(cpu.idle, 40U);
    EXPECT_EQ(cpu.iowait, 50U);
    EXPECT_EQ(cpu.hard_interrupt, 60U);
    EXPECT_EQ(cpu.soft_interrupt, 70U);
    EXPECT_EQ(cpu.steal, 80U);
    EXPECT_EQ(cpu.guest, 3U);
    EXPECT_EQ(cpu.guest_nice, 4U);
    host.write("/proc/stat", "cpu  10 20 30 40\n"); // an old kernel
    read_stat_cpu(&cpu, &ticks);
    EXPECT_EQ(ticks, 100U);
    EXPECT_EQ(cpu.iowait, 0U);
}

TEST_F(StatReaders, AMissingCpuLineIsNoTimeAtAll) {
    s_cpu cpu;
    memset(&cpu, '#', sizeof(cpu));
    unsigned long long ticks = 77;
    for (const char *text : {"", "cpu0 1 2 3 4\n", "cpuwhat\n"}) {
        host.write("/proc/stat", text);
        read_stat_cpu(&cpu, &ticks);
        EXPECT_EQ(ticks, 0U);
        EXPECT_EQ(cpu.user, 0U);
    }
    host.remove("/proc/stat");
    ticks = 77;
    read_stat_cpu(&cpu, &ticks);
    EXPECT_EQ(ticks, 0U);
}

TEST_F(StatReaders, TheUptimeIsTakenInTicks) {
    unsigned long long ticks = 0;
    host.write("/proc/uptime", "351735.47 234388.90\n");
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 35173547U);
    hz = 250;
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 351735U * 250 + 47 * 250 / 100);
    host.write("/proc/uptime", "rubbish\n");
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 0U);
    ticks = 77;
    host.remove("/proc/uptime");
    read_uptime(&ticks);
    EXPECT_EQ(ticks, 0U);
}

} // namespace

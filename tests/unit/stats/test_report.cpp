// Rates and the report, byte for byte.
#include "stats/stats.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "stats/two_decimals.h" // inside the module, and the report's every byte
#include "tests/support/stats_host.h"

namespace {

template <typename Print> std::string printed(const Print &print) {
    testing::internal::CaptureStdout();
    print();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

std::string copies(size_t count, char c) {
    return std::string(count, c);
}

// ---- numbers

std::string number(int width, double value) {
    char text[NUMBER_TEXT_SIZE];
    return {text, writeNumber(text, width, value)};
}

std::string printfNumber(int width, double value) {
    char text[NUMBER_TEXT_SIZE];
    snprintf(text, sizeof(text), "%*.2f", width, value);
    return text;
}

TEST(StatNumbers, AreWrittenAsPrintfWritesThem) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {0.0,
                               -0.0,
                               0.001,
                               0.004999999999999999,
                               0.005,
                               0.015,
                               0.025,
                               0.125,
                               0.375,
                               0.625,
                               1.005,
                               2.675,
                               0.994999,
                               0.995,
                               0.999,
                               9.995,
                               99.995,
                               999.995,
                               1e-300,
                               5e-324,
                               2.2250738585072014e-308,
                               1.0,
                               123456.789,
                               4503599627370495.5,
                               4503599627370496.0,
                               9007199254740993.0,
                               1e15,
                               1e17,
                               1e300,
                               1.7976931348623157e308,
                               -1.5,
                               -0.001,
                               infinity,
                               -infinity,
                               std::nan(""),
                               18446744073709551615.0 * 100,
                               42949672.95,
                               42949672.955}) {
        for (const int width : {0, 1, 7, 8, 9, 10, 32}) {
            EXPECT_EQ(number(width, value), printfNumber(width, value));
        }
    }
}

TEST(StatNumbers, RandomOnesAreWrittenAsPrintfWritesThem) {
    constexpr unsigned int SEED = 2718;
    std::mt19937_64 random(SEED); // NOLINT(cert-msc32-c,cert-msc51-cpp): a failure must come back
    for (int i = 0; i < 1000000; i++) {
        double value = 0;
        const uint64_t bits = random();
        switch (i % 4) {
        case 0: // any bits at all
            memcpy(&value, &bits, sizeof(value));
            break;
        case 1: // rates as they occur
            value =
                static_cast<double>(bits % 1000000007) / static_cast<double>(1 + (bits >> 40) % 6000) * 100;
            break;
        case 2: // ties
            value = static_cast<double>(bits % 100000000) / 8.0 / 25.0;
            break;
        default: // eighths: exact ties at the third decimal
            value = static_cast<double>(bits >> 12) / 8.0;
        }
        ASSERT_EQ(number(9, value), printfNumber(9, value)) << SEED << " at " << i;
    }
}

// ---- rates

class StatRates : public testing::Test {
  protected:
    StatsHost host;
};

TEST_F(StatRates, EqualClocksAreOneTickApart) {
    EXPECT_EQ(get_interval(500, 500), 1U);
    EXPECT_EQ(get_interval(500, 700), 200U);
    EXPECT_EQ(get_interval(0, 700), 700U);
}

TEST_F(StatRates, ACounterThatGoesBackFromThirtyTwoBitsHasWrappedThere) {
    EXPECT_EQ(counterDifference(10, 15), 5U);
    EXPECT_EQ(counterDifference(4294967295U, 4), 5U);
    EXPECT_EQ(counterDifference(4294967290U, 0), 6U);
    EXPECT_EQ(counterDifference(4294967295U, 4294967300U), 5U); // it has not gone back
    EXPECT_EQ(counterDifference(4294967296U, 4294967295U), UINT64_MAX);
    EXPECT_EQ(counterDifference(UINT64_MAX, 4), 5U);
    EXPECT_EQ(ll_s_value(10, 15, 200), 2.5);
    EXPECT_EQ(ll_s_value(4294967295U, 4, 200), 2.5);
    EXPECT_EQ(ll_sp_value(10, 15, 200), 2.5);
    EXPECT_EQ(ll_sp_value(4294967295U, 4, 200), 2.5);
    hz = 250;
    EXPECT_EQ(ll_s_value(10, 15, 250), 5.0);
    EXPECT_EQ(ll_sp_value(10, 15, 250), 2.0);
}

TEST_F(StatRates, ADevicesMeansComeFromItsDifferences) {
    s_iodev previous = {};
    previous.read_ios = 10;
    previous.write_ios = 20;
    previous.read_ms = 4294967290U; // wraps
    previous.write_ms = 100;
    previous.io_ms = 4294967295U; // wraps
    previous.read_sectors = 1000;
    s_iodev current = previous;
    current.read_ios = 14;
    current.write_ios = 21;
    current.read_ms = 4;
    current.write_ms = 115;
    current.io_ms = 99;
    current.read_sectors = 1040;
    current.write_sectors = 10;
    s_ext_disk_stats stats;
    compute_ext_disk_stats(&current, &previous, 200, &stats);
    EXPECT_EQ(stats.busy_share, 50.0);   // 100 ms in 2 s
    EXPECT_EQ(stats.response_time, 5.0); // 25 ms, 5 requests
    EXPECT_EQ(stats.service_time, 20.0); // 50 / 2.5 requests a second
    EXPECT_EQ(stats.request_size, 10.0); // 50 sectors
    EXPECT_EQ(stats.read_response_time, 2.5);
    EXPECT_EQ(stats.write_response_time, 15.0);
}

TEST_F(StatRates, WithoutRequestsTheMeansAreZero) {
    s_iodev previous = {};
    s_iodev current = {};
    current.read_ms = 50;
    current.io_ms = 100;
    current.read_sectors = 10;
    s_ext_disk_stats stats;
    compute_ext_disk_stats(&current, &previous, 200, &stats);
    EXPECT_EQ(stats.busy_share, 50.0);
    EXPECT_EQ(stats.response_time, 0.0);
    EXPECT_EQ(stats.service_time, 0.0);
    EXPECT_EQ(stats.request_size, 0.0);
    EXPECT_EQ(stats.read_response_time, 0.0);
    EXPECT_EQ(stats.write_response_time, 0.0);
}

// ---- the parts of a report

class StatReport : public testing::Test {
  protected:
    StatsHost host;
    tm local = {};

    // Tables with so many slots, the list presaved into them.
    void prepare(const std::vector<std::string> &names, int slots = 12) {
        host.diskstats(std::string(static_cast<size_t>(slots - 4), '\n'));
        io_sys_init();
        cpu_nr = 1;
        if (!names.empty()) {
            listDevices(names);
        }
        presave_device_list();
        if (!names.empty()) {
            st_hdr_iodev[dlist_idx - 1].used = 0; // the group's empty name: the first reading frees its slot
        }
        uptime[0] = 1000;
        uptime[1] = 1200; // 2 seconds
        st_settings.disk_report = true;
        st_settings.extended_layout = true;
        st_settings.kilobytes = true;
    }
    // The counters of a slot in the earlier sample (0) and the current one (1).
    static void count(int slot, const s_iodev &earlier, const s_iodev &now) {
        st_iodev[0][slot] = earlier;
        st_iodev[1][slot] = now;
    }
    std::string report(int width = 13) {
        return printed([&] { write_stats(1, &local, width); });
    }
    static std::string header(int width) {
        int unit = 0;
        return printed([&] { write_disk_stat_header(&unit, width); });
    }
};

// read_sectors write_sectors read_ios read_merges write_ios write_merges read_ms write_ms
constexpr s_iodev BEFORE = {1000, 2000, 100, 1, 200, 2, 50, 60, 0, 70, 80};
constexpr s_iodev AFTER = {1800, 2100, 300, 1, 210, 2, 250, 75, 0, 170, 180};
constexpr s_iodev NOTHING = {};

// AFTER - BEFORE over two seconds, in kilobytes.
constexpr char NUMBERS[] =
    "    105.00   100.00     5.00     225.00    200.00     25.00    1.02    1.00    1.50 \n";
constexpr char ZEROES[] =
    "      0.00     0.00     0.00       0.00      0.00      0.00    0.00    0.00    0.00 \n";
constexpr char HEADER[] =
    "Device           IOPS                         KB/S                        ResponseTime(ms)\n"
    "                 |Total     Read    Write     |Total      Read     Write  |Total    Read   Write\n";

TEST_F(StatReport, ALineOfACharacterEndsWithANewline) {
    EXPECT_EQ(printed([] { print_char(5, '='); }), "=====\n");
    EXPECT_EQ(printed([] { print_char(0, '='); }), "\n");
    EXPECT_EQ(printed([] { print_char(-3, '='); }), "\n");
    EXPECT_EQ(printed([] { print_char(100000, '-'); }), copies(100000, '-') + "\n");
}

TEST_F(StatReport, TheBannerIsNinetySixColumnsWideForNarrowNames) {
    for (const int width : {0, 12, 13}) {
        EXPECT_EQ(printed([&] { write_banner(width); }),
                  copies(96, '=') + "\n" +
                      "                                   I/O Performance Information                        "
                      "          \n" +
                      copies(96, '=') + "\n");
    }
}

TEST_F(StatReport, TheBannerGrowsWithTheNames) {
    EXPECT_EQ(printed([] { write_banner(20); }), copies(103, '=') + "\n" + copies(38, ' ') +
                                                     "I/O Performance Information\n" + copies(103, '=') +
                                                     "\n");
    EXPECT_EQ(printed([] { write_banner(14); }), copies(97, '=') + "\n" + copies(35, ' ') +
                                                     "I/O Performance Information\n" + copies(97, '=') +
                                                     "\n");
    EXPECT_EQ(printed([] { write_banner(15); }), copies(98, '=') + "\n" + copies(35, ' ') +
                                                     "I/O Performance Information\n" + copies(98, '=') +
                                                     "\n");
}

TEST_F(StatReport, TheExtendedHeaderFollowsTheWidthOfTheNames) {
    st_settings.extended_layout = true;
    EXPECT_EQ(header(13), HEADER);
    EXPECT_EQ(header(5), HEADER);
    EXPECT_EQ(header(14),
              "Device            IOPS                         KB/S                        ResponseTime(ms)\n"
              "                  |Total     Read    Write     |Total      Read     Write  |Total    Read   "
              "Write\n");
    EXPECT_EQ(header(20),
              "Device" + copies(18, ' ') +
                  "IOPS                         KB/S                        ResponseTime(ms)\n" +
                  copies(24, ' ') +
                  "|Total     Read    Write     |Total      Read     Write  |Total    Read   Write\n");
}

TEST_F(StatReport, TheExtendedHeaderTestsMegabytesFirst) {
    st_settings.extended_layout = true;
    int unit = 0;
    printed([&] { write_disk_stat_header(&unit, 13); });
    EXPECT_EQ(unit, 1);
    st_settings.kilobytes = true;
    printed([&] { write_disk_stat_header(&unit, 13); });
    EXPECT_EQ(unit, 2);
    st_settings.megabytes = true;
    EXPECT_EQ(printed([&] { write_disk_stat_header(&unit, 13); }), HEADER);
    EXPECT_EQ(unit, 2048);
}

TEST_F(StatReport, TheSimpleHeaderTestsKilobytesFirst) {
    int unit = 0;
    EXPECT_EQ(printed([&] { write_disk_stat_header(&unit, 20); }),
              "Device:            tps   Blk_read/s   Blk_wrtn/s   Blk_read   Blk_wrtn\n");
    EXPECT_EQ(unit, 1);
    st_settings.megabytes = true;
    EXPECT_EQ(printed([&] { write_disk_stat_header(&unit, 20); }),
              "Device:            tps    MB_read/s    MB_wrtn/s    MB_read    MB_wrtn\n");
    EXPECT_EQ(unit, 2048);
    st_settings.kilobytes = true;
    EXPECT_EQ(printed([&] { write_disk_stat_header(&unit, 20); }),
              "Device:            tps    kB_read/s    kB_wrtn/s    kB_read    kB_wrtn\n");
    EXPECT_EQ(unit, 2);
}

std::string extendedRow(const char *name, int width, const char *alias, int unit = 2,
                        const s_iodev &now = AFTER, const s_iodev &before = BEFORE) {
    s_hdr_iodev slot = {1, 1, ""};
    snprintf(slot.name, sizeof(slot.name), "%s", name);
    return printed([&] { write_ext_stat(1, 200, unit, &slot, &now, &before, width, alias); });
}

TEST_F(StatReport, AnExtendedRowShowsTheAliasOfADeviceAndTheNameOfAPath) {
    EXPECT_EQ(extendedRow("dm-3", 13, "mpatha"), std::string("mpatha       ") + NUMBERS);
    EXPECT_EQ(extendedRow("sdb", 13, "mpatha"), std::string("sdb          ") + NUMBERS);
    EXPECT_EQ(extendedRow("dm-3", 20, "a_volume_of_some_len"), std::string("a_volume_of_some_len") + NUMBERS);
    EXPECT_EQ(extendedRow("sdb", 20, ""), "sdb" + copies(17, ' ') + NUMBERS);
    EXPECT_EQ(extendedRow("a_name_of_fifteen", 13, ""), std::string("a_name_of_fifteen") + NUMBERS);
    EXPECT_EQ(extendedRow("dm-3", 13, ""), copies(13, ' ') + NUMBERS);
}

TEST_F(StatReport, AHumanReadableRowHasTheSlotsNameOnALineOfItsOwn) {
    st_settings.human_readable = true;
    EXPECT_EQ(extendedRow("dm-3", 20, "mpatha"), "dm-3\n" + copies(13, ' ') + NUMBERS);
}

TEST_F(StatReport, APersistentNameThatIsNotKnownLeavesTheName) {
    st_settings.persistent_names = true;
    EXPECT_EQ(extendedRow("sdb", 13, ""), std::string("sdb          ") + NUMBERS);
}

TEST_F(StatReport, TheThroughputIsInTheChosenUnit) {
    EXPECT_EQ(extendedRow("sdb", 13, "", 1), "sdb              105.00   100.00     5.00     450.00    400.00 "
                                             "    50.00    1.02    1.00    1.50 \n");
    EXPECT_EQ(extendedRow("sdb", 13, "", 2048), "sdb              105.00   100.00     5.00       0.22      "
                                                "0.20      0.02    1.02    1.00    1.50 \n");
}

TEST_F(StatReport, AReadOnlyWorkloadHasAResponseTimeOfZeroForWrites) {
    s_iodev now = AFTER;
    now.write_ios = BEFORE.write_ios;
    now.write_sectors = BEFORE.write_sectors;
    now.write_ms = BEFORE.write_ms + 7; // a write still on its way
    EXPECT_EQ(extendedRow("sdb", 13, "", 2, now), "sdb              100.00   100.00     0.00     200.00    "
                                                  "200.00      0.00    1.03    1.00    0.00 \n");
}

TEST_F(StatReport, WrappedCountersAreCountedRight) {
    s_iodev before = {};
    before.read_sectors = 4294967200U; // 96 below the wrap
    before.write_sectors = 10;
    before.read_ms = 4294967286U;
    before.read_ios = 7;
    s_iodev now = before;
    now.read_sectors = 304;
    now.read_ms = 190;
    now.read_ios = 207;
    EXPECT_EQ(extendedRow("sdb", 13, "", 2, now, before),
              "sdb              100.00   100.00     0.00     100.00    100.00      0.00    1.00    1.00    "
              "0.00 \n");
    // Request counters are 64 bits wide; they wrap there.
    before.read_ios = UINT64_MAX;
    now.read_ios = 199;
    EXPECT_EQ(extendedRow("sdb", 13, "", 2, now, before),
              "sdb              100.00   100.00     0.00     100.00    100.00      0.00    1.00    1.00    "
              "0.00 \n");
}

TEST_F(StatReport, NumbersTooLargeForTheirColumnsAreStillWhole) {
    s_iodev now = {};
    now.read_ios = 123456789012345678U;
    now.read_sectors = 2;
    EXPECT_EQ(extendedRow("sdb", 13, "", 2, now, NOTHING),
              "sdb           61728394506172840.00 61728394506172840.00     0.00       0.50      0.50      "
              "0.00    0.00 "
              "   0.00    0.00 \n");
}

std::string basicRow(const char *name, int unit, const s_iodev &now = AFTER, const s_iodev &before = BEFORE) {
    s_hdr_iodev slot = {1, 1, ""};
    snprintf(slot.name, sizeof(slot.name), "%s", name);
    return printed([&] { write_basic_stat(1, 200, unit, &slot, &now, &before); });
}

TEST_F(StatReport, ASimpleRowShowsTheSlotsNameRatesAndTotals) {
    EXPECT_EQ(basicRow("dm-3", 2),
              "dm-3            105.00       200.00        25.00        400         50\n");
    EXPECT_EQ(basicRow("sdb", 1), "sdb             105.00       400.00        50.00        800        100\n");
    EXPECT_EQ(basicRow("sdb", 2048),
              "sdb             105.00         0.20         0.02          0          0\n");
    st_settings.human_readable = true;
    EXPECT_EQ(basicRow("dm-3", 2),
              "dm-3\n                105.00       200.00        25.00        400         50\n");
}

TEST_F(StatReport, ASimpleRowsTotalsWrapAtThirtyTwoBits) {
    s_iodev before = {};
    before.read_sectors = 4294967290U;
    before.write_sectors = 4294967294U;
    s_iodev now = {};
    now.read_sectors = 4;
    now.write_sectors = 6;
    EXPECT_EQ(basicRow("sdb", 2, now, before),
              "sdb               0.00         2.50         2.00          5          4\n");
}

TEST_F(StatReport, TheCpuSectionShowsSharesOfTheInterval) {
    prepare({"sdb"});
    *st_cpu[0] = {};
    *st_cpu[1] = {};
    st_cpu[0]->idle = 500;
    st_cpu[1]->user = 20;
    st_cpu[1]->nice = 4;
    st_cpu[1]->system = 10;
    st_cpu[1]->hard_interrupt = 1;
    st_cpu[1]->soft_interrupt = 2;
    st_cpu[1]->iowait = 3;
    st_cpu[1]->steal = 5;
    st_cpu[1]->idle = 655;
    EXPECT_EQ(printed([] { write_cpu_stat(1, 200); }),
              "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
              "          10.00    2.00    6.50    1.50    2.50   77.50\n\n");
    st_cpu[1]->idle = 499;
    EXPECT_EQ(printed([] { write_cpu_stat(1, 200); }),
              "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
              "          10.00    2.00    6.50    1.50    2.50    0.00\n\n");
}

// ---- whole reports

TEST_F(StatReport, ADeviceIsFollowedByItsPathsAndAnEmptyLineStandsBeforeTheNext) {
    prepare({"dm-3=mpatha", "sdb", "sdc", "dm-4=mpathb", "sdd"});
    for (int i = 0; i < 5; i++) {
        count(i, BEFORE, AFTER);
    }
    EXPECT_EQ(report(), std::string(HEADER) + "mpatha       " + NUMBERS + "Path:\n" + "sdb          " +
                            NUMBERS + "sdc          " + NUMBERS + "\n" + "mpathb       " + NUMBERS +
                            "Path:\n" + "sdd          " + NUMBERS + "\n");
}

TEST_F(StatReport, TheFirstDeviceHasNoEmptyLineBeforeItButALaterOneHasEvenIfItIsTheFirstShown) {
    prepare({"dm-3=mpatha", "sdb", "dm-4=mpathb"});
    count(2, BEFORE, AFTER);
    EXPECT_EQ(report(), std::string(HEADER) + "\nmpathb       " + NUMBERS + "Path:\n\n");
}

TEST_F(StatReport, ALongAliasWidensTheNameColumn) {
    prepare({"dm-3=a_volume_of_some_len", "sdb"});
    count(0, BEFORE, AFTER);
    count(1, BEFORE, AFTER);
    const int width = get_max_dev_alias_name_len();
    EXPECT_EQ(width, 20);
    EXPECT_EQ(report(width), header(20) + "a_volume_of_some_len" + NUMBERS + "Path:\n" + "sdb" +
                                 copies(17, ' ') + NUMBERS + "\n");
}

TEST_F(StatReport, ADeviceIdleInTheIntervalIsARowOfZeroesAndOneIdleSinceBootIsNone) {
    prepare({"dm-3=mpatha", "sdb", "sdc"});
    count(0, AFTER, AFTER);
    count(1, NOTHING, NOTHING);
    count(2, NOTHING, {0, 8, 0, 0, 2, 0, 0, 1, 0, 0, 0});
    EXPECT_EQ(report(), std::string(HEADER) + "mpatha       " + ZEROES + "Path:\n" +
                            "sdc                1.00     0.00     1.00       2.00      0.00      2.00    "
                            "0.50    0.00    0.50 \n\n");
    st_settings.unfiltered = true;
    EXPECT_EQ(report(), std::string(HEADER) + "mpatha       " + ZEROES + "Path:\n" + "sdb          " +
                            ZEROES +
                            "sdc                1.00     0.00     1.00       2.00      0.00      2.00    "
                            "0.50    0.00    0.50 \n\n");
    st_settings.omit_idle = true;
    EXPECT_EQ(report(), std::string(HEADER) + "sdc                1.00     0.00     1.00       2.00      "
                                              "0.00      2.00    0.50    0.00    0.50 \n\n");
}

TEST_F(StatReport, ADeviceMeasuredFromZeroReportsItsCountsSinceBoot) {
    prepare({"sdb"});
    count(0, NOTHING, AFTER);
    EXPECT_EQ(report(), std::string(HEADER) + "sdb              255.00   150.00   105.00     975.00    "
                                              "450.00    525.00    0.64    0.83    0.36 \n\n");
}

TEST_F(StatReport, OnlyGroupsAreShownWhenOnlyTheirTotalsAreWanted) {
    prepare({"sdb", " all"});
    count(0, BEFORE, AFTER);
    count(1, BEFORE, AFTER);
    st_settings.group_total_only = true;
    EXPECT_EQ(report(), std::string(HEADER) + " all         " + NUMBERS + "\n");
}

TEST_F(StatReport, EqualClocksCountAsOneTick) {
    prepare({"sdb"});
    count(0, BEFORE, AFTER);
    uptime[0] = uptime[1];
    EXPECT_EQ(report(), std::string(HEADER) + "sdb            21000.00 20000.00  1000.00   45000.00  "
                                              "40000.00   5000.00    1.02    1.00    1.50 \n\n");
}

TEST_F(StatReport, WithSeveralProcessorsTheSecondsAreThoseOfTheHost) {
    prepare({"sdb"});
    count(0, BEFORE, AFTER);
    cpu_nr = 4;
    uptime[1] = 1800;
    uptime0[0] = 5000;
    uptime0[1] = 5200;
    EXPECT_EQ(report(), std::string(HEADER) + "sdb          " + NUMBERS + "\n");
}

TEST_F(StatReport, CountersOfSysfsOrAnEmptyListGiveAHeaderWithoutRows) {
    prepare({"sdb"});
    count(0, BEFORE, AFTER);
    st_settings.has_sysfs = true;
    EXPECT_EQ(report(), std::string(HEADER) + "\n");
    st_settings.has_sysfs = false;
    sfree_dev_list();
    EXPECT_EQ(report(), std::string(HEADER) + "\n");
}

TEST_F(StatReport, ADeviceWhoseSlotIsMissingIsLeftOutWithoutAMessage) {
    prepare({"dm-3=mpatha", "sdb", "sdc"});
    for (int i = 0; i < 3; i++) {
        count(i, BEFORE, AFTER);
    }
    st_hdr_iodev[1].used = 0; // freed, its stale name is nobody's
    EXPECT_EQ(report(),
              std::string(HEADER) + "mpatha       " + NUMBERS + "Path:\n" + "sdc          " + NUMBERS + "\n");
}

TEST_F(StatReport, TheSimpleLayoutKeepsTheOrderOfTheList) {
    prepare({"dm-3=mpatha", "sdb", "dm-4=mpathb"});
    st_settings.extended_layout = false;
    for (int i = 0; i < 3; i++) {
        count(i, BEFORE, AFTER);
    }
    EXPECT_EQ(report(), "Device:            tps    kB_read/s    kB_wrtn/s    kB_read    kB_wrtn\n"
                        "dm-3            105.00       200.00        25.00        400         50\n"
                        "Path:\n"
                        "sdb             105.00       200.00        25.00        400         50\n"
                        "\n"
                        "dm-4            105.00       200.00        25.00        400         50\n"
                        "Path:\n"
                        "\n");
}

TEST_F(StatReport, WithoutTheDiskReportOnlyTheOtherSectionsAreThere) {
    prepare({"sdb"});
    st_settings.disk_report = false;
    EXPECT_EQ(report(), "");
    st_settings.cpu_report = true;
    *st_cpu[0] = {};
    *st_cpu[1] = {};
    st_cpu[1]->user = 100;
    EXPECT_EQ(report(), "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
                        "          50.00    0.00    0.00    0.00    0.00    0.00\n\n");
    cpu_nr = 4; // the shares are of all processors' ticks, whatever the host's clock says
    uptime0[1] = 1;
    EXPECT_EQ(report(), "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
                        "          50.00    0.00    0.00    0.00    0.00    0.00\n\n");
}

TEST_F(StatReport, TheTimeStandsOnALineOfItsOwn) {
    prepare({"sdb"});
    st_settings.timestamp = true;
    local.tm_year = 121;
    local.tm_mon = 11;
    local.tm_mday = 6;
    local.tm_hour = 10;
    local.tm_min = 15;
    local.tm_sec = 2;
    EXPECT_EQ(report(), std::string("12/06/21 10:15:02\n") + HEADER + "\n");
    st_settings.iso_time = true;
    char zone[16] = "";
    strftime(zone, sizeof(zone), "%z", &local);
    EXPECT_EQ(report(), std::string("2021-12-06T10:15:02") + zone + "\n" + HEADER + "\n");
}

TEST_F(StatReport, AnOutputThatCannotBeWrittenToEndsWithSix) {
    prepare({"sdb"});
    const auto report_into_nothing = [this] {
        close(STDOUT_FILENO);
        write_stats(1, &local, 13);
    };
    EXPECT_EXIT(report_into_nothing(), testing::ExitedWithCode(6), "^stdout: Bad file descriptor\n$");
}

// The report as the described search makes it: for each entry, every slot from the first one on.
std::string linearReport(int width) {
    return printed([&] {
        int unit = 0;
        write_disk_stat_header(&unit, width);
        for (int i = 0; i < dlist_idx; i++) {
            for (int slot = 0; slot < iodev_nr; slot++) {
                const s_iodev &now = st_iodev[1][slot];
                const s_iodev &before = st_iodev[0][slot];
                if (st_hdr_iodev[slot].used == 0 ||
                    strcmp(st_hdr_iodev[slot].name, st_dev_list[i].name) != 0) {
                    continue;
                }
                if (!st_settings.unfiltered && now.read_ios == 0 && now.write_ios == 0) {
                    continue;
                }
                if (st_settings.omit_idle && now.read_ios == before.read_ios &&
                    now.write_ios == before.write_ios) {
                    continue;
                }
                if (st_settings.group_total_only && st_hdr_iodev[slot].status != 2) {
                    continue;
                }
                const bool device = strstr(st_dev_list[i].name, "dm-") != nullptr;
                if (i > 0 && device) {
                    printf("\n");
                }
                write_ext_stat(1, 200, unit, &st_hdr_iodev[slot], &now, &before, width, st_dev_list[i].alias);
                if (device) {
                    printf("Path:\n");
                }
                break;
            }
        }
        printf("\n");
    });
}

TEST_F(StatReport, TheIndexAnswersAsTheLinearSearchDoes) {
    constexpr unsigned int SEED = 31337;
    std::mt19937 random(SEED); // NOLINT(cert-msc32-c,cert-msc51-cpp): a failure must come back
    for (int round = 0; round < 60; round++) {
        std::vector<std::string> names(30);
        for (std::string &name : names) {
            name = (random() % 3 == 0 ? "dm-" : "sd") + std::to_string(random() % 40);
        }
        prepare(names, 60);
        for (int slot = 0; slot < iodev_nr; slot++) {
            // Names twice, stale names, groups: what no reading leaves behind, but a table can hold.
            s_hdr_iodev *header = &st_hdr_iodev[slot];
            header->used = random() % 4 != 0 ? 1 : 0;
            header->status = static_cast<uint32_t>(random() % 3);
            snprintf(header->name, sizeof(header->name), "%s%d", random() % 3 == 0 ? "dm-" : "sd",
                     static_cast<int>(random() % 40));
            s_iodev before = {};
            before.read_ios = random() % 3;
            before.write_ios = random() % 3;
            s_iodev now = before;
            now.read_ios += random() % 3;
            now.write_ios += random() % 2;
            now.read_sectors = random() % 1000;
            count(slot, before, now);
        }
        st_settings.unfiltered = random() % 2 == 0;
        st_settings.omit_idle = random() % 2 == 0;
        st_settings.group_total_only = random() % 4 == 0;
        ASSERT_EQ(report(), linearReport(13)) << SEED << " round " << round;
    }
}

} // namespace

// The parts of a report, byte for byte.
#include "stats/report_layout.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "stats/cpu_stat.h"
#include "stats/stat_settings.h"
#include "tests/support/console.h"
#include "tests/support/report_texts.h"
#include "tests/support/stats_host.h"

namespace {

class ReportLayout : public testing::Test {
  protected:
    StatsHost host;

    static std::string header(int width) {
        int unit = 0;
        return printedBy([&] { write_disk_stat_header(&unit, width); });
    }
};

// ---- banner and header

TEST_F(ReportLayout, ALineOfACharacterEndsWithANewline) {
    EXPECT_EQ(printedBy([] { print_char(5, '='); }), "=====\n");
    EXPECT_EQ(printedBy([] { print_char(0, '='); }), "\n");
    EXPECT_EQ(printedBy([] { print_char(-3, '='); }), "\n");
    EXPECT_EQ(printedBy([] { print_char(100000, '-'); }), copies(100000, '-') + "\n");
}

TEST_F(ReportLayout, TheBannerIsNinetySixColumnsWideForNarrowNames) {
    for (const int width : {0, 12, 13}) {
        EXPECT_EQ(printedBy([&] { write_banner(width); }),
                  copies(96, '=') + "\n" +
                      "                                   I/O Performance Information                        "
                      "          \n" +
                      copies(96, '=') + "\n");
    }
}

TEST_F(ReportLayout, TheBannerGrowsWithTheNames) {
    EXPECT_EQ(printedBy([] { write_banner(20); }), copies(103, '=') + "\n" + copies(38, ' ') +
                                                       "I/O Performance Information\n" + copies(103, '=') +
                                                       "\n");
    EXPECT_EQ(printedBy([] { write_banner(14); }), copies(97, '=') + "\n" + copies(35, ' ') +
                                                       "I/O Performance Information\n" + copies(97, '=') +
                                                       "\n");
    EXPECT_EQ(printedBy([] { write_banner(15); }), copies(98, '=') + "\n" + copies(35, ' ') +
                                                       "I/O Performance Information\n" + copies(98, '=') +
                                                       "\n");
}

TEST_F(ReportLayout, TheExtendedHeaderFollowsTheWidthOfTheNames) {
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

TEST_F(ReportLayout, TheExtendedHeaderTestsMegabytesFirst) {
    st_settings.extended_layout = true;
    int unit = 0;
    printedBy([&] { write_disk_stat_header(&unit, 13); });
    EXPECT_EQ(unit, 1);
    st_settings.kilobytes = true;
    printedBy([&] { write_disk_stat_header(&unit, 13); });
    EXPECT_EQ(unit, 2);
    st_settings.megabytes = true;
    EXPECT_EQ(printedBy([&] { write_disk_stat_header(&unit, 13); }), HEADER);
    EXPECT_EQ(unit, 2048);
}

TEST_F(ReportLayout, TheSimpleHeaderTestsKilobytesFirst) {
    int unit = 0;
    EXPECT_EQ(printedBy([&] { write_disk_stat_header(&unit, 20); }),
              "Device:            tps   Blk_read/s   Blk_wrtn/s   Blk_read   Blk_wrtn\n");
    EXPECT_EQ(unit, 1);
    st_settings.megabytes = true;
    EXPECT_EQ(printedBy([&] { write_disk_stat_header(&unit, 20); }),
              "Device:            tps    MB_read/s    MB_wrtn/s    MB_read    MB_wrtn\n");
    EXPECT_EQ(unit, 2048);
    st_settings.kilobytes = true;
    EXPECT_EQ(printedBy([&] { write_disk_stat_header(&unit, 20); }),
              "Device:            tps    kB_read/s    kB_wrtn/s    kB_read    kB_wrtn\n");
    EXPECT_EQ(unit, 2);
}

// ---- rows

std::string extendedRow(const char *name, int width, const char *alias, int unit = 2,
                        const s_iodev &now = AFTER, const s_iodev &before = BEFORE) {
    s_hdr_iodev slot = {1, 1, ""};
    snprintf(slot.name, sizeof(slot.name), "%s", name);
    return printedBy([&] { write_ext_stat(1, 200, unit, &slot, &now, &before, width, alias); });
}

TEST_F(ReportLayout, AnExtendedRowShowsTheAliasOfADeviceAndTheNameOfAPath) {
    EXPECT_EQ(extendedRow("dm-3", 13, "mpatha"), std::string("mpatha       ") + NUMBERS);
    EXPECT_EQ(extendedRow("sdb", 13, "mpatha"), std::string("sdb          ") + NUMBERS);
    EXPECT_EQ(extendedRow("dm-3", 20, "a_volume_of_some_len"), std::string("a_volume_of_some_len") + NUMBERS);
    EXPECT_EQ(extendedRow("sdb", 20, ""), "sdb" + copies(17, ' ') + NUMBERS);
    EXPECT_EQ(extendedRow("a_name_of_fifteen", 13, ""), std::string("a_name_of_fifteen") + NUMBERS);
    EXPECT_EQ(extendedRow("dm-3", 13, ""), copies(13, ' ') + NUMBERS);
}

TEST_F(ReportLayout, AHumanReadableRowHasTheSlotsNameOnALineOfItsOwn) {
    st_settings.human_readable = true;
    EXPECT_EQ(extendedRow("dm-3", 20, "mpatha"), "dm-3\n" + copies(13, ' ') + NUMBERS);
}

TEST_F(ReportLayout, APersistentNameThatIsNotKnownLeavesTheName) {
    st_settings.persistent_names = true;
    EXPECT_EQ(extendedRow("sdb", 13, ""), std::string("sdb          ") + NUMBERS);
}

TEST_F(ReportLayout, TheThroughputIsInTheChosenUnit) {
    EXPECT_EQ(extendedRow("sdb", 13, "", 1), "sdb              105.00   100.00     5.00     450.00    400.00 "
                                             "    50.00    1.02    1.00    1.50 \n");
    EXPECT_EQ(extendedRow("sdb", 13, "", 2048), "sdb              105.00   100.00     5.00       0.22      "
                                                "0.20      0.02    1.02    1.00    1.50 \n");
}

TEST_F(ReportLayout, AReadOnlyWorkloadHasAResponseTimeOfZeroForWrites) {
    s_iodev now = AFTER;
    now.write_ios = BEFORE.write_ios;
    now.write_sectors = BEFORE.write_sectors;
    now.write_ms = BEFORE.write_ms + 7; // a write still on its way
    EXPECT_EQ(extendedRow("sdb", 13, "", 2, now), "sdb              100.00   100.00     0.00     200.00    "
                                                  "200.00      0.00    1.03    1.00    0.00 \n");
}

TEST_F(ReportLayout, WrappedCountersAreCountedRight) {
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

TEST_F(ReportLayout, NumbersTooLargeForTheirColumnsAreStillWhole) {
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
    return printedBy([&] { write_basic_stat(1, 200, unit, &slot, &now, &before); });
}

TEST_F(ReportLayout, ASimpleRowShowsTheSlotsNameRatesAndTotals) {
    EXPECT_EQ(basicRow("dm-3", 2),
              "dm-3            105.00       200.00        25.00        400         50\n");
    EXPECT_EQ(basicRow("sdb", 1), "sdb             105.00       400.00        50.00        800        100\n");
    EXPECT_EQ(basicRow("sdb", 2048),
              "sdb             105.00         0.20         0.02          0          0\n");
    st_settings.human_readable = true;
    EXPECT_EQ(basicRow("dm-3", 2),
              "dm-3\n                105.00       200.00        25.00        400         50\n");
}

TEST_F(ReportLayout, ASimpleRowsTotalsWrapAtThirtyTwoBits) {
    s_iodev before = {};
    before.read_sectors = 4294967290U;
    before.write_sectors = 4294967294U;
    s_iodev now = {};
    now.read_sectors = 4;
    now.write_sectors = 6;
    EXPECT_EQ(basicRow("sdb", 2, now, before),
              "sdb               0.00         2.50         2.00          5          4\n");
}

// ---- the CPU section

TEST_F(ReportLayout, TheCpuSectionShowsSharesOfTheInterval) {
    host.diskstats("\n");
    io_sys_init();
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
    EXPECT_EQ(printedBy([] { write_cpu_stat(1, 200); }),
              "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
              "          10.00    2.00    6.50    1.50    2.50   77.50\n\n");
    st_cpu[1]->idle = 499;
    EXPECT_EQ(printedBy([] { write_cpu_stat(1, 200); }),
              "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
              "          10.00    2.00    6.50    1.50    2.50    0.00\n\n");
}

} // namespace

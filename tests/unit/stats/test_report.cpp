// Whole reports, byte for byte: which rows there are, in which order, and what stands between them.
#include "stats/report.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "stats/stats.h"
#include "tests/support/console.h"
#include "tests/support/report_texts.h"
#include "tests/support/seeded_random.h"
#include "tests/support/stats_host.h"

namespace {

class Report : public testing::Test {
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
        return printedBy([&] { write_stats(1, &local, width); });
    }
    static std::string header(int width) {
        int unit = 0;
        return printedBy([&] { write_disk_stat_header(&unit, width); });
    }
};

TEST_F(Report, ADeviceIsFollowedByItsPathsAndAnEmptyLineStandsBeforeTheNext) {
    prepare({"dm-3=mpatha", "sdb", "sdc", "dm-4=mpathb", "sdd"});
    for (int i = 0; i < 5; i++) {
        count(i, BEFORE, AFTER);
    }
    EXPECT_EQ(report(), std::string(HEADER) + "mpatha       " + NUMBERS + "Path:\n" + "sdb          " +
                            NUMBERS + "sdc          " + NUMBERS + "\n" + "mpathb       " + NUMBERS +
                            "Path:\n" + "sdd          " + NUMBERS + "\n");
}

TEST_F(Report, TheFirstDeviceHasNoEmptyLineBeforeItButALaterOneHasEvenIfItIsTheFirstShown) {
    prepare({"dm-3=mpatha", "sdb", "dm-4=mpathb"});
    count(2, BEFORE, AFTER);
    EXPECT_EQ(report(), std::string(HEADER) + "\nmpathb       " + NUMBERS + "Path:\n\n");
}

TEST_F(Report, ALongAliasWidensTheNameColumn) {
    prepare({"dm-3=a_volume_of_some_len", "sdb"});
    count(0, BEFORE, AFTER);
    count(1, BEFORE, AFTER);
    const int width = get_max_dev_alias_name_len();
    EXPECT_EQ(width, 20);
    EXPECT_EQ(report(width), header(20) + "a_volume_of_some_len" + NUMBERS + "Path:\n" + "sdb" +
                                 copies(17, ' ') + NUMBERS + "\n");
}

TEST_F(Report, ADeviceIdleInTheIntervalIsARowOfZeroesAndOneIdleSinceBootIsNone) {
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

TEST_F(Report, ADeviceMeasuredFromZeroReportsItsCountsSinceBoot) {
    prepare({"sdb"});
    count(0, NOTHING, AFTER);
    EXPECT_EQ(report(), std::string(HEADER) + "sdb              255.00   150.00   105.00     975.00    "
                                              "450.00    525.00    0.64    0.83    0.36 \n\n");
}

TEST_F(Report, OnlyGroupsAreShownWhenOnlyTheirTotalsAreWanted) {
    prepare({"sdb", " all"});
    count(0, BEFORE, AFTER);
    count(1, BEFORE, AFTER);
    st_settings.group_total_only = true;
    EXPECT_EQ(report(), std::string(HEADER) + " all         " + NUMBERS + "\n");
}

TEST_F(Report, EqualClocksCountAsOneTick) {
    prepare({"sdb"});
    count(0, BEFORE, AFTER);
    uptime[0] = uptime[1];
    EXPECT_EQ(report(), std::string(HEADER) + "sdb            21000.00 20000.00  1000.00   45000.00  "
                                              "40000.00   5000.00    1.02    1.00    1.50 \n\n");
}

TEST_F(Report, WithSeveralProcessorsTheSecondsAreThoseOfTheHost) {
    prepare({"sdb"});
    count(0, BEFORE, AFTER);
    cpu_nr = 4;
    uptime[1] = 1800;
    uptime0[0] = 5000;
    uptime0[1] = 5200;
    EXPECT_EQ(report(), std::string(HEADER) + "sdb          " + NUMBERS + "\n");
}

TEST_F(Report, CountersOfSysfsOrAnEmptyListGiveAHeaderWithoutRows) {
    prepare({"sdb"});
    count(0, BEFORE, AFTER);
    st_settings.has_sysfs = true;
    EXPECT_EQ(report(), std::string(HEADER) + "\n");
    st_settings.has_sysfs = false;
    sfree_dev_list();
    EXPECT_EQ(report(), std::string(HEADER) + "\n");
}

TEST_F(Report, ADeviceWhoseSlotIsMissingIsLeftOutWithoutAMessage) {
    prepare({"dm-3=mpatha", "sdb", "sdc"});
    for (int i = 0; i < 3; i++) {
        count(i, BEFORE, AFTER);
    }
    st_hdr_iodev[1].used = 0; // freed, its stale name is nobody's
    EXPECT_EQ(report(),
              std::string(HEADER) + "mpatha       " + NUMBERS + "Path:\n" + "sdc          " + NUMBERS + "\n");
}

TEST_F(Report, TheSimpleLayoutKeepsTheOrderOfTheList) {
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

TEST_F(Report, WithoutTheDiskReportOnlyTheOtherSectionsAreThere) {
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

TEST_F(Report, TheTimeStandsOnALineOfItsOwn) {
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

TEST_F(Report, AnOutputThatCannotBeWrittenToEndsWithSix) {
    prepare({"sdb"});
    const auto report_into_nothing = [this] {
        close(STDOUT_FILENO);
        write_stats(1, &local, 13);
    };
    EXPECT_EXIT(report_into_nothing(), testing::ExitedWithCode(6), "^stdout: Bad file descriptor\n$");
}

// The report as the described search makes it: for each entry, every slot from the first one on.
std::string linearReport(int width) {
    return printedBy([&] {
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

TEST_F(Report, TheIndexAnswersAsTheLinearSearchDoes) {
    std::mt19937 random = seededRandom(31337);
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
        ASSERT_EQ(report(), linearReport(13)) << "round " << round;
    }
}

} // namespace

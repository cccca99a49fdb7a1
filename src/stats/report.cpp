// Putting a report together.
#include "stats/report.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "common/exit_status.h"
#include "common/text.h"
#include "stats/cpu_stat.h"
#include "stats/rates.h"
#include "stats/report_buffer.h"
#include "stats/report_layout.h"
#include "stats/report_slots.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"

namespace {

void addRows(ReportText *text, int slot_of_sample, unsigned long long interval_ticks, int unit_divisor,
             int width) {
    const dravik::ReportSlots slots(slot_of_sample);
    for (int i = 0; i < dlist_idx; i++) {
        const s_dev_list &entry = st_dev_list[i];
        const int slot = slots.find(entry.name);
        if (slot < 0) {
            continue;
        }
        const bool multipath = find_str(entry.name, "dm-") != nullptr;
        if (i > 0 && multipath) {
            text->add("\n");
        }
        const s_hdr_iodev *header = &st_hdr_iodev[slot];
        const s_iodev *current = &st_iodev[slot_of_sample][slot];
        const s_iodev *previous = &st_iodev[1 - slot_of_sample][slot];
        if (st_settings.extended_layout) {
            addExtendedRow(text, interval_ticks, unit_divisor, header, current, previous, width, entry.alias);
        } else {
            addBasicRow(text, interval_ticks, unit_divisor, header, current, previous);
        }
        if (multipath) {
            text->add("Path:\n");
        }
    }
}

void addTimeStamp(ReportText *text, const struct tm *tm) {
    char stamp[64] = "";
    // The locale's own date, also where that has a year of two digits.
    const char *format = "%x %X";
    if (st_settings.iso_time) {
        format = "%FT%T%z";
    }
    const size_t length = strftime(stamp, sizeof(stamp), format, tm);
    text->add({stamp, length});
    text->add("\n");
}

} // namespace

void write_stats(int slot_of_sample, const struct tm *tm, int width) {
    if (write(STDOUT_FILENO, "", 0) < 0) {
        perror("stdout");
        exit(dravik::EXIT_NO_OUTPUT);
    }
    ReportText text;
    if (st_settings.timestamp) {
        addTimeStamp(&text, tm);
    }
    if (st_settings.cpu_report) {
        // All processors' ticks measure their shares.
        addCpuSection(&text, slot_of_sample,
                      get_interval(uptime[1 - slot_of_sample], uptime[slot_of_sample]));
    }
    if (!st_settings.disk_report) {
        return;
    }
    int unit_divisor = UNIT_SECTORS;
    addHeader(&text, &unit_divisor, width);
    if (dlist_idx > 0 && !st_settings.has_sysfs) {
        addRows(&text, slot_of_sample, dravik::intervalTicks(slot_of_sample), unit_divisor, width);
    }
    text.add("\n");
}

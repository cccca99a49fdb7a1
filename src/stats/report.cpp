// Putting a report together.
#include "stats/report.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "common/exit_status.h"
#include "common/text.h"
#include "stats/cpu_stat.h"
#include "stats/name_index.h"
#include "stats/rates.h"
#include "stats/report_buffer.h"
#include "stats/report_layout.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"

namespace {

const char *slotName(int slot) {
    return st_hdr_iodev[slot].name;
}

NameIndex used_slots(slotName);

void indexUsedSlots() {
    used_slots.clear(iodev_nr);
    for (int slot = iodev_nr - 1; slot >= 0; slot--) {
        if (st_hdr_iodev[slot].used != 0) {
            used_slots.addBefore(slot);
        }
    }
}

bool passesFilters(int slot, const s_iodev &current, const s_iodev &previous) {
    if (!st_settings.unfiltered && current.read_ios == 0 && current.write_ios == 0) {
        return false;
    }
    if (st_settings.omit_idle && current.read_ios == previous.read_ios &&
        current.write_ios == previous.write_ios) {
        return false;
    }
    return !st_settings.group_total_only || st_hdr_iodev[slot].status == SLOT_GROUP;
}

// The slot whose numbers stand in the row of the device `name`, -1 when it has none.
int slotForRow(const char *name, int slot_of_sample) {
    const s_iodev *current = st_iodev[slot_of_sample];
    const s_iodev *previous = st_iodev[1 - slot_of_sample];
    int slot = used_slots.find(name);
    while (slot >= 0 && !passesFilters(slot, current[slot], previous[slot])) {
        slot = used_slots.findNext(slot);
    }
    return slot;
}

void addRows(ReportText *text, int slot_of_sample, unsigned long long interval_ticks, int unit_divisor,
             int width) {
    indexUsedSlots();
    for (int i = 0; i < dlist_idx; i++) {
        const s_dev_list &entry = st_dev_list[i];
        const int slot = slotForRow(entry.name, slot_of_sample);
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
    // All processors' ticks measure their shares; what happens in a second is measured by one clock.
    unsigned long long interval_ticks = get_interval(uptime[1 - slot_of_sample], uptime[slot_of_sample]);
    if (st_settings.cpu_report) {
        addCpuSection(&text, slot_of_sample, interval_ticks);
    }
    if (cpu_nr > 1) {
        interval_ticks = get_interval(uptime0[1 - slot_of_sample], uptime0[slot_of_sample]);
    }
    if (!st_settings.disk_report) {
        return;
    }
    int unit_divisor = UNIT_SECTORS;
    addHeader(&text, &unit_divisor, width);
    if (dlist_idx > 0 && !st_settings.has_sysfs) {
        addRows(&text, slot_of_sample, interval_ticks, unit_divisor, width);
    }
    text.add("\n");
}

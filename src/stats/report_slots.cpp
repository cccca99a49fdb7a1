// Finding the slots of a report's rows.
#include "stats/report_slots.h"

#include "stats/cpu_stat.h"
#include "stats/name_index.h"
#include "stats/rates.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"

namespace dravik {

namespace {

const char *slotName(int slot) {
    return st_hdr_iodev[slot].name;
}

// Kept from report to report, so that a steady sampling allocates nothing.
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

} // namespace

ReportSlots::ReportSlots(int slot_of_sample) : sample(slot_of_sample) {
    indexUsedSlots();
}

int ReportSlots::find(const char *name) const {
    const s_iodev *current = st_iodev[sample];
    const s_iodev *previous = st_iodev[1 - sample];
    int slot = used_slots.find(name);
    while (slot >= 0 && !passesFilters(slot, current[slot], previous[slot])) {
        slot = used_slots.findNext(slot);
    }
    return slot;
}

unsigned long long intervalTicks(int slot_of_sample) {
    const auto &readings = cpu_nr > 1 ? uptime0 : uptime;
    return get_interval(readings[1 - slot_of_sample], readings[slot_of_sample]);
}

} // namespace dravik

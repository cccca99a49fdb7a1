// Summing devices into their groups.
#include "stats/device_groups.h"

#include "stats/sample_tables.h"
#include "stats/stat_settings.h"

namespace {

void add(s_iodev *total, const s_iodev &counters) {
    total->read_sectors += counters.read_sectors;
    total->write_sectors += counters.write_sectors;
    total->read_ios += counters.read_ios;
    total->read_merges += counters.read_merges;
    total->write_ios += counters.write_ios;
    total->write_merges += counters.write_merges;
    total->read_ms += counters.read_ms;
    total->write_ms += counters.write_ms;
    total->io_ms += counters.io_ms;
    total->weighted_io_ms += counters.weighted_io_ms;
}

} // namespace

void compute_device_groups_stats(int slot_of_sample) {
    s_iodev total = {};
    uint32_t devices = 0;
    for (int i = 0; i < iodev_nr; i++) {
        s_hdr_iodev *slot = &st_hdr_iodev[i];
        if (slot->status == SLOT_GROUP) {
            save_stats(slot->name, slot_of_sample, &total, iodev_nr, st_hdr_iodev);
            slot->used = devices;
            total = {};
            devices = 0;
            continue;
        }
        const s_iodev &counters = st_iodev[slot_of_sample][i];
        const bool idle_since_boot = counters.read_ios == 0 && counters.write_ios == 0;
        if (slot->used != 0 && slot->status == SLOT_DEVICE && (st_settings.unfiltered || !idle_since_boot)) {
            add(&total, counters);
            devices++;
        }
    }
}

// Slots: sizing, finding, filling, freeing.
#include "stats/sample_tables.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/exit_status.h"
#include "common/text.h"
#include "stats/cpu_stat.h"
#include "stats/name_index.h"
#include "stats/stat_settings.h"
#include "stats/sysfs_stat.h"
#include "stats/system_files.h"

s_hdr_iodev *st_hdr_iodev = nullptr;
s_iodev *st_iodev[2] = {nullptr, nullptr};
int iodev_nr = 0;
int cur_slot = 0;
int group_nr = 0;
char st_group_name[DEVICE_NAME_SIZE] = "";

static_assert(sizeof(s_hdr_iodev) == 80, "the header table's entries are of 80 bytes");

namespace {

constexpr int SPARE_SLOTS = 4; // for devices that appear later

void *allocate(int count, size_t size) {
    void *table = calloc(static_cast<size_t>(count), size);
    if (table == nullptr) {
        perror("malloc");
        exit(dravik::EXIT_NO_MEMORY);
    }
    return table;
}

// Slots for every device that there is, and the source of its counters.
int chooseSource() {
    char path[SYSTEM_PATH_SIZE];
    systemPath(path, DISKSTATS_FILE);
    int size = countLines(path);
    st_settings.has_diskstats = size > 0;
    st_settings.has_sysfs = false;
    if (!st_settings.has_diskstats || (st_settings.partitions && !st_settings.all_partitions)) {
        size = count_sysfs_devices(st_settings.partitions);
        if (size < 1) {
            fprintf(stderr, "Cannot find disk data\n");
            exit(dravik::EXIT_NO_DISKS);
        }
        st_settings.has_sysfs = true;
    }
    return size + SPARE_SLOTS;
}

// A slot whose name counts: a device's, or a group's, which keeps its slot while it has no devices.
bool isNamed(const s_hdr_iodev &slot) {
    return slot.used != 0 || slot.status == SLOT_GROUP;
}

// Gives the free slot to a device; its first interval is measured from zero.
void occupy(s_hdr_iodev *header, int slot, std::string_view name, int slot_of_sample) {
    header[slot].used = 1;
    const size_t length = std::min(name.size(), DEVICE_NAME_SIZE - 1);
    memcpy(header[slot].name, name.data(), length);
    header[slot].name[length] = '\0';
    st_iodev[1 - slot_of_sample][slot] = {};
}

void fillSlot(s_hdr_iodev *header, int slot, int slot_of_sample, const s_iodev *counters) {
    if (header[slot].status == SLOT_UNREGISTERED) {
        header[slot].status = SLOT_DEVICE;
    }
    st_iodev[slot_of_sample][slot] = *counters;
}

// The first free slot from `from` on, or `slots`.
int nextFree(const s_hdr_iodev *header, int slots, int from) {
    while (from < slots && isNamed(header[from])) {
        from++;
    }
    return from;
}

const char *slotName(int slot) {
    return st_hdr_iodev[slot].name;
}

// The reading under way.
NameIndex slot_index(slotName);
int reading_sample = 0;
int free_slot = 0; // no slot before it is free: none is freed during a reading

} // namespace

void io_sys_init() {
    io_sys_free();
    st_cpu[0] = static_cast<s_cpu *>(allocate(1, sizeof(s_cpu)));
    st_cpu[1] = static_cast<s_cpu *>(allocate(1, sizeof(s_cpu)));
    cpu_nr = get_cpu_nr();
    iodev_nr = chooseSource() + group_nr;
    st_iodev[0] = static_cast<s_iodev *>(allocate(iodev_nr, sizeof(s_iodev)));
    st_iodev[1] = static_cast<s_iodev *>(allocate(iodev_nr, sizeof(s_iodev)));
    st_hdr_iodev = static_cast<s_hdr_iodev *>(allocate(iodev_nr, sizeof(s_hdr_iodev)));
}

void io_sys_free() {
    for (int i = 0; i < 2; i++) {
        free(st_cpu[i]);
        st_cpu[i] = nullptr;
        free(st_iodev[i]);
        st_iodev[i] = nullptr;
    }
    free(st_hdr_iodev);
    st_hdr_iodev = nullptr;
    iodev_nr = 0;
}

void presave_device_list() {
    if (dlist_idx == 0) {
        s_hdr_iodev *group = &st_hdr_iodev[iodev_nr - 1];
        tessaline_strncpy(group->name, st_group_name, sizeof(group->name) - 1);
        group->used = 1;
        group->status = SLOT_GROUP;
        return;
    }
    update_dev_list(&dlist_idx, st_group_name, st_group_name);
    for (int i = 0; i < dlist_idx && i < iodev_nr; i++) {
        s_hdr_iodev *slot = &st_hdr_iodev[i];
        tessaline_strncpy(slot->name, st_dev_list[i].name, sizeof(slot->name) - 1);
        slot->used = 1;
        slot->status = slot->name[0] == ' ' ? SLOT_GROUP : SLOT_DEVICE;
    }
}

void save_stats(const char *name, int slot_of_sample, const s_iodev *counters, int slots,
                s_hdr_iodev *header) {
    int slot = 0;
    while (slot < slots && !(isNamed(header[slot]) &&
                             tessaline_strncmp(header[slot].name, name, DEVICE_NAME_SIZE - 1) == 0)) {
        slot++;
    }
    if (slot == slots) {
        slot = nextFree(header, slots, 0);
        if (slot == slots) {
            return;
        }
        occupy(header, slot, name, slot_of_sample);
    }
    fillSlot(header, slot, slot_of_sample, counters);
}

void set_entries_unregistered(int slots, s_hdr_iodev *header) {
    for (int i = 0; i < slots; i++) {
        if (header[i].status == SLOT_DEVICE) {
            header[i].status = SLOT_UNREGISTERED;
        }
    }
}

void free_unregistered_entries(int slots, s_hdr_iodev *header) {
    for (int i = 0; i < slots; i++) {
        if (header[i].status == SLOT_UNREGISTERED) {
            header[i].used = 0;
        }
    }
}

void beginReading(int slot_of_sample) {
    reading_sample = slot_of_sample;
    free_slot = 0;
    set_entries_unregistered(iodev_nr, st_hdr_iodev);
    slot_index.clear(iodev_nr);
    for (int slot = iodev_nr - 1; slot >= 0; slot--) {
        if (isNamed(st_hdr_iodev[slot])) {
            slot_index.addBefore(slot);
        }
    }
}

void saveReading(std::string_view name, const s_iodev *counters) {
    name = name.substr(0, DEVICE_NAME_SIZE - 1);
    int slot = slot_index.find(name);
    if (slot < 0) {
        free_slot = nextFree(st_hdr_iodev, iodev_nr, free_slot);
        if (free_slot == iodev_nr) {
            return;
        }
        slot = free_slot;
        occupy(st_hdr_iodev, slot, name, reading_sample);
        slot_index.addNew(slot);
    }
    fillSlot(st_hdr_iodev, slot, reading_sample, counters);
}

void endReading() {
    free_unregistered_entries(iodev_nr, st_hdr_iodev);
}

// The tables of two samples: which device is in which slot, and its counters in either sample.
//
//   st_hdr_iodev[slot]   the device of the slot
//   st_iodev[0][slot]    its counters in one sample
//   st_iodev[1][slot]    its counters in the other; cur_slot says which of the two is being taken
//
// A slot is in use (`used`), and between two readings registered (`status`) when the device was there at the
// last one. A freed slot keeps its stale name, which is nobody's any more.
#pragma once

#include <cstdint>
#include <string_view>

#include "stats/device_list.h"

constexpr uint32_t SLOT_UNREGISTERED = 0;
constexpr uint32_t SLOT_DEVICE = 1;
constexpr uint32_t SLOT_GROUP = 2;

struct s_hdr_iodev {
    uint32_t status; // SLOT_...
    uint32_t used;   // 1 when the slot holds a device; of a group: the number of its devices
    char name[DEVICE_NAME_SIZE];
};

// One device's counters as the kernel's admin guide describes them ("I/O statistics fields"). Sectors are of
// 512 bytes.
struct s_iodev {
    uint64_t read_sectors;
    uint64_t write_sectors;
    unsigned long read_ios; // completed
    unsigned long read_merges;
    unsigned long write_ios;
    unsigned long write_merges;
    uint32_t read_ms;
    uint32_t write_ms;
    uint32_t ios_in_progress;
    uint32_t io_ms;
    uint32_t weighted_io_ms;
};

extern s_hdr_iodev *st_hdr_iodev;
extern s_iodev *st_iodev[2];
extern int iodev_nr; // slots in each of the three
extern int cur_slot; // 0 or 1
// The number of groups and their name: 0 and empty for devstats.
extern int group_nr;
extern char st_group_name[DEVICE_NAME_SIZE];

// Sizes and allocates the tables, zero-filled, and the CPU samples (cpu_stat.h); sets has_diskstats and
// has_sysfs and counts the processors. Older tables are released.
//   /proc/diskstats has lines                        as many slots, has_diskstats
//   it has none, or `partitions` is set without      one for each device under /sys/block, has_sysfs; with
//   `all_partitions`                                 `partitions` for each partition too
// In both cases 4 more, and group_nr more. Devices that come later than that are not sampled.
// No device found: "Cannot find disk data\n" on standard error, EXIT_NO_DISKS. Allocation failure:
// perror("malloc"), EXIT_NO_MEMORY (common/exit_status.h).
void io_sys_init();

// Releases the CPU, counter and header tables.
void io_sys_free();

// Copies the device list into the header table, from slot 0 on, as far as both reach: status SLOT_GROUP where
// the name begins with a blank, else SLOT_DEVICE. The group's name is added to the list first; the default
// one, empty, becomes one more entry. With an empty list the last slot becomes the group's.
void presave_device_list();

// Puts `counters` into the slot of the device `name` in the sample `slot_of_sample` (0 or 1): the first one
// in use, or a group's, with this name; otherwise the first free one, whose counters in the other sample are
// zeroed so that the first interval is measured from zero. The slot is registered. Without a free slot the
// counters are dropped. `slots` and `header` are the tables' size and the header table.
void save_stats(const char *name, int slot_of_sample, const s_iodev *counters, int slots,
                s_hdr_iodev *header);

// Around a reading: every device's slot is unregistered before, and those that stay so are freed after.
void set_entries_unregistered(int slots, s_hdr_iodev *header);
void free_unregistered_entries(int slots, s_hdr_iodev *header);

// ---- a whole reading, through an index

// Begins a reading into the sample `slot_of_sample`: unregisters the slots and indexes them by name.
void beginReading(int slot_of_sample);
// `save_stats` with its answers, without its searches. The name is cut at 71 characters.
void saveReading(std::string_view name, const s_iodev *counters);
// Ends it: frees the slots that stayed unregistered.
void endReading();

// Reading the counters device by device from sysfs, where /proc/diskstats is missing or does not do.
//
//   /sys/block/sdb/stat        5123 87 412345 2210 998 12 80112 640 0 1900 2850
//   /sys/block/sdb/sdb1/stat   the same, or on an old kernel: 5123 412345 998 80112
#pragma once

#include "stats/sample_tables.h"

// Whether `name` is a device and no partition: /sys/block has it. A "/" of the name stands there as "!".
bool is_whole_device(const char *name);

// The number of devices under /sys/block; with `partitions` their partitions are counted too. A device or
// partition is an entry with a "stat" file.
int count_sysfs_devices(bool partitions);

// Reads the counter file `path` into `*counters`: 11 values (or more) are a disk's, 4 a partition's reads,
// read sectors, writes, write sectors. Returns how many were converted; `*counters` is set for 11 and 4 only.
// 0 when the file cannot be opened.
int read_sysfs_file(const char *path, s_iodev *counters);

// Read the sample `slot_of_sample` of the tables: the devices of the device list, with the partitions of those
// whose disk flag is set; or every device, with `all_partitions` its partitions too. In the extended layout
// files without 11 values are passed over. A file that cannot be opened leaves its device out.
void read_sysfs_dlist_stat(int slot_of_sample);
void read_sysfs_stat(int slot_of_sample);

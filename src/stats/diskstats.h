// The reader of /proc/diskstats.
//
//    8      16 sdb 5123 87 412345 2210 998 12 80112 640 0 1900 2850 0 0 0 0 12 3
//  253       3 dm-3 ...
//
// Major and minor number, name, and from there the counters of the kernel's admin guide ("I/O statistics
// fields"): reads, read merges, read sectors, read ms, writes, write merges, write sectors, write ms, in
// progress, io ms, weighted io ms. What newer kernels have behind them (discards, flushes) is not looked at.
#pragma once

#include <string_view>

// A line's fields as scanf converts "%u %u %s %lu %lu %lu %lu %lu %lu %lu %u %u %u %u": white space between
// fields may be of any kind or missing, numbers may have a sign, what is out of range becomes the largest
// number, and %u keeps the lower 32 bits.
struct DiskstatsFields {
    unsigned int major;
    unsigned int minor;
    std::string_view name; // lies in the line
    unsigned long counts[7];
    unsigned int more[4];
};

// Converts a line; the fields behind the first that does not convert are not set. Returns how many were
// converted, 0 to 14.
int parse_diskstats_line(std::string_view line, DiskstatsFields *out_fields);

// Reads /proc/diskstats into the sample `slot_of_sample` of the tables (sample_tables.h). A line counts when it has
//   14 fields   a device: all counters. Without a device list and without the setting `partitions`, a
//               partition's line is passed over
//   7 fields    an old kernel's partition: reads, read sectors, writes, write sectors. Passed over in the
//               extended layout, and without a device list unless `partitions` is set
// A missing file is an empty one: no device is registered.
void read_diskstats_stat(int slot_of_sample);

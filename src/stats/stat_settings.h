// What steers sampling and report: one set of settings, all off at start.
#pragma once

struct s_stat_settings {
    bool disk_report;         // print the device section
    bool cpu_report;          // print the CPU section before it
    bool timestamp;           // start each report with the local time
    bool extended_layout;     // IOPS, KB/S and response time; ignores short (partition) counter lines
    bool kilobytes;           // the throughput unit; neither: 512-byte sectors
    bool megabytes;           //
    bool unfiltered;          // report devices with no I/O since boot too
    bool partitions;          // read partition lines too
    bool all_partitions;      // with `partitions`: every partition of the listed disks
    bool human_readable;      // the name on a line of its own, the numbers indented below it
    bool persistent_names;    // name devices by their persistent names
    bool omit_first_report;   // take the first sample (counts since boot) without printing it
    bool device_mapper_names; // show device-mapper devices of /proc/diskstats by their mapper names
    bool iso_time;            // the time stamp as %FT%T%z instead of %x %X
    bool group_total_only;    // report groups only
    bool omit_idle;           // leave out devices whose read and write counts did not change
    bool has_diskstats;       // which counter source there is; set by io_sys_init
    bool has_sysfs;           //
};

extern s_stat_settings st_settings;

// Seconds between two samples, set by set_stat_interval; 0 at start.
extern long st_interval;

// Switches kilobytes on when no unit is chosen and the environment has no POSIXLY_CORRECT.
void set_disk_output_unit();

// Takes the next of the values that follow a command's options. `*state` starts at 0 and is kept by the
// caller.
//   first value    `*interval` = value, `*count` = -1: until stopped. Negative: exit status 1
//   second value   `*count` = value. Not positive, or `*interval` 0: exit status 1
//   further ones   ignored
void set_stat_interval(int *state, long *count, long *interval, long value);

// One report: time stamp, CPU section, column header, the devices' rows.
#pragma once

#include <ctime>

// Prints the report of the sample `slot_of_sample` against the other one to standard output:
//   the local time `tm` on a line of its own      with the setting `timestamp`
//   the CPU section                               with `cpu_report`
//   the column header, the rows, an empty line    with `disk_report`
// The rows are those of the device list, in its order; each takes the first slot in use that has its name and
// passes the filters:
//   unless `unfiltered`         a device without any read or write since boot is passed over
//   with `omit_idle`            one whose read and write counts did not change
//   with `group_total_only`     one that is no group
// Before a "dm-" device's row there is an empty line, except before the first entry's, and after it the line
// "Path:". There are no rows when the list is empty or the counters come from sysfs; that is intended.
// `width` is the width of the name column. When standard output cannot be written to: perror("stdout"),
// EXIT_NO_OUTPUT (common/exit_status.h).
void write_stats(int slot_of_sample, const struct tm *tm, int width);

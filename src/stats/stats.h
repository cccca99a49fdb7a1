// The list of the headers of `stats/`: the sampling engine and the report behind `devstats`.
//
// Calling order: the query fills the device list (salloc_dev_list, update_dev_list); get_HZ;
// set_disk_output_unit; the settings disk_report and extended_layout; set_stat_interval; io_sys_init;
// presave_device_list; initSignal; SIGALRM handled by alarm_handler and a first alarm(interval);
// rw_io_stat_loop, which ends with Ctrl+C.
#pragma once

#include "stats/cpu_stat.h"      // IWYU pragma: export
#include "stats/device_groups.h" // IWYU pragma: export
#include "stats/device_list.h"   // IWYU pragma: export
#include "stats/device_names.h"  // IWYU pragma: export
#include "stats/diskstats.h"     // IWYU pragma: export
#include "stats/rates.h"         // IWYU pragma: export
#include "stats/report.h"        // IWYU pragma: export
#include "stats/report_layout.h" // IWYU pragma: export
#include "stats/sample_tables.h" // IWYU pragma: export
#include "stats/sampling.h"      // IWYU pragma: export
#include "stats/stat_settings.h" // IWYU pragma: export
#include "stats/sysfs_stat.h"    // IWYU pragma: export
#include "stats/system_files.h"  // IWYU pragma: export

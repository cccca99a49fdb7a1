// The commands `scan`, `aggregation`, `refresh` and `version`.
#pragma once

#include "common/result.h"

// `scan`: rescans the SCSI hosts and discovers NVMe over FC. EC_ok, whatever the scripts answer;
// EC_exe_cmd_failed when the discovery could not be run.
s_ecItems *scan();

// `aggregation`: brings offline paths back and rebuilds the multipath maps. EC_ok, whatever becomes of it;
// EC_exe_cmd_failed when the rebuilding could not be run.
s_ecItems *aggregation();

// `refresh`: deletes the dead paths (faulty, in a group of priority 0) and flushes the maps that have no other
// path, then scans and aggregates. The first failure ends it, what was removed before stays removed: the
// record of the topology query, of `delOneDrive`, `delPathInfo` or `scan`, else that of `aggregation`.
s_ecItems *refresh();

// `version`: prints the identification between two separators. EC_info_ok.
s_ecItems *version();

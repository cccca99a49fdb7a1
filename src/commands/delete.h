// Removing devices from the host: flush a multipath map, then delete the SCSI block devices that were its
// paths. A map that cannot be flushed keeps all its paths.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

// The command `delete` (a keyword, hence the underscore): removes the device `alias`, taking up to three
// attempts of five seconds to flush its map.
//   EC_ok                   removed; NVMe namespaces stay
//   EC_no_path_alias        with the alias: no device of this name
//   EC_del_failed_for_using the map is in use
//   EC_exe_cmd_failed, EC_exe_cmd_timeout
//                           the flush failed, or a block device could not be deleted (those before it are gone)
//   or the failure of `querySingleDravikInfo`, logged at level 0 as "Query dravik information failed"
s_ecItems *delete_(const char *alias);

// Deletes the block devices of the list of the head `head`, unless the first is no SCSI disk ("sd"). Names
// that /sys/block does not know are passed over. EC_ok; EC_exe_cmd_failed at the first device that could not
// be deleted, logged at level 0 as "Execute command [%s] failed\n".
s_ecItems *deleteDrive(const s_path_dev *head);

// Flushes the map dm-`number`. EC_ok for an empty or null number; EC_info_ok; EC_del_failed_for_using when the
// map is in use; EC_exe_cmd_failed.
s_ecItems *delPathInfo(const char *number);

// Deletes one block device. EC_ok, also for an empty or null name and for one that /sys/block does not know;
// EC_exe_cmd_failed when it could not be run.
s_ecItems *delOneDrive(const char *name);

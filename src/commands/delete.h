// The command `delete`: flush a device's multipath map, then delete the SCSI block devices that were its paths. A map
// that cannot be flushed keeps all its paths.
#pragma once

#include "common/result.h"

// Removes the device `alias` (the name is a keyword without its underscore), taking up to three attempts of five
// seconds to flush its map.
//   EC_ok                   removed; NVMe namespaces stay
//   EC_no_path_alias        with the alias: no device of this name
//   EC_del_failed_for_using the map is in use
//   EC_exe_cmd_failed, EC_exe_cmd_timeout
//                           the flush failed, or a block device could not be deleted (those before it are gone)
//   or the failure of `querySingleDravikInfo`, logged at level 0 as "Query dravik information failed"
s_ecItems *delete_(const char *alias);

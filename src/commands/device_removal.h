// Removing single things from the host: a map, a block device, all block devices of a volume.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

namespace dravik {

// Whether the multipath tool has answered that the map is in use.
bool saysInUse(const char *output);

} // namespace dravik

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

// The command `setpathpolicy`: how I/O is spread over the paths, by the path grouping policy and the path selector
// ("chooser") in the device blocks of the multipath configuration.
#pragma once

#include "common/result.h"

// Applies gParamGroupVal and gParamChooserVal to the SCSI or, for gParamHostInterfaceType 1,
// the NVMe arrays, and reloads a running daemon. Every failure after the backup restores the configuration.
//   EC_info_ok, EC_ok        done; up to two failing policy scripts are ignored
//   EC_os_not_support_fcnvme NVMe on a distribution without it; logged at level 0 as "This OS %s is not
//                            support NVMe over Fabric.\n"
//   EC_no_config_info        with "scsi" or "nvme": all scripts failed, one said "No configuration"
//   EC_exe_cmd_failed        a step could not be run, or all scripts failed otherwise
// A changed group policy or selector is a line of the change log.
s_ecItems *setpathpolicy();

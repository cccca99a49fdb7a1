// The command `scan`.
#pragma once

#include "common/result.h"

// Rescans the SCSI hosts and discovers NVMe over FC. EC_ok, whatever the scripts answer; EC_exe_cmd_failed when the
// discovery could not be run.
s_ecItems *scan();

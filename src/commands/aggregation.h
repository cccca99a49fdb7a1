// The command `aggregation`.
#pragma once

#include "common/result.h"

// Brings offline paths back and rebuilds the multipath maps. EC_ok, whatever becomes of it; EC_exe_cmd_failed when the
// rebuilding could not be run.
s_ecItems *aggregation();

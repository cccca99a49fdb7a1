// The command `port`: the host's Fibre Channel ports.
#pragma once

#include "common/result.h"

// Prints what fc_info.sh prints between two separators. EC_info_ok; EC_exe_cmd_failed when the script could
// not be run or failed, nothing printed.
s_ecItems *lsport();

// The service command `lsselfstart`.
#pragma once

#include "common/result.h"

// Prints whether the daemon starts with the host, between two separators. EC_info_ok; EC_exe_cmd_failed when the tool
// could not be run or failed, nothing printed.
s_ecItems *lsselfstart();

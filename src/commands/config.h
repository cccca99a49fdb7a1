// The command `config`.
#pragma once

#include "common/result.h"

// Runs the configuration script. EC_ok; EC_os_not_support when the script says "distribute type is not supported";
// EC_exe_cmd_failed for any other failure.
s_ecItems *config();

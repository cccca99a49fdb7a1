// The command `lsalias`.
#pragma once

#include "common/result.h"

// Prints the table of aliases in two columns between separators. EC_info_ok; EC_exe_cmd_failed when the script could
// not be run or failed, nothing printed.
s_ecItems *lsalias();

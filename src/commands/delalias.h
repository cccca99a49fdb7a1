// The command `delalias`.
#pragma once

#include "common/result.h"

// Takes the alias of the WWID gParamWwidVal away. EC_ok; EC_no_wwid with the WWID when it has none;
// EC_exe_cmd_failed when the script could not be run or failed otherwise, or the WWID is no word that a shell may see.
s_ecItems *delalias();

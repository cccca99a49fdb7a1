// The command `setalias`: a user-friendly name that the multipath tool gives to a device by WWID. The table itself is
// kept by alias.sh in the multipath configuration.
#pragma once

#include "common/result.h"

// Gives the WWID gParamWwidVal the alias gParamAliasVal.
//   EC_ok               done
//   EC_exist_alias      with the alias: it names another device or belongs to another WWID
//   EC_exist_wwid_alias with the WWID and the alias: the pair exists
//   EC_exe_cmd_failed   the script could not be run or failed otherwise, or an argument is no word that a
//                       shell may see
s_ecItems *setalias();

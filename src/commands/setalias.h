// The alias commands: user-friendly names that the multipath tool gives to devices by WWID. The table itself
// is kept by alias.sh in the multipath configuration.
#pragma once

#include "common/result.h"

// `setalias`: gives the WWID gParamWwidVal the alias gParamAliasVal.
//   EC_ok               done
//   EC_exist_alias      with the alias: it names another device or belongs to another WWID
//   EC_exist_wwid_alias with the WWID and the alias: the pair exists
//   EC_exe_cmd_failed   the script could not be run or failed otherwise, or an argument is no word that a
//                       shell may see
s_ecItems *setalias();

// `delalias`: takes the alias of the WWID gParamWwidVal away. EC_ok; EC_no_wwid with the WWID when it has
// none; EC_exe_cmd_failed as above.
s_ecItems *delalias();

// `lsalias`: prints the table in two columns between separators. EC_info_ok; EC_exe_cmd_failed when the script
// could not be run or failed, nothing printed.
s_ecItems *lsalias();

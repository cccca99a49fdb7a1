// The command `setstate`: one path taken offline or brought back through the daemon's interactive commands,
// the change recorded by a script.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

// `setstate`: sets the path gParamPathVal of the device gParamMpathxVal to gParamStateVal, "online" when
// empty. Returns the record of the operations below; EC_invalid_param with any other state.
s_ecItems *setpathstate();

// Take the path `path` (a kernel name) of the device `alias` offline or online. The daemon is started first
// if need be. What is sent to the daemon and to the record script is the name that the topology holds.
//   EC_ok                 done; what became of the record script is ignored
//   EC_offline_path_fail, EC_online_path_fail
//                         with the path: the daemon answered "fail"; logged at level 0 as "fail path [%s]
//                         failed\n" or "reinstate path [%s] failed\n"
//   EC_exe_cmd_failed     the daemon's command could not be run or failed, or the path's name is none that a
//                         shell may see; logged at level 0 as "Execute command [%s] failed\n"
//   or the failure of `checkPathstateAndParam`
s_ecItems *setPathOffline(const char *alias, const char *path);
s_ecItems *setPathOnline(const char *alias, const char *path);

// Whether the topology holds the path `path` of the device `alias`: EC_ok; EC_no_path_alias with the alias;
// EC_no_device_name with the path and the alias; EC_exe_cmd_failed when the topology could not be had, logged
// at level 0 as "Query dravik information failed".
s_ecItems *checkPathstateAndParam(const char *alias, const char *path);

// ---- part of this module's interface, used by no command

// Takes the path offline without any check. Results as `setPathOffline`.
s_ecItems *failPath(const char *path);

// Takes every path of the list of the head `head` offline, ignoring failures. Always EC_ok.
s_ecItems *failDrive(const s_path_dev *head);

// `*flag` = 1 when the kernel has the device as "running" or "offline"; otherwise the caller's value stays.
// Returns EC_info_ok or EC_exe_cmd_failed.
s_ecItems *checkPathOnlineState(const char *path, unsigned int *flag);
s_ecItems *checkPathOfflineState(const char *path, unsigned int *flag);

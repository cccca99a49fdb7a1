// The multipath daemon `dravikd` through the service tools of the host's generation (host/host_os.h).
#pragma once

#include "common/result.h"

// ---- preparation scripts; what becomes of them is ignored

// The daemon's unit link; runs before every use of systemctl.
void checkAndCreatSoftlink();
// The LVM support files.
void checkAndCreatlvmlibs();
// The daemon itself.
void checkAndStartdravikd();

// ---- operations

namespace dravik {

// True on a SysV host; on any other, systemctl is about to be used and the unit link is seen to first.
bool prepareServiceTool();

// Whether the daemon runs, by what the service tool prints. UNKNOWN where that says nothing of it: a tool that cannot be
// reached, a daemon that is not installed.
enum class ServiceState { RUNNING, STOPPED, UNKNOWN };
ServiceState serviceState();

} // namespace dravik

// `*running`: whether the daemon runs. Never fails: EC_info_ok, also where the service tool cannot be reached,
// which reads as not running. Asked once more where a signal that the process defers came meanwhile.
s_ecItems *getStatus(bool *running);

// Hands `action` ("start", "stop", "reload", "enable") to the service tool. EC_ok, whatever the tool answers
// (the log tells); EC_exe_cmd_failed when it could not be run.
s_ecItems *chMultipathdService(const char *action);

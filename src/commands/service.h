// The multipath daemon `dravikd`: its state, start, stop, reload and self-start, with the tools of the host's
// generation (host_os.h).
#pragma once

#include "common/result.h"

// ---- preparation scripts; what becomes of them is ignored

// The daemon's unit link; runs before every use of systemctl below.
void checkAndCreatSoftlink();
// The LVM support files.
void checkAndCreatlvmlibs();
// The daemon itself.
void checkAndStartdravikd();

// ---- operations

// `*running`: whether the daemon runs. Never fails: EC_info_ok, also where the service tool cannot be reached,
// which reads as not running.
s_ecItems *getStatus(bool *running);

// Hands `action` ("start", "stop", "reload", "enable") to the service tool. EC_ok, whatever the tool answers
// (the log tells); EC_exe_cmd_failed when it could not be run.
s_ecItems *chMultipathdService(const char *action);

// ---- commands

// `status`: prints the state between two separators. EC_info_ok.
s_ecItems *status();

// `restart`: a reload of the running daemon, a start of the stopped one. Results as `chMultipathdService`;
// after a failure the configuration's backup is restored.
s_ecItems *restart();

// `lsselfstart`: prints whether the daemon starts with the host, between two separators. EC_info_ok;
// EC_exe_cmd_failed when the tool could not be run or failed, nothing printed.
s_ecItems *lsselfstart();

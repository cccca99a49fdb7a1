// What the tool itself asks of a command line before it runs the command, beyond the parameter checks; and which
// commands change the host.
#pragma once

#include "common/result.h"

// Whether `name` is one of the commands that change the host: they take turns (command_lock.h) and leave a line
// of who ran them (audit.h).
bool changesHost(const char *name);

// EC_ok for the names that package scripts run as "dravik --service NAME": mkconfig, lsselfstart, setselfstart;
// otherwise EC_invalid_cli_name with the name.
s_ecItems *checkServiceName(const char *name);

// The last check before the command `name` runs on its parameter buffers: EC_ok, or
//   delalias   EC_wwid_format_error for an empty WWID and for one that holds anything but letters, digits and
//              . _ : - : its parameter check takes any, and a shell is to see it
//   devstats   EC_miss_interval without an interval; EC_interval_format_error for one of 0 or above
//              MAX_STAT_INTERVAL
s_ecItems *checkBeforeRun(const char *name);

// The longest interval in seconds that alarm(2) takes.
constexpr unsigned int MAX_STAT_INTERVAL = 4294967295;

// The interval in gParamIntervalVal in seconds, digits up to the first other character; MAX_STAT_INTERVAL + 1 for
// any larger number.
unsigned long long intervalSeconds();

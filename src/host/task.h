// The task layer: run a command line and turn its outcome into a result record.
//
// "Liunx" is how these names have always been spelt. Each command runs through the capture layer
// (common/capture.h) with " 2>&1" behind it and a 2 MiB buffer that grows as needed and is released here. Those
// that may hang are run by timed_task.h.
#pragma once

#include "common/result.h"
#include "host/shell_command.h"

// Runs `command` for its effect. EC_ok when it could be run, whatever its exit status (the log tells);
// EC_exe_cmd_failed when the shell could not be started or memory ran out, logged at level 0 as "Execute
// command [%s] failed\n".
s_ecItems *exeLiunxTaskCmd(const char *command);

// Runs `command` for its output, of which at most `size` - 1 characters are copied into `out` whenever it
// ran, also for an exit status other than 0. EC_info_ok for exit status 0. EC_exe_cmd_failed otherwise,
// logged at level 0 as "Execute command [%s] failed\n" when it could not be run, else as "Command [%s]
// failed, exitcode:[%d]\n".
s_ecItems *exeLiunxInfoCmd(const char *command, char *out, unsigned int size);

namespace dravik {

// Whether `command` holds a word that is not plain. It then counts as one that could not be run, which is logged at
// level 0 in the name of `operation` as "Execute command [%s] failed\n".
bool isRefused(const char *operation, const ShellCommand &command);

// The two above, EC_exe_cmd_failed for a command that is refused.
s_ecItems *runTask(const char *operation, const ShellCommand &command);
s_ecItems *runForOutput(const char *operation, const ShellCommand &command, char *out, unsigned int size);

// Runs the script file `script` with bash, for its effect.
s_ecItems *runScript(const char *operation, const char *script);

} // namespace dravik

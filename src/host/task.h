// The task layer: run a command line and turn its outcome into a result record.
//
// "Liunx" is how these names have always been spelt. Each command runs through the capture layer
// (common/capture.h) with " 2>&1" behind it and a 2 MiB buffer that grows as needed and is released here.
#pragma once

#include <csetjmp>

#include "common/result.h"

// The buffer a command's output is first collected in, and the size of the outputs that callers keep.
constexpr unsigned int TASK_OUTPUT_SIZE = 2097152;
// The room callers build a command line in.
constexpr unsigned int TASK_COMMAND_SIZE = 1024;

// Runs `command` for its effect. EC_ok when it could be run, whatever its exit status (the log tells);
// EC_exe_cmd_failed when the shell could not be started or memory ran out, logged at level 0 as "Execute
// command [%s] failed\n".
s_ecItems *exeLiunxTaskCmd(const char *command);

// Runs the script file `script` with bash, by `exeLiunxTaskCmd`.
s_ecItems *runScript(const char *script);

// Runs `command` for its output, of which at most `size` - 1 characters are copied into `out` whenever it
// ran, also for an exit status other than 0. EC_info_ok for exit status 0. EC_exe_cmd_failed otherwise,
// logged at level 0 as "Execute command [%s] failed\n" when it could not be run, else as "Command [%s]
// failed, exitcode:[%d]\n".
s_ecItems *exeLiunxInfoCmd(const char *command, char *out, unsigned int size);

// The same for a command that may hang: after five seconds it is given up. Runs without the character filter.
// EC_info_ok; EC_exe_cmd_failed, logged at level 0 as "Execute command [%s] failed\n", also for an exit status
// other than 0 (what was printed is copied then too); EC_exe_cmd_timeout, logged as "Execute command [%s]
// timeout\n", nothing copied.
// Uses SIGALRM and the real-time interval timer and restores the handler that SIGALRM had. After a time-out
// the child is left alone and the timer goes on expiring every five seconds: callers end soon after.
s_ecItems *exeLiunxInfoCmd_nonblocking(const char *command, char *out, unsigned int size);

// Whether `word`, which a listing or a user has supplied, may stand in `command`: see isPlainWord in
// common/plain_word.h. Where it may not, the command counts as one that could not be run, which is logged at
// level 0 in the name of `operation` as "Execute command [%s] failed\n".
bool mayRunWith(const char *operation, const char *word, const char *command);

// A handler as signal(2) knows it.
using signal_handler = void (*)(int);

// Installs `handler` with an empty mask; for SIGALRM interrupted system calls fail, for any other signal they
// are restarted. Returns the previous handler, SIG_ERR when the installation fails.
signal_handler my_signal(int signal_number, signal_handler handler);

// The timer's handler: counts the expiry in `invoke_count` and jumps back to `invoke_env` with the value 1.
void timeout_signal_handler(int signal_number);

// Where the timer's handler jumps to, and how often it has; used by `exeLiunxInfoCmd_nonblocking` alone.
extern sigjmp_buf invoke_env;
extern volatile int invoke_count;

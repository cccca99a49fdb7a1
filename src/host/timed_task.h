// A command that may hang, run for at most five seconds.
//
// Uses SIGALRM and the real-time interval timer; nothing else does while a timed command runs. The timer's handler
// leaves the capture layer by a non-local jump: frames in between own nothing that a destructor must release.
#pragma once

#include <csetjmp>

#include "common/result.h"
#include "host/shell_command.h"

// `exeLiunxInfoCmd` (task.h) for a command that may hang: after five seconds it is given up. Runs without the
// character filter. EC_info_ok; EC_exe_cmd_failed, logged at level 0 as "Execute command [%s] failed\n", also for an
// exit status other than 0 (what was printed is copied then too); EC_exe_cmd_timeout, logged as "Execute command
// [%s] timeout\n", nothing copied.
// Restores the handler that SIGALRM had. After a time-out the child is left alone and the timer goes on expiring
// every five seconds: callers end soon after, or stop it.
s_ecItems *exeLiunxInfoCmd_nonblocking(const char *command, char *out, unsigned int size);

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

namespace dravik {

// `exeLiunxInfoCmd_nonblocking`, EC_exe_cmd_failed for a command that is refused (task.h).
s_ecItems *runTimed(const char *operation, const ShellCommand &command, char *out, unsigned int size);

} // namespace dravik

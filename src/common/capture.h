// The capture layer: run a command line through the shell, collect everything it prints, give back its exit
// status. The one way in which this system starts other programs.
//
// The output goes into the caller's buffer; when it does not fit, `*out` is pointed at a larger heap block.
// Growth: by the initial capacity (size - 1) or 20480 bytes, whichever is more, as often as needed. The
// output is terminated; a NUL byte that the child prints is data, which text functions take for the end.
//
// `exe_query` and `exe_cmd` pass the command text through the character filter of text_filter.h, so that a
// ";" or a "<" reaches the shell as "%", and cut it at 1023 characters; the log shows the unfiltered text.
#pragma once

// What the functions below answer when there is no exit status.
constexpr int EXE_NOT_STARTED = -1;
constexpr int EXE_NO_MEMORY = -2;
constexpr int EXE_NOT_READ = -3; // its output could not be read to the end

namespace dravik {

// How the last child ended, for those who want to know more than its exit status.
struct ChildEnd {
    bool started;
    bool deadline_passed; // it was killed, with everything it had started
    int signal_number;    // that ended it, 0 for none
    int exit_status;
    long long duration_ms;
    // Killed, and yet there: this child, or the one before that this one was not started for; 0 for none.
    int stuck_process = 0;
};
const ChildEnd &lastChildEnd();

// How long a child may take from now on; 0, as at the start of the process, for as long as it likes. Under a deadline a
// child is a process group of its own. One that has not ended in time is killed with its group: it counts as one that could
// not be started, logged at level 0 as "Command [%s] did not end within %u seconds: it has been killed.\n".
//
// A process that waits in the kernel for a device does not end even then. It is waited for five seconds more and left
// alone; the same command is not started again under a deadline before it has ended, and counts as one that could not be
// started, logged as "Command [%s] is not started: process %d, which has been killed, has not ended.\n". `each_second`,
// if not null, is called about once a second while children are waited for: also while one prints without a pause, and
// between many that end within a second each.
void setChildDeadline(unsigned int seconds, void (*each_second)());

} // namespace dravik

// Runs `command`; its error output goes where this process's goes.
//   buffer, size   where the output goes while it fits; taken for empty on entry; `size` is at least 1
//   out            set to `buffer`, or to the heap block after a growth; null after EXE_NO_MEMORY and EXE_NOT_READ
//   grown          set to 1 when `*out` is a heap block that the caller must free, and to 0 otherwise, when
//                  the exit status is 0. After any other exit status the flag keeps the caller's value; the
//                  caller tells a growth by `*out` differing from `buffer`.
// Returns the exit status 0 to 255 (bits 8 to 15 of the wait status: a child killed by a signal counts as 0),
// EXE_NOT_STARTED when the shell could not be started, EXE_NO_MEMORY when a growth failed, EXE_NOT_READ when waiting for
// the output or reading it failed: a part of it is never taken for the whole.
// Logged at level 0: "Popen command [%s] failed\n"; "Malloc %d byte space failed.\n" with the size asked for;
// "Read output of command [%s] failed: %s.\n" with the reason;
// for an exit status other than 0 "Execute command [%s] failed, exit code [%d]\n" and "Error message: %s\n"
// with the output; at level 3 "Execute command [%s] successfully.\n".
int exe_query(const char *command, char *buffer, int size, char **out, int *grown);

// The same with " 2>&1" behind the command, so that its error output is captured too.
int exe_cmd(const char *command, char *buffer, int size, char **out, int *grown);

// The same as `exe_cmd` without the character filter. Returns EXE_NOT_STARTED also for an exit status other
// than 0, otherwise the growth flag; failures are stored in the flag too. The child starts with the caller's
// signal mask, but never with SIGALRM blocked: the caller may hold the alarm back for its own sake.
//
// A SIGALRM handler may leave this function by a non-local jump: SIGALRM is blocked throughout and let in
// only while the function waits in a system call, and the frame owns nothing that a destructor must release.
// The child and its pipe are then abandoned; a heap block is in `*out` and belongs to the caller.
int exe_cmd_nonblocking(const char *command, char *buffer, int size, char **out, int *grown);

// The one lock that all commands take which change the host, so that they do not tread on each other.
//
// It is an flock(2) of a file, which the kernel lifts when its holder ends, however that happens; the file
// itself stays. It holds who has the lock, for those who wait:
//
//   4711
//   root
//   dravik setstate -path_alias mpatha -device_name sdb -state offline
//
// Children do not inherit the lock: one that is left behind does not hold up the next command.
#pragma once

// The places of the file, tried in this order; ends with null. A place where it cannot be made, or where
// something lies that is not a plain file of the running user with a single name, is passed over.
extern const char *const COMMAND_LOCK_FILES[];

// How long a command waits for another one.
constexpr unsigned int COMMAND_LOCK_SECONDS = 60;

// What `takeCommandLock` answers.
constexpr int COMMAND_LOCK_TAKEN = 1;        // until `releaseCommandLock` or the end of the process
constexpr int COMMAND_LOCK_BUSY = 0;         // another command has it still
constexpr int COMMAND_LOCK_IMPOSSIBLE = -1;  // no file at any of the places
constexpr int COMMAND_LOCK_INTERRUPTED = -2; // a signal came while it waited (host/interruption.h)

// Takes the lock for `command_line`, a printable text, waiting up to `seconds` for another holder. One line on
// standard error says for whom it waits, another that it gave up. Where no file can be made, a line says that
// the command goes on unprotected: a host in trouble (a read-only or full /run) must stay repairable.
int takeCommandLock(const char *command_line, const char *const *files, unsigned int seconds);

// Lets the lock go, if this process has it.
void releaseCommandLock();

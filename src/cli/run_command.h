// Running one of the contract's commands: its checks, its turn, the command, its result.
#pragma once

#include "cli/command_table.h"

namespace dravik {

// What was typed, from the word before the command's name on.
struct CommandLine {
    int argc;
    const char *const *argv;
};

// Runs `command`, whose name is line.argv[1]; `typed` is the whole command line, for the audit line and for those who wait.
// With `json` the answer is one document with the record in it, or a stream of them for `devstats`, and nothing else.
// The exit status: EXIT_DONE for a record of code 0, else EXIT_FAILED. One that changes the host is refused, on standard
// error, to anybody but root; interrupted, it ends by its signal (host/interruption.h).
int runCommand(const Command &command, const CommandLine &line, const CommandLine &typed, bool json);

// Ends a command line with a record: prints it (print_ec), or a document for the command `name` that holds it. The exit
// status.
int answerWith(const s_ecItems *result, const char *name, bool json);

} // namespace dravik

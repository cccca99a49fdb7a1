// The table of all commands: one row for each, which everything else about a command follows from.
#pragma once

#include "cli/parameter_checks.h"
#include "commands/own_command.h"
#include "common/result.h"
#include "output/json.h"

namespace dravik {

// How a command is known.
enum class CommandKind {
    LISTED,   // named in the printed list
    UNLISTED, // accepted like a listed one, but left out of the list
    SERVICE,  // for package scripts: run as "dravik --service NAME" alone
    OWN,      // one of our own, which the contract's names know nothing of
};

struct Command {
    const char *name;
    CommandKind kind;
    // Whether it changes the host: such commands take turns (command_lock.h) and leave a line of who ran them
    // (audit.h).
    bool changes_host;
    Parameters parameters;
    // The check of its parameters, which leaves their values in commands/parameter_buffers.h.
    s_ecItems *(*check_parameters)(int argc, const char *const *argv);
    // The last check of those values before the command runs; null where there is nothing more to ask.
    s_ecItems *(*check_last)();
    // Runs it on those values; null for a command of our own.
    s_ecItems *(*run)(int argc);
    // The same as structured data: fills the document, of which the common head and the result are the caller's. Null where
    // the result is all that there is.
    s_ecItems *(*describe)(int argc, Json *document) = nullptr;
    // A command of our own: reads its words itself, prints, and answers the exit status.
    int (*run_own)(const OwnCall &call) = nullptr;
};

// The row of the contract's command `name`, service commands included, compared over 64 characters; null when there is
// none.
const Command *findCommand(const char *name);

// The row of a command of our own; null for any other name.
const Command *findOwnCommand(const char *name);

// The name of the listed, unlisted or own command that `word` is most like: at most two letters wrong, missing, too many or
// exchanged; null when none is.
const char *nearestCommandName(const char *word);

// The row of a command that package scripts run; null for any other name.
const Command *findServiceCommand(const char *name);

// Prints the names of our own commands, a line each, under a heading; nothing while there are none.
void printOwnCommands();

// Prints every row to standard output, a line each, for the checks of texts against the program: name, kind ("listed",
// "unlisted", "service", "own"), "changes" or "reads", and the parameters, "-name" or "-name=VALUE" with the values or the
// kind of value; a positional one as "=VALUE".
void printCommandTable();

} // namespace dravik

// The listed names in the list's order; ends with an empty row.
constexpr unsigned int CLI_NAME_SIZE = 64;
extern const char CLI_NAMES[19][CLI_NAME_SIZE];

// EC_ok when `name` is one of `CLI_NAMES`, or "refresh", which is accepted and not listed. Otherwise, for the
// service commands too, EC_invalid_cli_name with the name.
s_ecItems *checkCliNames(const char *name);

// Prints the names of `CLI_NAMES`, one a line.
void print_cli_list();

// Checks the parameters of one command line. `argv` holds the program name, the command name and the
// parameters, `argc` counts them all; a null element counts as an empty text. A name that is no command's takes none.
// Results as the command's check (parameter_checks.h).
s_ecItems *checkCliParams(int argc, const char *const *argv);

// Runs the command `argv[1]`, whose parameters `checkCliParams` has accepted; `argc` and `argv` are the same as there.
// Returns the command's record, or EC_invalid_cli_name with the name. The service commands are accepted here, though
// `checkCliNames` rejects them.
// Prints nothing of its own but a word of patience before `scan`; the record is the caller's to print.
s_ecItems *exeCli(int argc, const char *const *argv);

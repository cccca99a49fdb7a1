// The administration tool `dravik`: name check, parameter validation, dispatch, printed result.
//
//   dravik                          usage line and command list (also: -h, --help, help)
//   dravik help COMMAND             the command's help text (also: dravik COMMAND -h, dravik COMMAND --help)
//   dravik --version                name and version
//   dravik --service NAME           a service command, for package scripts
//   dravik COMMAND [parameters]     the command; exit status 0 for a result of code 0, else 1
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <unistd.h>

#include "cli/audit.h"
#include "cli/caller.h"
#include "cli/command_lock.h"
#include "cli/command_table.h"
#include "cli/help.h"
#include "cli/parameter_checks.h"
#include "commands/devstats.h"
#include "commands/version.h"
#include "common/exit_status.h"
#include "common/startup.h"
#include "host/interruption.h"

namespace {

using dravik::Command;
using dravik::EXIT_DONE;
using dravik::EXIT_FAILED;

// The command line from the word before the command's name on, as the front end's operations take it.
struct CommandLine {
    int argc;
    const char *const *argv;
    std::string_view word(int index) const {
        return index < argc ? argv[index] : "";
    }
};

bool asksForHelp(std::string_view word) {
    return word == "-h" || word == "--help";
}

// Prints the record as the end of a command.
int answer(const s_ecItems *result) {
    print_ec(result);
    return !isFailure(result) ? EXIT_DONE : EXIT_FAILED;
}

// The answer to a word that stands where none is taken.
int answerSurplus(const char *word) {
    initEcItems1(&EC_invalid_param, word);
    return answer(&EC_invalid_param);
}

int printUsage() {
    puts("Usage: dravik COMMAND [parameters]");
    print_cli_list();
    return EXIT_DONE;
}

int printVersion() {
    printf("dravik %s\n", DRAVIK_VERSION);
    return EXIT_DONE;
}

// The name check answers for a name that is none, not a look into the folder of help texts.
int printHelpOf(const char *name) {
    const s_ecItems *result = checkCliNames(name);
    if (!isFailure(result)) {
        result = dravik::showHelp(name);
    }
    return !isFailure(result) ? EXIT_DONE : answer(result);
}

// ---- commands

void sayIfNotRoot() {
    if (geteuid() != 0) {
        fputs("dravik: not running as root: what needs root will fail\n", stderr);
    }
}

// The command, whose lack of memory is a result like any other.
s_ecItems *runHandler(const Command &command, const CommandLine &line) {
    try {
        return command.run(line.argc);
    } catch (const std::bad_alloc &) {
        return &EC_molloc_failed;
    }
}

// Every check that comes before the command runs.
s_ecItems *checkAll(const Command &command, const CommandLine &line) {
    s_ecItems *result = command.check_parameters(line.argc, line.argv);
    return isFailure(result) || command.check_last == nullptr ? result : command.check_last();
}

// The line of who ran it is written before the result is printed: a reader that has gone away ends this process
// with a signal.
int runChangingCommand(const Command &command, const CommandLine &line, const CommandLine &typed) {
    beginAudit(typed.argc, typed.argv);
    s_ecItems *result = checkAll(command, line);
    if (!isFailure(result)) {
        char shown[480] = "";
        shownCommandLine(typed.argc, typed.argv, shown, sizeof(shown));
        const int turn = takeCommandLock(shown, COMMAND_LOCK_FILES, COMMAND_LOCK_SECONDS);
        if (turn == COMMAND_LOCK_BUSY || turn == COMMAND_LOCK_INTERRUPTED) {
            auditText("not run, another command was still running.");
            dravik::endByPendingSignal();
            return EXIT_FAILED;
        }
        result = runHandler(command, line);
    }
    auditResult(result);
    const int status = answer(result);
    fflush(stdout);
    dravik::endByPendingSignal();
    return status;
}

int runReadingCommand(const Command &command, const CommandLine &line) {
    s_ecItems *result = checkAll(command, line);
    if (!isFailure(result)) {
        result = runHandler(command, line);
        if (!isFailure(result) && line.word(1) == "devstats") {
            sampleDevStats(static_cast<unsigned int>(dravik::intervalSeconds())); // ends with the process
        }
    }
    return answer(result);
}

// Runs the command that `line` begins with; `typed` is the whole command line.
int runCommand(const Command &command, const CommandLine &line, const CommandLine &typed) {
    if (command.changes_host && geteuid() != 0) {
        fprintf(stderr, "dravik: %s changes the host: run it as root\n", command.name);
        return EXIT_FAILED;
    }
    sayIfNotRoot();
    return command.changes_host ? runChangingCommand(command, line, typed) : runReadingCommand(command, line);
}

int runServiceCommand(const CommandLine &typed) {
    if (typed.argc < 3) {
        initEcItems1(&EC_miss_param_val, "--service");
        return answer(&EC_miss_param_val);
    }
    const Command *command = dravik::findServiceCommand(typed.argv[2]);
    if (command == nullptr) {
        initEcItems1(&EC_invalid_cli_name, typed.argv[2]);
        return answer(&EC_invalid_cli_name);
    }
    return runCommand(*command, {typed.argc - 1, typed.argv + 1}, typed);
}

int run(const CommandLine &line) {
    const std::string_view first = line.word(1);
    if (line.argc < 2) {
        return printUsage();
    }
    if (first == "help" || asksForHelp(first)) {
        if (line.argc > 3) {
            return answerSurplus(line.argv[3]);
        }
        return line.argc == 2 ? printUsage() : printHelpOf(line.argv[2]);
    }
    if (first == "--version") {
        return line.argc == 2 ? printVersion() : answerSurplus(line.argv[2]);
    }
    if (first == "--service") {
        return runServiceCommand(line);
    }
    if (first == "--commands" && line.argc == 2) {
        dravik::printCommandTable(); // for the checks of the texts; not for people
        return EXIT_DONE;
    }
    const s_ecItems *known = checkCliNames(line.argv[1]);
    if (isFailure(known)) {
        return answer(known);
    }
    if (line.argc == 3 && asksForHelp(line.word(2))) {
        return printHelpOf(line.argv[1]);
    }
    return runCommand(*dravik::findCommand(line.argv[1]), line, line);
}

// What was printed may get lost on the way out, on a full disk for instance: a command that only shows something
// has then failed. One that changed the host has not.
int flushOutput(int status, bool changing) {
    if (fflush(stdout) == 0 && ferror(stdout) == 0) {
        return status;
    }
    fprintf(stderr, "dravik: the output could not be written: %s\n", strerror(errno));
    return changing ? status : EXIT_FAILED;
}

} // namespace

int main(int argc, char **argv) {
    resetProcess();
    const CommandLine line = {argc, argv};
    const int name = line.word(1) == "--service" ? 2 : 1;
    const Command *command = name < argc ? dravik::findCommand(argv[name]) : nullptr;
    int status = EXIT_FAILED;
    try {
        status = run(line);
    } catch (const std::bad_alloc &) {
        status = answer(&EC_molloc_failed);
    }
    return flushOutput(status, command != nullptr && command->changes_host);
}

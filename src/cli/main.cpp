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
#include <string_view>
#include <unistd.h>

#include "cli/audit.h"
#include "cli/caller.h"
#include "cli/command_lock.h"
#include "cli/command_table.h"
#include "cli/dispatch.h"
#include "cli/parameter_checks.h"
#include "cli/tool_checks.h"
#include "commands/devstats.h"
#include "common/startup.h"
#include "common/version.h"

namespace {

constexpr int EXIT_DONE = 0;
constexpr int EXIT_FAILED = 1;

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
    return result->code == 0 ? EXIT_DONE : EXIT_FAILED;
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
    if (result->code == 0) {
        result = showHelp(name);
    }
    return result->code == 0 ? EXIT_DONE : answer(result);
}

// ---- commands

void sayIfNotRoot() {
    if (geteuid() != 0) {
        fputs("dravik: not running as root: what needs root will fail\n", stderr);
    }
}

// Every check that comes before the command runs.
s_ecItems *checkAll(const CommandLine &line) {
    s_ecItems *result = checkCliParams(line.argc, line.argv);
    return result->code == 0 ? checkBeforeRun(line.argv[1]) : result;
}

// The line of who ran it is written before the result is printed: a reader that has gone away ends this process
// with a signal.
int runChangingCommand(const CommandLine &line, const CommandLine &typed) {
    beginAudit(typed.argc, typed.argv);
    s_ecItems *result = checkAll(line);
    if (result->code == 0) {
        char shown[480] = "";
        shownCommandLine(typed.argc, typed.argv, shown, sizeof(shown));
        if (takeCommandLock(shown, COMMAND_LOCK_FILES, COMMAND_LOCK_SECONDS) == COMMAND_LOCK_BUSY) {
            auditText("not run, another command was still running.");
            return EXIT_FAILED;
        }
        result = exeCli(line.argc, line.argv);
    }
    auditResult(result);
    return answer(result);
}

int runReadingCommand(const CommandLine &line) {
    s_ecItems *result = checkAll(line);
    if (result->code == 0) {
        result = exeCli(line.argc, line.argv);
        if (result->code == 0 && line.word(1) == "devstats") {
            sampleDevStats(static_cast<unsigned int>(intervalSeconds())); // ends with the process
        }
    }
    return answer(result);
}

// Runs the command `line.argv[1]`, whose name has been checked; `typed` is the whole command line.
int runCommand(const CommandLine &line, const CommandLine &typed) {
    sayIfNotRoot();
    return changesHost(line.argv[1]) ? runChangingCommand(line, typed) : runReadingCommand(line);
}

int runServiceCommand(const CommandLine &typed) {
    if (typed.argc < 3) {
        initEcItems1(&EC_miss_param_val, "--service");
        return answer(&EC_miss_param_val);
    }
    s_ecItems *result = checkServiceName(typed.argv[2]);
    return result->code == 0 ? runCommand({typed.argc - 1, typed.argv + 1}, typed) : answer(result);
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
    const s_ecItems *known = checkCliNames(line.argv[1]);
    if (known->code != 0) {
        return answer(known);
    }
    return line.argc == 3 && asksForHelp(line.word(2)) ? printHelpOf(line.argv[1]) : runCommand(line, line);
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
    const bool changing = argc > 1 && changesHost(argv[line.word(1) == "--service" && argc > 2 ? 2 : 1]);
    return flushOutput(run(line), changing);
}

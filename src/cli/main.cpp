// The administration tool `dravik`: name check, parameter validation, dispatch, printed result.
//
//   dravik                          usage line and command list (also: -h, --help, help)
//   dravik help COMMAND             the command's help text (also: dravik COMMAND -h, dravik COMMAND --help)
//   dravik --version                name and version
//   dravik --service NAME           a service command, for package scripts
//   dravik COMMAND [parameters]     the command; exit status 0 for a result of code 0, else 1
//   dravik OWN-COMMAND [options]    a command of our own, with exit statuses of its own
//   dravik --json ...               the same, answered as structured data
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "cli/audit.h"
#include "cli/caller.h"
#include "cli/help.h"
#include "cli/run_command.h"
#include "commands/version.h"
#include "common/exit_status.h"
#include "common/startup.h"
#include "common/visible_text.h"

namespace {

using dravik::answerWith;
using dravik::Command;
using dravik::CommandLine;
using dravik::EXIT_DONE;
using dravik::EXIT_FAILED;

// The command line as it was typed, and what it asks for.
struct Request {
    CommandLine typed;
    CommandLine line; // without "--json"
    bool json;
    std::string_view word(int index) const {
        return index < line.argc ? line.argv[index] : "";
    }
};

bool asksForHelp(std::string_view word) {
    return word == "-h" || word == "--help";
}

// The answer to a word that stands where none is taken.
int answerSurplus(const Request &request, int index) {
    initEcItems1(&EC_invalid_param, request.line.argv[index]);
    return answerWith(&EC_invalid_param, request.line.argv[1], request.json);
}

int printUsage() {
    puts("Usage: dravik COMMAND [parameters]");
    print_cli_list();
    dravik::printOwnCommands();
    return EXIT_DONE;
}

int printVersion() {
    printf("dravik %s\n", DRAVIK_VERSION);
    return EXIT_DONE;
}

// The contract's answer to a name that is none; what may have been meant stands on standard error.
int answerUnknown(const Request &request, const char *name) {
    const s_ecItems *result = checkCliNames(name);
    const char *nearest = dravik::nearestCommandName(name);
    if (nearest != nullptr) {
        fprintf(stderr, "dravik: there is no command \"%s\"; did you mean \"%s\"?\n",
                dravik::VisibleText(name).text(), nearest);
    }
    return answerWith(result, name, request.json);
}

// The name check answers for a name that is none, not a look into the folder of help texts.
int printHelpOf(const Request &request, const char *name) {
    if (isFailure(checkCliNames(name)) && dravik::findOwnCommand(name) == nullptr) {
        return answerUnknown(request, name);
    }
    const s_ecItems *result = dravik::showHelp(name);
    return isFailure(result) ? answerWith(result, name, request.json) : EXIT_DONE;
}

int runService(const Request &request) {
    const CommandLine &line = request.line;
    if (line.argc < 3) {
        initEcItems1(&EC_miss_param_val, "--service");
        return answerWith(&EC_miss_param_val, "--service", request.json);
    }
    const Command *command = dravik::findServiceCommand(line.argv[2]);
    if (command == nullptr) {
        initEcItems1(&EC_invalid_cli_name, line.argv[2]);
        return answerWith(&EC_invalid_cli_name, line.argv[2], request.json);
    }
    return runCommand(*command, {line.argc - 1, line.argv + 1}, request.typed, request.json);
}

dravik::OwnAudit auditOf(const Request &request) {
    const CommandLine typed = request.typed;
    dravik::OwnAudit audit;
    audit.user = [] {
        char user[USER_NAME_SIZE] = "";
        loginUser(user, sizeof(user));
        if (user[0] == '\0') {
            runningUser(user, sizeof(user));
        }
        return std::string(user);
    };
    audit.line = [typed] {
        char shown[480] = "";
        shownCommandLine(typed.argc, typed.argv, shown, sizeof(shown));
        return std::string(shown);
    };
    audit.begin = [typed] { beginAudit(typed.argc, typed.argv); };
    audit.end = auditText;
    return audit;
}

int runOwn(const Command &command, const Request &request) {
    const dravik::OwnAudit audit = auditOf(request);
    // getopt_long exchanges the words of the vector: they are the process's own.
    return command.run_own(
        {request.line.argc - 1, const_cast<char **>(request.line.argv) + 1, request.json, &audit});
}

// Whether a word behind the name of a command of our own asks for help.
bool anyAsksForHelp(const Request &request) {
    for (int i = 2; i < request.line.argc && request.word(i) != "--"; ++i) {
        if (asksForHelp(request.word(i))) {
            return true;
        }
    }
    return false;
}

int runNamed(const Request &request) {
    const CommandLine &line = request.line;
    const bool wants_help = line.argc == 3 && asksForHelp(request.word(2));
    const Command *own = dravik::findOwnCommand(line.argv[1]);
    if (own != nullptr) {
        return anyAsksForHelp(request) ? printHelpOf(request, line.argv[1]) : runOwn(*own, request);
    }
    if (isFailure(checkCliNames(line.argv[1]))) {
        return answerUnknown(request, line.argv[1]);
    }
    if (wants_help) {
        return printHelpOf(request, line.argv[1]);
    }
    return runCommand(*dravik::findCommand(line.argv[1]), line, request.typed, request.json);
}

int run(const Request &request) {
    const CommandLine &line = request.line;
    const std::string_view first = request.word(1);
    if (line.argc < 2) {
        return printUsage();
    }
    if (first == "help" || asksForHelp(first)) {
        if (line.argc > 3) {
            return answerSurplus(request, 3);
        }
        return line.argc == 2 ? printUsage() : printHelpOf(request, line.argv[2]);
    }
    if (first == "--version") {
        return line.argc == 2 ? printVersion() : answerSurplus(request, 2);
    }
    if (first == "--service") {
        return runService(request);
    }
    if (first == "--commands" && line.argc == 2) {
        dravik::printCommandTable(); // for the checks of the texts; not for people
        return EXIT_DONE;
    }
    return runNamed(request);
}

// The command line without a "--json" before the command's name, which has been cut out of `argv`.
Request readRequest(int argc, char **argv, char **without_json) {
    const bool json = argc > 1 && std::string_view(argv[1]) == "--json";
    if (!json) {
        return {{argc, argv}, {argc, argv}, false};
    }
    without_json[0] = argv[0];
    for (int i = 2; i <= argc; ++i) {
        without_json[i - 1] = argv[i];
    }
    return {{argc, argv}, {argc - 1, without_json}, true};
}

bool changesHost(const Request &request) {
    const int name = request.word(1) == "--service" ? 2 : 1;
    const Command *command =
        name < request.line.argc ? dravik::findCommand(request.line.argv[name]) : nullptr;
    return command != nullptr && command->changes_host;
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
    int status = EXIT_FAILED;
    bool changing = false;
    try {
        std::vector<char *> without_json(static_cast<size_t>(argc) + 1);
        const Request request = readRequest(argc, argv, without_json.data());
        changing = changesHost(request);
        status = run(request);
    } catch (const std::bad_alloc &) {
        status = answerWith(&EC_molloc_failed, "", false);
    }
    return flushOutput(status, changing);
}

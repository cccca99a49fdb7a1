// From a command line to its result.
#include "cli/run_command.h"

#include <cstdio>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <unistd.h>

#include "cli/audit.h"
#include "cli/caller.h"
#include "cli/command_lock.h"
#include "commands/devstats.h"
#include "common/exit_status.h"
#include "common/owned.h"
#include "host/interruption.h"

namespace dravik {

namespace {

// Sends standard output nowhere while it lives: what a command shows to people is no part of a document.
class OutputHeld {
  public:
    explicit OutputHeld(bool held) {
        fflush(stdout);
        if (held) {
            kept.reset(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
            const Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
            dup2(nowhere.get(), STDOUT_FILENO);
        }
    }
    ~OutputHeld() {
        fflush(stdout);
        if (kept.isOpen()) {
            dup2(kept.get(), STDOUT_FILENO);
        }
    }
    OutputHeld(const OutputHeld &) = delete;
    OutputHeld &operator=(const OutputHeld &) = delete;

  private:
    Descriptor kept;
};

Json describeRecord(const s_ecItems *result) {
    char text[256] = "";
    getErrorMsg(result, text, sizeof(text));
    // The message without its head, "Error(0133): ".
    const std::string_view message = text;
    const size_t colon = message.find(": ");
    Json record = Json::object();
    record.set("code", result->code)
        .set("message", isFailure(result) ? message.substr(colon == std::string_view::npos ? 0 : colon + 2)
                                          : std::string_view("Command executed successfully."));
    return record;
}

int statusOf(const s_ecItems *result) {
    return isFailure(result) ? EXIT_FAILED : EXIT_DONE;
}

int answerIn(Json *document, const s_ecItems *result) {
    document->set("result", describeRecord(result));
    puts(document->line().c_str());
    return statusOf(result);
}

// Every check that comes before the command runs.
s_ecItems *checkAll(const Command &command, const CommandLine &line) {
    s_ecItems *result = command.check_parameters(line.argc, line.argv);
    return isFailure(result) || command.check_last == nullptr ? result : command.check_last();
}

// The command itself, whose lack of memory is a result like any other.
s_ecItems *run(const Command &command, const CommandLine &line, Json *document) {
    try {
        if (document == nullptr) {
            return command.run(line.argc);
        }
        const OutputHeld held(true);
        return command.describe != nullptr ? command.describe(line.argc, document) : command.run(line.argc);
    } catch (const std::bad_alloc &) {
        return &EC_molloc_failed;
    }
}

int answer(const s_ecItems *result, Json *document) {
    if (document != nullptr) {
        return answerIn(document, result);
    }
    print_ec(result);
    return statusOf(result);
}

// The line of who ran it is written before the result is printed: a reader that has gone away ends this process
// with a signal.
int runChanging(const Command &command, const CommandLine &line, const CommandLine &typed, Json *document) {
    beginAudit(typed.argc, typed.argv);
    s_ecItems *result = checkAll(command, line);
    if (!isFailure(result)) {
        char shown[480] = "";
        shownCommandLine(typed.argc, typed.argv, shown, sizeof(shown));
        const int turn = takeCommandLock(shown, COMMAND_LOCK_FILES, COMMAND_LOCK_SECONDS);
        if (turn == COMMAND_LOCK_BUSY || turn == COMMAND_LOCK_INTERRUPTED) {
            auditText("not run, another command was still running.");
            endByPendingSignal();
            return EXIT_FAILED;
        }
        result = run(command, line, document);
    }
    auditResult(result);
    const int status = answer(result, document);
    fflush(stdout);
    endByPendingSignal();
    return status;
}

int runReading(const Command &command, const CommandLine &line, Json *document) {
    s_ecItems *result = checkAll(command, line);
    if (!isFailure(result)) {
        result = run(command, line, document);
        if (!isFailure(result) && std::string_view(command.name) == "devstats") {
            sampleDevStats(static_cast<unsigned int>(intervalSeconds())); // ends with the process
        }
    }
    return answer(result, document);
}

} // namespace

int runCommand(const Command &command, const CommandLine &line, const CommandLine &typed, bool json) {
    if (geteuid() != 0) {
        if (command.changes_host) {
            fprintf(stderr, "dravik: %s changes the host: run it as root\n", command.name);
            return EXIT_FAILED;
        }
        fputs("dravik: not running as root: what needs root will fail\n", stderr);
    }
    Json document = json ? beginDocument(command.name) : Json::null();
    Json *wanted = json ? &document : nullptr;
    return command.changes_host ? runChanging(command, line, typed, wanted)
                                : runReading(command, line, wanted);
}

int answerWith(const s_ecItems *result, const char *name, bool json) {
    Json document = json ? beginDocument(name) : Json::null();
    return answer(result, json ? &document : nullptr);
}

} // namespace dravik

// From a command line to its result.
#include "cli/run_command.h"

#include <cstdio>
#include <fcntl.h>
#include <new>
#include <string>
#include <string_view>
#include <unistd.h>

#include "cli/audit.h"
#include "cli/caller.h"
#include "cli/command_lock.h"
#include "cli/operation.h"
#include "commands/devstats.h"
#include "commands/devstats_json.h"
#include "commands/result_json.h"
#include "common/exit_status.h"
#include "common/owned.h"
#include "host/interruption.h"
#include "ledger/operation_record.h"

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

int statusOf(const s_ecItems *result) {
    return isFailure(result) ? EXIT_FAILED : EXIT_DONE;
}

// What the command does not know, because it failed, is null.
void addUnknown(const Command &command, Json *document) {
    for (const char *const *member = command.answer; *member != nullptr; ++member) {
        if (!document->has(*member)) {
            document->set(*member, Json::null());
        }
    }
}

int answer(const s_ecItems *result, Json *document) {
    if (document == nullptr) {
        print_ec(result);
    } else {
        document->set("result", recordJson(result));
        puts(document->line().c_str());
    }
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

// The command line as the audit line shows it.
std::string shownLine(const CommandLine &typed) {
    char shown[480] = "";
    shownCommandLine(typed.argc, typed.argv, shown, sizeof(shown));
    return shown;
}

// The ledger learns what is about to be done, or has been refused. Lack of memory is no reason not to do it.
void beginRecord(OperationRecord *record, const Command &command, const CommandLine &typed, bool accepted) {
    try {
        const std::string shown = shownLine(typed);
        record->begin(accepted ? operationOf(command, shown) : refusedOperationOf(command, shown));
    } catch (const std::bad_alloc &) {
        // The audit line tells.
    }
}

// The answer of a command that has not been run: standard error has told people why.
int answerNotRun(const char *why, Json *document) {
    if (document != nullptr) {
        document->set("result", notRunJson(why));
        puts(document->line().c_str());
        fflush(stdout);
    }
    endByPendingSignal();
    return EXIT_FAILED;
}

// The line of who ran it is written before the result is printed: a reader that has gone away ends this process
// with a signal.
int runChanging(const Command &command, const CommandLine &line, const CommandLine &typed, Json *document) {
    beginAudit(typed.argc, typed.argv);
    OperationRecord record;
    s_ecItems *result = checkAll(command, line);
    if (isFailure(result)) {
        beginRecord(&record, command, typed, false);
    } else {
        const int turn = takeCommandLock(shownLine(typed).c_str(), COMMAND_LOCK_FILES, COMMAND_LOCK_SECONDS);
        if (turn == COMMAND_LOCK_BUSY || turn == COMMAND_LOCK_INTERRUPTED) {
            auditText("not run, another command was still running.");
            return answerNotRun("not run, another command was still running", document);
        }
        beginRecord(&record, command, typed, true);
        result = run(command, line, document);
    }
    auditResult(result);
    record.end(result->code);
    const int status = answer(result, document);
    fflush(stdout);
    endByPendingSignal();
    return status;
}

[[noreturn]] void sampleUntilTheEnd(bool json) {
    const auto seconds = static_cast<unsigned int>(intervalSeconds());
    if (json) {
        streamDevStats(seconds);
    }
    sampleDevStats(seconds);
}

int runReading(const Command &command, const CommandLine &line, Json *document) {
    s_ecItems *result = checkAll(command, line);
    if (!isFailure(result)) {
        result = run(command, line, document);
        if (!isFailure(result) && std::string_view(command.name) == "devstats") {
            sampleUntilTheEnd(document != nullptr);
        }
    }
    if (document != nullptr) {
        addUnknown(command, document);
    }
    return answer(result, document);
}

} // namespace

int runCommand(const Command &command, const CommandLine &line, const CommandLine &typed, bool json) {
    Json document = json ? beginDocument(command.name) : Json::null();
    Json *wanted = json ? &document : nullptr;
    if (geteuid() != 0) {
        if (command.changes_host) {
            fprintf(stderr, "dravik: %s changes the host: run it as root\n", command.name);
            return answerNotRun("not run, only root changes the host", wanted);
        }
        fputs("dravik: not running as root: what needs root will fail\n", stderr);
    }
    return command.changes_host ? runChanging(command, line, typed, wanted)
                                : runReading(command, line, wanted);
}

int answerWith(const s_ecItems *result, const char *name, bool json) {
    Json document = json ? beginDocument(name) : Json::null();
    return answer(result, json ? &document : nullptr);
}

} // namespace dravik

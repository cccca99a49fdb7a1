// The audit line of the commands that change the host.
#include "cli/audit.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/caller.h"
#include "common/log.h"
#include "host/interruption.h"

namespace {

// In all well below the 1023 characters at which the log cuts a message or a line.
constexpr size_t COMMAND_SIZE = 480;
constexpr size_t RESULT_SIZE = 300;
constexpr size_t WHO_SIZE = USER_NAME_SIZE + USER_NAME_SIZE + COMMAND_SIZE + 64;

char who[WHO_SIZE] = "user unknown ran []"; // everything up to the colon

// What the handler writes, made ready beforehand: inside it neither the clock's conversion nor the log's own
// lock may be used.
char interrupted_line[WHO_SIZE + 128];
char log_path[64];

// Without the log's lock, which this very process may be holding: a single write in append mode stays in one
// piece as it is.
void writeInterruptedLine(int signal_number) {
    char number[] = "00\n";
    number[0] = static_cast<char>('0' + signal_number / 10 % 10);
    number[1] = static_cast<char>('0' + signal_number % 10);
    const size_t length = strlen(interrupted_line);
    memcpy(interrupted_line + length, signal_number < 10 ? number + 1 : number, sizeof(number) - 1);
    mkdir(g_log_file_dir, 0700); // on a host where no line has been logged yet
    const int fd = open(log_path, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (fd >= 0 && write(fd, interrupted_line, strlen(interrupted_line)) < 0) {
        // A line that cannot be written is lost, as every other.
    }
}

void prepareInterruptedLine() {
    char seconds[32] = "";
    const time_t now = time(nullptr);
    tm local = {};
    if (localtime_r(&now, &local) != nullptr) {
        strftime(seconds, sizeof(seconds), "%Y-%m-%d %T.", &local);
    }
    memset(interrupted_line, 0, sizeof(interrupted_line));
    snprintf(interrupted_line, sizeof(interrupted_line), "[%s000] INFO  audit %d %s: ended by signal ",
             seconds, __LINE__, who);
    snprintf(log_path, sizeof(log_path), "%s%s", g_log_file_dir, g_log_file_name);
}

} // namespace

void beginAudit(int argc, const char *const *argv) {
    char user[USER_NAME_SIZE] = "";
    runningUser(user, sizeof(user));
    char login[USER_NAME_SIZE] = "";
    loginUser(login, sizeof(login));
    char command[COMMAND_SIZE] = "";
    shownCommandLine(argc, argv, command, sizeof(command));
    snprintf(who, sizeof(who), "user %s%s%s%s ran [%s]", user, login[0] == '\0' ? "" : " (login ", login,
             login[0] == '\0' ? "" : ")", command);
    prepareInterruptedLine();
    dravik::deferEndingSignals(writeInterruptedLine);
}

void auditResult(const s_ecItems *result) {
    char text[256] = "Command executed successfully.";
    if (isFailure(result)) {
        getErrorMsg(result, text, sizeof(text));
    }
    auditText(text);
}

void auditText(const char *text) {
    char shown[RESULT_SIZE] = "";
    shownText(text, shown, sizeof(shown));
    char interrupted[64] = "";
    // Held back meanwhile: one of the two lines is written, not both.
    sigset_t all;
    sigfillset(&all);
    sigset_t before;
    sigprocmask(SIG_BLOCK, &all, &before);
    if (dravik::pendingSignal() != 0) {
        snprintf(interrupted, sizeof(interrupted), "interrupted by signal %d, ", dravik::pendingSignal());
    }
    DRAVIK_LOG_AS("audit", LOG_INFO, "%s: %s%s", who, interrupted, shown);
    dravik::setSuddenEnd(nullptr);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

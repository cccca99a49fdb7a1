// Child processes through the shell: start, read to the end, reap.
//
// This is popen(3) and pclose(3) taken apart, for two reasons: the child must start with the signal mask that
// the caller had, while this process holds SIGALRM back from before the start; and a timer's jump may only
// leave from the waits, never from inside the C library's heap or streams.
#include "common/capture.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/log.h"
#include "common/text.h"
#include "common/text_filter.h"

namespace {

constexpr size_t COMMAND_SIZE = 20480;         // the command as it was asked for
constexpr size_t FILTERED_COMMAND_SIZE = 1024; // the command as the shell gets it
constexpr size_t LINE_SIZE = 20480;            // the least step by which a buffer grows

// A line of the command log in the name of the operation that was called.
#define CAPTURE_LOG(output, level, ...) DRAVIK_LOG_AS((output)->operation, level, __VA_ARGS__)

// The output so far. `text` is the caller's `*out`: after a jump the caller finds a heap block there.
struct Output {
    const char *operation; // the public operation at work; the log names it
    char *own;             // the caller's buffer
    char **text;
    size_t length;
    size_t capacity; // characters, without the terminator
    size_t step;
    int grown;
};

struct Child {
    pid_t pid;
    int pipe;
};

dravik::ChildEnd last_end = {};
unsigned int deadline_seconds = 0;
void (*each_second_call)() = nullptr;
timespec started_at = {};
timespec called_at = {};

// The last child that has outlived its killing, and the command that it was; no process for none.
struct Stuck {
    pid_t pid;
    char command[COMMAND_SIZE];
};
Stuck stuck = {};

long long sinceMs(const timespec &then) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - then.tv_sec) * 1000LL + (now.tv_nsec - then.tv_nsec) / 1000000;
}

long long sinceStartMs() {
    return sinceMs(started_at);
}

bool isOverdue() {
    return deadline_seconds != 0 && sinceStartMs() >= deadline_seconds * 1000LL;
}

// The longest that a wait may last before somebody wants to be called: a second, or for ever.
const timespec *nextCall() {
    static constexpr timespec SECOND = {1, 0};
    return deadline_seconds != 0 || each_second_call != nullptr ? &SECOND : nullptr;
}

// Asked often: a child may print without a pause, and many may end within a second each.
void callEachSecond() {
    constexpr long long SECOND_MS = 1000;
    if (each_second_call != nullptr && sinceMs(called_at) >= SECOND_MS) {
        clock_gettime(CLOCK_MONOTONIC, &called_at);
        each_second_call();
    }
}

void beginOutput(Output *output, const char *operation, char *buffer, int size, char **out) {
    output->operation = operation;
    output->own = buffer;
    output->text = out;
    output->length = 0;
    output->capacity = size > 1 ? static_cast<size_t>(size) - 1 : 0;
    output->step = std::max(output->capacity, LINE_SIZE);
    output->grown = 0;
    *out = buffer;
    buffer[0] = '\0';
}

// Gives up what has been read: half of it would pass for the whole.
void releaseOutput(Output *output) {
    if (output->grown != 0) {
        free(*output->text);
    }
    *output->text = nullptr;
}

// Makes room for `more` characters. False when the allocation fails; the partial output is then released.
bool growOutput(Output *output, size_t more) {
    const size_t steps = (output->step + more - 1) / output->step;
    const size_t capacity = output->capacity + steps * output->step;
    // Not zeroed: `append` terminates, and a megabyte of fresh pages is not worth touching for nothing.
    auto *larger =
        static_cast<char *>(output->grown != 0 ? realloc(*output->text, capacity + 1) : malloc(capacity + 1));
    if (larger == nullptr) {
        releaseOutput(output);
        CAPTURE_LOG(output, LOG_ERROR, "Malloc %d byte space failed.\n", static_cast<int>(capacity + 1));
        return false;
    }
    if (output->grown == 0) {
        memcpy(larger, output->own, output->length);
    }
    *output->text = larger;
    output->capacity = capacity;
    output->grown = 1;
    return true;
}

void append(Output *output, size_t added) {
    output->length += added;
    (*output->text)[output->length] = '\0';
}

// Starts the shell with its standard output in `out` and with the signal mask `mask`. Each step is checked: a shell that
// was started without its pipe would print to this process's own output, and what it printed would count as nothing.
bool spawnShell(const char *command, int out, const sigset_t *mask, pid_t *pid) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return false;
    }
    char shell[] = "sh";
    char option[] = "-c";
    char *const arguments[] = {shell, option, const_cast<char *>(command), nullptr};
    // A group of its own can be killed as a whole; without a deadline the child stays in ours, for Ctrl+C.
    const auto flags =
        static_cast<short>(POSIX_SPAWN_SETSIGMASK | (deadline_seconds != 0 ? POSIX_SPAWN_SETPGROUP : 0));
    const bool started = posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO) == 0 &&
                         posix_spawnattr_setsigmask(&attributes, mask) == 0 &&
                         posix_spawnattr_setflags(&attributes, flags) == 0 &&
                         posix_spawn(pid, "/bin/sh", &actions, &attributes, arguments, environ) == 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return started;
}

// Starts the shell with its output in a pipe and with the signal mask `mask`.
bool startShell(const char *command, const sigset_t *mask, Child *child) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    if (ends[1] == STDOUT_FILENO) {
        // This process was started without standard output: the child's copy must survive the exec.
        fcntl(ends[1], F_SETFD, 0);
    }
    const bool started = spawnShell(command, ends[1], mask, &child->pid);
    close(ends[1]);
    if (!started) {
        close(ends[0]);
        return false;
    }
    child->pipe = ends[0];
    return true;
}

// Waits for output with the signal mask `waiting`, then reads at most `size` bytes: the bytes read, 0 at the
// end of the output, -1 with errno when waiting or reading failed: that is no end.
ssize_t readSome(int fd, char *to, size_t size, const sigset_t *waiting) {
    for (;;) {
        pollfd ready = {fd, POLLIN, 0};
        ssize_t got = ppoll(&ready, 1, nextCall(), waiting);
        if (got >= 0) {
            callEachSecond();
        }
        if (got == 0) {
            if (isOverdue()) {
                errno = ETIMEDOUT;
                return -1;
            }
            continue;
        }
        if (got > 0) {
            got = isOverdue() ? -1 : read(fd, to, size);
            errno = isOverdue() ? ETIMEDOUT : errno;
        }
        if (got >= 0 || (errno != EINTR && errno != EAGAIN)) {
            return got;
        }
    }
}

// Reads the child's output to its end, straight into the buffer while it has room. A full buffer is not yet
// an overflow: only what comes after it is, so that is read aside first.
// 0, EXE_NO_MEMORY or EXE_NOT_READ with errno.
int readAll(int fd, Output *output, const sigset_t *waiting) {
    for (;;) {
        char aside[LINE_SIZE];
        const size_t room = output->capacity - output->length;
        char *to = room > 0 ? *output->text + output->length : aside;
        const ssize_t got = readSome(fd, to, room > 0 ? room : sizeof(aside), waiting);
        if (got <= 0) {
            return got == 0 ? 0 : EXE_NOT_READ;
        }
        const auto added = static_cast<size_t>(got);
        if (room == 0) {
            if (!growOutput(output, added)) {
                return EXE_NO_MEMORY;
            }
            memcpy(*output->text + output->length, aside, added);
        }
        append(output, added);
    }
}

// Waits a little for the child to end, until so many milliseconds after its start; false when it has not.
bool waitInPieces(pid_t pid, int *status, long long until_ms) {
    constexpr int LONGEST_PIECE_MS = 100;
    pid_t ended = waitpid(pid, status, WNOHANG);
    // Most children end right behind their output.
    for (int piece_ms = 1; ended == 0 && sinceStartMs() < until_ms;
         piece_ms = std::min(2 * piece_ms, LONGEST_PIECE_MS)) {
        poll(nullptr, 0, piece_ms);
        callEachSecond();
        ended = waitpid(pid, status, WNOHANG);
    }
    return ended != 0;
}

// The same as `reap`, under a deadline. What does not end even when it is killed is left to itself.
int reapInTime(pid_t pid, const char *command) {
    constexpr long long AFTER_KILL_MS = 5000;
    int status = 0;
    if (waitInPieces(pid, &status, deadline_seconds * 1000LL)) {
        return status;
    }
    kill(-pid, SIGKILL);
    if (!waitInPieces(pid, &status, sinceStartMs() + AFTER_KILL_MS)) {
        stuck.pid = pid;
        snprintf(stuck.command, sizeof(stuck.command), "%s", command);
        last_end.stuck_process = pid;
    }
    return status;
}

// The wait status of the child; a child that somebody else has reaped counts as ended well. A child may close
// its output and go on: the timer must be able to end this wait too.
int reap(pid_t pid, const sigset_t *waiting) {
    sigset_t held;
    int status = 0;
    pid_t ended = 0;
    while (ended == 0 || (ended < 0 && errno == EINTR)) {
        sigprocmask(SIG_SETMASK, waiting, &held);
        ended = waitpid(pid, &status, 0);
        const int error = errno;
        sigprocmask(SIG_SETMASK, &held, nullptr);
        errno = error;
    }
    return ended < 0 ? 0 : status;
}

// Whether the same command has been killed under a deadline and is still there: another one would only join it.
bool isStuck(const char *command) {
    int status = 0;
    if (stuck.pid != 0 && waitpid(stuck.pid, &status, WNOHANG) != 0) {
        stuck.pid = 0;
    }
    return deadline_seconds != 0 && stuck.pid != 0 && strcmp(stuck.command, command) == 0;
}

void noteEnd(int status) {
    last_end.signal_number = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    last_end.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    last_end.duration_ms = sinceStartMs();
}

// Runs `shell_command` and fills `output`: the exit status, or one of the negative results. `logged` is the
// text that the log shows. Signals of `waiting` are let in only during the waits.
int capture(const char *shell_command, const char *logged, Output *output, const sigset_t *child_mask,
            const sigset_t *waiting) {
    Child child = {-1, -1};
    last_end = {};
    clock_gettime(CLOCK_MONOTONIC, &started_at);
    callEachSecond();
    if (isStuck(logged)) {
        last_end.stuck_process = stuck.pid;
        CAPTURE_LOG(output, LOG_ERROR,
                    "Command [%s] is not started: process %d, which has been killed, has not ended.\n",
                    logged, static_cast<int>(stuck.pid));
        return EXE_NOT_STARTED;
    }
    if (!startShell(shell_command, child_mask, &child)) {
        CAPTURE_LOG(output, LOG_ERROR, "Popen command [%s] failed\n", logged);
        return EXE_NOT_STARTED;
    }
    last_end.started = true;
    const int result = readAll(child.pipe, output, waiting);
    if (isOverdue()) {
        kill(-child.pid, SIGKILL);
    } else if (result == EXE_NOT_READ) {
        CAPTURE_LOG(output, LOG_ERROR, "Read output of command [%s] failed: %s.\n", logged, strerror(errno));
        releaseOutput(output);
    }
    close(child.pipe);
    const int status = deadline_seconds != 0 ? reapInTime(child.pid, logged) : reap(child.pid, waiting);
    last_end.deadline_passed = isOverdue();
    noteEnd(status);
    if (last_end.deadline_passed) {
        CAPTURE_LOG(output, LOG_ERROR, "Command [%s] did not end within %u seconds: it has been killed.\n",
                    logged, deadline_seconds);
        releaseOutput(output);
        return EXE_NOT_STARTED;
    }
    if (result != 0) {
        return result;
    }
    const int exit_status = (status >> 8) & 0xFF;
    if (exit_status != 0) {
        CAPTURE_LOG(output, LOG_ERROR, "Execute command [%s] failed, exit code [%d]\n", logged, exit_status);
        CAPTURE_LOG(output, LOG_ERROR, "Error message: %s\n", *output->text);
    } else {
        CAPTURE_LOG(output, LOG_DEBUG, "Execute command [%s] successfully.\n", logged);
    }
    return exit_status;
}

// `exe_query` and `exe_cmd` are one but for what stands behind the command.
int captureFiltered(const char *operation, const char *command, const char *suffix, char *buffer, int size,
                    char **out, int *grown) {
    char asked[COMMAND_SIZE] = "";
    snprintf(asked, sizeof(asked), "%s%s", command, suffix);
    char cut[FILTERED_COMMAND_SIZE] = "";
    tessaline_strncpy(cut, asked, sizeof(cut) - 1);
    char filtered[FILTERED_COMMAND_SIZE] = "";
    cleanString(filtered, cut);

    Output output = {};
    beginOutput(&output, operation, buffer, size, out);
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    const int result = capture(filtered, asked, &output, &mask, &mask);
    if (result == 0) {
        *grown = output.grown;
    }
    return result;
}

} // namespace

const dravik::ChildEnd &dravik::lastChildEnd() {
    return last_end;
}

void dravik::setChildDeadline(unsigned int seconds, void (*each_second)()) {
    deadline_seconds = seconds;
    each_second_call = each_second;
    clock_gettime(CLOCK_MONOTONIC, &called_at);
}

int exe_query(const char *command, char *buffer, int size, char **out, int *grown) {
    return captureFiltered(__func__, command, "", buffer, size, out, grown);
}

int exe_cmd(const char *command, char *buffer, int size, char **out, int *grown) {
    return captureFiltered(__func__, command, " 2>&1", buffer, size, out, grown);
}

int exe_cmd_nonblocking(const char *command, char *buffer, int size, char **out, int *grown) {
    char asked[COMMAND_SIZE] = "";
    snprintf(asked, sizeof(asked), "%s 2>&1", command);

    Output output = {};
    beginOutput(&output, __func__, buffer, size, out);
    sigset_t alarm_only;
    sigemptyset(&alarm_only);
    sigaddset(&alarm_only, SIGALRM);
    sigset_t held;
    sigprocmask(SIG_BLOCK, &alarm_only, &held);
    sigset_t open = held; // the caller's mask, with the alarm let in
    sigdelset(&open, SIGALRM);

    const int result = capture(asked, asked, &output, &open, &open);
    sigprocmask(SIG_SETMASK, &held, nullptr);
    if (result == EXE_NO_MEMORY) {
        *grown = EXE_NO_MEMORY;
        return EXE_NO_MEMORY;
    }
    if (result != 0) {
        *grown = EXE_NOT_STARTED;
        return EXE_NOT_STARTED;
    }
    *grown = output.grown;
    return *grown;
}

// The wrappers that the linker puts before the C library's calls, see CMakeLists.txt.

#include "tests/support/system_calls.h"

#include <csignal>
#include <spawn.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

// The call that fails at this moment; null when none does.
const char *failing_name = nullptr;
int failing_error = 0;
unsigned int failing_spared = 0;
unsigned int failing_count = 0;
size_t failing_size = 0;

WatchedCalls *watched = nullptr;

bool children_never_end = false;

// The call behind which somebody acts, and what; null when nobody does.
const char *acted_behind = nullptr;
std::function<void()> act_behind;

// Gives the call's result back with its errno.
int actBehind(const char *name, int result) {
    if (result == 0 && acted_behind != nullptr && strcmp(acted_behind, name) == 0) {
        acted_behind = nullptr;
        const int error = errno;
        act_behind();
        errno = error;
    }
    return result;
}

bool fails(const char *name, size_t size = 0) {
    if (failing_name == nullptr || strcmp(failing_name, name) != 0) {
        return false;
    }
    if (failing_spared > 0) {
        failing_spared--;
        return false;
    }
    failing_count++;
    failing_size = size;
    errno = failing_error;
    return true;
}

} // namespace

FailingCall::FailingCall(const char *name, int error_number, unsigned int spared) {
    if (failing_name != nullptr) {
        fprintf(stderr, "system_calls: one call fails already\n");
        abort();
    }
    failing_error = error_number;
    failing_spared = spared;
    failing_count = 0;
    failing_size = 0;
    failing_name = name;
}

FailingCall::~FailingCall() {
    failing_name = nullptr;
}

unsigned int
FailingCall::count() const { // NOLINT(readability-convert-member-functions-to-static): reads as its own
    return failing_count;
}

size_t FailingCall::size() const { // NOLINT(readability-convert-member-functions-to-static)
    return failing_size;
}

WatchedCalls::WatchedCalls() {
    if (watched != nullptr) {
        fprintf(stderr, "system_calls: calls are watched already\n");
        abort();
    }
    watched = this;
}

WatchedCalls::~WatchedCalls() {
    watched = nullptr;
}

void watch(int fd, const std::string &call) {
    WatchedCalls *watcher = watched;
    if (watcher == nullptr) {
        return;
    }
    if (watcher->first_fd < 0) {
        watcher->first_fd = fd;
    }
    watcher->calls.push_back(fd == watcher->first_fd ? call : call + " on " + std::to_string(fd));
}

ChildrenNeverEnd::ChildrenNeverEnd() {
    children_never_end = true;
}

ChildrenNeverEnd::~ChildrenNeverEnd() {
    children_never_end = false;
}

ActsBehind::ActsBehind(const char *name, std::function<void()> act) {
    if (acted_behind != nullptr) {
        fprintf(stderr, "system_calls: somebody acts already\n");
        abort();
    }
    act_behind = std::move(act);
    acted_behind = name;
}

ActsBehind::~ActsBehind() {
    acted_behind = nullptr;
    act_behind = nullptr;
}

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
char *__real_strdup(const char *text);
void *__real_mmap(void *address, size_t size, int protection, int flags, int fd, off_t offset);
int __real_pipe2(int *fds, int flags);
int __real_posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                       const posix_spawnattr_t *attributes, char *const *arguments, char *const *environment);
int __real_setitimer(__itimer_which_t which, const itimerval *value, itimerval *old);
int __real_sigaction(int signal_number, const struct sigaction *action, struct sigaction *old);
ssize_t __real_write(int fd, const void *bytes, size_t size);
int __real_flock(int fd, int operation);
pid_t __real_waitpid(pid_t pid, int *status, int options);
int __real_mkdirat(int folder, const char *name, mode_t mode);

void *__wrap_malloc(size_t size) {
    return fails("allocation", size) ? nullptr : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size) {
    return fails("allocation", count * size) ? nullptr : __real_calloc(count, size);
}

void *__wrap_realloc(void *block, size_t size) {
    return fails("allocation", size) ? nullptr : __real_realloc(block, size);
}

char *__wrap_strdup(const char *text) {
    return fails("allocation", strlen(text) + 1) ? nullptr : __real_strdup(text);
}

void *__wrap_mmap(void *address, size_t size, int protection, int flags, int fd, off_t offset) {
    return fails("mmap", size) ? MAP_FAILED : __real_mmap(address, size, protection, flags, fd, offset);
}

int __wrap_pipe2(int *fds, int flags) {
    return fails("pipe2") ? -1 : __real_pipe2(fds, flags);
}

int __wrap_posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                       const posix_spawnattr_t *attributes, char *const *arguments,
                       char *const *environment) {
    if (fails("posix_spawn")) {
        return errno;
    }
    return __real_posix_spawn(pid, path, actions, attributes, arguments, environment);
}

int __wrap_setitimer(__itimer_which_t which, const itimerval *value, itimerval *old) {
    return fails("setitimer") ? -1 : __real_setitimer(which, value, old);
}

int __wrap_sigaction(int signal_number, const struct sigaction *action, struct sigaction *old) {
    return fails("sigaction") ? -1 : __real_sigaction(signal_number, action, old);
}

ssize_t __wrap_write(int fd, const void *bytes, size_t size) {
    watch(fd, "write " + std::string(static_cast<const char *>(bytes), size));
    return __real_write(fd, bytes, size);
}

int __wrap_flock(int fd, int operation) {
    const int lock = operation & ~LOCK_NB;
    watch(fd, lock == LOCK_EX   ? "flock exclusive"
              : lock == LOCK_UN ? "flock unlock"
                                : "flock " + std::to_string(operation));
    return actBehind("flock", __real_flock(fd, operation));
}

int __wrap_mkdirat(int folder, const char *name, mode_t mode) {
    return actBehind("mkdirat", __real_mkdirat(folder, name, mode));
}

pid_t __wrap_waitpid(pid_t pid, int *status, int options) {
    return children_never_end && (options & WNOHANG) != 0 ? 0 : __real_waitpid(pid, status, options);
}

} // extern "C"

// The test program's ftruncate, write, fchmod and fsync.

// The plain declarations are wanted here: large-file headers would redirect the names.
#undef _FILE_OFFSET_BITS

#include "tests/support/write_faults.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

int fault_at = 0; // 0: none
int fault_error = 0;
int calls = 0;

const char *limited_path = nullptr;
size_t limit = 0;

template <typename Function> Function nextOwner(const char *name) {
    void *found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        fprintf(stderr, "write_faults: the C library has no %s\n", name);
        abort();
    }
    return reinterpret_cast<Function>(found);
}

// Whether this call is the one that goes wrong; a process that is to be killed does not come back.
bool goesWrong() {
    if (fault_at == 0 || ++calls != fault_at) {
        return false;
    }
    if (fault_error == 0) {
        raise(SIGKILL);
    }
    errno = fault_error;
    return true;
}

ssize_t realWrite(int fd, const void *bytes, size_t count) {
    static const auto next = nextOwner<ssize_t (*)(int, const void *, size_t)>("write");
    return next(fd, bytes, count);
}

// How many of `count` bytes the limited file takes; all of them any other file.
size_t roomFor(int fd, size_t count) {
    struct stat file = {};
    struct stat limited = {};
    if (limited_path == nullptr || stat(limited_path, &limited) != 0 || fstat(fd, &file) != 0 ||
        file.st_ino != limited.st_ino || file.st_dev != limited.st_dev) {
        return count;
    }
    const bool appends = (fcntl(fd, F_GETFL) & O_APPEND) != 0;
    const auto offset = static_cast<size_t>(appends ? file.st_size : lseek(fd, 0, SEEK_CUR));
    return std::min(count, limit - std::min(limit, offset));
}

} // namespace

extern "C" {

ssize_t write(int fd, const void *bytes, size_t count) {
    const size_t room = roomFor(fd, count);
    if (room < count && room == 0) {
        errno = ENOSPC;
        return -1;
    }
    count = room;
    if (fault_at != 0 && calls + 1 == fault_at && count >= 2) {
        const ssize_t half = realWrite(fd, bytes, count / 2);
        if (fault_error != 0) {
            fault_at++; // the rest of the text is the call that fails
            calls++;
            return half;
        }
    }
    return goesWrong() ? -1 : realWrite(fd, bytes, count);
}

int ftruncate(int fd, off_t length) noexcept {
    static const auto next = nextOwner<int (*)(int, off_t)>("ftruncate");
    return goesWrong() ? -1 : next(fd, length);
}

int fchmod(int fd, mode_t mode) noexcept {
    static const auto next = nextOwner<int (*)(int, mode_t)>("fchmod");
    return goesWrong() ? -1 : next(fd, mode);
}

int fsync(int fd) {
    static const auto next = nextOwner<int (*)(int)>("fsync");
    return goesWrong() ? -1 : next(fd);
}

} // extern "C"

void failWriteCall(int at, int error_number) {
    calls = 0;
    fault_error = error_number;
    fault_at = at;
}

void killAtWriteCall(int at) {
    failWriteCall(at, 0);
}

int endWriteFaults() {
    fault_at = 0;
    return calls;
}

FileLimit::FileLimit(const char *path, size_t bytes) {
    if (limited_path != nullptr) {
        fprintf(stderr, "write_faults: a file is limited already\n");
        abort();
    }
    limited_path = path;
    limit = bytes;
}

FileLimit::~FileLimit() {
    limited_path = nullptr;
}

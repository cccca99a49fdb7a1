// Reading and placing small files.
#include "host/file_state.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owned.h"

namespace dravik {

namespace {

constexpr off_t LARGEST_FILE = 16 * 1024 * 1024;

// Reads to the end of the file. False with errno.
bool readAll(int fd, std::string *out) {
    char piece[65536];
    for (;;) {
        const ssize_t got = read(fd, piece, sizeof(piece));
        if (got == 0) {
            return true;
        }
        if (got > 0) {
            out->append(piece, static_cast<size_t>(got));
        } else if (errno != EINTR) {
            return false;
        }
        if (out->size() > static_cast<size_t>(LARGEST_FILE)) {
            errno = EFBIG;
            return false;
        }
    }
}

} // namespace

bool readFileState(const char *path, FileState *out) {
    *out = {};
    const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen()) {
        return errno == ENOENT;
    }
    struct stat attributes = {};
    if (fstat(file.get(), &attributes) != 0) {
        return false;
    }
    if (!S_ISREG(attributes.st_mode)) {
        errno = EINVAL;
        return false;
    }
    out->exists = true;
    out->mode = attributes.st_mode & 07777;
    out->owner = attributes.st_uid;
    out->group = attributes.st_gid;
    return readAll(file.get(), &out->text);
}

bool syncFile(const char *path) {
    const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    return file.isOpen() && fsync(file.get()) == 0;
}

bool setFileAttributes(const char *path, const FileState &state) {
    return chown(path, state.owner, state.group) == 0 && chmod(path, state.mode) == 0;
}

bool moveFile(const char *from, const char *to) {
    return rename(from, to) == 0;
}

bool removeFile(const char *path) {
    return unlink(path) == 0 || errno == ENOENT;
}

} // namespace dravik

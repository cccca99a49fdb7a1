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

constexpr off_t LARGEST_FILE = off_t{16} * 1024 * 1024;

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

// Opens a regular file to be read; the descriptor owns nothing, with errno, where that fails.
Descriptor openRegular(const char *path, struct stat *attributes) {
    Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.isOpen() && fstat(file.get(), attributes) != 0) {
        file.reset();
    } else if (file.isOpen() && !S_ISREG(attributes->st_mode)) {
        errno = EINVAL;
        file.reset();
    }
    return file;
}

} // namespace

bool readFileState(const char *path, FileState *out) {
    *out = {};
    struct stat attributes = {};
    const Descriptor file = openRegular(path, &attributes);
    if (!file.isOpen()) {
        return errno == ENOENT;
    }
    out->exists = true;
    out->mode = attributes.st_mode & 07777;
    out->owner = attributes.st_uid;
    out->group = attributes.st_gid;
    return readAll(file.get(), &out->text);
}

bool holdsText(const char *path, std::string_view text) {
    struct stat attributes = {};
    const Descriptor file = openRegular(path, &attributes);
    char piece[4096];
    for (ssize_t got = 1; file.isOpen() && got != 0;) {
        got = read(file.get(), piece, sizeof(piece));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        const size_t length = got < 0 ? 0 : static_cast<size_t>(got);
        if (got < 0 || text.substr(0, length) != std::string_view(piece, length)) {
            return false;
        }
        text.remove_prefix(length);
    }
    return file.isOpen() && text.empty();
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

// Replacing a file through a new one beside it.
#include "common/replace_file.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/own_file.h"
#include "common/owned.h"

namespace {

constexpr mode_t PERMISSION_BITS = 0777;
constexpr timespec LOCK_PAUSE = {0, 10000000};
constexpr int HANGING_AFTER = 100; // pauses in which the holder of the lock has done nothing: a second
constexpr int PATIENCE = 1000;     // pauses and retries in all, however busy the holders are

bool removeForeign(const char *path) {
    return unlink(path) == 0 || errno == ENOENT;
}

// Whether the file behind `fd` is another one, or has been changed, since `seen`, which is brought up to date.
bool hasMoved(int fd, struct stat *seen) {
    struct stat now = {};
    if (fstat(fd, &now) != 0) {
        return false;
    }
    const bool moved = now.st_ino != seen->st_ino || now.st_ctim.tv_sec != seen->st_ctim.tv_sec ||
                       now.st_ctim.tv_nsec != seen->st_ctim.tv_nsec;
    *seen = now;
    return moved;
}

// Opens the new file beside the old one and locks it. 0 or an error number.
int openNew(const std::string &path, dravik::Descriptor *out) {
    struct stat seen = {};
    int idle_pauses = 0;
    for (int tries = 0; tries < PATIENCE && idle_pauses < HANGING_AFTER; tries++) {
        // Neither truncated nor trusted yet: it may be another process's, or a trap.
        out->reset(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
        if (out->get() < 0 ? errno == ELOOP || errno == ENXIO : !dravik::isOwnFile(out->get())) {
            if (!removeForeign(path.c_str())) {
                return errno;
            }
            continue;
        }
        if (out->get() < 0) {
            return errno;
        }
        if (flock(out->get(), LOCK_EX | LOCK_NB) != 0) {
            // Whoever writes moves on; only one that does nothing at all is given up on.
            idle_pauses = hasMoved(out->get(), &seen) ? 0 : idle_pauses + 1;
            nanosleep(&LOCK_PAUSE, nullptr);
            continue;
        }
        if (dravik::isStillNamed(out->get(), path.c_str())) {
            return 0;
        }
    }
    out->reset();
    return EBUSY;
}

// 0 or an error number.
int writeAll(int fd, const char *text, size_t length) {
    if (ftruncate(fd, 0) != 0) {
        return errno;
    }
    while (length > 0) {
        const ssize_t written = write(fd, text, length);
        if (written > 0) {
            text += written;
            length -= static_cast<size_t>(written);
        } else if (written == 0) {
            return EIO; // would go on for ever
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// Gives the new file the mode and the owner of the old one, when there is one. 0 or an error number.
int takeOverAttributes(int fd, const char *path, mode_t mode_when_new) {
    struct stat old = {};
    mode_t mode = mode_when_new;
    if (lstat(path, &old) == 0 && S_ISREG(old.st_mode)) {
        mode = old.st_mode & PERMISSION_BITS;
        if (old.st_uid != geteuid() || old.st_gid != getegid()) {
            if (fchown(fd, old.st_uid, old.st_gid) != 0) {
                // Only root can give a file away; for anybody else the text matters more than its owner.
            }
        }
    }
    return fchmod(fd, mode) == 0 ? 0 : errno;
}

// Makes the rename last. Without it a power cut may bring the old text back, which is allowed; so a file
// system that cannot sync a folder is no failure.
void syncFolderOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const dravik::Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) {
        fsync(opened.get());
    }
}

} // namespace

int replaceFile(const char *path, const char *text, size_t length, mode_t mode_when_new) {
    const std::string new_path = std::string(path) + ".new";
    dravik::Descriptor file;
    int error = openNew(new_path, &file);
    if (error != 0) {
        return error;
    }
    error = writeAll(file.get(), text, length);
    if (error == 0) {
        error = takeOverAttributes(file.get(), path, mode_when_new);
    }
    if (error == 0 && fsync(file.get()) != 0) {
        error = errno;
    }
    if (error == 0 && rename(new_path.c_str(), path) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(new_path.c_str()); // still locked, so still this process's own
        return error;
    }
    syncFolderOf(path);
    return 0;
}

// Replacing a file through a new one beside it.
#include "common/replace_file.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/dumps_folder.h"

namespace dravik {

namespace {

constexpr mode_t PERMISSION_BITS = 0777;
constexpr timespec TURN_PAUSE = {0, 10000000};
constexpr int HANGING_AFTER = 100; // pauses in which nothing happened to the file: a second
constexpr int PATIENCE = 1000;     // pauses in all, however busy the others are

std::string newNameOf(const char *path) {
    return std::string(path) + ".new";
}

// What of a file another writer changes: brought up to date by `look`, which tells whether it has changed.
class Activity {
  public:
    explicit Activity(std::string path) : name(std::move(path)) {}
    bool look() {
        struct stat now = {};
        const bool there = lstat(name.c_str(), &now) == 0;
        const bool moved = there && (now.st_ino != seen.st_ino || now.st_ctim.tv_sec != seen.st_ctim.tv_sec ||
                                     now.st_ctim.tv_nsec != seen.st_ctim.tv_nsec);
        seen = there ? now : seen;
        return moved;
    }

  private:
    std::string name;
    struct stat seen = {};
};

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

// Makes the new file, which nobody else can have made: 0 or an error number.
int makeNew(const std::string &name, Descriptor *out) {
    if (unlink(name.c_str()) != 0 && errno != ENOENT) {
        return errno;
    }
    out->reset(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return out->isOpen() ? 0 : errno;
}

// Writes the new file whole and renames it over `path`: 0 or an error number.
int fillAndRename(const std::string &new_name, const Descriptor &file, const char *path,
                  std::string_view text, mode_t mode_when_new) {
    int error = writeAll(file.get(), text.data(), text.size());
    if (error == 0) {
        error = takeOverAttributes(file.get(), path, mode_when_new);
    }
    if (error == 0 && fsync(file.get()) != 0) {
        error = errno;
    }
    if (error == 0 && rename(new_name.c_str(), path) != 0) {
        error = errno;
    }
    return error;
}

// Makes the rename last. Without it a power cut may bring the old text back, which is allowed; so a file
// system that cannot sync a folder is no failure.
void syncFolder(const char *path) {
    const Descriptor opened(open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) {
        fsync(opened.get());
    }
}

} // namespace

std::string folderOf(const char *path) {
    const std::string text = path;
    const size_t slash = text.rfind('/');
    return slash == std::string::npos ? "./" : text.substr(0, slash + 1);
}

int writeAll(int fd, const char *text, size_t length) {
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

int WritingTurn::take(const char *path) {
    if (!mayWriteBeside(path)) {
        return errno;
    }
    folder.reset(open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        return errno;
    }
    Activity old_file(path);
    Activity new_file(newNameOf(path));
    int idle_pauses = 0;
    for (int pause = 0; flock(folder.get(), LOCK_EX | LOCK_NB) != 0; ++pause) {
        if (errno != EWOULDBLOCK) {
            return errno;
        }
        // Whoever writes moves on; only one that does nothing at all is given up on.
        const bool moved = old_file.look();
        idle_pauses = new_file.look() || moved ? 0 : idle_pauses + 1;
        if (pause == PATIENCE || idle_pauses > HANGING_AFTER) {
            return EBUSY;
        }
        nanosleep(&TURN_PAUSE, nullptr);
    }
    return 0;
}

int replaceFileInTurn(const char *path, const char *text, size_t length, mode_t mode_when_new) {
    const std::string new_name = newNameOf(path);
    Descriptor file;
    int error = makeNew(new_name, &file);
    if (error != 0) {
        return error;
    }
    error = fillAndRename(new_name, file, path, {text, length}, mode_when_new);
    if (error != 0) {
        unlink(new_name.c_str());
        return error;
    }
    syncFolder(path);
    return 0;
}

} // namespace dravik

int replaceFile(const char *path, const char *text, size_t length, mode_t mode_when_new) {
    dravik::WritingTurn turn;
    const int error = turn.take(path);
    return error != 0 ? error : dravik::replaceFileInTurn(path, text, length, mode_when_new);
}

// Opening the files below /dumps.
#include "common/dumps_folder.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"
#include "common/own_file.h"

namespace dravik {

namespace {

constexpr mode_t OTHERS_MAY_WRITE = S_IWGRP | S_IWOTH;

// The log opens its files here and may be in the middle of a line: a line from here leaves it its chosen files.
class ChosenLogKept {
  public:
    ChosenLogKept() : dir(g_file_dir), name(g_file_name), backup(g_bk_file_name) {}
    ~ChosenLogKept() {
        g_file_dir = dir;
        g_file_name = name;
        g_bk_file_name = backup;
    }
    ChosenLogKept(const ChosenLogKept &) = delete;
    ChosenLogKept &operator=(const ChosenLogKept &) = delete;

  private:
    const char *dir;
    const char *name;
    const char *backup;
};

bool isBelowDumps(const char *path) {
    return strncmp(path, DUMPS_FOLDER, strlen(DUMPS_FOLDER)) == 0;
}

// The attributes of the folder, which is made when it is missing. False with errno.
bool findFolder(struct stat *attributes) {
    // Two first callers may race: the one that comes second finds the folder there.
    if (stat(DUMPS_FOLDER, attributes) != 0 &&
        ((mkdir(DUMPS_FOLDER, 0700) != 0 && errno != EEXIST) || stat(DUMPS_FOLDER, attributes) != 0)) {
        return false;
    }
    if (!S_ISDIR(attributes->st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    return true;
}

// One attempt to open a file below /dumps. What may not be used is closed again, with EPERM.
Descriptor openChecked(const char *path, int flags, mode_t mode) {
    const int wanted = (flags & ~O_TRUNC) | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    Descriptor file(open(path, wanted, mode));
    if (!file.isOpen()) {
        return file;
    }
    if (!isOwnFile(file.get())) {
        errno = EPERM;
        file.reset();
    } else if ((flags & O_TRUNC) != 0 && ftruncate(file.get(), 0) != 0) {
        file.reset();
    }
    return file;
}

// Whether the failed attempt to open `path` means that something lies there that is no plain file of ours; errno stays that
// of the attempt.
bool isForeign(const char *path) {
    const int error = errno;
    struct stat attributes = {};
    const bool is_there = lstat(path, &attributes) == 0;
    errno = error;
    return is_there &&
           !(S_ISREG(attributes.st_mode) && attributes.st_uid == geteuid() && attributes.st_nlink == 1);
}

// False when it could not be moved; errno is that of the attempt before.
bool putAside(const char *path) {
    const int error = errno;
    char aside[256] = ""; // no allocation: the log opens its files here, also when memory has run out
    const int length = snprintf(aside, sizeof(aside), "%s.foreign", path);
    const bool moved = length < static_cast<int>(sizeof(aside)) && rename(path, aside) == 0;
    if (moved) {
        const ChosenLogKept kept;
        DRAVIK_LOG(LOG_ERROR, "%s was no plain file of ours: put aside as %s.", path, aside);
    }
    errno = error;
    return moved;
}

// Nothing can be logged there, so the one who looks at the program is told, once a process.
void hintAtOwner(const struct stat &attributes) {
    static bool hinted = false;
    if (hinted || attributes.st_uid == 0 || geteuid() != 0) {
        return;
    }
    hinted = true;
    const char hint[] = "dravik: /dumps is not root's: nothing is logged or kept there (chown root /dumps)\n";
    if (write(STDERR_FILENO, hint, sizeof(hint) - 1) < 0) {
        // Nobody is there to read it.
    }
}

} // namespace

bool haveDumpsFolder() {
    struct stat attributes = {};
    if (!findFolder(&attributes)) {
        return false;
    }
    if (attributes.st_uid != geteuid()) {
        hintAtOwner(attributes);
        errno = EPERM;
        return false;
    }
    if ((attributes.st_mode & OTHERS_MAY_WRITE) == 0) {
        return true;
    }
    if (chmod(DUMPS_FOLDER, attributes.st_mode & ALLPERMS & ~OTHERS_MAY_WRITE) != 0) {
        return false;
    }
    const ChosenLogKept kept;
    DRAVIK_LOG(LOG_ERROR, "Others could write to /dumps: that permission has been taken away.");
    return true;
}

bool mayWriteBeside(const char *path) {
    struct stat attributes = {};
    return !isBelowDumps(path) || (stat(DUMPS_FOLDER, &attributes) == 0 && haveDumpsFolder());
}

Descriptor openDataFile(const char *path, int flags, mode_t mode) {
    if (!isBelowDumps(path)) {
        return Descriptor(open(path, flags | O_CLOEXEC, mode));
    }
    if (!haveDumpsFolder()) {
        return Descriptor();
    }
    Descriptor file = openChecked(path, flags, mode);
    if (!file.isOpen() && (flags & O_CREAT) != 0 && isForeign(path) && putAside(path)) {
        file = openChecked(path, flags, mode);
    }
    return file;
}

} // namespace dravik

// Looking at an open file and at its name.
#include "common/own_file.h"

#include <sys/stat.h>
#include <unistd.h>

namespace dravik {

bool isOwnFile(int fd) {
    struct stat attributes = {};
    return fstat(fd, &attributes) == 0 && S_ISREG(attributes.st_mode) && attributes.st_uid == geteuid() &&
           attributes.st_nlink == 1;
}

bool isStillNamed(int fd, const char *path) {
    struct stat opened = {};
    struct stat named = {};
    return fstat(fd, &opened) == 0 && lstat(path, &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

} // namespace dravik

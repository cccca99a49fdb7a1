// A new file under a random name, renamed.
#include "common/publish_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/dumps_folder.h"
#include "common/owned.h"
#include "common/replace_file.h"

namespace dravik {

namespace {

constexpr std::string_view NEW_FILE = ".dravik-new-";
constexpr std::string_view RANDOM_PART = "XXXXXX";
constexpr int ATTEMPTS = 100;

// 0, or why there cannot be a file of ours at `path`.
int checkPlace(const char *path) {
    struct stat is = {};
    if (!mayWriteBeside(path)) {
        return errno;
    }
    if (lstat(path, &is) != 0 || S_ISREG(is.st_mode) || S_ISLNK(is.st_mode)) {
        return 0; // what else is wrong with it shows when it is written
    }
    return S_ISDIR(is.st_mode) ? EISDIR : EOPNOTSUPP;
}

bool isNewFile(std::string_view name) {
    return name.size() == NEW_FILE.size() + RANDOM_PART.size() && name.substr(0, NEW_FILE.size()) == NEW_FILE;
}

// Removes a new file of this user's whose writer is gone: the lock went with it.
void removeIfAbandoned(const std::string &name) {
    struct stat is = {};
    if (lstat(name.c_str(), &is) != 0 || !S_ISREG(is.st_mode) || is.st_uid != geteuid()) {
        return;
    }
    const Descriptor file(open(name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file.isOpen() && flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        unlink(name.c_str());
    }
}

void removeAbandoned(const std::string &folder) {
    const Folder opened(opendir(folder.c_str()));
    if (opened == nullptr) {
        return; // one that may be written to and not be read
    }
    while (const dirent *entry = readdir(opened.get())) {
        if (isNewFile(entry->d_name)) {
            removeIfAbandoned(folder + entry->d_name);
        }
    }
}

// Whether the new file is still there and nobody else's: until it is locked, another writer may take it for abandoned.
bool isHeld(const Descriptor &file) {
    struct stat is = {};
    // A file system without locks is one where nothing is removed.
    const bool is_locked = flock(file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    return is_locked && fstat(file.get(), &is) == 0 && is.st_nlink > 0;
}

// Makes a new file in the folder: 0 with its name and the descriptor that holds it, or an error number.
int makeNew(const std::string &folder, std::string *name, Descriptor *file) {
    for (int i = 0; i < ATTEMPTS; ++i) {
        *name = folder + std::string(NEW_FILE) + std::string(RANDOM_PART);
        file->reset(mkostemp(name->data(), O_NOFOLLOW | O_CLOEXEC)); // made by it alone, with mode 0600
        if (!file->isOpen()) {
            return errno;
        }
        if (isHeld(*file)) {
            return 0;
        }
        unlink(name->c_str());
    }
    return EBUSY;
}

// Some file systems tell only on closing that there is no space left. A copy is closed: the lock stays.
int closeCopy(const Descriptor &file) {
    Descriptor copy(fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
    return copy.isOpen() && copy.close() == 0 ? 0 : errno;
}

// Writes the new file whole and renames it over `path`: 0 or an error number.
int fillAndRename(const std::string &new_name, const Descriptor &file, const char *path,
                  std::string_view text, mode_t mode) {
    int error = writeAll(file.get(), text.data(), text.size());
    if (error == 0 && fchmod(file.get(), mode) != 0) {
        error = errno;
    }
    if (error == 0) {
        error = closeCopy(file);
    }
    if (error == 0 && rename(new_name.c_str(), path) != 0) {
        error = errno;
    }
    return error;
}

} // namespace

int publishFile(const char *path, const char *text, size_t length, mode_t mode) {
    int error = checkPlace(path);
    if (error != 0) {
        return error;
    }
    const std::string folder = folderOf(path);
    removeAbandoned(folder);
    std::string new_name;
    Descriptor file;
    error = makeNew(folder, &new_name, &file);
    if (error == 0) {
        error = fillAndRename(new_name, file, path, {text, length}, mode);
        if (error != 0) {
            unlink(new_name.c_str());
        }
    }
    return error;
}

} // namespace dravik

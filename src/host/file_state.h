// A small configuration file of the host as it stands: looking at it whole, and putting it back in place.
//
// The file itself is changed by scripts and tools alone; this tells whether they have done what was asked of them.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

namespace dravik {

struct FileState {
    bool exists;
    std::string text;
    mode_t mode; // permission bits
    uid_t owner;
    gid_t group;
};

// Reads the file `path`, links followed. False, with errno, for a file that is there but cannot be read whole, is no
// regular file, or is larger than 16 MiB. A missing file is read: it does not exist.
bool readFileState(const char *path, FileState *out);

// Whether the file `path`, links followed, is a regular one that holds `text` and nothing else. Asks for no memory. False,
// with errno, when it cannot be read.
bool holdsText(const char *path, std::string_view text);

// Makes what has been written to the file `path` last. False with errno.
bool syncFile(const char *path);

// Gives the file `path` the mode and the owner of `state`. False with errno.
bool setFileAttributes(const char *path, const FileState &state);

// rename(2) and unlink(2), a missing file being removed already. False with errno.
bool moveFile(const char *from, const char *to);
bool removeFile(const char *path);

} // namespace dravik

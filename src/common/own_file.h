// Whether an open file is this user's alone, and whether a path still leads to it.
#pragma once

namespace dravik {

// Whether the open file is a plain one of the running user with a single name. In a folder that others may write
// to, any other file may be a trap: one that they can lock for ever, or that leads to a file they want overwritten.
bool isOwnFile(int fd);

// Whether `path` itself, no link followed, is still the open file: another process may have renamed or removed it
// since it was opened.
bool isStillNamed(int fd, const char *path);

} // namespace dravik

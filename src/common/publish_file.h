// Writing a file for others to read, in a folder that others may write to, too.
//
//   FILE                 the text, mode 0644 or as asked for
//   .dravik-new-XXXXXX   in the same folder, while it is being written: X is random
//
// Whoever opens FILE at any instant finds the old text or the new one, whole. `replaceFile` (common/replace_file.h) is for
// the host's configuration and for files of ours: it takes turns by a lock of the folder, which in a folder that is not ours
// anybody could hold, and under a name that anybody could have taken before. This one waits for nobody: of those that write
// at once, each renames a file of its own, and the last one's stays.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace dravik {

// Makes `length` bytes at `text` the content of `path`, whose mode will be `mode` whatever the umask is, and which belongs
// to the running user. A symbolic link at `path` is replaced, what it points to is not touched. Nothing is synced: after a
// power cut the old text may be back.
//
// Returns 0, or the error number of the first step that failed: EISDIR for a folder at `path`, EOPNOTSUPP for a device, a
// pipe or a socket, EPERM for a "/dumps" that may not be used (common/dumps_folder.h). After a failure the old file is as it
// was, and no new one is left. What a killed process of this user has left in the folder is removed by the next one that
// writes there; one that is still being written is told by its lock. Logs nothing.
int publishFile(const char *path, const char *text, size_t length, mode_t mode);

} // namespace dravik

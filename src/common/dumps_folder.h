// "/dumps", where everything lies that the programs keep: logs, snapshot, cache, ledger. Root's programs write there,
// so nobody else may decide where their writes go.
#pragma once

#include <sys/types.h>

#include "common/owned.h"

namespace dravik {

constexpr char DUMPS_FOLDER[] = "/dumps/";

// Whether "/dumps" is there and is the running user's own; it is made with mode 0700 when it is missing. Write
// permission for group and others is taken away, which is logged at level 0 as "Others could write to /dumps: that
// permission has been taken away.". False, with errno, when it is somebody else's, no folder, or cannot be made; root is
// told on standard error, once a process, of one that is not root's: "dravik: /dumps is not root's: nothing is logged or
// kept there (chown root /dumps)".
bool haveDumpsFolder();

// Whether files may be made and replaced in the folder of `path`: below "/dumps", which must be there, `haveDumpsFolder`;
// anywhere else they may. False with errno.
bool mayWriteBeside(const char *path);

// Opens `path` as open(2) does, close-on-exec. For a path below "/dumps" (the folder must be as above) more is asked: no
// link is followed, nothing is waited for, the file must be a regular one of the running user with a single name, and
// O_TRUNC takes effect only after that is known. What else lies in its place when a file is to be made (O_CREAT) is put
// aside, its name lengthened by ".foreign", and a new file is begun; that is logged at level 0 as "%s was no plain file
// of ours: put aside as %s.".
// The descriptor owns nothing on a failure; errno says why, EPERM for a file that may not be used.
Descriptor openDataFile(const char *path, int flags, mode_t mode = 0);

} // namespace dravik

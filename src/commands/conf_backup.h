// The backup of the multipath configuration file, the change made under its protection, and the roll-back.
//
// The file is never read or written here: every step is a shell command line, and the scripts under
// /usr/bin/dravik-script/ do the editing. There is one backup generation, "/etc/velomux.conf.bk", overwritten
// by every command that changes the file; nothing is locked.
#pragma once

#include "common/result.h"

// Copies the file over its backup. EC_ok, also where the copy failed (the log tells); EC_exe_cmd_failed when
// the copy could not be run.
s_ecItems *backupConfFile();

// Copies the backup, whichever command made it, over the file. A failure is silent.
void rollBackConfFile();

namespace dravik {

// The sequence of every command that changes the file: backup, `change`, and the roll-back when `change` fails.
// The record of the first that failed, else that of `change`.
s_ecItems *changeConfFile(s_ecItems *(*change)());

} // namespace dravik

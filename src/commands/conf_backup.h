// The backup of the multipath configuration file, the change made under its protection, and the roll-back.
//
//   /etc/velomux.conf          the file; changed by shell command lines and scripts alone
//   /etc/velomux.conf.bk       its backup, one generation, root's alone, overwritten by every command that changes the file
//   /etc/velomux.conf.bk.old   the generation before while a backup is being made; left behind only by a killed command
//
// On a full disk each step of a copy can come up short in silence. So a backup counts only when it has been read back
// whole, and a roll-back goes by such a backup alone.
#pragma once

#include "common/result.h"

// Copies the file over its backup, and makes the backup's mode 0600. EC_ok: the backup holds what the file held when this
// was called, or there was no file. EC_exe_cmd_failed: the copy could not be run, or the backup is no whole copy, which
// is logged at level 0 as "No whole backup of %s could be made in %s: nothing is changed."; the generation before then
// stands in its place again.
s_ecItems *backupConfFile();

// Copies the backup over the file, if this process has made it with `backupConfFile`; otherwise the file stays as it is.
// Where the copy comes up short, the backup itself takes the file's place. The file's mode and owner become what they
// were. Logged in any case: at level 2 "Rolled back: %s is as it was before this command."; at level 0
//   "Rolled back: %s is as it was before this command, and it is the backup itself, which a copy had no space for."
//   "Not rolled back: this command has made no backup of %s, which stays as it is."
//   "Not rolled back: %s could not be restored (%s), what it held is in %s."
void rollBackConfFile();

namespace dravik {

// Whether the file is what it was when this process backed it up: the same text, or still none.
bool isConfFileAsFound();

// The sequence of every command that changes the file: backup, `change`, and the roll-back when `change` fails.
// The record of the first that failed, else that of `change`; EC_molloc_failed when memory ran out in it.
s_ecItems *changeConfFile(s_ecItems *(*change)());

} // namespace dravik

// The service command `mkconfig`.
#pragma once

#include "common/result.h"

// Restores the multipath package's example file and appends the maker's block. EC_ok, also where the block could not
// be appended; EC_exe_cmd_failed when the backup, the copy or the change of mode could not be run, or the copy came up short
// on a full disk, the file then being restored.
s_ecItems *mkconfig();

// Gives the configuration file the mode 777. EC_ok, also where that failed (the log tells); EC_exe_cmd_failed when it
// could not be run.
s_ecItems *chmodConfFile();

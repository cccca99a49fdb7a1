// The maker's device block in the multipath configuration file: appending and deleting it.
#pragma once

#include "common/result.h"
#include "host/shell_command.h"

// Appends the maker's device block with the group policy and the selector to apply. The runner's character
// filter turns the block's line breaks into "%", so that the file grows by one line, a comment to the
// multipath tool: kept so on purpose, see vendor_block.cpp. Returns the record of `getConf` when that fails, else
// EC_ok or EC_exe_cmd_failed.
s_ecItems *addConf();

// Delete the maker's block, or the path policy block, where its marks stand on lines of their own. EC_ok or
// EC_exe_cmd_failed. No command uses them.
s_ecItems *cleanConf();
s_ecItems *cleanPathpolicyConf();

namespace dravik {

// The command lines of `addConf` and `cleanConf` for the distribution named `os_name`: the NVMe block's after
// RHEL 7.9, CentOS 7.9 or SLES 12 PATCHLEVEL 6, else the maker's SCSI block's. A name of one of the three
// families is printed to standard output as a line. The two operations never fetch the name and pass an empty one.
ShellCommand addConfCommand(const char *os_name, const char *group, const char *chooser);
ShellCommand cleanConfCommand(const char *os_name);

} // namespace dravik

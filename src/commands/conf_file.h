// The multipath configuration file "/etc/velomux.conf": backup, restore, the vendor blocks, and the commands
// `mkconfig` and `config`.
//
// The file is never read or written here: every step is a shell command line, and the scripts under
// /usr/bin/dravik-script/ do the editing. There is one backup generation, "/etc/velomux.conf.bk", overwritten
// by every command that changes the file; nothing is locked.
#pragma once

#include "common/result.h"

// ---- steps shared by the commands that change the file

// Copies the file over its backup. EC_ok, also where the copy failed (the log tells); EC_exe_cmd_failed when
// the copy could not be run.
s_ecItems *backupConfFile();

// Gives the file the mode 777. Results as above.
s_ecItems *chmodConfFile();

// Copies the backup, whichever command made it, over the file. A failure is silent.
void rollBackConfFile();

// ---- the policy in force

// The size of the buffers in which callers take a group policy or a selector.
constexpr unsigned int POLICY_SIZE = 256;

// Ask the SCSI or the NVMe policy script for the group policy and the selector ("chooser"), which it prints on
// its first two lines; each is cut to its buffer of the given size, terminator included. EC_info_ok;
// EC_exe_cmd_failed for a script that could not be run or failed. The buffers are written only when the
// script succeeded and printed two lines.
s_ecItems *getConf(char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize);
s_ecItems *getNVMeConf(char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize);

// What a command line is to carry: the validated parameter (gParamGroupVal, gParamChooserVal) if it is not
// empty, else the `previous` value that a script reported, else CONF_DEFAULT_GROUP or CONF_DEFAULT_CHOOSER.
// A text that holds anything but letters, digits, "-", "_" and blanks counts as empty: it never reaches a
// shell. The result is `previous`, the parameter's own buffer or a constant.
const char *groupToApply(const char *previous);
const char *chooserToApply(const char *previous);

// ---- vendor blocks

// Appends the maker's device block with the group policy and the selector to apply. The runner's character
// filter turns the block's line breaks into "%", so that the file grows by one line, a comment to the
// multipath tool: kept so on purpose, see conf_file.cpp. Returns the record of `getConf` when that fails, else
// EC_ok or EC_exe_cmd_failed.
s_ecItems *addConf();

// Delete the maker's block, or the path policy block, where its marks stand on lines of their own. EC_ok or
// EC_exe_cmd_failed. No command uses them.
s_ecItems *cleanConf();
s_ecItems *cleanPathpolicyConf();

// The command lines of `addConf` and `cleanConf` for the distribution named `os_name`: the NVMe block's after
// RHEL 7.9, CentOS 7.9 or SLES 12 PATCHLEVEL 6, else the maker's SCSI block's. A name of one of the three
// families is printed to standard output as a line. `size` bytes are written at most. The two operations
// never fetch the name and pass an empty one.
void formatAddConf(const char *os_name, const char *group, const char *chooser, char *command,
                   unsigned int size);
void formatCleanConf(const char *os_name, char *command, unsigned int size);

// ---- commands

// `mkconfig`: restores the multipath package's example file and appends the maker's block. EC_ok, also where
// the block could not be appended; EC_exe_cmd_failed when the backup, the copy or the change of mode could not
// be run, the file then being restored.
s_ecItems *mkconfig();

// `config`: runs the configuration script. EC_ok; EC_os_not_support when the script says "distribute type is
// not supported"; EC_exe_cmd_failed for any other failure.
s_ecItems *config();

// The policy in force, asked from the policy scripts, and the policy that a command is to apply.
#pragma once

#include "common/result.h"

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

// The command `lspathpolicy`.
#pragma once

#include "common/result.h"

// Prints the policies in force between two separators. EC_info_ok; EC_exe_cmd_failed when the SCSI query failed,
// nothing printed, or the NVMe query failed, the output then ending after the SCSI part.
s_ecItems *lspathpolicy();

// baseline: what each volume is measured against, and accepting less.
#pragma once

#include "commands/own_command.h"

namespace dravik {

// dravik baseline show|accept [VOLUME] [--json]
//
// "show" prints the baseline of all volumes, or that of one with its paths. "accept" makes today's paths the baseline of
// the volumes whose paths have become other ones: what is missing is missed no more. It changes the ledger alone, leaves an
// audit line and an operation, and is refused while nothing has been observed for 60 s, or to a volume that has no path at all. JSON
// is the baseline as it then is. Exit status 0; 1 for an error.
int baseline(const OwnCall &call);

} // namespace dravik

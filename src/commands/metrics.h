// metrics: what the ledger knows, for Prometheus.
#pragma once

#include "commands/own_command.h"

namespace dravik {

// dravik metrics [--textfile FILE] [--volumes-only]
//
// Writes the families of commands/metric_families.h from the ledger, on standard output or as FILE, which is replaced in one
// step and has mode 0644 then. Nothing on the host is asked. Exit status 0 when all was written; 1 for a ledger that is not
// there or cannot be read, a FILE that cannot be written (the old one stays as it was), and a line that cannot be understood,
// "--json" included: nothing is written then but a line on standard error.
int metrics(const OwnCall &call);

} // namespace dravik

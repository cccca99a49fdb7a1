// What a changing command is about to do, as the ledger remembers it.
#pragma once

#include <string>

#include "cli/command_table.h"
#include "ledger/records.h"

namespace dravik {

// The operation of `command`, whose parameters have been accepted (commands/parameter_buffers.h): who runs it (the user who
// logged in, else the running one, as in the audit line), the volume and the path that it names, and for `setstate` the
// state. `line` is the command line as the audit line shows it.
Operation operationOf(const Command &command, const std::string &line);

// The same of one whose parameters have been refused: it names nothing, and its detail is REFUSED (ledger/records.h).
Operation refusedOperationOf(const Command &command, const std::string &line);

} // namespace dravik

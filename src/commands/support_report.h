// report: one file for the support desk.
#pragma once

#include "commands/own_command.h"

namespace dravik {

// dravik report FILE.tar.gz [--redact] [--json]
//
// Collects what is needed to look into a case (report_collection.h) and packs it into FILE, which must not be there yet: mode 0600, at
// most 64 MiB. Prints the file's name and size, what was left out, and what to look at first. Nothing on the
// host is changed but the command log, and that /dumps is made where it is missing.
// Exit status 0 when the file was made, though some of it could not be read; 1 otherwise, and then there is neither a file
// nor a folder of it, but for an empty one that somebody else has renamed. A signal that would end the process ends it when
// the folder is gone.
int supportReport(const OwnCall &call);

} // namespace dravik

// Learning names from logs and the journal: from what stands before them in a line.
#pragma once

#include <string>

#include "commands/report_redaction.h"

namespace dravik {

// "path_alias: ", "-alias ", "(login ", "audit 93 user " ..., the volumes of a command line that is told.
void learnLog(Redactor *redactor, const std::string &text);

} // namespace dravik

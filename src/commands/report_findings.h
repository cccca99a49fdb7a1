// What a person should look at first, from what a report has collected.
#pragma once

#include <string>
#include <vector>

#include "commands/report_sources.h"

namespace dravik {

// At most ten sentences, the gravest first: volumes without a path or on their last one, an observation that failed or is too
// old, services that do not run, a tool that does not answer, a full /dumps, errors in the log, what could not be read. At least one:
// that nothing stands out. Where `redactor` is not null, it learns the names of the volumes in them, and nothing is said of the
// ledger where check.txt has been left out.
std::vector<std::string> lookFirst(const std::vector<ReportItem> &items, Redactor *redactor = nullptr);

} // namespace dravik

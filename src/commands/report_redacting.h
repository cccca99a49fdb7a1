// Redacting the items of a report. What has names that could not be learnt is left out, and its item says so.
#pragma once

#include <string>
#include <vector>

#include "commands/report_redaction.h"
#include "commands/report_sources.h"

namespace dravik {

// Learns the names in the file `copy`, a ledger. "" when all of them are known; else a sentence for people: it has been written by
// a newer dravik, or its tables cannot be read. Throws ReportInterrupted.
std::string learnCopy(const char *copy, Redactor *redactor);

// Learns the names in the items, within a minute. Left out are a text that its learner cannot know whole, and, where the ledger's copy
// is not there, what is from the ledger. Throws ReportInterrupted, and ReportFailure when the minute is over.
void learnItems(std::vector<ReportItem> *items, Redactor *redactor);

// Replaces the names in the items and their problems, within two minutes; a long text for which they do not suffice is left out.
// The ledger's copy is written by rewriteLedger (report_ledger_copy.h). Throws ReportInterrupted.
void redactItems(std::vector<ReportItem> *items, Redactor *redactor);

void redactSentences(std::vector<std::string> *sentences, Redactor *redactor);

} // namespace dravik

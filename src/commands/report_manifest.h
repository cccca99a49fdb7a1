// The texts that a report has of itself: README.txt and MANIFEST.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "commands/report_sources.h"

namespace dravik {

struct ReportHead {
    std::string time; // "2026-11-21T03:12:41.047Z"
    bool redacted = false;
};

// What to look at first, and what the archive holds.
std::string readmeText(const ReportHead &head, const std::vector<std::string> &look_first);

// "Look first at:" and the sentences, a line each.
std::string lookFirstText(const std::vector<std::string> &look_first);

// The digests of sha256sum's output ("DIGEST  NAME"), by name.
std::map<std::string, std::string> readChecksums(const std::string &sums);

// Every file with SHA-256, bytes, milliseconds and source ("-" for a digest that is not known); what could not be read; what was
// cut. `items` are those of the archive in its order, those that are not there included.
std::string manifestText(const ReportHead &head, const std::vector<ReportItem> &items,
                         const std::map<std::string, std::string> &checksums,
                         const std::string &checksum_problem);

} // namespace dravik

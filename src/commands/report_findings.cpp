// Findings.
#include "commands/report_findings.h"

#include <algorithm>
#include <cstdlib>

#include "commands/ledger_view.h"
#include "commands/report_collection.h"
#include "commands/report_names.h"
#include "commands/verdict_text.h"
#include "commands/volume_text.h"

namespace dravik {

namespace {

using Findings = std::vector<std::string>;

constexpr size_t MOST_FINDINGS = 10;
constexpr size_t MOST_VOLUMES = 3;
constexpr uint64_t FULL_BELOW_BYTES = 16ULL << 20;

std::string textOf(const std::vector<ReportItem> &items, const char *name) {
    const ReportItem *item = findItem(items, name);
    return item != nullptr && item->is_there ? item->text : "";
}

// ---- the ledger

void addVerdict(const LedgerView &view, Findings *findings) {
    VolumeList volumes;
    for (const KnownVolume &volume : view.volumes) {
        volumes.push_back(&volume);
    }
    const Verdict verdict = verdictOver(view, volumes);
    if (verdict.state == VolumeState::OK) {
        return;
    }
    const std::string line = verdictLine(view, verdict);
    findings->push_back(line.substr(0, line.find(" | ")) + " (check.txt)");
    if (isStale(view)) {
        return; // the line says why; what the volumes were then is no news
    }
    for (size_t i = 0; i < std::min(MOST_VOLUMES, verdict.bad.size()); ++i) {
        const KnownVolume &volume = *verdict.bad[i].volume;
        findings->push_back(volume.attributes.alias + ": " + stateText(verdict.bad[i].state) + ", " +
                            reachOf(volume, view.now));
    }
}

// The ledger as it is by now: it may know a volume that was not there when its copy was made.
void addLedger(const std::vector<ReportItem> &items, Redactor *redactor, Findings *findings) {
    LedgerView view;
    std::string problem;
    if (!readLedger(&view, &problem)) {
        findings->push_back(problem);
        return;
    }
    const ReportItem *check = findItem(items, "check.txt");
    if (redactor != nullptr && (check == nullptr || !check->is_there)) {
        return; // its names are not known
    }
    for (const KnownVolume &volume : view.volumes) {
        if (redactor != nullptr) {
            learnVolume(redactor, volume.attributes.alias, volume.wwid);
        }
    }
    addVerdict(view, findings);
    if (!isStale(view) && !qualityText(view).empty()) {
        findings->push_back(qualityText(view));
    }
}

// ---- the services

// The word that "systemctl is-active UNIT" has printed; "" where it was not asked, or has printed no state.
std::string activityOf(const std::string &services, const std::string &unit) {
    const std::string asked = "$ systemctl is-active " + unit + ".service\n";
    const size_t at = services.find(asked);
    if (at == std::string::npos) {
        return "";
    }
    const size_t begin = at + asked.size();
    const std::string word = services.substr(begin, services.find('\n', begin) - begin);
    return word.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos ? word : "";
}

// The same of "service NAME status", whose words differ between systems: only "running" is sure.
bool isStoppedOnSysV(const std::string &services, const std::string &name) {
    const std::string asked = "$ service " + name + " status\n";
    const size_t at = services.find(asked);
    if (at == std::string::npos) {
        return false;
    }
    const size_t begin = at + asked.size();
    const std::string answer = services.substr(begin, services.find("\n\n", begin) - begin);
    return answer.find("stopped") != std::string::npos || answer.find("not running") != std::string::npos ||
           answer.find("dead") != std::string::npos;
}

void addServices(const std::vector<ReportItem> &items, Findings *findings) {
    const std::string services = textOf(items, "services.txt");
    for (const char *name : {"dravikd", "dravik-monitor"}) {
        const std::string word = activityOf(services, name);
        if ((!word.empty() && word != "active") || isStoppedOnSysV(services, name)) {
            findings->push_back(std::string(name) + " does not run: its service is " +
                                (word.empty() ? "stopped" : word) + " (services.txt)");
        }
    }
}

// ---- the rest

void addListing(const std::vector<ReportItem> &items, Findings *findings) {
    const ReportItem *listing = findItem(items, "listing.txt");
    if (listing == nullptr) {
        return;
    }
    if (!listing->is_there && listing->problem.rfind("there is no ", 0) == 0) {
        findings->push_back("the multipath tool is missing: " + listing->problem);
    } else if (!listing->is_there) {
        findings->push_back("the multipath tool does not answer: velomux -ll " + listing->problem);
    } else if (listing->text.find("(its exit status was not 0)") != std::string::npos) {
        findings->push_back("the multipath tool fails: velomux -ll ends with an error (listing.txt)");
    }
}

void addSpace(const std::vector<ReportItem> &items, Findings *findings) {
    const std::string dumps = textOf(items, "dumps.txt");
    constexpr char BEFORE[] = "bytes free ";
    const size_t at = dumps.find(BEFORE);
    if (at == std::string::npos) {
        return;
    }
    const uint64_t free_bytes = strtoull(dumps.c_str() + at + sizeof(BEFORE) - 1, nullptr, 10);
    if (free_bytes < FULL_BELOW_BYTES) {
        findings->push_back("/dumps is full or nearly so: " + std::to_string(free_bytes / 1024) +
                            " KiB are free (dumps.txt)");
    }
}

void addErrors(const std::vector<ReportItem> &items, Findings *findings) {
    constexpr char LEVEL[] = "] ERROR ";
    const std::string log = textOf(items, "dravik_cli.log");
    size_t count = 0;
    size_t last = std::string::npos;
    for (size_t at = log.find(LEVEL); at != std::string::npos; at = log.find(LEVEL, at + 1)) {
        ++count;
        last = at;
    }
    if (count > 0) {
        const size_t begin = log.rfind('[', last);
        findings->push_back(std::to_string(count) + (count == 1 ? " error" : " errors") +
                            " in dravik_cli.log, the last one of " +
                            (begin == std::string::npos ? "" : log.substr(begin + 1, last - begin - 1)));
    }
}

void addUnread(const std::vector<ReportItem> &items, Findings *findings) {
    std::string names;
    for (const ReportItem &item : items) {
        if (!item.problem.empty() && item.is_expected) {
            names += (names.empty() ? "" : ", ") + item.name;
        }
    }
    if (!names.empty()) {
        findings->push_back("could not be read, or not whole: " + names + " (MANIFEST says why)");
    }
}

} // namespace

std::vector<std::string> lookFirst(const std::vector<ReportItem> &items, Redactor *redactor) {
    Findings findings;
    addLedger(items, redactor, &findings);
    addServices(items, &findings);
    addListing(items, &findings);
    addSpace(items, &findings);
    addErrors(items, &findings);
    addUnread(items, &findings);
    if (findings.empty()) {
        findings.emplace_back(
            "nothing stands out: every volume has all its paths, and everything could be read");
    }
    findings.resize(std::min(findings.size(), MOST_FINDINGS));
    return findings;
}

} // namespace dravik

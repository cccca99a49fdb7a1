// The report's own texts.
#include "commands/report_manifest.h"

#include "commands/version.h"
#include "output/table.h"

namespace dravik {

namespace {

constexpr char CONTENTS[] = R"text(
What is in it:
  MANIFEST             every file with its checksum and source, what could not be
                       read, what was cut; SHA256SUMS for "sha256sum -c"
  check.txt            the verdict over the volumes, as "dravik check" gives it
  events.txt           the last events, as "dravik events --all" gives them
  dravik.db            the ledger (SQLite)
  dravik_monitor.log   the changes that the monitor has seen; _bk: before that
  dravik_cli.log       errors, and who ran which command; _bk: before that
  data.dravik          the monitor's snapshot
  storage_config.json  the names that the array has for the volumes
  velomux.conf         the multipath configuration; .bk: before the last change
  listing.txt          velomux -ll
  services.txt         the states of dravikd and dravik-monitor
  journal-*.txt        the last 24 hours of the journal, where there is one
  kernel-*.txt         maps, paths, ports, sessions and controllers in /sys
  by-path.txt          the links in /dev/disk/by-path
  dumps.txt            the files in /dumps, and the space there
  versions.txt         dravik, SQLite, the kernel, the distribution
)text";

constexpr char REDACTED[] = R"text(
Names and addresses of the site are replaced by tokens: host-1, wwid-1, wwpn-1,
ip-1, alias-1, vdisk-1, user-1. One value has one token in every file. What may
hold names that cannot be known is left out; MANIFEST says so.
)text";

std::string headText(const char *title, const ReportHead &head) {
    return std::string(title) + "\nmade " + head.time + " by dravik " + DRAVIK_VERSION +
           (head.redacted ? ", redacted\n" : "\n");
}

std::string filesText(const std::vector<ReportItem> &items,
                      const std::map<std::string, std::string> &checksums) {
    std::string text = "\nFILES: SHA-256, bytes, milliseconds, name, source\n";
    for (const ReportItem &item : items) {
        if (item.is_there) {
            const auto sum = checksums.find(item.name);
            text += (sum == checksums.end() ? "-" : sum->second) + " " + std::to_string(item.text.size()) +
                    " " + std::to_string(item.duration_ms) + " " + item.name + " " + item.source + "\n";
        }
    }
    return text;
}

std::string missingText(const std::vector<ReportItem> &items, const std::string &checksum_problem) {
    std::string text;
    for (const ReportItem &item : items) {
        if (!item.problem.empty()) {
            text += item.name + (item.is_there ? ", not whole" : "") + ": " + harmless(item.problem) + "\n";
        }
    }
    text += checksum_problem.empty() ? "" : "SHA256SUMS: sha256sum " + checksum_problem + "\n";
    return "\nCOULD NOT BE READ\n" + (text.empty() ? "nothing\n" : text);
}

std::string cutText(const std::vector<ReportItem> &items) {
    std::string text;
    for (const ReportItem &item : items) {
        if (item.left_out > 0) {
            text += item.name + ": " + std::to_string(item.left_out) + " bytes at its " +
                    (item.keep == Keep::END ? "beginning" : "end") + "\n";
        }
    }
    return "\nCUT\n" + (text.empty() ? "nothing\n" : text);
}

} // namespace

std::string lookFirstText(const std::vector<std::string> &look_first) {
    std::string text = "Look first at:\n";
    for (const std::string &sentence : look_first) {
        text += "  - " + harmless(sentence) + "\n";
    }
    return text;
}

std::string readmeText(const ReportHead &head, const std::vector<std::string> &look_first) {
    return headText("Dravik report", head) + "\n" + lookFirstText(look_first) + CONTENTS +
           (head.redacted ? REDACTED : "");
}

std::map<std::string, std::string> readChecksums(const std::string &sums) {
    constexpr size_t DIGEST = 64;
    std::map<std::string, std::string> digests;
    for (size_t begin = 0; begin < sums.size();) {
        const size_t end = std::min(sums.find('\n', begin), sums.size());
        if (end - begin > DIGEST + 2 && sums.compare(begin + DIGEST, 2, "  ") == 0) {
            digests[sums.substr(begin + DIGEST + 2, end - begin - DIGEST - 2)] = sums.substr(begin, DIGEST);
        }
        begin = end + 1;
    }
    return digests;
}

std::string manifestText(const ReportHead &head, const std::vector<ReportItem> &items,
                         const std::map<std::string, std::string> &checksums,
                         const std::string &checksum_problem) {
    return headText("Manifest of a Dravik report", head) + filesText(items, checksums) +
           missingText(items, checksum_problem) + cutText(items);
}

} // namespace dravik

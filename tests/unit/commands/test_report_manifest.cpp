// The texts that a report has of itself, whole.
#include "commands/report_manifest.h"

#include <gtest/gtest.h>

#include "commands/version.h"

using namespace dravik;

namespace {

const ReportHead PLAIN = {"2026-11-21T03:12:41.047Z", false};
const ReportHead REDACTED = {"2026-11-21T03:12:41.047Z", true};

std::string made(const char *ending) {
    return std::string("made 2026-11-21T03:12:41.047Z by dravik ") + DRAVIK_VERSION + ending;
}

ReportItem item(const std::string &name, const std::string &text, const std::string &source, long long ms) {
    ReportItem made;
    made.name = name;
    made.text = text;
    made.source = source;
    made.is_there = true;
    made.duration_ms = ms;
    return made;
}

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

} // namespace

TEST(ReportManifest, TheSentencesToLookAtFirstAreALineEachWithoutControlBytes) {
    EXPECT_EQ(lookFirstText({}), "Look first at:\n");
    EXPECT_EQ(lookFirstText({"a is gone", "b\x1b[2J\nc"}),
              "Look first at:\n  - a is gone\n  - b\\x1b[2J\\x0ac\n");
}

TEST(ReportManifest, TheReadmeSaysWhatToLookAtFirstAndWhatIsInTheArchive) {
    EXPECT_EQ(readmeText(PLAIN, {"a is gone"}),
              "Dravik report\n" + made("\n") + "\nLook first at:\n  - a is gone\n" + CONTENTS);
}

TEST(ReportManifest, TheReadmeOfARedactedReportExplainsTheTokens) {
    EXPECT_EQ(readmeText(REDACTED, {"a is gone"}),
              "Dravik report\n" + made(", redacted\n") + "\nLook first at:\n  - a is gone\n" + CONTENTS +
                  "\nNames and addresses of the site are replaced by tokens: host-1, wwid-1, wwpn-1,\n"
                  "ip-1, alias-1, vdisk-1, user-1. One value has one token in every file. What may\n"
                  "hold names that cannot be known is left out; MANIFEST says so.\n");
}

TEST(ReportManifest, ChecksumsAreReadByNameAndOtherLinesPassedOver) {
    const std::string a(64, 'a');
    const std::string b(64, 'b');
    EXPECT_EQ(readChecksums(a + "  check.txt\n" + b + "  a b\n"),
              (std::map<std::string, std::string>{{"check.txt", a}, {"a b", b}}));
    EXPECT_EQ(readChecksums(a + "  last"), (std::map<std::string, std::string>{{"last", a}}));
    for (const std::string &line :
         {std::string(), std::string("\n\n"), a + "\n", a + "  \n", a + " *x\n", std::string("a  x\n"),
          std::string("sha256sum: x: Permission denied\n")}) {
        EXPECT_TRUE(readChecksums(line).empty()) << line;
    }
}

TEST(ReportManifest, OfAWholeReportNothingIsMissingOrCut) {
    const std::string a(64, 'a');
    EXPECT_EQ(manifestText(PLAIN, {item("check.txt", "OK\n", "the ledger", 7)}, {{"check.txt", a}}, ""),
              "Manifest of a Dravik report\n" + made("\n") +
                  "\nFILES: SHA-256, bytes, milliseconds, name, source\n" + a +
                  " 3 7 check.txt the ledger\n\nCOULD NOT BE READ\nnothing\n\nCUT\nnothing\n");
}

TEST(ReportManifest, WhatIsMissingIsNoFileAndWhatIsCutSaysWhere) {
    const std::string a(64, 'a');
    ReportItem missing;
    missing.name = "data.dravik";
    missing.source = "/dumps/data.dravik";
    missing.problem = "there is none\x1b";
    ReportItem cut = item("dravik_cli.log", "last\n", "/dumps/dravik_cli.log", 0);
    cut.keep = Keep::END;
    cut.left_out = 4096;
    ReportItem partial = item("listing.txt", "", "velomux -ll", 30000);
    partial.problem = "did not end within 30 seconds: what came by then";
    partial.left_out = 1;
    EXPECT_EQ(manifestText(REDACTED, {cut, missing, partial}, {{"dravik_cli.log", a}, {"data.dravik", a}},
                           "could not be run"),
              "Manifest of a Dravik report\n" + made(", redacted\n") +
                  "\nFILES: SHA-256, bytes, milliseconds, name, source\n" + a +
                  " 5 0 dravik_cli.log /dumps/dravik_cli.log\n"
                  "- 0 30000 listing.txt velomux -ll\n"
                  "\nCOULD NOT BE READ\n"
                  "data.dravik: there is none\\x1b\n"
                  "listing.txt, not whole: did not end within 30 seconds: what came by then\n"
                  "SHA256SUMS: sha256sum could not be run\n"
                  "\nCUT\n"
                  "dravik_cli.log: 4096 bytes at its beginning\n"
                  "listing.txt: 1 bytes at its end\n");
}

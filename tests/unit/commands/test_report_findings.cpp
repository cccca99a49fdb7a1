// What to look at first: the sentence of each fact, whole, and their order.
#include "commands/report_findings.h"

#include "commands/report_redaction.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

constexpr char NOTHING[] = "nothing stands out: every volume has all its paths, and everything could be read";

class ReportFindings : public LedgerOnHost {
  protected:
    void add(const std::string &name, const std::string &text, const std::string &problem = "",
             bool expected = true) {
        ReportItem item;
        item.name = name;
        item.text = text;
        item.problem = problem;
        item.is_there = problem.empty() || !text.empty();
        item.is_expected = expected;
        items.push_back(item);
    }
    Lines first() const {
        return lookFirst(items);
    }
    std::vector<ReportItem> items;
};

std::string active(const std::string &name, const std::string &word) {
    return "$ systemctl is-active " + name + ".service\n" + word + "\n\n";
}

} // namespace

TEST_F(ReportFindings, WhereNothingStandsOutThatIsSaid) {
    observe({okVolume()}, NOW - 5000);
    EXPECT_EQ(first(), Lines{NOTHING});
    add("services.txt", active("dravikd", "active") + active("dravik-monitor", "active"));
    add("listing.txt", "mpatha (3600) dm-3 KORVEL,QVX\n");
    add("dumps.txt", "bytes free 16777216 of 33554432, files free 100\n\n");
    add("dravik_cli.log", "[2026-11-21 03:00:00] INFO main 12 ran\n");
    add("journal-kernel.txt", "", "there is no journalctl on this host", false);
    EXPECT_EQ(first(), Lines{NOTHING});
}

TEST_F(ReportFindings, OfTheLedgerARedactedReportSaysOnlyWhatItHasLearntTheNamesOf) {
    observe({lastPathVolume("payroll")}, NOW - 5000);
    Redactor redactor;
    EXPECT_EQ(lookFirst(items, &redactor), Lines{NOTHING});
    EXPECT_EQ(redactor.text("payroll"), "payroll");
    add("check.txt", "CRITICAL - 1 of 1 volume on its last path");
    const Lines said = lookFirst(items, &redactor);
    EXPECT_EQ(said, first());
    ASSERT_GT(said.size(), 1U);
    EXPECT_EQ(said[1].substr(0, 20), "payroll: last path, ");
    EXPECT_EQ(redactor.text(said[1]).substr(0, 20), "alias-1: last path, ");
}

TEST_F(ReportFindings, WithoutALedgerThatIsTheFirstSentence) {
    EXPECT_EQ(first(),
              Lines{"there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet"});
}

TEST_F(ReportFindings, TheVerdictAndTheWorstVolumesAreNamedThreeAtMost) {
    observe({okVolume(), degradedVolume(), lastPathVolume(), deadVolume(), deadVolume("dead2")}, NOW - 5000);
    EXPECT_EQ(
        first(),
        (Lines{"CRITICAL - 2 of 5 volumes without a working path, 1 on its last path, 1 degraded (check.txt)",
               "dead: none, 0 of 2 work; lost: sdi sdj; survives: nothing",
               "dead2: none, 0 of 2 work; lost: sdi sdj; survives: nothing",
               "thin: last path, 1 of 2 work; lost: sdg; survives: nothing"}));
}

TEST_F(ReportFindings, AnObservationThatIsTooOldIsSaidWithoutTheVolumesOfThen) {
    observe({deadVolume()}, NOW - 61000);
    EXPECT_EQ(first(),
              Lines{"UNKNOWN - nothing observed since 2026-11-21 03:11:40, 61 s ago: dravik-monitor has "
                    "written nothing since then; is it running? (check.txt)"});
}

TEST_F(ReportFindings, AnObservationThatFailedIsSaid) {
    observe({okVolume()}, NOW - 5000);
    failToObserve("memory ran out", NOW - 1000);
    EXPECT_EQ(first(), Lines{"the last observation failed: memory ran out"});
}

TEST_F(ReportFindings, AServiceThatDoesNotRunIsSaidInSystemdsWord) {
    observe({okVolume()}, NOW - 5000);
    add("services.txt", active("dravikd", "inactive") + active("dravik-monitor", "failed"));
    EXPECT_EQ(first(), (Lines{"dravikd does not run: its service is inactive (services.txt)",
                              "dravik-monitor does not run: its service is failed (services.txt)"}));
}

TEST_F(ReportFindings, WhatIsNoWordOfAStateSaysNothingOfAService) {
    observe({okVolume()}, NOW - 5000);
    add("services.txt", active("dravikd", "Failed to connect to bus: No such file") +
                            "$ systemctl is-active dravik-monitor.service");
    EXPECT_EQ(first(), Lines{NOTHING});
}

TEST_F(ReportFindings, OnSysVAStoppedOrDeadServiceDoesNotRun) {
    observe({okVolume()}, NOW - 5000);
    add("services.txt", "$ service dravikd status\ndravikd (pid 7) is running...\n\n"
                        "$ service dravik-monitor status\ndravik-monitor is stopped\n\n");
    EXPECT_EQ(first(), Lines{"dravik-monitor does not run: its service is stopped (services.txt)"});
}

TEST_F(ReportFindings, AMultipathToolThatDoesNotAnswerOrFailsIsSaid) {
    observe({okVolume()}, NOW - 5000);
    add("listing.txt", "", "did not end within 30 seconds and was killed");
    EXPECT_EQ(first(),
              (Lines{"the multipath tool does not answer: velomux -ll did not end within 30 seconds and was "
                     "killed",
                     "could not be read, or not whole: listing.txt (MANIFEST says why)"}));
    items.clear();
    add("listing.txt", "error\n(its exit status was not 0)\n");
    EXPECT_EQ(first(), Lines{"the multipath tool fails: velomux -ll ends with an error (listing.txt)"});
}

TEST_F(ReportFindings, AMultipathToolThatIsMissingIsSaidInASentence) {
    observe({okVolume()}, NOW - 5000);
    add("listing.txt", "", "there is no velomux on this host");
    EXPECT_EQ(first(), (Lines{"the multipath tool is missing: there is no velomux on this host",
                              "could not be read, or not whole: listing.txt (MANIFEST says why)"}));
}

TEST_F(ReportFindings, AFullDumpsIsSaidBelow16MiB) {
    observe({okVolume()}, NOW - 5000);
    add("dumps.txt", "bytes free 16777215 of 33554432, files free 100\n\n");
    EXPECT_EQ(first(), Lines{"/dumps is full or nearly so: 16383 KiB are free (dumps.txt)"});
    items[0].text = "bytes free 0 of 33554432, files free 100\n\n";
    EXPECT_EQ(first(), Lines{"/dumps is full or nearly so: 0 KiB are free (dumps.txt)"});
}

TEST_F(ReportFindings, ErrorsInTheLogAreCountedWithTheTimeOfTheLast) {
    observe({okVolume()}, NOW - 5000);
    add("dravik_cli.log", "[2026-11-21 03:00:00] ERROR main 12 one\n");
    EXPECT_EQ(first(), Lines{"1 error in dravik_cli.log, the last one of 2026-11-21 03:00:00"});
    items[0].text += "[2026-11-21 03:01:00] INFO main 12 ran\n[2026-11-21 03:02:00] ERROR main 12 two\n";
    EXPECT_EQ(first(), Lines{"2 errors in dravik_cli.log, the last one of 2026-11-21 03:02:00"});
}

TEST_F(ReportFindings, WhatCouldNotBeReadIsNamedUnlessASoundHostMayLackIt) {
    observe({okVolume()}, NOW - 5000);
    add("data.dravik", "", "is no plain file");
    add("storage_config.json", "", "there is none", false);
    add("kernel-fc.txt", "half\n", "did not end within 15 seconds: what came by then");
    EXPECT_EQ(first(),
              Lines{"could not be read, or not whole: data.dravik, kernel-fc.txt (MANIFEST says why)"});
}

TEST_F(ReportFindings, TheGravestComesFirstAndTenAreTheMost) {
    observe({deadVolume("d1"), deadVolume("d2"), deadVolume("d3"), deadVolume("d4")}, NOW - 10000);
    failToObserve("memory ran out", NOW - 5000);
    add("services.txt", active("dravikd", "inactive") + active("dravik-monitor", "failed"));
    add("listing.txt", "", "could not be run");
    add("dumps.txt", "bytes free 0 of 1, files free 1\n\n");
    add("dravik_cli.log", "[2026-11-21 03:00:00] ERROR main 12 one\n");
    EXPECT_EQ(first(), (Lines{"CRITICAL - 4 of 4 volumes without a working path (check.txt)",
                              "d1: none, 0 of 2 work; lost: sdi sdj; survives: nothing",
                              "d2: none, 0 of 2 work; lost: sdi sdj; survives: nothing",
                              "d3: none, 0 of 2 work; lost: sdi sdj; survives: nothing",
                              "the last observation failed: memory ran out",
                              "dravikd does not run: its service is inactive (services.txt)",
                              "dravik-monitor does not run: its service is failed (services.txt)",
                              "the multipath tool does not answer: velomux -ll could not be run",
                              "/dumps is full or nearly so: 0 KiB are free (dumps.txt)",
                              "1 error in dravik_cli.log, the last one of 2026-11-21 03:00:00"}));
}

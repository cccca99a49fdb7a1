// What each volume is measured against, and accepting less.
#include "commands/baseline.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

// "fine" has lost sdb for good, "other" is as it was.
class Baseline : public LedgerOnHost {
  protected:
    Baseline() {
        observe({okVolume(), okVolume("other")}, NOW - 60000);
        SeenVolume less = okVolume();
        less.paths.erase(less.paths.begin());
        observe({less, okVolume("other")});
    }
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root may accept a baseline";
        }
    }
    std::string baseline(std::vector<std::string> words) {
        words.insert(words.begin(), "baseline");
        return answer(dravik::baseline, words);
    }
};

const std::string HEADING = "VOLUME            PATHS  SINCE             BY       SURVIVES THE LOSS OF\n";
const std::string FINE = "fine              2      2026-11-21 03:11  learned  path, initiator, target port\n";
const std::string OTHER =
    "other             2      2026-11-21 03:11  learned  path, initiator, target port\n";

} // namespace

TEST_F(Baseline, ShowPrintsThatOfAllVolumes) {
    EXPECT_EQ(baseline({"show"}), HEADING + FINE + OTHER + "[0]\n");
    EXPECT_EQ(audited, Lines());
}

TEST_F(Baseline, ShowPrintsThatOfOneWithItsPathsMissingOnesToo) {
    EXPECT_EQ(baseline({"show", "fine"}), HEADING + FINE +
                                              "\nPATH      INITIATOR           TARGET PORT         LUN\n"
                                              "sdb       i1                  p1                  1\n"
                                              "sdc       i2                  p2                  1\n[0]\n");
}

TEST_F(Baseline, AcceptMakesTodaysPathsThatOfTheVolumesWhosePathsAreOtherOnes) {
    EXPECT_EQ(baseline({"accept"}), "fine: the baseline is 1 paths now, was 2; no longer missed: sdb\n[0]\n");
    EXPECT_EQ(baseline({"show"}),
              HEADING + "fine              1      2026-11-21 03:12  alice    nothing\n" + OTHER + "[0]\n");
    EXPECT_EQ(baseline({"accept"}), "Nothing to accept: today's paths are the baseline.\n[0]\n");
}

TEST_F(Baseline, AcceptOfOneLeavesTheOthersAlone) {
    EXPECT_EQ(baseline({"accept", "other"}), "Nothing to accept: today's paths are the baseline.\n[0]\n");
    EXPECT_EQ(baseline({"show"}), HEADING + FINE + OTHER + "[0]\n");
}

TEST_F(Baseline, AcceptLeavesAnAuditLineAndAnOperation) {
    baseline({"accept", "fine"});
    EXPECT_EQ(audited, (Lines{"begins: dravik baseline accept fine", "Command executed successfully."}));
    const std::vector<Operation> done = loadOperations(ledger().get(), NOW, NOW);
    ASSERT_EQ(done.size(), 1U);
    EXPECT_EQ(done[0].user, "alice");
    EXPECT_EQ(done[0].command, "baseline");
    EXPECT_EQ(done[0].line, "dravik baseline accept fine");
    EXPECT_EQ(done[0].volume, "fine");
    EXPECT_EQ(done[0].code, 0);
}

TEST_F(Baseline, AcceptIsRefusedWhileNothingHasBeenObservedFor60Seconds) {
    host.stopClock(NOW + 60001);
    const std::string why = "nothing observed since 2026-11-21 03:12:41, 60 s ago: dravik-monitor has "
                            "written nothing since then; is it running?";
    EXPECT_EQ(baseline({"accept"}), "! dravik baseline: " + why + "\n[1]\n");
    EXPECT_EQ(audited, (Lines{"begins: dravik baseline accept", why}));
    EXPECT_EQ(baseline({"show"}), HEADING + FINE + OTHER + "[0]\n");
}

TEST_F(Baseline, AcceptIsRefusedToAVolumeWithoutAnyPath) {
    observe({seenVolume("fine", {}), okVolume("other")});
    EXPECT_EQ(baseline({"accept", "fine"}),
              "! dravik baseline: fine has no paths today that could be its baseline\n[1]\n");
    EXPECT_EQ(baseline({"accept"}), "Nothing to accept: today's paths are the baseline.\n[0]\n");
    EXPECT_EQ(baseline({"show"}), HEADING + FINE + OTHER + "[0]\n");
}

TEST_F(Baseline, JsonIsTheBaselineAsItThenIs) {
    EXPECT_EQ(baseline({"show", "fine", "--json"}),
              document("baseline",
                       R"("volumes":[{"alias":"fine","wwid":"36fine","accepted":"2026-11-21T03:11:41.047Z",)"
                       R"("accepted_by":"learned","paths":[)"
                       R"({"initiator":"i1","target_port":"p1","lun":1,"name":"sdb"},)"
                       R"({"initiator":"i2","target_port":"p2","lun":1,"name":"sdc"}]}])") +
                  "[0]\n");
    EXPECT_EQ(baseline({"accept", "fine", "--json"}),
              document("baseline",
                       R"("volumes":[{"alias":"fine","wwid":"36fine","accepted":"2026-11-21T03:12:41.047Z",)"
                       R"("accepted_by":"alice","paths":[)"
                       R"({"initiator":"i2","target_port":"p2","lun":1,"name":"sdc"}]}])") +
                  "[0]\n");
}

TEST_F(Baseline, AnErrorHasStatus1) {
    EXPECT_EQ(baseline({}), "! dravik baseline: say \"show\" or \"accept\"\n[1]\n");
    EXPECT_EQ(baseline({"take"}), "! dravik baseline: \"take\" is neither \"show\" nor \"accept\"\n[1]\n");
    EXPECT_EQ(baseline({"show", "a", "b"}),
              "! dravik baseline: \"b\" is one word too many; see \"dravik help baseline\"\n[1]\n");
    EXPECT_EQ(baseline({"show", "nosuch"}),
              "! dravik baseline: the ledger knows no volume \"nosuch\"\n[1]\n");
    EXPECT_EQ(baseline({"accept", "nosuch"}),
              "! dravik baseline: the ledger knows no volume \"nosuch\"\n[1]\n");
    EXPECT_EQ(audited,
              (Lines{"begins: dravik baseline accept nosuch", "the ledger knows no volume \"nosuch\""}));
    host.dumps.makeEmpty();
    EXPECT_EQ(baseline({"show"}), "! dravik baseline: there is no ledger /dumps/dravik.db: dravik-monitor "
                                  "has not run on this host yet\n[1]\n");
}

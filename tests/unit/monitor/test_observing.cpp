// A query's outcome in the words of an observation.
#include "monitor/observing.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/capture.h"
#include "common/log.h"
#include "ledger/known_store.h"
#include "ledger/ledger_file.h"
#include "monitor/cycle.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_tools.h"
#include "tests/support/kernel_folder.h"
#include "topology/topology_query.h"

using namespace dravik;

namespace {

class Observing : public testing::Test {
  protected:
    Observing() {
        g_pDravik = mallocDravik();
    }
    ~Observing() override {
        setChildDeadline(0, nullptr);
        freeDravik(g_pDravik);
        g_pDravik = nullptr;
    }
    // "QUALITY REASON VOLUMES/PATHS" of one query's observation.
    static std::string observe() {
        observeCycle(queryDravikInfo(g_pDravik), 5, 7);
        const LedgerOpening opening = openLedger(LedgerUse::READ);
        if (opening.status != LedgerStatus::OPEN) {
            return opening.problem;
        }
        const Observation last = loadObservation(opening.database.get());
        EXPECT_EQ(last.duration_ms, 5);
        return std::string(qualityWord(last.quality)) + " [" + last.reason + "] " +
               std::to_string(last.volumes) + "/" + std::to_string(last.paths);
    }
    DumpsFolder dumps;
    KernelFolder kernel;
    FakeTools tools;
};

std::vector<std::string> entries; // that the journal was told

constexpr char LISTING[] = "mpatha (36a) dm-0 KORVEL  ,QVX\n"
                           "size=10G features='0' hwhandler='0' wp=rw\n"
                           "`-+- policy='service-time 0' prio=50 status=active\n"
                           "  `- 1:0:0:1 xba 8:16 active ready running\n";

} // namespace

// One test: the ledger's keeper lives as long as the process.
TEST_F(Observing, EachOutcomeOfAQueryHasItsQualityAndItsWords) {
    EXPECT_EQ(presentStatus(), "the first observation is under way");
    tools.prints("velomux", LISTING);
    EXPECT_EQ(observe(), "good [] 1/1");
    EXPECT_EQ(presentStatus(), "1 volume, 1 path, all ok; last observation 0 s ago, good");
    EXPECT_EQ(entries, std::vector<std::string>{}); // nobody is told yet
    setJournal([](const JournalEntry &entry) {
        entries.push_back(entry.message);
        return Delivery::DONE;
    });
    tools.prints("velomux", "mpatha (36a) dm-0 KORVEL  ,QVX");
    EXPECT_EQ(observe(), "failed [the listing of the multipath tool is malformed] 1/1");
    EXPECT_EQ(entries, (std::vector<std::string>{"dravik-monitor started",
                                                 "mpatha: appeared, 1 of 1 paths work (fault)",
                                                 "observation good -> failed"}));
    EXPECT_EQ(presentStatus(),
              "1 volume, 1 path, all ok; last observation 0 s ago, failed: the listing of the "
              "multipath tool is malformed");
    tools.removes("velomux");
    EXPECT_EQ(observe(), "failed [the multipath tool cannot be run] 1/1");
    observeCycle(&EC_molloc_failed, 5, 7);
    EXPECT_EQ(loadObservation(openLedger(LedgerUse::READ).database.get()).reason, "memory ran out");
    tools.runs("velomux", "/bin/sleep 77");
    setChildDeadline(1, nullptr);
    EXPECT_EQ(observe(), "failed [the multipath tool did not end within 300 s and was killed] 1/1");
}

// The monitor's cycle with the real command runner: what a steady cycle allocates, and a tool that comes and goes.
#include "monitor/cycle.h"

#include <string>

#include <gtest/gtest.h>

#include "common/log.h"
#include "tests/support/allocation_count.h"
#include "tests/support/cycle_fixture.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_tools.h"
#include "tests/support/large_listing.h"

// ---- what a steady cycle costs

namespace {

// The heap allocations of one cycle, the command's run included, that finds nothing changed.
long steadyAllocations(int volumes) {
    const DumpsFolder dumps;
    const FakeTools tools;
    tools.prints("velomux", largeListing(volumes));
    log_started = false;
    initMonitor();
    oneMonitor();
    oneMonitor();
    log_started = true;
    dumps.forgetLogs();
    const long before = allocationCount();
    oneMonitor();
    const long taken = allocationCount() - before;
    EXPECT_EQ(dumps.names(), Lines{"data.dravik"}); // no node, no change, no complaint
    unsigned int records = 0;
    for (const s_lunPath *record = firstLunpath(g_pLunPath); record != nullptr;
         record = nextLunpath(record)) {
        ++records;
    }
    EXPECT_EQ(records, static_cast<unsigned int>(2 * volumes));
    forgetMonitor();
    return taken;
}

} // namespace

TEST(CycleCost, ASteadyCycleAllocatesNoNodeAndAsMuchForManyPathsAsForFew) {
    const long few = steadyAllocations(512);
    EXPECT_EQ(steadyAllocations(4096), few);
    EXPECT_EQ(steadyAllocations(16), few);
    EXPECT_GT(few, 0); // the counter counts: the listing is split on the heap
    RecordProperty("allocations", static_cast<int>(few));
}

// ---- with the real command runner

TEST(CycleOnAShell, AToolThatFailsComesBackAndIsGone) {
    const DumpsFolder dumps;
    const FakeTools tools;
    const auto run = [&]() {
        dumps.forgetLogs();
        oneMonitor();
    };
    initMonitor();
    tools.prints("velomux", VOLUME_A);
    run();
    EXPECT_EQ(dumps.changeLogLines(), volumeALines("created"));

    tools.removes("velomux");
    run();
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR exe_query # Execute command [velomux -ll 2> /dev/null] failed, exit code [127]\n",
                     "ERROR exe_query # Error message: \n",
                     "ERROR queryDravikInfo # Execute command [velomux -ll 2> /dev/null] failed",
                     queryFailed(NOT_EXECUTED)[0], queryFailed(NOT_EXECUTED)[1]}));
    EXPECT_EQ(dumps.changeLogLines(), Lines());

    tools.prints("velomux", VOLUME_A_FAULTY);
    run();
    EXPECT_EQ(dumps.changeLogLines(), Lines{FAULTY});
    EXPECT_EQ(dumps.commandLogLines(), Lines{SNAPSHOT_WRITTEN});
    EXPECT_EQ(dumps.read("data.dravik"), SNAPSHOT_A_FAULTY);
    EXPECT_EQ(tools.calls(), (Lines{"velomux [-ll]", "velomux [-ll]"}));
    forgetMonitor();
}

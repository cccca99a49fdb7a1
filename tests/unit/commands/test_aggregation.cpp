// The rebuilding of the maps: what runs before it, and whose outcome counts.
#include "commands/aggregation.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Aggregation, ItRevivesPathsAndThenRebuildsTheMaps) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, aggregation());
    EXPECT_EQ((Calls{REVIVE, REBUILD}), host.calls);
}

TEST(Aggregation, OnlyTheRebuildingCounts) {
    FakeHost host;
    host.answer(REVIVE, "", NOT_STARTED);
    EXPECT_EQ(&EC_ok, aggregation());
    host.answer(REBUILD, "", NO_MEMORY);
    EXPECT_EQ(&EC_exe_cmd_failed, aggregation());
}

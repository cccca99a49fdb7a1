// The MESSAGE_IDs of the journal.
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

#include "ledger/message_ids.h"

namespace {

using dravik::MESSAGE_IDS;
using dravik::messageIdOf;

const std::vector<std::string> KINDS = {
    "volume_appeared",     "volume_gone",    "volume_unseen",        "volume_seen_again",
    "volume_renamed",      "volume_resized", "volume_without_paths", "path_appeared",
    "path_gone",           "path_unseen",    "path_seen_again",      "path_moved",
    "path_checker_state",  "path_dm_state",  "path_online_state",    "path_group_state",
    "path_flapping",       "path_steady",    "volume_state",         "monitor_started",
    "observation_quality", "operation"};

TEST(MessageIds, StandForEveryKindOnceInItsOrder) {
    std::vector<std::string> kinds;
    for (const auto &entry : MESSAGE_IDS) {
        kinds.emplace_back(entry.kind);
    }
    EXPECT_EQ(kinds, KINDS);
}

TEST(MessageIds, AreRandomNumbersInLowerCaseHexadecimalAndDiffer) {
    std::set<std::string> ids = {dravik::LEFT_OUT_MESSAGE_ID};
    for (const auto &entry : MESSAGE_IDS) {
        ids.insert(entry.id);
    }
    EXPECT_EQ(ids.size(), KINDS.size() + 1);
    for (const std::string &id : ids) {
        EXPECT_EQ(id.size(), 32U) << id;
        EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos) << id;
        EXPECT_EQ(id[12], '4') << id;
        EXPECT_NE(std::string("89ab").find(id[16]), std::string::npos) << id;
    }
}

TEST(MessageIds, AreFoundByTheKind) {
    for (const auto &entry : MESSAGE_IDS) {
        EXPECT_STREQ(messageIdOf(entry.kind), entry.id);
    }
    EXPECT_STREQ(messageIdOf("volume"), "");
    EXPECT_STREQ(messageIdOf(""), "");
}

} // namespace

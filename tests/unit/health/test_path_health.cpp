// Whether a path works: every combination of states against the rule in words.
#include "health/path_health.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using dravik::isWorking;
using dravik::PathStates;

namespace {

constexpr PathStates GOOD_PATH = {"active", "active", "ready", "running"};

// A good path with one of its states another.
PathStates with(std::string_view PathStates::*state, std::string_view word) {
    PathStates path = GOOD_PATH;
    path.*state = word;
    return path;
}

} // namespace

TEST(PathHealth, AReadyPathOfAnActiveGroupWorks) {
    EXPECT_TRUE(isWorking(GOOD_PATH));
}

TEST(PathHealth, TheStandbyHalfOfAnArrayAndAPathThatNoCheckerHasSeenWork) {
    EXPECT_TRUE(isWorking(with(&PathStates::checker_state, "ghost")));
    EXPECT_TRUE(isWorking(with(&PathStates::checker_state, "")));
}

TEST(PathHealth, AnyOtherWordOfTheCheckerMeansThatThePathDoesNotWork) {
    for (const char *word :
         {"faulty", "shaky", "undef", "i/o timeout", "delayed", "READY", "ready ", "readyx", "[ready]"}) {
        EXPECT_FALSE(isWorking(with(&PathStates::checker_state, word))) << word;
    }
}

TEST(PathHealth, AFailedGroupAFailedPathAndAnOfflineDeviceDoNotWork) {
    EXPECT_FALSE(isWorking(with(&PathStates::group_status, "failed")));
    EXPECT_FALSE(isWorking(with(&PathStates::dm_state, "failed")));
    EXPECT_FALSE(isWorking(with(&PathStates::online_state, "offline")));
}

TEST(PathHealth, AnyOtherWordForGroupPathAndDeviceIsNoReason) {
    for (const char *word : {"", "active", "enabled", "undef", "running", "blocked", "FAILED", "failed "}) {
        EXPECT_TRUE(isWorking(with(&PathStates::group_status, word))) << word;
        EXPECT_TRUE(isWorking(with(&PathStates::dm_state, word))) << word;
        EXPECT_TRUE(isWorking(with(&PathStates::online_state, word))) << word;
    }
}

TEST(PathHealth, EachReasonCountsWhateverTheOthersSay) {
    const std::vector<std::string> words = {"",      "active", "enabled", "failed", "ready",
                                            "ghost", "faulty", "running", "offline"};
    const std::set<std::string> good_checkers = {"ready", "ghost", ""};
    for (const std::string &group : words) {
        for (const std::string &dm : words) {
            for (const std::string &checker : words) {
                for (const std::string &online : words) {
                    const bool reason = group == "failed" || dm == "failed" || online == "offline" ||
                                        good_checkers.count(checker) == 0;
                    EXPECT_EQ(isWorking({group, dm, checker, online}), !reason)
                        << group << "," << dm << "," << checker << "," << online;
                }
            }
        }
    }
}

// The ledger's paths as the verdict judges them.
#include "ledger/known_health.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace dravik;

constexpr Milliseconds NOW = 1000000;

KnownPath path(Presence presence, bool working, Milliseconds unseen_since = 0) {
    KnownPath made;
    made.key = {"host1", "p1", "1", 0};
    made.presence = presence;
    made.working = working;
    made.unseen_since = unseen_since;
    return made;
}

// "host1,p1 present works" and so on, a path a line.
std::string shown(const std::vector<PathHealth> &paths) {
    std::string text;
    for (const PathHealth &path : paths) {
        text += std::string(path.initiator) + "," + std::string(path.target_port) + " " +
                presenceWord(path.presence) + (path.working ? " works" : " fails") +
                (path.unseen_long ? " long\n" : "\n");
    }
    return text;
}

} // namespace

TEST(KnownHealth, EachPathIsJudgedByWhatWasLastSeenOfIt) {
    KnownVolume volume;
    volume.paths = {path(Presence::PRESENT, true), path(Presence::PRESENT, false),
                    path(Presence::MISSING, false)};
    EXPECT_EQ(shown(healthOf(volume, NOW)), "host1,p1 present works\n"
                                            "host1,p1 present fails\n"
                                            "host1,p1 missing fails\n");
}

TEST(KnownHealth, APathIsUnseenForLongOnlyAfterMoreThanAMinute) {
    KnownVolume volume;
    volume.paths = {path(Presence::UNSEEN, true, NOW - 60000), path(Presence::UNSEEN, true, NOW - 60001)};
    EXPECT_EQ(shown(healthOf(volume, NOW)), "host1,p1 unseen works\n"
                                            "host1,p1 unseen works long\n");
}

TEST(KnownHealth, AVolumeThatIsUnseenForLongTakesItsPathsAlong) {
    KnownVolume volume;
    volume.paths = {path(Presence::PRESENT, true)};
    volume.presence = Presence::UNSEEN;
    volume.unseen_since = NOW - 60000;
    EXPECT_EQ(shown(healthOf(volume, NOW)), "host1,p1 present works\n");
    EXPECT_EQ(shown(healthOf(volume, NOW + 1)), "host1,p1 present works long\n");
}

TEST(KnownHealth, TheBaselineSurvivesWhatItsPathsDoWhenAllWork) {
    KnownVolume volume;
    volume.baseline = {{{"host1", "p1", "1", 0}, "sdb"}, {{"host2", "p1", "1", 0}, "sdc"}};
    const Survival survival = baselineSurvival(volume);
    EXPECT_TRUE(survival.path);
    EXPECT_TRUE(survival.initiator);
    EXPECT_FALSE(survival.target_port);
}

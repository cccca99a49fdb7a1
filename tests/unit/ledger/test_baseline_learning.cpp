// What a volume's baseline learns, and what it forgets.
#include "ledger/baseline_learning.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace dravik;

KnownPath path(const std::string &name, const std::string &port, Presence presence = Presence::PRESENT,
               int twin = 0) {
    KnownPath made;
    made.key = {"host1", port, "1", twin};
    made.attributes.name = name;
    made.presence = presence;
    return made;
}

// "sdb:p1.0 sdc:p2.0", then whether it is to be written.
std::string baselineOf(const KnownVolume &volume) {
    std::string text;
    for (const BaselinePath &path : volume.baseline) {
        text += path.name + ":" + path.key.target_port + "." + std::to_string(path.key.twin) + " ";
    }
    return text + (volume.baseline_changed ? "changed" : "same");
}

} // namespace

TEST(BaselineLearning, EveryPathThatIsThereIsLearnedOnce) {
    KnownVolume volume;
    volume.paths = {path("sdb", "p1"), path("sdc", "p2"), path("sdd", "p2", Presence::UNSEEN, 1)};
    learnBaseline(&volume);
    EXPECT_EQ(baselineOf(volume), "sdb:p1.0 sdc:p2.0 sdd:p2.1 changed");
    volume.baseline_changed = false;
    volume.paths[0].attributes.name = "sdx";
    learnBaseline(&volume);
    EXPECT_EQ(baselineOf(volume), "sdb:p1.0 sdc:p2.0 sdd:p2.1 same");
}

TEST(BaselineLearning, AMissingPathIsNotLearnedAndNotForgotten) {
    KnownVolume volume;
    volume.paths = {path("sdb", "p1")};
    learnBaseline(&volume);
    volume.baseline_changed = false;
    volume.paths = {path("sdb", "p1", Presence::MISSING), path("sdc", "p2", Presence::MISSING)};
    learnBaseline(&volume);
    EXPECT_EQ(baselineOf(volume), "sdb:p1.0 same");
}

TEST(BaselineLearning, OnlyThePathOfTheKeyAndTheTwinIsForgotten) {
    KnownVolume volume;
    volume.paths = {path("sdb", "p1"), path("sdc", "p1", Presence::PRESENT, 1), path("sdd", "p2")};
    learnBaseline(&volume);
    volume.baseline_changed = false;
    forgetBaselinePath(volume.paths[1].key, &volume);
    EXPECT_EQ(baselineOf(volume), "sdb:p1.0 sdd:p2.0 changed");
}

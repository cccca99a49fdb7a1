// The verdict over a volume: every rule in its own words, and what must hold for any volume whatever.
#include "health/volume_health.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/seeded_random.h"

using namespace dravik;

namespace {

constexpr Survival NOTHING = {false, false, false};
constexpr Survival EVERYTHING = {true, true, true};

PathHealth path(std::string_view initiator, std::string_view port, bool working = true) {
    return {initiator, port, working, Presence::PRESENT, false};
}

PathHealth missing(std::string_view initiator, std::string_view port) {
    return {initiator, port, false, Presence::MISSING, false};
}

PathHealth unseen(std::string_view initiator, std::string_view port, bool working, bool for_long) {
    return {initiator, port, working, Presence::UNSEEN, for_long};
}

std::string text(const Survival &survival) {
    return std::string(survival.path ? "path " : "") + (survival.initiator ? "initiator " : "") +
           (survival.target_port ? "target_port " : "");
}

std::string survives(const std::vector<PathHealth> &paths) {
    return text(survivalOf(paths));
}

std::string verdict(const std::vector<PathHealth> &paths, const Survival &baseline = NOTHING) {
    return stateWord(verdictOf(paths, baseline));
}

// Any volume: up to six paths over three initiators and three ports, one of each unknown.
std::vector<PathHealth> anyPaths(std::mt19937 *random) {
    constexpr const char *initiators[] = {"a", "b", "c"};
    constexpr const char *ports[] = {"p", "q", ""};
    std::vector<PathHealth> paths((*random)() % 7);
    for (PathHealth &each : paths) {
        each.initiator = initiators[(*random)() % 3];
        each.target_port = ports[(*random)() % 3];
        each.presence = static_cast<Presence>((*random)() % 3);
        each.working = each.presence != Presence::MISSING && (*random)() % 2 == 0;
        each.unseen_long = each.presence == Presence::UNSEEN && (*random)() % 2 == 0;
    }
    return paths;
}

Survival anyBaseline(std::mt19937 *random) {
    return {(*random)() % 2 == 0, (*random)() % 2 == 0, (*random)() % 2 == 0};
}

} // namespace

// ---- words

TEST(VolumeHealthWords, EveryStateHasItsWordAndComesBackFromIt) {
    const std::vector<std::pair<VolumeState, std::string>> words = {{VolumeState::NONE, "none"},
                                                                    {VolumeState::LAST_PATH, "last_path"},
                                                                    {VolumeState::UNKNOWN, "unknown"},
                                                                    {VolumeState::DEGRADED, "degraded"},
                                                                    {VolumeState::OK, "ok"}};
    for (const auto &[state, word] : words) {
        EXPECT_EQ(stateWord(state), word);
        EXPECT_EQ(stateOfWord(word), state);
    }
    for (const char *word : {"", "OK", "none ", "last path", "degrade"}) {
        EXPECT_EQ(stateOfWord(word), VolumeState::OK) << word;
    }
}

TEST(VolumeHealthWords, EveryPresenceHasItsWordAndComesBackFromIt) {
    const std::vector<std::pair<Presence, std::string>> words = {
        {Presence::PRESENT, "present"}, {Presence::UNSEEN, "unseen"}, {Presence::MISSING, "missing"}};
    for (const auto &[presence, word] : words) {
        EXPECT_EQ(presenceWord(presence), word);
        EXPECT_EQ(presenceOfWord(word), presence);
    }
}

// ---- which losses a volume survives

TEST(VolumeHealthSurvival, AVolumeWithoutAWorkingPathSurvivesNothing) {
    EXPECT_EQ(survives({}), "");
    EXPECT_EQ(survives({path("a", "p", false), path("b", "q", false), missing("c", "r")}), "");
}

TEST(VolumeHealthSurvival, OnePathSurvivesNothing) {
    EXPECT_EQ(survives({path("a", "p")}), "");
    EXPECT_EQ(survives({path("a", "p"), path("b", "q", false)}), "");
}

TEST(VolumeHealthSurvival, TwoPathsOverTwoInitiatorsToTwoPortsSurviveEachLoss) {
    EXPECT_EQ(survives({path("a", "p"), path("b", "q")}), "path initiator target_port ");
}

TEST(VolumeHealthSurvival, TwoPathsOverOneInitiatorDoNotSurviveItsLoss) {
    EXPECT_EQ(survives({path("a", "p"), path("a", "q")}), "path target_port ");
}

TEST(VolumeHealthSurvival, TwoPathsToOnePortDoNotSurviveItsLoss) {
    EXPECT_EQ(survives({path("a", "p"), path("b", "p")}), "path initiator ");
}

TEST(VolumeHealthSurvival, TwoPathsThatShareBothSurviveTheLossOfOnePathOnly) {
    EXPECT_EQ(survives({path("a", "p"), path("a", "p")}), "path ");
}

TEST(VolumeHealthSurvival, PathsWhoseTargetPortIsUnknownMayAllLeadToOne) {
    EXPECT_EQ(survives({path("a", ""), path("b", "")}), "path initiator ");
    EXPECT_EQ(survives({path("a", ""), path("b", ""), path("a", "p"), path("b", "q")}),
              "path initiator target_port ");
}

TEST(VolumeHealthSurvival, OnlyWorkingPathsCarryAndAnUnseenOneCountsAsItWasLastKnown) {
    EXPECT_EQ(survives({path("a", "p"), missing("b", "q")}), "");
    EXPECT_EQ(survives({path("a", "p"), unseen("b", "q", true, false)}), "path initiator target_port ");
    EXPECT_EQ(survives({path("a", "p"), unseen("b", "q", false, false)}), "");
}

TEST(VolumeHealthSurvival, WhatWasSurvivedAndIsNotAnyMoreIsLost) {
    EXPECT_FALSE(hasLost(NOTHING, NOTHING));
    EXPECT_FALSE(hasLost(NOTHING, EVERYTHING));
    EXPECT_FALSE(hasLost(EVERYTHING, EVERYTHING));
    EXPECT_TRUE(hasLost({true, false, false}, {false, true, true}));
    EXPECT_TRUE(hasLost({false, true, false}, {true, false, true}));
    EXPECT_TRUE(hasLost({false, false, true}, {true, true, false}));
}

TEST(VolumeHealthSurvival, IsForAnyVolumeWhatTakingEachThingAwayShows) {
    std::mt19937 random = seededRandom(1);
    for (int round = 0; round < 20000; ++round) {
        std::vector<PathHealth> paths = anyPaths(&random);
        // Named ports only: what an unknown one may be is a rule of its own.
        for (PathHealth &each : paths) {
            each.target_port = each.target_port.empty() ? "r" : each.target_port;
            each.unseen_long = false;
        }
        Survival expected = {countWorking(paths) > 0, countWorking(paths) > 0, countWorking(paths) > 0};
        for (const PathHealth &lost : paths) {
            const auto left = [&paths](const auto &is_lost) {
                return std::any_of(paths.begin(), paths.end(),
                                   [&](const PathHealth &each) { return each.working && !is_lost(each); });
            };
            expected.path = expected.path && left([&](const PathHealth &each) { return &each == &lost; });
            expected.initiator = expected.initiator && left([&](const PathHealth &each) {
                                     return each.initiator == lost.initiator;
                                 });
            expected.target_port = expected.target_port && left([&](const PathHealth &each) {
                                       return each.target_port == lost.target_port;
                                   });
        }
        EXPECT_EQ(survives(paths), text(expected));
    }
}

// ---- the verdict

TEST(VolumeHealthVerdict, CountsWhatWorks) {
    EXPECT_EQ(countWorking({}), 0);
    EXPECT_EQ(countWorking(
                  {path("a", "p"), path("a", "q", false), missing("b", "p"), unseen("b", "q", true, false)}),
              2);
}

TEST(VolumeHealthVerdict, AVolumeWithoutAWorkingPathIsNone) {
    EXPECT_EQ(verdict({}), "none");
    EXPECT_EQ(verdict({path("a", "p", false)}), "none");
    EXPECT_EQ(verdict({path("a", "p", false), missing("b", "q")}, EVERYTHING), "none");
}

TEST(VolumeHealthVerdict, OneOfSeveralThatWorksIsTheLast) {
    EXPECT_EQ(verdict({path("a", "p"), path("b", "q", false)}, EVERYTHING), "last_path");
    EXPECT_EQ(verdict({path("a", "p"), missing("b", "q")}, EVERYTHING), "last_path");
}

TEST(VolumeHealthVerdict, AVolumeThatNeverHadMoreThanOnePathIsOkWhileThatWorks) {
    EXPECT_EQ(verdict({path("a", "p")}), "ok");
    EXPECT_EQ(verdict({path("a", "p", false)}), "none");
}

TEST(VolumeHealthVerdict, AKnownPathThatDoesNotWorkOrIsMissingDegrades) {
    EXPECT_EQ(verdict({path("a", "p"), path("b", "q"), path("a", "q", false)}), "degraded");
    EXPECT_EQ(verdict({path("a", "p"), path("b", "q"), missing("a", "q")}), "degraded");
}

TEST(VolumeHealthVerdict, ALossThatTheBaselineSurvivesAndThePathsDoNotDegrades) {
    const std::vector<PathHealth> one_port = {path("a", "p"), path("b", "p")};
    EXPECT_EQ(verdict(one_port, {true, true, true}), "degraded");
    EXPECT_EQ(verdict(one_port, {true, true, false}), "ok");
}

TEST(VolumeHealthVerdict, APathUnseenForLongMakesTheVolumeUnknown) {
    EXPECT_EQ(verdict({path("a", "p"), path("b", "q"), unseen("a", "q", true, true)}), "unknown");
    EXPECT_EQ(verdict({path("a", "p"), unseen("b", "q", true, true)}), "unknown");
    EXPECT_EQ(verdict({path("a", "p", false), path("a", "q"), unseen("b", "q", false, true),
                       unseen("b", "r", true, true)}),
              "unknown");
}

TEST(VolumeHealthVerdict, APathUnseenForASecondCountsAsItWasLastKnown) {
    EXPECT_EQ(verdict({path("a", "p"), unseen("b", "q", true, false)}, EVERYTHING), "ok");
    EXPECT_EQ(verdict({path("a", "p"), unseen("b", "q", false, false)}, EVERYTHING), "last_path");
    EXPECT_EQ(verdict({path("a", "p", false), unseen("b", "q", false, false)}, EVERYTHING), "none");
}

TEST(VolumeHealthVerdict, WhatHoldsEvenIfTheUnseenPathWorksIsSaidBeforeUnknown) {
    EXPECT_EQ(verdict({path("a", "p", false), path("b", "q", false), unseen("c", "r", true, true)}),
              "last_path");
}

TEST(VolumeHealthVerdict, OverSeveralVolumesIsTheFirstInItsOrderThatAnyOfThemHas) {
    EXPECT_EQ(worstOf({}), VolumeState::OK);
    const std::vector<VolumeState> order = {VolumeState::NONE, VolumeState::LAST_PATH, VolumeState::UNKNOWN,
                                            VolumeState::DEGRADED, VolumeState::OK};
    for (size_t worst = 0; worst < order.size(); ++worst) {
        std::vector<VolumeState> states(order.begin() + static_cast<long>(worst), order.end());
        EXPECT_EQ(worstOf(states), order[worst]);
        std::reverse(states.begin(), states.end());
        EXPECT_EQ(worstOf(states), order[worst]);
    }
}

// ---- what must hold for any volume

namespace {

// The verdict's rules once more, from their words.
VolumeState plainVerdict(const std::vector<PathHealth> &paths, const Survival &baseline) {
    size_t working = 0; // as last known
    bool any_unseen_long = false;
    for (const PathHealth &each : paths) {
        working += each.working && each.presence != Presence::MISSING ? 1 : 0;
        any_unseen_long = any_unseen_long || each.unseen_long;
    }
    if (working == 0) {
        return VolumeState::NONE;
    }
    if (working == 1 && paths.size() > 1) {
        return VolumeState::LAST_PATH;
    }
    if (any_unseen_long) {
        return VolumeState::UNKNOWN;
    }
    const bool all_work = working == paths.size();
    return all_work && !hasLost(baseline, survivalOf(paths)) ? VolumeState::OK : VolumeState::DEGRADED;
}

} // namespace

TEST(VolumeHealthOfAnyVolume, FollowsTheRulesInTheirOrder) {
    std::mt19937 random = seededRandom(2);
    for (int round = 0; round < 50000; ++round) {
        const std::vector<PathHealth> paths = anyPaths(&random);
        const Survival baseline = anyBaseline(&random);
        EXPECT_EQ(verdict(paths, baseline), stateWord(plainVerdict(paths, baseline)));
    }
}

TEST(VolumeHealthOfAnyVolume, NeverGetsBetterByALoss) {
    std::mt19937 random = seededRandom(3);
    for (int round = 0; round < 50000; ++round) {
        std::vector<PathHealth> paths = anyPaths(&random);
        const Survival baseline = anyBaseline(&random);
        const VolumeState before = verdictOf(paths, baseline);
        const Survival survived = survivalOf(paths);
        std::vector<size_t> working;
        for (size_t i = 0; i < paths.size(); ++i) {
            if (paths[i].working && paths[i].presence == Presence::PRESENT) {
                working.push_back(i);
            }
        }
        if (working.empty()) {
            continue;
        }
        PathHealth *lost = &paths[working[random() % working.size()]];
        lost->working = false;
        lost->presence = random() % 2 == 0 ? Presence::MISSING : Presence::PRESENT;
        EXPECT_LE(verdictOf(paths, baseline), before);
        EXPECT_FALSE(hasLost(survivalOf(paths), survived));
    }
}

TEST(VolumeHealthOfAnyVolume, DoesNotDependOnTheOrderOfItsPaths) {
    std::mt19937 random = seededRandom(4);
    for (int round = 0; round < 20000; ++round) {
        std::vector<PathHealth> paths = anyPaths(&random);
        const Survival baseline = anyBaseline(&random);
        const VolumeState before = verdictOf(paths, baseline);
        const std::string survived = survives(paths);
        std::shuffle(paths.begin(), paths.end(), random);
        EXPECT_EQ(verdictOf(paths, baseline), before);
        EXPECT_EQ(survives(paths), survived);
    }
}

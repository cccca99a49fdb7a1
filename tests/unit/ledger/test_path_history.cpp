// A path's counters and times, and when it is said to flap.
#include "ledger/path_history.h"

#include <deque>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/seeded_random.h"

using namespace dravik;

namespace {

constexpr Milliseconds MINUTE = 60 * 1000;
constexpr Milliseconds START = 1'700'000'000'000;

KnownPath workingPath() {
    KnownPath path;
    path.working = true;
    return path;
}

// The path fails at this time and is back a second later.
void hiccup(KnownPath *path, Milliseconds time) {
    noteWorking(path, false, time);
    noteWorking(path, true, time + 1000);
}

} // namespace

TEST(PathHistory, AFailureAndAReturnAreCountedAndTheirTimesKept) {
    KnownPath path = workingPath();
    noteWorking(&path, false, START);
    EXPECT_FALSE(path.working);
    EXPECT_EQ(path.transitions, 1);
    EXPECT_EQ(path.last_failed, START);
    EXPECT_EQ(path.last_returned, 0);
    noteWorking(&path, true, START + 5);
    EXPECT_TRUE(path.working);
    EXPECT_EQ(path.transitions, 2);
    EXPECT_EQ(path.last_failed, START);
    EXPECT_EQ(path.last_returned, START + 5);
}

TEST(PathHistory, WhatIsNotNewIsNoTransition) {
    KnownPath path = workingPath();
    noteWorking(&path, true, START);
    EXPECT_EQ(path.transitions, 0);
    EXPECT_EQ(path.last_returned, 0);
    noteWorking(&path, false, START);
    noteWorking(&path, false, START + 1);
    EXPECT_EQ(path.transitions, 1);
    EXPECT_EQ(path.last_failed, START);
}

TEST(PathHistory, ThreeFailuresWithinThirtyMinutesMakeItFlap) {
    KnownPath path = workingPath();
    hiccup(&path, START);
    hiccup(&path, START + 10 * MINUTE);
    EXPECT_FALSE(isFlapping(path, START + 10 * MINUTE));
    noteWorking(&path, false, START + 29 * MINUTE);
    EXPECT_TRUE(isFlapping(path, START + 29 * MINUTE));
    EXPECT_FALSE(path.flapping); // the mark is whoever tells of it
}

TEST(PathHistory, ThreeFailuresOverMoreThanThirtyMinutesDoNot) {
    KnownPath path = workingPath();
    hiccup(&path, START);
    hiccup(&path, START + 10 * MINUTE);
    noteWorking(&path, false, START + 30 * MINUTE + 1);
    EXPECT_FALSE(isFlapping(path, START + 30 * MINUTE + 1));
    noteWorking(&path, true, START + 31 * MINUTE);
    noteWorking(&path, false, START + 39 * MINUTE); // the last three are within thirty minutes
    EXPECT_TRUE(isFlapping(path, START + 39 * MINUTE));
}

TEST(PathHistory, AFlappingPathIsSteadyAfterThirtyMinutesWithoutAFailure) {
    KnownPath path = workingPath();
    for (int i = 0; i < 3; ++i) {
        hiccup(&path, START + i * MINUTE);
    }
    path.flapping = true;
    const Milliseconds last = START + 2 * MINUTE;
    EXPECT_TRUE(isFlapping(path, last + 30 * MINUTE - 1));
    EXPECT_FALSE(isFlapping(path, last + 30 * MINUTE));
    // One more failure meanwhile, and the thirty minutes begin again.
    hiccup(&path, last + 29 * MINUTE);
    EXPECT_TRUE(isFlapping(path, last + 30 * MINUTE));
    EXPECT_TRUE(isFlapping(path, last + 59 * MINUTE - 1));
    EXPECT_FALSE(isFlapping(path, last + 59 * MINUTE));
}

TEST(PathHistory, OnlyFailuresCountNotReturns) {
    KnownPath path;
    for (int i = 0; i < 2; ++i) {
        noteWorking(&path, true, START + i * MINUTE);
        noteWorking(&path, false, START + i * MINUTE + 1);
    }
    noteWorking(&path, true, START + 3 * MINUTE);
    EXPECT_EQ(path.transitions, 5);
    EXPECT_FALSE(isFlapping(path, START + 3 * MINUTE));
}

TEST(PathHistory, AClockThatIsSetBackNeitherMakesAPathFlapForYearsNorHidesIt) {
    KnownPath path = workingPath();
    for (int i = 0; i < 3; ++i) {
        hiccup(&path, START + i * MINUTE);
    }
    path.flapping = true;
    const Milliseconds back = START - 365LL * 24 * 60 * MINUTE;
    hiccup(&path, back);
    EXPECT_FALSE(isFlapping(path, back + 31 * MINUTE));
}

TEST(PathHistory, OfAnyStoryIsWhatTheListOfAllFailuresSays) {
    std::mt19937 random = seededRandom(5);
    for (int story = 0; story < 500; ++story) {
        KnownPath path = workingPath();
        std::deque<Milliseconds> failures; // all of them
        Milliseconds time = START;
        bool flapping = false;
        for (int step = 0; step < 100; ++step) {
            time += static_cast<Milliseconds>(random() % (20 * MINUTE));
            const bool works = random() % 2 == 0;
            if (path.working && !works) {
                failures.push_back(time);
            }
            noteWorking(&path, works, time);
            const size_t count = failures.size();
            const bool three = count >= 3 && failures[count - 1] - failures[count - 3] <= 30 * MINUTE;
            const bool recent = count > 0 && time - failures.back() < 30 * MINUTE;
            flapping = recent && (flapping || three);
            EXPECT_EQ(isFlapping(path, time), flapping);
            path.flapping = isFlapping(path, time);
        }
    }
}

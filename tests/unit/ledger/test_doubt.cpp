// What makes an observation doubtful.
#include "ledger/doubt.h"

#include <gtest/gtest.h>

using dravik::Doubts;
using dravik::KernelAnswer;
using dravik::Quality;

TEST(Doubt, WhatTheKernelHasIsStillThere) {
    EXPECT_TRUE(Doubts(false).isStillThere(KernelAnswer::HAS_IT));
    EXPECT_TRUE(Doubts(true).isStillThere(KernelAnswer::HAS_IT));
}

TEST(Doubt, WhatTheKernelHasNotIsGone) {
    EXPECT_FALSE(Doubts(false).isStillThere(KernelAnswer::HAS_IT_NOT));
    EXPECT_FALSE(Doubts(true).isStillThere(KernelAnswer::HAS_IT_NOT));
}

TEST(Doubt, WhereTheKernelCannotTellAToolIsBelievedOnlyIfItEndedWell) {
    EXPECT_FALSE(Doubts(false).isStillThere(KernelAnswer::CANNOT_TELL));
    EXPECT_TRUE(Doubts(true).isStillThere(KernelAnswer::CANNOT_TELL));
}

TEST(Doubt, WithoutADoubtAnObservationIsGood) {
    const Doubts none(true);
    EXPECT_EQ(none.quality(), Quality::GOOD);
    EXPECT_EQ(none.reason(), "");
}

TEST(Doubt, OneThingMakesItDoubtfulAndIsNamed) {
    Doubts doubts(false);
    doubts.add("sdc of a", KernelAnswer::HAS_IT);
    EXPECT_EQ(doubts.quality(), Quality::DOUBTFUL);
    EXPECT_EQ(doubts.reason(), "not listed, though the kernel has it: sdc of a");
    doubts.add("b", KernelAnswer::HAS_IT);
    EXPECT_EQ(doubts.reason(), "not listed, though the kernel has it: sdc of a, b");
}

TEST(Doubt, AMuteKernelIsSaidToBeMute) {
    Doubts doubts(true);
    doubts.add("a", KernelAnswer::HAS_IT);
    doubts.add("b", KernelAnswer::CANNOT_TELL);
    EXPECT_EQ(doubts.reason(), "not listed, and the kernel cannot be asked: a, b");
}

TEST(Doubt, OnlyTheFirstFewAreNamed) {
    Doubts doubts(false);
    std::string expected = "not listed, though the kernel has it: ";
    for (int i = 0; i < 30; ++i) {
        doubts.add("volume12", KernelAnswer::HAS_IT); // ten characters each with what separates them
        expected += i == 0 ? "volume12" : i <= 20 ? ", volume12" : "";
    }
    EXPECT_EQ(doubts.reason(), expected + " and 9 more");
}

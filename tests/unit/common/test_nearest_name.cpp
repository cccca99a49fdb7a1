// How many mistakes lie between a typed word and a name.
#include "common/nearest_name.h"

#include <gtest/gtest.h>

#include <string>

using namespace dravik;

TEST(NearestName, CountsLettersThatAreWrongMissingTooManyOrExchanged) {
    EXPECT_EQ(mistakesBetween("status", "status"), 0u);
    EXPECT_EQ(mistakesBetween("stetus", "status"), 1u);
    EXPECT_EQ(mistakesBetween("statu", "status"), 1u);
    EXPECT_EQ(mistakesBetween("statuss", "status"), 1u);
    EXPECT_EQ(mistakesBetween("sttaus", "status"), 1u);
    EXPECT_EQ(mistakesBetween("sttauss", "status"), 2u);
    EXPECT_EQ(mistakesBetween("", ""), 0u);
    EXPECT_EQ(mistakesBetween("", "ab"), 2u);
}

TEST(NearestName, AnotherWordHasMoreThanTheMost) {
    EXPECT_GT(mistakesBetween("query", "status"), MOST_MISTAKES);
    EXPECT_GT(mistakesBetween(std::string(1000000, 'a'), "status"), MOST_MISTAKES);
    EXPECT_GT(mistakesBetween("", "abc"), MOST_MISTAKES);
}

TEST(NearestName, NamesAreComparedUpToTheLongest) {
    const std::string longest(LONGEST_NAME, 'n');
    EXPECT_EQ(mistakesBetween(longest, longest), 0u);
    EXPECT_EQ(mistakesBetween(longest + "xx", longest), 2u);
    EXPECT_GT(mistakesBetween(longest + "n", longest + "n"), MOST_MISTAKES);
}

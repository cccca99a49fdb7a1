// What a text consists of.
#include "common/character_tests.h"

#include <string>

#include <gtest/gtest.h>

TEST(CharacterTests, IsDigitHoldsForDigitsOnly) {
    EXPECT_TRUE(isDigit(""));
    EXPECT_TRUE(isDigit("0123456789"));
    EXPECT_FALSE(isDigit("1a"));
    EXPECT_FALSE(isDigit("-1"));
    EXPECT_FALSE(isDigit("1 "));
    EXPECT_FALSE(isDigit("\xd9\xa1")); // a digit of another script
}

TEST(CharacterTests, IsHexHoldsForEitherCase) {
    EXPECT_TRUE(isHex(""));
    EXPECT_TRUE(isHex("0123456789abcdefABCDEF"));
    EXPECT_FALSE(isHex("g"));
    EXPECT_FALSE(isHex("0x1"));
}

TEST(CharacterTests, IsDigitorOrLetterHoldsForAsciiLettersAndDigits) {
    EXPECT_TRUE(isDigitorOrLetter(""));
    EXPECT_TRUE(isDigitorOrLetter("azAZ09"));
    EXPECT_FALSE(isDigitorOrLetter("a_b"));
    EXPECT_FALSE(isDigitorOrLetter("a@"));
    EXPECT_FALSE(isDigitorOrLetter("\xc3\xa9"));
}

TEST(CharacterTests, IsUpperLetterTestsForPresenceNotForAll) {
    EXPECT_TRUE(isUpperLetter("A"));
    EXPECT_TRUE(isUpperLetter("zzzZ"));
    EXPECT_FALSE(isUpperLetter("abc09"));
    EXPECT_FALSE(isUpperLetter(""));
}

TEST(CharacterTests, NullCountsAsEmpty) {
    EXPECT_TRUE(isDigit(nullptr));
    EXPECT_TRUE(isHex(nullptr));
    EXPECT_TRUE(isDigitorOrLetter(nullptr));
    EXPECT_FALSE(isUpperLetter(nullptr));
}

TEST(CharacterTests, EachOfAllCharactersIsJudgedByItselfWhateverStandsBefore) {
    for (int code = 1; code < 256; code++) {
        const char c = static_cast<char>(code);
        const std::string text(1, c);
        const bool digit = code >= '0' && code <= '9';
        const bool upper = code >= 'A' && code <= 'Z';
        const bool lower = code >= 'a' && code <= 'z';
        const bool hex = digit || (code >= 'a' && code <= 'f') || (code >= 'A' && code <= 'F');
        EXPECT_EQ(isDigit(text.c_str()), digit) << code;
        EXPECT_EQ(isDigit(("0" + text).c_str()), digit) << code;
        EXPECT_EQ(isHex(text.c_str()), hex) << code;
        EXPECT_EQ(isHex(("0" + text).c_str()), hex) << code;
        EXPECT_EQ(isDigitorOrLetter(text.c_str()), digit || upper || lower) << code;
        EXPECT_EQ(isDigitorOrLetter(("0" + text).c_str()), digit || upper || lower) << code;
        EXPECT_EQ(isUpperLetter(text.c_str()), upper) << code;
        EXPECT_EQ(isUpperLetter(("0" + text).c_str()), upper) << code;
    }
}

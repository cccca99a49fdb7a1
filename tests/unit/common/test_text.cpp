// Bounded and null-safe text functions.
#include "common/text.h"

#include "tests/support/console.h"
#include "tests/support/rules.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using Bytes = std::string;

// A text in a heap block of exactly its size: a sanitizer sees every byte read or written beyond it.
std::unique_ptr<char[]> exactCopy(const std::string &text) {
    auto block = std::make_unique<char[]>(text.size() + 1);
    memcpy(block.get(), text.c_str(), text.size() + 1);
    return block;
}

// Bytes without a terminator, in a heap block of exactly their number.
std::unique_ptr<char[]> unterminated(const std::string &bytes) {
    auto block = std::make_unique<char[]>(bytes.size());
    memcpy(block.get(), bytes.data(), bytes.size());
    return block;
}

} // namespace

TEST(Text, StrlenCountsBytes) {
    EXPECT_EQ(tessaline_strlen(""), 0U);
    EXPECT_EQ(tessaline_strlen("abc"), 3U);
    EXPECT_EQ(tessaline_strlen("\xc3\xa9"), 2U);
}

TEST(Text, SafeStrlenOfNullIsZero) {
    EXPECT_EQ(safe_strlen(nullptr), 0U);
    EXPECT_EQ(safe_strlen(""), 0U);
    EXPECT_EQ(safe_strlen("abc"), 3U);
}

TEST(Text, StrnlenStopsAtTheBoundWithoutReadingBeyond) {
    EXPECT_EQ(tessaline_strnlen("abc", 5), 3U);
    EXPECT_EQ(tessaline_strnlen("abc", 3), 3U);
    EXPECT_EQ(tessaline_strnlen("abc", 2), 2U);
    EXPECT_EQ(tessaline_strnlen("abc", 0), 0U);
    EXPECT_EQ(tessaline_strnlen(unterminated("abcd").get(), 4), 4U);
}

TEST(Text, StrchrFindsTheFirstPlace) {
    const char *text = "abcb";
    EXPECT_EQ(tessaline_strchr(text, 'b'), text + 1);
    EXPECT_EQ(tessaline_strchr(text, 'a'), text);
    EXPECT_EQ(tessaline_strchr(text, 'x'), nullptr);
    EXPECT_EQ(tessaline_strchr("", 'x'), nullptr);
}

TEST(Text, StrchrOfZeroIsTheTerminator) {
    const char *text = "abc";
    EXPECT_EQ(tessaline_strchr(text, 0), text + 3);
    const char *empty = "";
    EXPECT_EQ(tessaline_strchr(empty, 0), empty);
}

TEST(Text, StrchrFindsBytesAbove127GivenAsPlainCharOrAsNumber) {
    const char *text = "a\xff\x80";
    EXPECT_EQ(tessaline_strchr(text, '\xff'), text + 1);
    EXPECT_EQ(tessaline_strchr(text, 0x80), text + 2);
}

TEST(Text, StrspnCountsLeadingCharactersOfTheSet) {
    EXPECT_EQ(tessaline_strspn("aabbc", "ab"), 4U);
    EXPECT_EQ(tessaline_strspn("xaab", "ab"), 0U);
    EXPECT_EQ(tessaline_strspn("abab", "ab"), 4U);
    EXPECT_EQ(tessaline_strspn("", "ab"), 0U);
    EXPECT_EQ(tessaline_strspn("ab", ""), 0U);
}

TEST(Text, StrcspnCountsLeadingCharactersOutsideTheSet) {
    EXPECT_EQ(tessaline_strcspn("xxab", "ab"), 2U);
    EXPECT_EQ(tessaline_strcspn("abxx", "ab"), 0U);
    EXPECT_EQ(tessaline_strcspn("xxyy", "ab"), 4U);
    EXPECT_EQ(tessaline_strcspn("", "ab"), 0U);
    EXPECT_EQ(tessaline_strcspn("ab", ""), 2U);
}

TEST(Text, StrspnAndStrcspnOfNullAreTheLargestUnsignedValue) {
    EXPECT_EQ(tessaline_strspn(nullptr, "a"), SIZE_MAX);
    EXPECT_EQ(tessaline_strspn("a", nullptr), SIZE_MAX);
    EXPECT_EQ(tessaline_strspn(nullptr, nullptr), SIZE_MAX);
    EXPECT_EQ(tessaline_strcspn(nullptr, "a"), SIZE_MAX);
    EXPECT_EQ(tessaline_strcspn("a", nullptr), SIZE_MAX);
    EXPECT_EQ(tessaline_strcspn(nullptr, nullptr), SIZE_MAX);
}

TEST(Text, StrtokSkipsLeadingDelimitersAndEndsWithNull) {
    char text[] = ";;a;b";
    EXPECT_STREQ(tessaline_strtok(text, ";"), "a");
    EXPECT_STREQ(tessaline_strtok(nullptr, ";"), "b");
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
}

TEST(Text, StrtokCutsInPlaceAndSkipsRuns) {
    char text[] = "a;,;b,";
    EXPECT_EQ(tessaline_strtok(text, ";,"), text);
    EXPECT_EQ(tessaline_strtok(nullptr, ";,"), text + 4);
    EXPECT_EQ(tessaline_strtok(nullptr, ";,"), nullptr);
    EXPECT_EQ(Bytes(text, sizeof(text)), Bytes("a\0,;b\0\0", 7));
}

TEST(Text, StrtokOfNothingButDelimitersIsNullAndEndsTheScan) {
    char text[] = ";;;";
    EXPECT_EQ(tessaline_strtok(text, ";"), nullptr);
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
    char empty[] = "";
    EXPECT_EQ(tessaline_strtok(empty, ";"), nullptr);
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
}

TEST(Text, StrtokTakesAnotherSetOfDelimitersForEveryToken) {
    char text[] = "a;b,c;d";
    EXPECT_STREQ(tessaline_strtok(text, ";"), "a");
    EXPECT_STREQ(tessaline_strtok(nullptr, ","), "b");
    EXPECT_STREQ(tessaline_strtok(nullptr, ""), "c;d");
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
}

TEST(Text, StrtokKeepsItsPlaceApartFromTheLibrarys) {
    char ours[] = "a;b";
    char theirs[] = "x;y";
    EXPECT_STREQ(tessaline_strtok(ours, ";"), "a");
    EXPECT_STREQ(strtok(theirs, ";"), "x"); // NOLINT(concurrency-mt-unsafe): the point of the test
    EXPECT_STREQ(tessaline_strtok(nullptr, ";"), "b");
    EXPECT_STREQ(strtok(nullptr, ";"), "y"); // NOLINT(concurrency-mt-unsafe)
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
}

TEST(Text, StrtokOfANewTextStartsANewScan) {
    char first[] = "a;b;c";
    char second[] = "x;y";
    EXPECT_STREQ(tessaline_strtok(first, ";"), "a");
    EXPECT_STREQ(tessaline_strtok(second, ";"), "x");
    EXPECT_STREQ(tessaline_strtok(nullptr, ";"), "y");
    EXPECT_EQ(tessaline_strtok(nullptr, ";"), nullptr);
}

TEST(Text, StrncmpIsZeroWhenTheBoundMatchedOrBothEnded) {
    EXPECT_EQ(tessaline_strncmp("abcX", "abcY", 3), 0);
    EXPECT_EQ(tessaline_strncmp("abc", "abc", 99), 0);
    EXPECT_EQ(tessaline_strncmp("", "", 5), 0);
    EXPECT_EQ(tessaline_strncmp("a", "b", 0), 0);
    EXPECT_EQ(tessaline_strncmp(unterminated("abc").get(), unterminated("abc").get(), 3), 0);
}

TEST(Text, StrncmpIsTheDifferenceOfTheFirstDifferingBytesAsUnsigned) {
    EXPECT_EQ(tessaline_strncmp("abc", "abe", 3), 'c' - 'e');
    EXPECT_EQ(tessaline_strncmp("abe", "abc", 9), 'e' - 'c');
    EXPECT_EQ(tessaline_strncmp("ab", "abc", 3), -'c');
    EXPECT_EQ(tessaline_strncmp("abc", "ab", 3), 'c');
    EXPECT_EQ(tessaline_strncmp("\xff", "\x01", 1), 254);
    EXPECT_EQ(tessaline_strncmp("a", "\x80", 1), 'a' - 128);
}

TEST(Text, StrncmpDoesNotLookBehindACommonEnd) {
    EXPECT_EQ(tessaline_strncmp("ab\0x", "ab\0y", 4), 0);
}

TEST(Text, StrstrFindsTheFirstOccurrence) {
    const char *text = "abcabd";
    EXPECT_EQ(tessaline_strstr(text, "ab"), text);
    EXPECT_EQ(tessaline_strstr(text, "abd"), text + 3);
    EXPECT_EQ(tessaline_strstr(text, "d"), text + 5);
    EXPECT_EQ(tessaline_strstr(text, "abx"), nullptr);
    EXPECT_EQ(tessaline_strstr(text, "abcabde"), nullptr);
    EXPECT_EQ(tessaline_strstr("aaab", "aab") != nullptr, true);
}

TEST(Text, StrstrOfAnEmptyNeedleIsTheHaystack) {
    const char *text = "abc";
    EXPECT_EQ(tessaline_strstr(text, ""), text);
    const char *empty = "";
    EXPECT_EQ(tessaline_strstr(empty, ""), empty);
    EXPECT_EQ(tessaline_strstr(empty, "a"), nullptr);
}

TEST(Text, MemcpyCopiesForwardByteByByteAndReturnsTheDestination) {
    char target[8] = "-------";
    EXPECT_EQ(tessaline_memcpy(target, "a\0b", 3), target);
    EXPECT_EQ(Bytes(target, 8), Bytes("a\0b----\0", 8));
    EXPECT_EQ(tessaline_memcpy(target, "x", 0), target);
    EXPECT_EQ(target[0], 'a');
}

TEST(Text, MemcpyOverOverlapsGoesForward) {
    char down[] = "abcdef";
    tessaline_memcpy(down, down + 2, 4);
    EXPECT_STREQ(down, "cdefef");
    // Forward also means that a byte just written is read again.
    char up[] = "abcdef";
    tessaline_memcpy(up + 1, up, 5);
    EXPECT_STREQ(up, "aaaaaa");
}

TEST(Text, StrncatAppendsAtMostTheBoundAndTerminates) {
    char target[10] = "ab\0######";
    EXPECT_EQ(tessaline_strncat(target, "cdefgh", 3), target);
    EXPECT_EQ(Bytes(target, 10), Bytes("abcde\0###\0", 10));
    tessaline_strncat(target, "xy", 9);
    EXPECT_EQ(Bytes(target, 10), Bytes("abcdexy\0#\0", 10));
}

TEST(Text, StrncatOfNothingLeavesTheText) {
    char target[] = "ab\0#";
    tessaline_strncat(target, "", 5);
    tessaline_strncat(target, "x", 0);
    EXPECT_EQ(Bytes(target, sizeof(target)), Bytes("ab\0#\0", 5));
}

TEST(Text, StrncatReadsNoMoreThanTheBound) {
    char target[4] = "a";
    tessaline_strncat(target, unterminated("bc").get(), 2);
    EXPECT_STREQ(target, "abc");
}

TEST(Text, StrncpyOfAShorterTextZeroFillsUpToAndIncludingTheBound) {
    char target[9] = "########";
    EXPECT_EQ(tessaline_strncpy(target, "ERROR", 6), target);
    EXPECT_EQ(Bytes(target, 9), Bytes("ERROR\0\0#\0", 9));
}

TEST(Text, StrncpyOfALongerTextTerminatesAtTheBound) {
    char target[9] = "########";
    tessaline_strncpy(target, "abcdef", 3);
    EXPECT_EQ(Bytes(target, 9), Bytes("abc\0####\0", 9));
    tessaline_strncpy(target, "xyz", 3);
    EXPECT_EQ(Bytes(target, 9), Bytes("xyz\0####\0", 9));
}

TEST(Text, StrncpyWithBoundZeroDoesNothing) {
    char target[] = "ab";
    EXPECT_EQ(tessaline_strncpy(target, "x", 0), target);
    EXPECT_STREQ(target, "ab");
}

TEST(Text, StrncpyReadsNoMoreThanTheBound) {
    char target[4];
    tessaline_strncpy(target, unterminated("abc").get(), 3);
    EXPECT_STREQ(target, "abc");
}

TEST(Text, FindCharIsNullSafe) {
    const char *text = "abc";
    EXPECT_EQ(find_char(text, 'b'), text + 1);
    EXPECT_EQ(find_char(text, 'x'), nullptr);
    EXPECT_EQ(find_char(nullptr, 'x'), nullptr);
    EXPECT_EQ(find_char("", 'x'), nullptr);
}

TEST(Text, FindStrIsNullSafe) {
    const char *text = "abcabc";
    EXPECT_EQ(find_str(text, "ca"), text + 2);
    EXPECT_EQ(find_str(text, "cb"), nullptr);
    EXPECT_EQ(find_str(text, ""), text);
    EXPECT_EQ(find_str(nullptr, "a"), nullptr);
    EXPECT_EQ(find_str(text, nullptr), nullptr);
}

TEST(Text, NumberOfStringCountsOverlaps) {
    EXPECT_EQ(numberOfString("aaa", "aa"), 2);
    EXPECT_EQ(numberOfString("aaaa", "aa"), 3);
    EXPECT_EQ(numberOfString("a,b,,c", ","), 3);
    EXPECT_EQ(numberOfString("abc", "abcd"), 0);
    EXPECT_EQ(numberOfString("", "a"), 0);
}

TEST(Text, NumberOfStringOfNullOrEmptyIsZero) {
    EXPECT_EQ(numberOfString(nullptr, "a"), 0);
    EXPECT_EQ(numberOfString("a", nullptr), 0);
    EXPECT_EQ(numberOfString("a", ""), 0);
}

TEST(Text, StrrplReplacesEveryOccurrenceAndTerminates) {
    char target[32];
    memset(target, '#', sizeof(target));
    tessaline_strrpl(target, "a.b.c", ".", "->");
    EXPECT_EQ(Bytes(target, 9), Bytes("a->b->c\0#", 9));
    tessaline_strrpl(target, "aXXbXX", "XX", "");
    EXPECT_STREQ(target, "ab");
    tessaline_strrpl(target, "aaa", "aa", "b");
    EXPECT_STREQ(target, "ba");
    tessaline_strrpl(target, "none", "x", "y");
    EXPECT_STREQ(target, "none");
    tessaline_strrpl(target, "", "x", "y");
    EXPECT_STREQ(target, "");
}

TEST(Text, StrrplDoesNotSearchWhatItHasWritten) {
    char target[32];
    tessaline_strrpl(target, "aa", "a", "aa");
    EXPECT_STREQ(target, "aaaa");
}

TEST(Text, StrrplNeverFindsAnEmptyText) {
    char target[32];
    tessaline_strrpl(target, "abc", "", "x");
    EXPECT_STREQ(target, "abc");
}

TEST(Text, ReplaceReturnsANewTextWithoutTheOldOne) {
    char text[] = "a,b,c";
    char *replaced = tessaline_replace(text, ",", "--");
    EXPECT_STREQ(replaced, "a--b--c");
    EXPECT_STREQ(text, "a,b,c");
    free(replaced);
}

TEST(Text, ReplaceSearchesAgainFromTheStart) {
    char text[] = "aabb";
    char *replaced = tessaline_replace(text, "ab", "");
    EXPECT_STREQ(replaced, "");
    free(replaced);
}

TEST(Text, ReplaceWithoutAnOccurrenceIsStillACopy) {
    char text[] = "abc";
    char *replaced = tessaline_replace(text, "x", "y");
    EXPECT_NE(replaced, text);
    EXPECT_STREQ(replaced, "abc");
    free(replaced);
}

TEST(Text, ReplaceOfNullTextsReturnsTheTextItself) {
    char text[] = "abc";
    EXPECT_EQ(tessaline_replace(text, nullptr, "y"), text);
    EXPECT_EQ(tessaline_replace(text, "x", nullptr), text);
    EXPECT_STREQ(text, "abc");
}

namespace {

// Which end is looked at, the text, what it may begin or end with, and the answer.
struct EndCase {
    int (*compares)(const char *text, const char *part);
    const char *text;
    const char *part;
    int answer;
};

const Rule<EndCase> END_RULES[] = {
    {"BeginsWith",
     {{isBeginwith, "abc", "ab", 1},
      {isBeginwith, "abc", "abc", 1},
      {isBeginwith, "abc", "abcd", 0},
      {isBeginwith, "abc", "b", 0},
      {isBeginwith, "", "a", 0}}},
    {"EveryTextBeginsWithTheEmptyOne", {{isBeginwith, "abc", "", 1}, {isBeginwith, "", "", 1}}},
    {"NullBeginsWithNothing",
     {{isBeginwith, nullptr, "a", 0},
      {isBeginwith, "a", nullptr, 0},
      {isBeginwith, nullptr, nullptr, 0},
      {isBeginwith, nullptr, "", 0}}},
    {"EndsWith",
     {{isEndWith, "abc", "bc", 1},
      {isEndWith, "abc", "abc", 1},
      {isEndWith, "abc", "xbc", 0},
      {isEndWith, "abc", "ab", 0},
      {isEndWith, "abcb", "b", 1}}},
    {"SuffixLongerThanTheTextMatchesWhenTheCommonPartDoes",
     {{isEndWith, "b", "ab", 1},
      {isEndWith, "bc", "abc", 1},
      {isEndWith, "b", "ax", 0},
      {isEndWith, "xc", "abc", 0}}},
    {"EndsWithOfEmptyAndNullTexts",
     {{isEndWith, "", "", 1},
      {isEndWith, "abc", "", 1},
      {isEndWith, "", "abc", 0},
      {isEndWith, nullptr, "a", 0},
      {isEndWith, "a", nullptr, 0},
      {isEndWith, nullptr, nullptr, 0}}},
};

class TextEnds : public testing::TestWithParam<Rule<EndCase>> {};

} // namespace

TEST_P(TextEnds, AreCompared) {
    for (const EndCase &row : GetParam().cases) {
        EXPECT_EQ(row.compares(row.text, row.part), row.answer)
            << testing::PrintToString(row.text) << " " << testing::PrintToString(row.part);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, TextEnds, testing::ValuesIn(END_RULES), nameOfRule);

TEST(Text, PrintWidthCutsToTheWidthAndRestoresTheText) {
    char text[] = "abcdef";
    EXPECT_EQ(printedBy([&] { printWidth(text, 3); }), "abc");
    EXPECT_STREQ(text, "abcdef");
    EXPECT_EQ(printedBy([&] { printWidth(text, 0); }), "");
    EXPECT_STREQ(text, "abcdef");
}

TEST(Text, PrintWidthPadsWithBlanks) {
    char text[] = "ab";
    EXPECT_EQ(printedBy([&] { printWidth(text, 5); }), "ab   ");
    EXPECT_EQ(printedBy([&] { printWidth(text, 2); }), "ab");
    char empty[] = "";
    EXPECT_EQ(printedBy([&] { printWidth(empty, 3); }), "   ");
}

TEST(Text, PrintWidthWritesNothingBeyondAShortText) {
    const auto text = exactCopy("ab");
    EXPECT_EQ(printedBy([&] { printWidth(text.get(), 4); }), "ab  ");
}

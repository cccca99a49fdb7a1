// Cutting text into lines, tokens and fields; regular expressions.
#include "common/text_split.h"

#include <gtest/gtest.h>

#include "tests/support/rules.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

// The fields of a split that ends with a null pointer, and the release of its one block.
Texts fieldsAndFree(char **fields) {
    Texts found;
    for (char **field = fields; *field != nullptr; field++) {
        found.emplace_back(*field);
    }
    free(fields);
    return found;
}

Texts splitAt(const char *text, const char *delimiter) {
    unsigned int count = 99;
    char **fields = _strsplit(text, delimiter, &count);
    if (fields == nullptr) {
        ADD_FAILURE() << "no fields";
        return {};
    }
    Texts found = fieldsAndFree(fields);
    EXPECT_EQ(count, found.size());
    return found;
}

// `splitStr` of a copy of `text`.
Texts splitInPlace(const std::string &text, char c) {
    std::string copy = text;
    char **array = nullptr;
    const int count = splitStr(copy.data(), c, &array);
    Texts found;
    for (int i = 0; i < count; i++) {
        found.emplace_back(array[i]);
    }
    free(array);
    return found;
}

std::vector<int> indexes(const char *text, char separator, int max) {
    std::vector<int> positions(static_cast<size_t>(max));
    const int count = findSubStrIndexes(text, separator, positions.data(), max);
    positions.resize(static_cast<size_t>(count));
    return positions;
}

} // namespace

TEST(TextSplit, NextLineIsBehindTheNewline) {
    char text[] = "one\ntwo\nthree";
    char *second = get_next_line(text);
    EXPECT_EQ(second, text + 4);
    char *third = get_next_line(second);
    EXPECT_EQ(third, text + 8);
    EXPECT_EQ(get_next_line(third), nullptr);
    EXPECT_STREQ(text, "one\ntwo\nthree");
}

TEST(TextSplit, FinalNewlineIsRemovedAndThereIsNoNextLine) {
    char text[] = "one\n";
    EXPECT_EQ(get_next_line(text), nullptr);
    EXPECT_STREQ(text, "one");
    char newline[] = "\n";
    EXPECT_EQ(get_next_line(newline), nullptr);
    EXPECT_STREQ(newline, "");
}

TEST(TextSplit, EmptyLineBeforeTheFinalNewlineIsALine) {
    char text[] = "one\n\n";
    char *second = get_next_line(text);
    EXPECT_EQ(second, text + 4);
    EXPECT_EQ(get_next_line(second), nullptr);
    EXPECT_STREQ(text, "one\n");
}

TEST(TextSplit, NoNextLineOfNullOrOfATextWithoutNewline) {
    EXPECT_EQ(get_next_line(nullptr), nullptr);
    char empty[] = "";
    EXPECT_EQ(get_next_line(empty), nullptr);
    char text[] = "one";
    EXPECT_EQ(get_next_line(text), nullptr);
    EXPECT_STREQ(text, "one");
}

TEST(TextSplit, FindNotCharSkipsARun) {
    EXPECT_EQ(findNotChar("   ab", 0, ' '), 3);
    EXPECT_EQ(findNotChar("   ab", 2, ' '), 3);
    EXPECT_EQ(findNotChar("   ab", 4, ' '), 4);
    EXPECT_EQ(findNotChar("ab", 0, ' '), 0);
    EXPECT_EQ(findNotChar("a  b", 1, ' '), 3);
}

TEST(TextSplit, FindNotCharIsMinusOneWhenTheRestEqualsTheCharacter) {
    EXPECT_EQ(findNotChar("ab  ", 2, ' '), -1);
    EXPECT_EQ(findNotChar("    ", 0, ' '), -1);
}

TEST(TextSplit, FindNotCharIsMinusOneForNullEmptyAndPlacesOutside) {
    EXPECT_EQ(findNotChar(nullptr, 0, ' '), -1);
    EXPECT_EQ(findNotChar("", 0, ' '), -1);
    EXPECT_EQ(findNotChar("ab", -1, ' '), -1);
    EXPECT_EQ(findNotChar("ab", 2, ' '), -1);
    EXPECT_EQ(findNotChar("ab", 3, ' '), -1);
}

TEST(TextSplit, PFindNotCharIsTheSameAsAPlace) {
    const char *text = "  ab";
    EXPECT_EQ(pFindNotChar(text, 0, ' '), text + 2);
    EXPECT_EQ(pFindNotChar(text, 3, ' '), text + 3);
    EXPECT_EQ(pFindNotChar("  ", 0, ' '), nullptr);
    EXPECT_EQ(pFindNotChar(nullptr, 0, ' '), nullptr);
    EXPECT_EQ(pFindNotChar("", 0, ' '), nullptr);
    EXPECT_EQ(pFindNotChar(text, -1, ' '), nullptr);
    EXPECT_EQ(pFindNotChar(text, 4, ' '), nullptr);
}

TEST(TextSplit, IndexesOfTheSixTokensOfAPathLine) {
    const char *line = "  1:0:0:1 sdb 8:16   active ready running";
    EXPECT_EQ(indexes(line, ' ', 6), (std::vector<int>{2, 10, 14, 21, 28, 34}));
}

TEST(TextSplit, IndexesStopAtTheMaximum) {
    EXPECT_EQ(indexes("a b c d", ' ', 2), (std::vector<int>{0, 2}));
    EXPECT_EQ(indexes("a b", ' ', 6), (std::vector<int>{0, 2}));
    EXPECT_EQ(indexes("a b", ' ', 0), std::vector<int>());
}

TEST(TextSplit, IndexesLeavePositionsBeyondTheFoundOnesAlone) {
    int positions[3] = {-7, -7, -7};
    EXPECT_EQ(findSubStrIndexes(" a ", ' ', positions, 3), 1);
    EXPECT_EQ(positions[0], 1);
    EXPECT_EQ(positions[1], -7);
    EXPECT_EQ(positions[2], -7);
}

TEST(TextSplit, IndexesOfNullEmptyOrOnlySeparatorsAreNone) {
    EXPECT_EQ(indexes(nullptr, ' ', 6), std::vector<int>());
    EXPECT_EQ(indexes("", ' ', 6), std::vector<int>());
    EXPECT_EQ(indexes("    ", ' ', 6), std::vector<int>());
}

namespace {

// A text, the delimiter at which it is split, and its fields.
struct SplitCase {
    const char *text;
    const char *delimiter;
    Texts fields;
};

const Rule<SplitCase> SPLIT_RULES[] = {
    {"StrsplitKeepsEmptyFields",
     {{"a,,b", ",", {"a", "", "b"}}, {",a", ",", {"", "a"}}, {",", ",", {"", ""}}}},
    {"StrsplitFinalDelimiterYieldsALastEmptyField", {{"a,b,", ",", {"a", "b", ""}}}},
    {"StrsplitOfAnEmptyTextIsOneEmptyField", {{"", ",", {""}}}},
    {"StrsplitCutsAtTheWholeDelimiter",
     {{"a--b-c--d", "--", {"a", "b-c", "d"}},
      {"abc", "abcd", {"abc"}},
      {"abc", "abc", {"", ""}},
      {"---", "--", {"", "-"}},
      {"aaaa", "aa", {"", "", ""}}}},
    {"StrsplitNeverFindsAnEmptyDelimiter", {{"abc", "", {"abc"}}}},
};

class TextSplitFields : public testing::TestWithParam<Rule<SplitCase>> {};

} // namespace

TEST_P(TextSplitFields, AreThoseOfTheText) {
    for (const SplitCase &row : GetParam().cases) {
        EXPECT_EQ(splitAt(row.text, row.delimiter), row.fields) << row.text;
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, TextSplitFields, testing::ValuesIn(SPLIT_RULES), nameOfRule);

TEST(TextSplit, StrsplitLeavesItsTextAlone) {
    const char text[] = "a,b";
    free(strsplit(text, ","));
    EXPECT_STREQ(text, "a,b");
}

TEST(TextSplit, StrsplitOfNullIsNullAndCountsZero) {
    unsigned int count = 99;
    EXPECT_EQ(_strsplit(nullptr, ",", &count), nullptr);
    EXPECT_EQ(count, 0U);
    count = 99;
    EXPECT_EQ(_strsplit("a", nullptr, &count), nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(_strsplit(nullptr, ",", nullptr), nullptr);
}

TEST(TextSplit, StrsplitWithAndWithoutTheCount) {
    EXPECT_EQ(fieldsAndFree(strsplit("a,b", ",")), (Texts{"a", "b"}));
    unsigned int count = 0;
    EXPECT_EQ(fieldsAndFree(strsplit_count("a,b,c", ",", &count)), (Texts{"a", "b", "c"}));
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(fieldsAndFree(strsplit_count("a", ",", nullptr)), Texts{"a"});
}

TEST(TextSplit, SplitStrDropsEmptyFields) {
    EXPECT_EQ(splitInPlace("a,b,c", ','), (Texts{"a", "b", "c"}));
    EXPECT_EQ(splitInPlace(",,a,,b,,", ','), (Texts{"a", "b"}));
    EXPECT_EQ(splitInPlace("abc", ','), Texts{"abc"});
    EXPECT_EQ(splitInPlace(",abc", ','), Texts{"abc"});
    EXPECT_EQ(splitInPlace(",,,", ','), Texts());
}

TEST(TextSplit, SplitStrPointsIntoItsText) {
    char text[] = "a,bc";
    char **array = nullptr;
    ASSERT_EQ(splitStr(text, ',', &array), 2);
    EXPECT_EQ(array[0], text);
    EXPECT_EQ(array[1], text + 2);
    EXPECT_EQ(std::string(text, sizeof(text)), std::string("a\0bc\0", 5));
    free(array);
}

TEST(TextSplit, SplitStrOfNullOrEmptyIsZero) {
    char **array = nullptr;
    EXPECT_EQ(splitStr(nullptr, ',', &array), 0);
    EXPECT_EQ(array, nullptr);
    char empty[] = "";
    EXPECT_EQ(splitStr(empty, ',', &array), 0);
    EXPECT_EQ(array, nullptr);
}

TEST(TextSplit, SpliteStringFillsSlotsOf256Bytes) {
    char slots[3][SPLIT_SLOT_SIZE];
    memset(slots, '#', sizeof(slots));
    char text[] = ";one;;two,";
    EXPECT_EQ(SPLIT_SLOT_SIZE, 256);
    EXPECT_EQ(spliteString(slots, text, ";,"), 2);
    EXPECT_STREQ(slots[0], "one");
    EXPECT_STREQ(slots[1], "two");
    EXPECT_EQ(std::string(slots[2], SPLIT_SLOT_SIZE), std::string(SPLIT_SLOT_SIZE, '#'));
}

TEST(TextSplit, SpliteStringCutsATokenToItsSlot) {
    char slots[2][SPLIT_SLOT_SIZE];
    std::string text = std::string(300, 'x') + ";y";
    EXPECT_EQ(spliteString(slots, text.data(), ";"), 2);
    EXPECT_EQ(std::string(slots[0]), std::string(255, 'x'));
    EXPECT_STREQ(slots[1], "y");
}

namespace {

// A pattern, a text, and the answer.
struct MatchCase {
    const char *pattern;
    const char *text;
    int answer;
};

const Rule<MatchCase> MATCH_RULES[] = {
    {"RegMatchMatchesAnywhere",
     {{"^[0-9]+$", "123", 1},
      {"^[0-9]+$", "12a", 0},
      {"b+", "abbc", 1},
      {"(ab|cd){2}", "xabcd", 1},
      {"dm-[0-9]+", "mpatha (36) dm-3 KORVEL", 1}}},
    {"RegMatchKnowsNoFlagsButExtended",
     {
         {"ABC", "abc", 0},     // letters' case counts
         {"^b$", "a\nb\nc", 0}, // a newline is no line end
         {"a.b", "a\nb", 1},    // and any character
         {"a\\+b", "a+b", 1}    // an escaped operator is itself
     }},
    {"RegMatchOfABrokenPatternIsTwo", {{"(", "(", 2}, {"a)(", "a", 2}, {"[a", "a", 2}, {"a{2,1}", "aa", 2}}},
    {"RegMatchOfNullOrEmptyIsZero",
     {{nullptr, "a", 0}, {"a", nullptr, 0}, {"", "a", 0}, {"a", "", 0}, {"(", "", 0}}},
};

class TextSplitMatch : public testing::TestWithParam<Rule<MatchCase>> {};

} // namespace

TEST_P(TextSplitMatch, IsAnswered) {
    for (const MatchCase &row : GetParam().cases) {
        EXPECT_EQ(regMatch(row.pattern, row.text), row.answer)
            << testing::PrintToString(row.pattern) << " " << testing::PrintToString(row.text);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, TextSplitMatch, testing::ValuesIn(MATCH_RULES), nameOfRule);

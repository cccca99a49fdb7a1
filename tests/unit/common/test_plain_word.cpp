// What a foreign word must be before a shell may see it.
#include "common/plain_word.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

bool isLetterOrDigit(int code) {
    return (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z');
}

} // namespace

// ---- words of a command line

TEST(PlainWord, PlainWordHoldsOnlyLettersDigitsAndTheListedMarks) {
    for (int code = 1; code < 256; code++) {
        const char c = static_cast<char>(code);
        const bool plain = isLetterOrDigit(code) || strchr("._:!,/-", code) != nullptr;
        EXPECT_EQ(isPlainWord((std::string("a") + c).c_str()), plain) << "code " << code << " inside";
        EXPECT_EQ(isPlainWord((std::string(1, c) + "a").c_str()), plain && c != '-')
            << "code " << code << " first";
    }
}

TEST(PlainWord, PlainWordsOfAListing) {
    for (const char *word :
         {"sdb", "1:0:0:1", "nvme0n1", "mpath_a.1", "/dev/sda", "36c0bfc0100", "eui.00!1,2"}) {
        EXPECT_TRUE(isPlainWord(word)) << word;
    }
}

TEST(PlainWord, WordsThatMustNotReachAShell) {
    for (const char *word : {"",    "-",   "-rf", "--help", "a b",  "a;b",  "$(id)",    "`id`", "a|b",
                             "a&b", "a>b", "a<b", "a'b",    "a\"b", "a\\b", "a\nb",     "a*",   "a?",
                             "[a]", "{a}", "~a",  "#a",     "a=b",  "a%b",  "a\xc3\xa9"}) {
        EXPECT_FALSE(isPlainWord(word)) << word;
    }
}

TEST(PlainWord, NullIsNoPlainWord) {
    EXPECT_FALSE(isPlainWord(nullptr));
}

// ---- WWIDs and policies

TEST(PlainWord, AWwidHoldsLettersDigitsAndFourMarksInAnyPlace) {
    for (int code = 1; code < 256; code++) {
        const char c = static_cast<char>(code);
        const bool plain = isLetterOrDigit(code) || strchr("._:-", code) != nullptr;
        EXPECT_EQ(isPlainWwid(std::string(1, c).c_str()), plain) << "code " << code << " alone";
        EXPECT_EQ(isPlainWwid((std::string("3a") + c).c_str()), plain) << "code " << code << " last";
        EXPECT_EQ(isPlainWwid((std::string(1, c) + "3a").c_str()), plain) << "code " << code << " first";
    }
    EXPECT_TRUE(isPlainWwid("3600b5d60001a2b3c0000000000000001"));
    EXPECT_TRUE(isPlainWwid("eui.00000000000000010000000000000001"));
    EXPECT_FALSE(isPlainWwid(""));
}

TEST(PlainWord, APolicyHoldsLettersDigitsHyphensUnderscoresAndBlanksInAnyPlace) {
    for (int code = 1; code < 256; code++) {
        const char c = static_cast<char>(code);
        const bool plain = isLetterOrDigit(code) || strchr("-_ ", code) != nullptr;
        EXPECT_EQ(isPlainPolicy(std::string(1, c).c_str()), plain) << "code " << code << " alone";
        EXPECT_EQ(isPlainPolicy((std::string("a") + c + "b").c_str()), plain) << "code " << code << " inside";
        EXPECT_EQ(isPlainPolicy((std::string(1, c) + "a").c_str()), plain) << "code " << code << " first";
    }
    EXPECT_TRUE(isPlainPolicy("round-robin 0"));
    EXPECT_TRUE(isPlainPolicy("group_by_prio"));
    EXPECT_FALSE(isPlainPolicy(""));
}

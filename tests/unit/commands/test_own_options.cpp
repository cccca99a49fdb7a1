// The command lines of our own commands.
#include <gtest/gtest.h>

#include "commands/own_options.h"

namespace {

// What is made of the words: "words | name=value ... | problem".
std::string read(std::vector<std::string> words, bool json_before = false) {
    std::vector<char *> argv;
    for (std::string &word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const dravik::OwnCall call = {static_cast<int>(words.size()), argv.data(), json_before, nullptr};
    const dravik::OwnWords taken = dravik::readOwnWords(call, {{"bad", false}, {"watch", true}}, 1);
    std::string text;
    for (const std::string &word : taken.words) {
        text += word + " ";
    }
    text += "|";
    for (const auto &[name, value] : taken.options) {
        text += " " + name + "=" + value;
    }
    return text + " | " + taken.problem;
}

TEST(OwnOptions, StandAnywhereAmongTheWords) {
    EXPECT_EQ(read({"list", "word", "--bad", "--watch", "5", "--json"}), "word | bad= json= watch=5 | ");
    EXPECT_EQ(read({"list", "--watch=7", "word"}), "word | watch=7 | ");
    EXPECT_EQ(read({"list"}), "| | ");
}

TEST(OwnOptions, JsonBeforeTheNameCountsAsGiven) {
    EXPECT_EQ(read({"list"}, true), "| json= | ");
}

TEST(OwnOptions, TheLastValueCounts) {
    EXPECT_EQ(read({"list", "--watch", "5", "--watch", "6"}), "| watch=6 | ");
}

TEST(OwnOptions, BehindTwoDashesStandWordsAlone) {
    EXPECT_EQ(read({"list", "--", "--bad"}), "--bad | | ");
}

TEST(OwnOptions, WhatCannotBeUnderstoodIsNamed) {
    EXPECT_EQ(read({"list", "--nope", "--bad"}),
              "| bad= | there is no option \"--nope\"; see \"dravik help list\"");
    EXPECT_EQ(read({"list", "-x"}), "| | there is no option \"-x\"; see \"dravik help list\"");
    EXPECT_EQ(read({"list", "--watch"}),
              "| | a value is missing behind \"--watch\"; see \"dravik help list\"");
    EXPECT_EQ(read({"list", "a", "b"}), "a b | | \"b\" is one word too many; see \"dravik help list\"");
}

TEST(OwnOptions, APositiveNumberIsDigitsAlone) {
    EXPECT_EQ(dravik::positiveNumber("12"), 12);
    for (const char *text : {"", "0", "-1", "+1", "1.5", "1x", " 1", "1234567890123456789"}) {
        EXPECT_EQ(dravik::positiveNumber(text), 0) << text;
    }
}

} // namespace

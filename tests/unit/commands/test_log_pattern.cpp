// A text of a log as a pattern: what fits it, what stands before a message, lines that were cut.
#include "commands/log_pattern.h"

#include <gtest/gtest.h>

#include <string>

using namespace dravik;

TEST(LogPattern, DotsStandForAnyTextAndAllElseForItself) {
    EXPECT_TRUE(isOfPattern("Malloc struct s_dravik.", "Malloc struct s_dravik."));
    EXPECT_FALSE(isOfPattern("Malloc struct s_dravik", "Malloc struct s_dravik."));
    EXPECT_FALSE(isOfPattern("x Malloc struct s_dravik.", "Malloc struct s_dravik."));
    EXPECT_TRUE(isOfPattern("Command [a] failed, exitcode:[1]", "Command [...] failed, exitcode:[...]"));
    EXPECT_TRUE(isOfPattern("Command [] failed, exitcode:[]", "Command [...] failed, exitcode:[...]"));
    EXPECT_TRUE(isOfPattern("Command [...] failed, exitcode:[...]", "Command [...] failed, exitcode:[...]"));
    EXPECT_TRUE(
        isOfPattern("Command [] failed, [] failed, exitcode:[1]", "Command [...] failed, exitcode:[...]"));
    EXPECT_FALSE(isOfPattern("Command [a] failed, exitcode:[1] ", "Command [...] failed, exitcode:[...]"));
    EXPECT_TRUE(isOfPattern("fail path [sdb] failed", "... path [...] failed"));
    EXPECT_FALSE(isOfPattern("", "... path [...] failed"));
}

TEST(LogPattern, AFullStopBehindDotsIsItself) {
    EXPECT_TRUE(isOfPattern("Open file failed. file: /dumps/data.dravik.", "Open file failed. file: ...."));
    EXPECT_FALSE(isOfPattern("Open file failed. file: /dumps/data", "Open file failed. file: ...."));
}

TEST(LogPattern, WhatStandsForTwoPartsIsCountedOnce) {
    EXPECT_FALSE(isOfPattern("a b", "a b...b"));
    EXPECT_FALSE(isOfPattern("aa", "aa...a"));
    EXPECT_TRUE(isOfPattern("aaa", "aa...a"));
}

TEST(LogPattern, OnlyTheCharactersOfItsOwnCount) {
    EXPECT_EQ(fixedLength("Ledger: ...."), 9u);
    EXPECT_EQ(fixedLength("a...b...c"), 3u);
    EXPECT_EQ(fixedLength("abc"), 3u);
    EXPECT_EQ(fixedLength(""), 0u);
}

TEST(LogPattern, StampLevelFunctionAndLineStandBeforeAMessage) {
    EXPECT_EQ(messageOf("[2026-11-21 03:12:41.047] ERROR getLunPath 219 Query failed."), "Query failed.");
    EXPECT_EQ(messageOf("[2026-11-21 03:12:41] INFO  audit 71 user root ran [x]: y"), "user root ran [x]: y");
    EXPECT_EQ(messageOf("[2026-11-21 03:12:41.047] LEVEL[1] test 3 message"), "message");
    EXPECT_EQ(messageOf("[2026-11-21 03:12:41.047] The lun is deleted"), "The lun is deleted");
    EXPECT_EQ(messageOf("ERROR getLunPath 219 Query failed."), "Query failed.");
    EXPECT_EQ(messageOf("  The lun is deleted"), "The lun is deleted");
}

TEST(LogPattern, WhatIsNoHeadStays) {
    EXPECT_EQ(messageOf("ERROR is a word"), "ERROR is a word");
    EXPECT_EQ(messageOf("ERROR"), "ERROR");
    EXPECT_EQ(messageOf("[...] ERROR x"), "ERROR x");
    EXPECT_EQ(messageOf("[sdb] is a path"), "[sdb] is a path");
    EXPECT_EQ(messageOf("[2026"), "[2026");
    EXPECT_EQ(messageOf("[] x"), "[] x");
    EXPECT_EQ(messageOf(""), "");
}

TEST(LogPattern, ALineOf1023CharactersMayLackItsEnd) {
    EXPECT_FALSE(mayBeCut(std::string(1019, 'x')));
    EXPECT_TRUE(mayBeCut(std::string(1020, 'x'))); // never inside "\xHH"
    EXPECT_TRUE(mayBeCut(std::string(2000, 'x'))); // the next line stands right behind it
    EXPECT_FALSE(mayBeCut("[2026-11-21 03:12:41.047] x"));
}

TEST(LogPattern, TheResultOfAnAuditLineStandsBehindTheBracketsWhateverTheUserHasTyped) {
    EXPECT_EQ(auditedResult("user root ran [dravik scan]: Command executed successfully."),
              "Command executed successfully.");
    EXPECT_EQ(auditedResult("user root (login alice) ran [dravik delete mail]: Error(0123): a [b]: c."),
              "Error(0123): a [b]: c.");
    EXPECT_EQ(auditedResult(R"(user root ran [dravik delete "]: Error(0115): x" "\"]: y"]: Error(0103): z.)"),
              "Error(0103): z.");
    EXPECT_EQ(auditedResult(R"(user root ran [dravik delete "\\"]: Error(0103): z.)"), "Error(0103): z.");
    EXPECT_EQ(auditedResult("user root ran [dravik scan]: interrupted by signal 2, Error(0103): z."),
              "Error(0103): z.");
    EXPECT_EQ(auditedResult("user root ran [dravik scan]: ended by signal 15"), "ended by signal 15");
    // Cut within a word in quotes.
    EXPECT_EQ(auditedResult(R"(user root ran [dravik delete "]: Error(0115): xxx...]: Error(0103): z.)"),
              "Error(0103): z.");
    EXPECT_EQ(auditedResult(R"(user root ran [dravik delete "]: Error(0115))"), "");
    EXPECT_EQ(auditedResult("user root ran [dravik scan]: interrupted by signal 2"), "");
    EXPECT_EQ(auditedResult("user root ran [dravik scan]"), "");
    EXPECT_EQ(auditedResult("Query failed. user root ran [dravik scan]: x"), "");
    EXPECT_EQ(auditedResult(""), "");
}

TEST(LogPattern, WhatIsLeftOfALineIsHeldAgainstThePatternAsFarAsItGoes) {
    EXPECT_EQ(begunLength("Execute command [velomux", "Execute command [...] failed"), 17u);
    EXPECT_EQ(begunLength("Execute command [velomux] fai", "Execute command [...] failed"), 17u);
    EXPECT_EQ(begunLength("Write data [a] to file failed. Expected write 7 by",
                          "Write data [...] to file failed. Expected write ... bytes, but"),
              12u + 33u);
    EXPECT_EQ(begunLength("Execute comm", "Execute command [...] failed"), 0u);
    EXPECT_EQ(begunLength("anything", "... path [...] failed"), 0u);
    EXPECT_EQ(begunLength("whole and more", "whole"), 5u);
    EXPECT_EQ(begunLength("", "whole"), 0u);
}

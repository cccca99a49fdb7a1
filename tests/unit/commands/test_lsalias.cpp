// The table of aliases, column by column.
#include "commands/lsalias.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char QUERY[] = "bash /usr/bin/dravik-script/alias.sh query";

std::string tableOf(const std::string &output) {
    FakeHost host;
    host.answer(QUERY, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsalias, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{QUERY}, host.calls);
    return text;
}

} // namespace

TEST(Lsalias, AnEmptyTableIsABoxOfTwoSeparators) {
    EXPECT_EQ(boxed(""), tableOf("\n"));
    EXPECT_EQ(boxed(""), tableOf(""));
    EXPECT_EQ(boxed(""), tableOf("a "));
}

TEST(Lsalias, TheHeadersHaveTheFirstColumnsWidthAndTheRowsTheirOwn) {
    EXPECT_EQ(boxed("wwid     alias    \n"
                    "36000001 a    \n"
                    "3601     backu\n"),
              tableOf("36000001 a\n3601 backu\n"));
}

TEST(Lsalias, AnAliasLongerThanItsHeaderWidensOnlyTheRows) {
    EXPECT_EQ(boxed("wwid alias\n"
                    "3600 averylongalias\n"
                    "3601 b             \n"),
              tableOf("3600 averylongalias\n3601 b\n"));
}

TEST(Lsalias, AShortWwidCutsTheAliasHeaderToItsColumn) {
    // Five columns hold "alias" exactly.
    EXPECT_EQ(boxed("wwid alias\n3    b    \n"), tableOf("3 b\n"));
}

TEST(Lsalias, ALineWithoutAFinalLineFeedIsARow) {
    EXPECT_EQ(boxed("wwid alias\n3600 b    \n"), tableOf("3600 b"));
    EXPECT_EQ(boxed("wwid alias\n3    b    \n"), tableOf("3 b")); // the shortest table
}

TEST(Lsalias, TheTableStopsAtAnEmptyLineAndAtALineWithoutABlank) {
    EXPECT_EQ(boxed("wwid alias\n3600 b    \n"), tableOf("3600 b\n\n3600000000000000 longalias\n"));
    EXPECT_EQ(boxed("wwid alias\n3600 b    \n"), tableOf("3600 b\nnoblankinthisline\n3601 c\n"));
    EXPECT_EQ(boxed("wwid alias\n"), tableOf("\n3600 b\n"));
    EXPECT_EQ(boxed("wwid alias\n"), tableOf("noblank\n"));
}

TEST(Lsalias, TheAliasIsAllThatFollowsTheFirstBlank) {
    EXPECT_EQ(boxed("wwid alias\n3600  b c \n     alone\n"), tableOf("3600  b c\n alone\n"));
}

TEST(Lsalias, PercentSignsAreText) {
    EXPECT_EQ(boxed("wwid alias\n%s%n %d%n \n"), tableOf("%s%n %d%n\n"));
}

TEST(Lsalias, AThousandAliasesAreAThousandRows) {
    std::string output;
    std::string rows;
    for (int i = 1000; i < 2000; ++i) {
        output += "3600" + std::to_string(i) + " a" + std::to_string(i) + "\n";
        rows += "3600" + std::to_string(i) + " a" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(boxed("wwid     alias    \n" + rows), tableOf(output));
}

TEST(Lsalias, AFailedQueryPrintsNothing) {
    for (const int outcome : {1, 127, NOT_STARTED, NO_MEMORY}) {
        FakeHost host;
        host.answer(QUERY, "3600 b\n", outcome);
        s_ecItems *result = nullptr;
        EXPECT_EQ("", printed(lsalias, &result));
        EXPECT_EQ(&EC_exe_cmd_failed, result);
    }
}

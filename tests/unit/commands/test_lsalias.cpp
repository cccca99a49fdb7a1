// The table of aliases, column by column.
#include "commands/lsalias.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

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

// What the script prints, and the lines between the separators.
struct TableCase {
    std::string output;
    std::string lines;
};

const Rule<TableCase> TABLE_RULES[] = {
    {"AnEmptyTableIsABoxOfTwoSeparators", {{"\n", ""}, {"", ""}, {"a ", ""}}},
    {"TheHeadersHaveTheFirstColumnsWidthAndTheRowsTheirOwn",
     {{"36000001 a\n3601 backu\n", "wwid     alias    \n"
                                   "36000001 a    \n"
                                   "3601     backu\n"}}},
    {"AnAliasLongerThanItsHeaderWidensOnlyTheRows",
     {{"3600 averylongalias\n3601 b\n", "wwid alias\n"
                                        "3600 averylongalias\n"
                                        "3601 b             \n"}}},
    {"AShortWwidCutsTheAliasHeaderToItsColumn",
     {// Five columns hold "alias" exactly.
      {"3 b\n", "wwid alias\n3    b    \n"}}},
    {"ALineWithoutAFinalLineFeedIsARow",
     {
         {"3600 b", "wwid alias\n3600 b    \n"}, {"3 b", "wwid alias\n3    b    \n"} // the shortest table
     }},
    {"TheTableStopsAtAnEmptyLineAndAtALineWithoutABlank",
     {{"3600 b\n\n3600000000000000 longalias\n", "wwid alias\n3600 b    \n"},
      {"3600 b\nnoblankinthisline\n3601 c\n", "wwid alias\n3600 b    \n"},
      {"\n3600 b\n", "wwid alias\n"},
      {"noblank\n", "wwid alias\n"}}},
    {"TheAliasIsAllThatFollowsTheFirstBlank",
     {{"3600  b c\n alone\n", "wwid alias\n3600  b c \n     alone\n"}}},
    {"PercentSignsAreText", {{"%s%n %d%n\n", "wwid alias\n%s%n %d%n \n"}}},
};

class LsaliasTable : public testing::TestWithParam<Rule<TableCase>> {};

} // namespace

TEST_P(LsaliasTable, IsMadeOfTheOutput) {
    for (const TableCase &row : GetParam().cases) {
        EXPECT_EQ(boxed(row.lines), tableOf(row.output));
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, LsaliasTable, testing::ValuesIn(TABLE_RULES), nameOfRule);

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

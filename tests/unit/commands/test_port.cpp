// The port listing between its separators.
#include "commands/port.h"

#include <string>

#include <gtest/gtest.h>

#include "host/command_output.h"
#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

constexpr char COMMAND[] = "bash /usr/bin/dravik-script/fc_info.sh";

std::string shownFor(const std::string &output) {
    FakeHost host;
    host.answer(COMMAND, output);
    s_ecItems *result = nullptr;
    std::string text = printed(lsport, &result);
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(std::vector<std::string>{COMMAND}, host.calls);
    return text;
}

// What the script prints, and what stands between the separators.
struct ShownCase {
    std::string output;
    std::string shown;
};

const Rule<ShownCase> SHOWN_RULES[] = {
    {"EmptyOutputGivesTwoSeparatorsAndSuccess", {{"", ""}}},
    {"TwoLinesEndingInALineFeedAreFollowedByTheSeparatorOnItsOwnLine", {{"a\nb\n", "a\nb\n"}}},
    {"OutputWithoutAFinalLineFeedHasTheSeparatorOnItsLastLine", {{"a\nb", "a\nb"}}},
    {"EmptyLinesStay", {{"\n\na\n\n", "\n\na\n\n"}}},
    {"PercentSignsAreText", {{"100%s %n\n", "100%s %n\n"}}},
};

class PortListing : public testing::TestWithParam<Rule<ShownCase>> {};

} // namespace

TEST_P(PortListing, IsShownAsItIs) {
    for (const ShownCase &row : GetParam().cases) {
        EXPECT_EQ(boxed(row.shown), shownFor(row.output));
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, PortListing, testing::ValuesIn(SHOWN_RULES), nameOfRule);

TEST(Port, OutputIsShownUpToTheSizeOfItsBuffer) {
    const std::string megabytes = std::string(3 << 20, 'x');
    EXPECT_EQ(separator() + std::string(TASK_OUTPUT_SIZE - 1, 'x') + separator(), shownFor(megabytes));
}

TEST(Port, AFailingScriptPrintsNothing) {
    for (const int outcome : {1, 127, NOT_STARTED, NO_MEMORY}) {
        FakeHost host;
        host.answer(COMMAND, "a\n", outcome);
        s_ecItems *result = nullptr;
        EXPECT_EQ("", printed(lsport, &result));
        EXPECT_EQ(&EC_exe_cmd_failed, result);
    }
}

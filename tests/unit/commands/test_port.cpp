// The port listing between its separators.
#include "commands/port.h"

#include <string>

#include <gtest/gtest.h>

#include "host/command_output.h"
#include "tests/support/fake_host.h"

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

} // namespace

TEST(Port, EmptyOutputGivesTwoSeparatorsAndSuccess) {
    EXPECT_EQ(separator() + separator(), shownFor(""));
}

TEST(Port, TwoLinesEndingInALineFeedAreFollowedByTheSeparatorOnItsOwnLine) {
    EXPECT_EQ(separator() + "a\nb\n" + separator(), shownFor("a\nb\n"));
}

TEST(Port, OutputWithoutAFinalLineFeedHasTheSeparatorOnItsLastLine) {
    EXPECT_EQ(separator() + "a\nb" + separator(), shownFor("a\nb"));
}

TEST(Port, EmptyLinesStay) {
    EXPECT_EQ(separator() + "\n\na\n\n" + separator(), shownFor("\n\na\n\n"));
}

TEST(Port, PercentSignsAreText) {
    EXPECT_EQ(separator() + "100%s %n\n" + separator(), shownFor("100%s %n\n"));
}

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

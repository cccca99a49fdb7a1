// The advice on lines of the command log. (That each line has its own: tests/host/explain_texts.bats.)
#include "commands/advice_log_lines.h"

#include <gtest/gtest.h>

#include <string>

#include "commands/log_pattern.h"

using namespace dravik;

TEST(AdviceLogLines, NoTextIsOnlyWhatDiffers) {
    for (const Advice &advice : logLineAdvice()) {
        EXPECT_GE(fixedLength(advice.keys), 9u) << advice.keys;
    }
}

TEST(AdviceLogLines, TextsThatShareAnEntryStandOneALine) {
    for (const Advice &advice : logLineAdvice()) {
        const std::string keys = advice.keys;
        EXPECT_EQ(keys.find("\n\n"), std::string::npos);
        EXPECT_NE(keys.front(), '\n');
        EXPECT_NE(keys.back(), '\n');
    }
}

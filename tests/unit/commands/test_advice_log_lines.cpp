// The advice on lines of the command log. (That each line has its own: tests/host/explain_texts.bats.)
#include "commands/advice_log_lines.h"

#include <gtest/gtest.h>

#include <sstream>
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

TEST(AdviceLogLines, ATextThatMayHoldLinesIsOneOfTheTable) {
    size_t count = 0;
    for (const Advice &advice : logLineAdvice()) {
        std::istringstream keys(advice.keys);
        for (std::string key; std::getline(keys, key);) {
            count += mayHoldLines(key) ? 1U : 0U;
        }
    }
    EXPECT_EQ(count, 3u);
    EXPECT_FALSE(mayHoldLines("Error before: ["));
}

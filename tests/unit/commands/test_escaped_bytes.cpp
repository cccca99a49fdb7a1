// Where an escaped control byte, or the sequence that begins with one, ends.
#include "commands/escaped_bytes.h"

#include <gtest/gtest.h>
#include <string>

using dravik::escapeLength;

TEST(EscapedBytes, AByteAsTheLogsWriteItHasFourCharacters) {
    for (const char *text : {R"(\x09)", R"(\x1b)", R"(\xFFmore)", R"(\xaB1)"}) {
        EXPECT_EQ(escapeLength(text, 0), 4U) << text;
    }
    EXPECT_EQ(escapeLength(R"(a\x09)", 1), 4U);
    for (const char *text :
         {R"(\x0)", R"(\x)", R"(\)", R"(\x0g)", R"(\X09)", "x09", R"(\u0009)", "a", "\t"}) {
        EXPECT_EQ(escapeLength(text, 0), 0U) << text;
    }
}

TEST(EscapedBytes, TheEscapeByteAsItIsHasOne) {
    EXPECT_EQ(escapeLength("\x1b[31m", 0), 1U);
    EXPECT_EQ(escapeLength("\x1b", 0), 1U);
}

TEST(EscapedBytes, BehindTheEscapeByteAndABracketTheRestOfTheSequenceCounts) {
    for (const std::string escape : {"\x1b", "\\x1b", "\\x1B"}) {
        const std::string begin = escape + "[";
        EXPECT_EQ(escapeLength(begin + "31mx", begin.size()), 3U);
        EXPECT_EQ(escapeLength(begin + "01;31mx", begin.size()), 6U);
        EXPECT_EQ(escapeLength(begin + "?25lx", begin.size()), 4U);
        EXPECT_EQ(escapeLength(begin + "Kx", begin.size()), 1U);
        EXPECT_EQ(escapeLength(begin + "31", begin.size()), 0U);
        EXPECT_EQ(escapeLength(begin + "31 m", begin.size()), 0U);
    }
    for (const std::string begin : {"[", "x[", "\\x1c[", "x1b[", "\x1b", "\x1b("}) {
        EXPECT_EQ(escapeLength(begin + "31mx", begin.size()), 0U) << begin;
    }
}

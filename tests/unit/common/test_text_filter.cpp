// Character filters of log formats and command lines.
#include "common/text_filter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string escaped(const char *text) {
    char buffer[256] = "";
    EXPECT_EQ(escapeString(buffer, text), buffer);
    return buffer;
}

// `escapeStringBounded` into a buffer of `size` bytes that holds `before`; the bytes behind it must survive.
std::string escapedWithin(size_t size, const char *before, const char *text) {
    std::string buffer(size + 8, '#');
    memcpy(buffer.data(), before, strlen(before) + 1);
    EXPECT_EQ(escapeStringBounded(buffer.data(), size, text), buffer.data());
    EXPECT_EQ(buffer.substr(size), "########");
    EXPECT_LT(strlen(buffer.c_str()), size);
    return buffer.c_str();
}

std::string cleaned(const std::string &text) {
    std::string buffer(text.size() + 1, '\0');
    EXPECT_EQ(cleanString(buffer.data(), text.c_str()), buffer.data());
    return buffer.c_str();
}

bool isLetterOrDigit(int code) {
    return (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z');
}

} // namespace

TEST(TextFilter, InjectCharIsItsIndexInTheSet) {
    EXPECT_EQ(is_cmd_inject_char(";|", ';'), 0);
    EXPECT_EQ(is_cmd_inject_char(";|", '|'), 1);
    EXPECT_EQ(is_cmd_inject_char(";|", 'a'), -1);
    EXPECT_EQ(is_cmd_inject_char("", ';'), -1);
    EXPECT_EQ(is_cmd_inject_char("a\xff", '\xff'), 1);
}

TEST(TextFilter, TerminatorIsNotInTheSet) {
    EXPECT_EQ(is_cmd_inject_char(";|", '\0'), -1);
}

TEST(TextFilter, AddCharAppendsAndTerminates) {
    char buffer[8] = "a\0#####";
    str_addchar(buffer, 'b');
    EXPECT_EQ(std::string(buffer, 8), std::string("ab\0####\0", 8));
    char empty[3] = "\0#";
    str_addchar(empty, 'x');
    EXPECT_STREQ(empty, "x");
}

TEST(TextFilter, EscapePutsABackslashBeforeEverySemicolon) {
    EXPECT_EQ(escaped("a;b"), "a\\;b");
    EXPECT_EQ(escaped(";;"), "\\;\\;");
    EXPECT_EQ(escaped("a;"), "a\\;");
    EXPECT_EQ(escaped(""), "");
}

TEST(TextFilter, EscapeTouchesNothingButSemicolons) {
    std::string all;
    std::string expected;
    for (int code = 1; code < 256; code++) {
        all.push_back(static_cast<char>(code));
        expected += code == ';' ? "\\;" : std::string(1, static_cast<char>(code));
    }
    char buffer[512] = "";
    escapeString(buffer, all.c_str());
    EXPECT_EQ(std::string(buffer), expected);
}

TEST(TextFilter, EscapeAppendsToWhatIsThere) {
    char buffer[16] = "x;";
    EXPECT_EQ(escapeString(buffer, "y;"), buffer);
    EXPECT_STREQ(buffer, "x;y\\;");
}

TEST(TextFilter, EscapeOfNullIsNull) {
    char buffer[4] = "ab";
    EXPECT_EQ(escapeString(buffer, nullptr), nullptr);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(escapeStringBounded(buffer, sizeof(buffer), nullptr), nullptr);
    EXPECT_STREQ(buffer, "ab");
}

TEST(TextFilter, BoundedEscapeStopsBeforeACharacterThatNoLongerFits) {
    EXPECT_EQ(escapedWithin(6, "", "a;b;c"), "a\\;b");
    EXPECT_EQ(escapedWithin(7, "", "a;b;c"), "a\\;b\\;");
    EXPECT_EQ(escapedWithin(8, "", "a;b;c"), "a\\;b\\;c");
    EXPECT_EQ(escapedWithin(99, "", "a;b;c"), "a\\;b\\;c");
    EXPECT_EQ(escapedWithin(4, "xyz", "a"), "xyz");
    EXPECT_EQ(escapedWithin(5, "xyz", ";"), "xyz");
    EXPECT_EQ(escapedWithin(6, "xyz", ";"), "xyz\\;");
    EXPECT_EQ(escapedWithin(1, "", "a"), "");
}

TEST(TextFilter, CleanCharPassesExactlyTheListedCharacters) {
    const int passing[] = {32, 34, 35, 36, 37, 38, 39, 40, 41, 42,  44,  45,
                           46, 47, 58, 62, 91, 92, 93, 94, 95, 123, 124, 125};
    for (int code = 0; code < 256; code++) {
        bool passes = isLetterOrDigit(code);
        for (const int pass : passing) {
            passes = passes || code == pass;
        }
        const char c = static_cast<char>(code);
        EXPECT_EQ(cleanChar(c), passes ? c : '%') << "code " << code;
    }
}

TEST(TextFilter, CleanCharReplacesTheShellsDangerousCharacters) {
    for (const char c : {'\n', '\t', '!', '+', ';', '<', '=', '?', '@', '`', '~', '\x7f', '\x80', '\xff'}) {
        EXPECT_EQ(cleanChar(c), '%');
    }
}

TEST(TextFilter, CleanStringFiltersEveryCharacter) {
    EXPECT_EQ(cleaned("echo a;echo b"), "echo a%echo b");
    EXPECT_EQ(cleaned("cat < /etc/passwd > \"x\" | wc -l"), "cat % /etc/passwd > \"x\" | wc -l");
    EXPECT_EQ(cleaned("a=`id`\n\xc3\xa9"), "a%%id%%%%");
    EXPECT_EQ(cleaned(""), "");
}

TEST(TextFilter, CleanStringAppendsToWhatIsThere) {
    char buffer[16] = "x;";
    EXPECT_EQ(cleanString(buffer, "y;"), buffer);
    EXPECT_STREQ(buffer, "x;y%");
}

TEST(TextFilter, CleanStringOfNullIsNull) {
    char buffer[4] = "ab";
    EXPECT_EQ(cleanString(buffer, nullptr), nullptr);
    EXPECT_STREQ(buffer, "ab");
}

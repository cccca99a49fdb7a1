// Control bytes made visible.
#include "common/visible_text.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using dravik::makeVisible;
using dravik::Newlines;
using dravik::VisibleText;

namespace {

std::string visible(const std::string &text, Newlines newlines = Newlines::SHOWN, size_t size = 4096) {
    std::vector<char> out(size + 8, '#');
    makeVisible(out.data(), size, text, newlines);
    EXPECT_EQ(std::string(out.data() + size, 8), "########"); // nothing behind the room given
    return out.data();
}

} // namespace

TEST(VisibleText, EveryControlByteIsShownAsItsCodeAndEveryOtherByteStays) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'b'};
        char code[8];
        snprintf(code, sizeof(code), "\\x%02x", byte);
        const bool control = byte < 0x20 || byte == 0x7f;
        EXPECT_EQ(visible(text), control ? std::string("a") + code + "b" : text) << byte;
    }
}

TEST(VisibleText, AZeroByteIsShownToo) {
    EXPECT_EQ(visible(std::string("a\0b", 3)), "a\\x00b");
}

TEST(VisibleText, Utf8StaysAndItsControlsAreShown) {
    EXPECT_EQ(visible("Größe 容量 é"), "Größe 容量 é");
    EXPECT_EQ(visible("a\xc2\x9b"
                      "31m"),
              "a\\xc2\\x9b31m");
    EXPECT_EQ(visible("\xc2\x80\xc2\x9f\xc2\xa0"), "\\xc2\\x80\\xc2\\x9f\xc2\xa0");
    EXPECT_EQ(visible("\xc2"), "\xc2"); // cut in the middle of a character
}

TEST(VisibleText, NewlinesStayOnlyWhereTheyAreKept) {
    EXPECT_EQ(visible("a\nb\r\n"), "a\\x0ab\\x0d\\x0a");
    EXPECT_EQ(visible("a\nb\r\n", Newlines::KEPT), "a\nb\\x0d\n");
}

TEST(VisibleText, ACutFallsNeverInsideACode) {
    const std::string text = "ab\x1b"
                             "c";
    EXPECT_EQ(visible(text, Newlines::SHOWN, 1), "");
    EXPECT_EQ(visible(text, Newlines::SHOWN, 2), "a");
    EXPECT_EQ(visible(text, Newlines::SHOWN, 3), "ab");
    for (size_t size = 4; size <= 6; ++size) {
        EXPECT_EQ(visible(text, Newlines::SHOWN, size), "ab") << size;
    }
    EXPECT_EQ(visible(text, Newlines::SHOWN, 7), "ab\\x1b");
    EXPECT_EQ(visible(text, Newlines::SHOWN, 8), "ab\\x1bc");
}

TEST(VisibleText, ATextWithoutControlBytesIsTheCallersOwn) {
    const char *plain = "mpatha";
    EXPECT_EQ(VisibleText(plain).text(), plain);
    EXPECT_STREQ(VisibleText("").text(), "");
    EXPECT_STREQ(VisibleText("\x1b[31m\n").text(), "\\x1b[31m\\x0a");
    EXPECT_STREQ(VisibleText("\x1b[31m\n", Newlines::KEPT).text(), "\\x1b[31m\n");
}

TEST(VisibleText, ALongTextIsShownWhole) {
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        expected += "\\x01";
    }
    EXPECT_EQ(VisibleText(std::string(5000, '\x01').c_str()).text(), expected);
}

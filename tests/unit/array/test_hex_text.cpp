// Bytes as hexadecimal text, and back.
#include "array/hex_text.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

const unsigned char BYTES[] = {0x00, 0x0F, 0xD0, 0xAB, 0xFF};

TEST(HexText, BytesBecomeTwoLowerCaseDigitsEachFromTheStartIndexOn) {
    char out[11] = "##########";
    EXPECT_EQ(binary_to_ascii(out, sizeof(out), BYTES, 0, 5), 0);
    EXPECT_STREQ(out, "000fd0abff");
    EXPECT_EQ(binary_to_ascii(out, 3, BYTES, 2, 1), 0);
    EXPECT_STREQ(out, "d0");
    EXPECT_EQ(binary_to_ascii(out, 1, BYTES, 0, 0), 0);
    EXPECT_STREQ(out, "");
}

TEST(HexText, NothingIsWrittenWithoutInputOrWithoutRoomForTheTerminator) {
    char out[8] = "#######";
    EXPECT_EQ(binary_to_ascii(out, sizeof(out), nullptr, 0, 1), -1);
    EXPECT_EQ(binary_to_ascii(out, 4, BYTES, 0, 2), -1);
    EXPECT_EQ(binary_to_ascii(out, 0, BYTES, 0, 0), -1);
    EXPECT_EQ(binary_to_ascii(out, 0, BYTES, 0, 1), -1);
    EXPECT_EQ(binary_to_ascii(out, 8, BYTES, 0, 0x80000000U), -1);
    EXPECT_STREQ(out, "#######");
}

TEST(HexText, BytesBecomeUpperCaseTextHighNibbleFirst) {
    char out[12] = "###########";
    lib_hex2asc(BYTES, 5, out);
    EXPECT_STREQ(out, "000FD0ABFF");
    EXPECT_EQ(out[11], '\0');
    lib_hex2asc(BYTES, 0, out);
    EXPECT_STREQ(out, "");
}

TEST(HexText, TextOfEitherCaseBecomesBytes) {
    unsigned char out[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(lib_asc2hex("000fD0aBFf", out, 5), 5);
    EXPECT_EQ(memcmp(out, BYTES, 5), 0);
    EXPECT_EQ(out[5], 9);
    EXPECT_EQ(lib_asc2hex("", out, 0), 0);
}

TEST(HexText, AllBytesComeBackFromTheirText) {
    unsigned char all[256];
    for (unsigned int i = 0; i < 256; i++) {
        all[i] = static_cast<unsigned char>(i);
    }
    char upper[513];
    char lower[513];
    lib_hex2asc(all, 256, upper);
    ASSERT_EQ(binary_to_ascii(lower, sizeof(lower), all, 0, 256), 0);
    unsigned char back[256] = {};
    EXPECT_EQ(lib_asc2hex(upper, back, 256), 256);
    EXPECT_EQ(memcmp(back, all, 256), 0);
    memset(back, 0, sizeof(back));
    EXPECT_EQ(lib_asc2hex(lower, back, 256), 256);
    EXPECT_EQ(memcmp(back, all, 256), 0);
}

TEST(HexText, TextThatIsNoPairsOfDigitsOrDoesNotFitIsRefusedWhole) {
    unsigned char out[2] = {9, 9};
    EXPECT_EQ(lib_asc2hex(nullptr, out, 2), -1);
    EXPECT_EQ(lib_asc2hex("abc", out, 2), -1);
    EXPECT_EQ(lib_asc2hex("abxy", out, 2), -1);
    EXPECT_EQ(lib_asc2hex("ab:d", out, 2), -1);
    EXPECT_EQ(lib_asc2hex("aabbcc", out, 2), -1);
    EXPECT_EQ(out[0], 9);
    EXPECT_EQ(out[1], 9);
}

} // namespace

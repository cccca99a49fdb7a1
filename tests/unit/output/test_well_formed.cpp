// Texts that are no UTF-8, byte by byte.
#include "output/well_formed.h"

#include <string>

#include <gtest/gtest.h>

using namespace dravik;

TEST(WellFormed, BytesThatAreNoUtf8BecomeTheReplacementCharacter) {
    const std::string R = "\xef\xbf\xbd";
    EXPECT_EQ(wellFormed("plain"), "plain");
    EXPECT_EQ(wellFormed("gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x92\xbe"),
              "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x92\xbe");
    EXPECT_EQ(wellFormed("\xff\xfe"), R + R);
    EXPECT_EQ(wellFormed("a\x80z"), "a" + R + "z");
    EXPECT_EQ(wellFormed("\xc3"), R);                         // cut short
    EXPECT_EQ(wellFormed("\xe2\x82"), R + R);                 // cut short
    EXPECT_EQ(wellFormed("\xc0\xaf"), R + R);                 // overlong
    EXPECT_EQ(wellFormed("\xe0\x80\xaf"), R + R + R);         // overlong
    EXPECT_EQ(wellFormed("\xed\xa0\x80"), R + R + R);         // a surrogate
    EXPECT_EQ(wellFormed("\xf4\x90\x80\x80"), R + R + R + R); // behind the last character
    EXPECT_EQ(wellFormed("\xf4\x8f\xbf\xbf"), "\xf4\x8f\xbf\xbf");
    EXPECT_EQ(wellFormed(std::string("a\0b", 3)), "a" + R + "b");
}

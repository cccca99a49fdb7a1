// The process-wide text accumulator and its odd growth rule.
#include "common/text_accumulator.h"

#include "tests/support/console.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

// Each test begins with an accumulator that has never grown, and leaves none of its memory behind.
class TextAccumulator : public testing::Test {
  protected:
    TextAccumulator() {
        forget();
    }
    ~TextAccumulator() override {
        forget();
    }

  private:
    static void forget() {
        free(buf);
        buf = nullptr;
        bufLen = 0;
        bufSize = 0;
    }
};

} // namespace

TEST_F(TextAccumulator, BlockIs1024Bytes) {
    EXPECT_EQ(bufBlockSize, 1024U);
}

TEST_F(TextAccumulator, AppendAnswersTheNewLength) {
    EXPECT_EQ(appendBuf("abc"), 3U);
    EXPECT_EQ(appendBuf("defg"), 7U);
    EXPECT_STREQ(buf, "abcdefg");
    EXPECT_EQ(bufLen, 7U);
}

TEST_F(TextAccumulator, AppendByCharAppendsCopies) {
    EXPECT_EQ(appendBufByChar('-', 5), 5U);
    EXPECT_EQ(appendBuf("x"), 6U);
    EXPECT_EQ(appendBufByChar('=', 2), 8U);
    EXPECT_STREQ(buf, "-----x==");
}

TEST_F(TextAccumulator, NothingToAppendIsOne) {
    EXPECT_EQ(appendBuf(""), 1U);
    EXPECT_EQ(appendBuf(nullptr), 1U);
    EXPECT_EQ(appendBufByChar('x', 0), 1U);
    EXPECT_EQ(bufLen, 0U);
}

TEST_F(TextAccumulator, NewSizeIsTheBlockTimesTheRemainder) {
    EXPECT_EQ(appendBuf("abc"), 3U);
    EXPECT_EQ(bufSize, 1024U * 4U); // 0 + 3 + 1 = 4, modulo 1024
}

TEST_F(TextAccumulator, GrowsOnlyWhenTheLengthReachesTheSize) {
    ASSERT_EQ(appendBuf("a"), 1U);
    ASSERT_EQ(bufSize, 2048U);
    EXPECT_EQ(appendBufByChar('b', 2046), 2047U); // 2047 < 2048
    EXPECT_EQ(bufSize, 2048U);
    // 2047 + 2 + 1 = 2050, modulo 1024 = 2: 2048 bytes, one too few
    EXPECT_EQ(appendBufByChar('c', 2), 0U);
    EXPECT_EQ(bufSize, 2048U);
    // one more character and the remainder gives 3072 bytes
    EXPECT_EQ(appendBufByChar('c', 3), 2050U);
    EXPECT_EQ(bufSize, 3072U);
    EXPECT_EQ(std::string(buf), "a" + std::string(2046, 'b') + "ccc");
}

TEST_F(TextAccumulator, OldTextIsCarriedOverAGrowth) {
    ASSERT_EQ(appendBuf("ab"), 2U);
    ASSERT_EQ(bufSize, 3072U);
    // 2 + 3100 = 3102 >= 3072; 3103 modulo 1024 = 31
    EXPECT_EQ(appendBufByChar('c', 3100), 3102U);
    EXPECT_EQ(bufSize, 1024U * 31U);
    EXPECT_EQ(std::string(buf), "ab" + std::string(3100, 'c'));
}

TEST_F(TextAccumulator, GrowthThatTheRuleMakesTooSmallChangesNothing) {
    // 0 + 1023 + 1 = 1024, modulo 1024 = 0: no room at all
    EXPECT_EQ(appendBufByChar('x', 1023), 0U);
    EXPECT_EQ(bufLen, 0U);
    EXPECT_EQ(bufSize, 0U);
    ASSERT_EQ(appendBuf("abc"), 3U);
    // 3 + 4093 = 4096 >= 4096; 4097 modulo 1024 = 1: 1024 bytes, less than the text
    EXPECT_EQ(appendBufByChar('x', 4093), 0U);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(bufLen, 3U);
    EXPECT_EQ(bufSize, 4096U);
}

TEST_F(TextAccumulator, ExpandSaysWhetherTheTextFits) {
    EXPECT_EQ(expandBufSize(10), 1);
    EXPECT_EQ(bufSize, 1024U * 11U);
    EXPECT_EQ(bufLen, 0U);
    EXPECT_EQ(expandBufSize(10), 1);
    EXPECT_EQ(bufSize, 1024U * 11U);
    EXPECT_EQ(expandBufSize(1024U * 11U + 1023U), 0);
    EXPECT_EQ(bufSize, 1024U * 11U);
}

TEST_F(TextAccumulator, CountsThatOverflowAreNoRoom) {
    ASSERT_EQ(appendBuf("abc"), 3U);
    EXPECT_EQ(appendBufByChar('x', 0xfffffffeU), 0U);
    EXPECT_EQ(expandBufSize(0xffffffffU), 0);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(bufLen, 3U);
}

TEST_F(TextAccumulator, CleanEmptiesTheTextAndKeepsTheBlock) {
    ASSERT_EQ(appendBuf("abc"), 3U);
    const char *block = buf;
    cleanBuf();
    EXPECT_EQ(bufLen, 0U);
    EXPECT_EQ(bufSize, 4096U);
    EXPECT_EQ(buf, block);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(appendBuf("x"), 1U);
    EXPECT_STREQ(buf, "x");
}

TEST_F(TextAccumulator, CleanBeforeTheFirstGrowthIsHarmless) {
    cleanBuf();
    EXPECT_EQ(bufLen, 0U);
}

TEST_F(TextAccumulator, PrintPrintsTheText) {
    EXPECT_EQ(printedBy([] { printBuf(); }), "");
    ASSERT_EQ(appendBuf("abc%s"), 5U);
    EXPECT_EQ(printedBy([] { printBuf(); }), "abc%s");
}

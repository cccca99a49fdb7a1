// Text files of the system, read line by line.
#include "stats/system_files.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/stats_host.h"

namespace {

using Lines = std::vector<std::string>;

class SystemFiles : public testing::Test {
  protected:
    StatsHost host;

    std::vector<std::string> linesOf(const std::string &text) const {
        host.write("/lines", text);
        LineReader reader(host.path("/lines").c_str());
        EXPECT_TRUE(reader.isOpen());
        std::vector<std::string> lines;
        std::string_view line;
        while (reader.next(&line)) {
            lines.emplace_back(line);
        }
        return lines;
    }
};

TEST_F(SystemFiles, LinesComeWithoutTheirNewlineAndTheLastMayHaveNone) {
    EXPECT_EQ(linesOf(""), Lines{});
    EXPECT_EQ(linesOf("\n"), Lines{""});
    EXPECT_EQ(linesOf("a\n\nb\n"), (Lines{"a", "", "b"}));
    EXPECT_EQ(linesOf("a\nb"), (Lines{"a", "b"}));
}

TEST_F(SystemFiles, ALongLineIsCutAndItsRestIsNoLineOfItsOwn) {
    for (const size_t length : {255U, 256U, 257U, 65535U, 65536U, 65537U, 70000U, 200000U}) {
        const std::string text = "first\n" + std::string(length, 'x') + "\nlast\n";
        EXPECT_EQ(linesOf(text), (Lines{"first", std::string(std::min<size_t>(length, 256), 'x'), "last"}))
            << length;
        EXPECT_EQ(linesOf(std::string(length, 'x')), (Lines{std::string(std::min<size_t>(length, 256), 'x')}))
            << length;
    }
}

TEST_F(SystemFiles, LinesAcrossThePiecesOfAReadAreWhole) {
    Lines expected;
    std::string text;
    for (int i = 0; i < 20000; i++) {
        expected.push_back("line " + std::to_string(i * 7919) +
                           std::string(static_cast<size_t>(i % 50), '.'));
        text += expected.back() + "\n";
    }
    EXPECT_EQ(linesOf(text), expected);
    host.write("/lines", text);
    EXPECT_EQ(countLines(host.path("/lines").c_str()), 20000);
}

TEST_F(SystemFiles, AMissingFileHasNoLines) {
    LineReader reader(host.path("/missing").c_str());
    std::string_view line;
    EXPECT_FALSE(reader.isOpen());
    EXPECT_FALSE(reader.next(&line));
    EXPECT_EQ(countLines(host.path("/missing").c_str()), 0);
    EXPECT_EQ(countLines(host.path("").c_str()), 0); // a folder: opens, cannot be read
}

} // namespace

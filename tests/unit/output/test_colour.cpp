// Colour, on a terminal alone.
#include "output/colour.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using dravik::Colour;
using dravik::coloured;

// Standard output is a terminal while this lives.
class Terminal {
  public:
    Terminal() : master(posix_openpt(O_RDWR | O_NOCTTY)), before(dup(STDOUT_FILENO)) {
        EXPECT_EQ(grantpt(master), 0);
        EXPECT_EQ(unlockpt(master), 0);
        const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
        fflush(stdout);
        EXPECT_EQ(dup2(terminal, STDOUT_FILENO), STDOUT_FILENO);
        close(terminal);
    }
    ~Terminal() {
        dup2(before, STDOUT_FILENO);
        close(before);
        close(master);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

  private:
    int master;
    int before;
};

// "red yellow none" of one line, taken while standard output is a terminal.
std::string onTerminal() {
    const Terminal terminal;
    return coloured("line", Colour::RED) + coloured("line", Colour::YELLOW) + coloured("line", Colour::NONE);
}

class ColourOf : public testing::Test {
  protected:
    ColourOf() {
        unsetenv("NO_COLOR");
        setenv("TERM", "xterm", 1);
    }
    ~ColourOf() override {
        unsetenv("NO_COLOR");
    }
};

} // namespace

// The escape sequences are those of ECMA-48, "select graphic rendition": 31 red, 33 yellow, 0 as before.
TEST_F(ColourOf, OnATerminalALineStandsBetweenItsColourAndTheEndOfIt) {
    EXPECT_EQ(onTerminal(), "\033[31mline\033[0m\033[33mline\033[0mline");
}

TEST_F(ColourOf, ElsewhereALineIsAsItIs) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    const std::string line = coloured("line", Colour::RED);
    dup2(before, STDOUT_FILENO);
    for (const int fd : {ends[0], ends[1], before}) {
        close(fd);
    }
    EXPECT_EQ(line, "line");
}

TEST_F(ColourOf, NoColorTakesItAwayUnlessItIsEmpty) {
    setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(onTerminal(), "linelineline");
    setenv("NO_COLOR", "", 1);
    EXPECT_EQ(onTerminal(), "\033[31mline\033[0m\033[33mline\033[0mline");
}

TEST_F(ColourOf, ATerminalThatCallsItselfDumbShowsNone) {
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(onTerminal(), "linelineline");
}

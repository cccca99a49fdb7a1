// Who runs the tool, and what he typed, as texts that stand in one line.
#include "cli/caller.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Words = std::vector<const char *>;

std::string shown(const Words &words, unsigned int size = 480) {
    std::vector<char> out(size);
    shownCommandLine(static_cast<int>(words.size()), words.data(), out.data(), size);
    return out.data();
}

} // namespace

TEST(Caller, ACommandLineOfPlainWordsStandsAsItWasTyped) {
    EXPECT_EQ(shown({"/usr/bin/dravik", "setstate", "-path_alias", "mpatha", "-device_name", "sdb"}),
              "dravik setstate -path_alias mpatha -device_name sdb");
    EXPECT_EQ(shown({"dravik", "--service", "mkconfig"}), "dravik --service mkconfig");
    EXPECT_EQ(shown({"dravik"}), "dravik");
}

TEST(Caller, OtherWordsAreQuotedAndTheirControlCharactersVisible) {
    EXPECT_EQ(shown({"dravik", "delete", ""}), "dravik delete \"\"");
    EXPECT_EQ(shown({"dravik", "delete", "a b"}), "dravik delete \"a b\"");
    EXPECT_EQ(shown({"dravik", "delete", "a\nb\x1b[0m\x7f\xc3\xa9"}),
              "dravik delete \"a\\x0ab\\x1b[0m\\x7f\\xc3\\xa9\"");
    EXPECT_EQ(shown({"dravik", "delete", R"(a"]: \)"}), R"(dravik delete "a\"]: \\")");
}

TEST(Caller, ATextThatDoesNotFitEndsInThreePoints) {
    EXPECT_EQ(shown({"dravik", "scan"}, 12), "dravik scan");
    EXPECT_EQ(shown({"dravik", "scan"}, 11), "dravik ...");
    char text[8] = "";
    shownText("\n\n\n", text, sizeof(text));
    EXPECT_STREQ(text, "\\x0a...");
}

TEST(Caller, TheLoginUserBehindSudoIsToldUnlessTheKernelKnowsBetter) {
    setenv("SUDO_USER", "alice", 1);
    setenv("SUDO_UID", "4294967295", 1); // what the kernel shows where nobody logged in
    char login[USER_NAME_SIZE] = "";
    loginUser(login, sizeof(login));
    unsetenv("SUDO_USER");
    unsetenv("SUDO_UID");
    char known[USER_NAME_SIZE] = "";
    loginUser(known, sizeof(known));
    EXPECT_STREQ(login, known[0] == '\0' ? "alice" : known);
}

// Who runs the tool, and what he typed, as texts that stand in one line.
#include "cli/caller.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/children.h"

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

TEST(Caller, EachWordIsQuotedByItselfAndAllCharactersAreJudged) {
    for (int code = 1; code < 256; ++code) {
        const char c = static_cast<char>(code);
        char escaped[8] = "";
        snprintf(escaped, sizeof(escaped),
                 code < ' ' || code > '~' ? "\\x%02x"
                 : c == '"' || c == '\\'  ? "\\%c"
                                          : "%c",
                 code);
        const bool plain = isalnum(code) != 0 || strchr("._:!,/-", code) != nullptr;
        const std::string word = std::string("a") + c;
        const std::string shown_word = plain ? word : std::string("\"a") + escaped + "\"";
        EXPECT_EQ(shown({"dravik", "delete", word.c_str(), "b"}), "dravik delete " + shown_word + " b")
            << code;
        char text[32] = "";
        shownText(word.c_str(), text, sizeof(text));
        EXPECT_EQ(text, c == '"' ? word : std::string("a") + escaped) << code; // no quotes around it here
    }
}

TEST(Caller, TheProgramsOwnNameIsDravikWhateverItWasStartedAs) {
    EXPECT_EQ(shown({"/tmp/evil\nname", "scan"}), "dravik scan");
    EXPECT_EQ(shown({nullptr}), "dravik");
    EXPECT_EQ(shown({"dravik", nullptr, "behind"}), "dravik");
}

TEST(Caller, ATextIsNeverWrittenPastItsSize) {
    const std::string word(300, 'w');
    for (unsigned int size = 1; size < 40; ++size) {
        std::string out(size + 4, '#');
        const char *argv[] = {"dravik", word.c_str()};
        shownCommandLine(2, argv, out.data(), size);
        EXPECT_EQ(out.substr(size), "####") << size;
        EXPECT_EQ(strlen(out.c_str()), size - 1) << size;
        out.assign(size + 4, '#');
        shownText(word.c_str(), out.data(), size);
        EXPECT_EQ(out.substr(size), "####") << size;
        EXPECT_EQ(std::string(out.c_str()),
                  size > 3 ? std::string(size - 4, 'w') + "..." : std::string(size - 1, 'w'))
            << size;
    }
}

TEST(Caller, TheRunningUserIsToldByHisNameOrByHisNumberWhereHeHasNone) {
    char name[USER_NAME_SIZE] = "";
    runningUser(name, sizeof(name));
    const passwd *entry = getpwuid(geteuid());
    EXPECT_STREQ(name, entry != nullptr ? entry->pw_name : std::to_string(geteuid()).c_str());
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become a user without a name";
    }
    EXPECT_EQ(inChild([] {
                  char number[USER_NAME_SIZE] = "";
                  if (seteuid(3999999999U) != 0) {
                      return 1;
                  }
                  runningUser(number, sizeof(number));
                  return strcmp(number, "3999999999") == 0 ? 0 : 2;
              }),
              0);
}

TEST(Caller, TheRunningUserIsNoLoginUser) {
    char running[USER_NAME_SIZE] = "";
    runningUser(running, sizeof(running));
    setenv("SUDO_USER", running, 1);
    setenv("SUDO_UID", "4294967295", 1);
    char login[USER_NAME_SIZE] = "as it was";
    loginUser(login, sizeof(login));
    unsetenv("SUDO_USER");
    unsetenv("SUDO_UID");
    char known[USER_NAME_SIZE] = "";
    loginUser(known, sizeof(known));
    EXPECT_STREQ(login, known); // what the kernel knows, or nothing
}

TEST(Caller, ANameThatSudoTellsCannotBreakALineNorOutgrowItsSize) {
    char known[USER_NAME_SIZE] = "";
    loginUser(known, sizeof(known));
    if (known[0] != '\0') {
        GTEST_SKIP() << "the kernel knows who logged in here: " << known;
    }
    setenv("SUDO_USER", ("alice\n\x1b" + std::string(100, 'a')).c_str(), 1);
    char login[USER_NAME_SIZE] = "";
    loginUser(login, sizeof(login));
    unsetenv("SUDO_USER");
    EXPECT_EQ(login, "alice\\x0a\\x1b" + std::string(USER_NAME_SIZE - 1 - 13 - 3, 'a') + "...");
}

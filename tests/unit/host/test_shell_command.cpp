// A command line built of parts: each kind as it stands in the line, what makes the line one that must not be run,
// and where it is cut.
#include "host/shell_command.h"

#include <string>

#include <gtest/gtest.h>

#include "host/tool_names.h"

using dravik::own;
using dravik::PolicyText;
using dravik::SHELL_COMMAND_SIZE;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

// Words that are not plain, as they could stand in a listing, an argument or a script's answer.
const std::string HOSTILE[] = {
    "",     "-",    "-rf",  "a b",  "a;b",  "$(id)", "`id`",  "a|b",  "a&b", "a>b",         "a<b", "a'b",
    "a\"b", "a\\b", "a\nb", "*",    "?",    "[a]",   "{a,b}", "~",    "#",   "a=b",         "a%b", "a+b",
    "a@b",  "a\tb", "\x01", "\x7f", "\xc3", "a\xff", "(a)",   "!a b", "a\r", "$HOME/x y z", "^"};

constexpr size_t LONGEST = SHELL_COMMAND_SIZE - 1;

} // namespace

// ---- the parts

TEST(ShellCommand, AnEmptyCommandIsALineOfNothingThatMayBeRun) {
    const ShellCommand command;
    EXPECT_STREQ(command.line(), "");
    EXPECT_TRUE(command.isPlain());
}

TEST(ShellCommand, PartsStandBehindOneAnotherWithNothingBetween) {
    const ShellCommand command(CMD_velomux, " -ll "_sh, "mpatha", " 2> "_sh, "/dev/null");
    EXPECT_STREQ(command.line(), "velomux -ll mpatha 2> /dev/null");
    EXPECT_TRUE(command.isPlain());
}

TEST(ShellCommand, TextOfOurOwnStandsAsItIsWhateverItHolds) {
    const ShellCommand command("echo \"$(id)\" | cat > 'x' ; `y` & \n"_sh);
    EXPECT_STREQ(command.line(), "echo \"$(id)\" | cat > 'x' ; `y` & \n");
    EXPECT_TRUE(command.isPlain());
}

TEST(ShellCommand, ANamedConstantStandsAsItIsWhateverItHolds) {
    const ShellCommand command(own<CMD_cp>(), " "_sh, CONF_FILE);
    EXPECT_STREQ(command.line(), "\\cp -fp /etc/velomux.conf");
    EXPECT_TRUE(command.isPlain());
}

TEST(ShellCommand, APlainWordFromOutsideMayBeRun) {
    for (const char *word : {"sdb", "nvme0n1", "8:16", "3600b5d60001a2b3c0000000000000001", "/dev/dm-3",
                             "/etc/velomux.conf", "a_b.c,d!", "a"}) {
        const ShellCommand command("tool "_sh, word);
        EXPECT_EQ(command.line(), std::string("tool ") + word);
        EXPECT_TRUE(command.isPlain()) << word;
    }
}

TEST(ShellCommand, APolicyMayHoldBlanksWhichNoOtherWordMay) {
    const char *policy = "round-robin 0";
    const ShellCommand as_policy("\""_sh, PolicyText{policy}, "\""_sh);
    EXPECT_STREQ(as_policy.line(), "\"round-robin 0\"");
    EXPECT_TRUE(as_policy.isPlain());
    const ShellCommand as_word("\""_sh, policy, "\""_sh);
    EXPECT_STREQ(as_word.line(), "\"round-robin 0\"");
    EXPECT_FALSE(as_word.isPlain());
}

// ---- what must not be run

TEST(ShellCommand, AWordThatIsNotPlainMakesTheLineOneThatMustNotBeRunAndIsShown) {
    for (const std::string &word : HOSTILE) {
        const ShellCommand command("tool "_sh, word.c_str(), " end"_sh);
        EXPECT_FALSE(command.isPlain()) << word;
        EXPECT_EQ(command.line(), "tool " + word + " end");
    }
}

TEST(ShellCommand, ANullWordIsNotPlainAndAddsNothing) {
    const char *word = nullptr;
    const ShellCommand command("tool "_sh, word, "end"_sh);
    EXPECT_FALSE(command.isPlain());
    EXPECT_STREQ(command.line(), "tool end");
}

TEST(ShellCommand, APolicyThatIsNoneMakesTheLineOneThatMustNotBeRun) {
    for (const char *policy : {"", "a;b", "a\"b", "$(id)", "`id`", "a'b", "a\\b", "a\tb", "a.b", "a/b", "a\n",
                               "a\x01", "a\xc3\xa9"}) {
        const ShellCommand command("set \""_sh, PolicyText{policy}, "\""_sh);
        EXPECT_FALSE(command.isPlain()) << policy;
        EXPECT_EQ(command.line(), std::string("set \"") + policy + "\"");
    }
}

TEST(ShellCommand, OneBadWordIsEnoughWhereverItStands) {
    EXPECT_FALSE(ShellCommand("a;b", "plain", "plain").isPlain());
    EXPECT_FALSE(ShellCommand("plain", "a;b", "plain").isPlain());
    EXPECT_FALSE(ShellCommand("plain", "plain", "a;b").isPlain());
    EXPECT_FALSE(ShellCommand("a;b", PolicyText{"round-robin 0"}).isPlain());
    EXPECT_FALSE(ShellCommand(PolicyText{"a;b"}, "plain").isPlain());
    EXPECT_TRUE(ShellCommand("plain", PolicyText{"round-robin 0"}, "plain").isPlain());
}

// ---- the cut

TEST(ShellCommand, ALineOf1023CharactersIsWholeAndALongerOneIsCutThere) {
    EXPECT_EQ(SHELL_COMMAND_SIZE, 1024U);
    for (const size_t length : {LONGEST - 1, LONGEST, LONGEST + 1, LONGEST + 5000}) {
        const std::string word(length, 'w');
        const ShellCommand command(word.c_str());
        EXPECT_EQ(command.line(), word.substr(0, LONGEST)) << length;
        EXPECT_TRUE(command.isPlain()) << length;
    }
}

TEST(ShellCommand, ThePartAtTheEndIsCutAndWhatFollowsAddsNothing) {
    const std::string word(LONGEST - 3, 'w');
    const ShellCommand command(word.c_str(), "abcdef"_sh, "more"_sh, PolicyText{"round-robin 0"}, "sdb");
    EXPECT_EQ(command.line(), word + "abc");
    EXPECT_TRUE(command.isPlain());
}

TEST(ShellCommand, AWordThatIsNotPlainCountsAlsoBehindTheCut) {
    const std::string word(LONGEST, 'w');
    const ShellCommand command(word.c_str(), "a;b");
    EXPECT_EQ(command.line(), word);
    EXPECT_FALSE(command.isPlain());
}

TEST(ShellCommand, ACopyIsTheSameCommand) {
    const ShellCommand command("tool "_sh, "a;b");
    const ShellCommand copy = command; // NOLINT(performance-unnecessary-copy-initialization): the point
    EXPECT_STREQ(copy.line(), "tool a;b");
    EXPECT_FALSE(copy.isPlain());
}

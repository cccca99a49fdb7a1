// The aliases that alias.sh prints, entry by entry.
#include "commands/alias_list.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace {

constexpr char QUERY[] = "bash /usr/bin/dravik-script/alias.sh query";

// "wwid=alias;" of each entry behind "table " or "none "; or "failed".
std::string listed(const std::string &output, int outcome = 0) {
    FakeHost host;
    host.answer(QUERY, output, outcome);
    dravik::AliasList list;
    s_ecItems *result = dravik::queryAliases(&list);
    EXPECT_EQ(std::vector<std::string>{QUERY}, host.calls);
    std::string text = list.has_table ? "table " : "none ";
    for (const dravik::AliasEntry &entry : list.entries) {
        text += entry.wwid + "=" + entry.alias + ";";
    }
    return (result == &EC_exe_cmd_failed ? "failed " : "") + text;
}

} // namespace

TEST(AliasList, AnEntryIsTheTextBeforeTheFirstBlankAndAllThatFollowsIt) {
    EXPECT_EQ(listed("3600 a\n3601 b c\n"), "table 3600=a;3601=b c;");
    EXPECT_EQ(listed("3600 a"), "table 3600=a;");
    EXPECT_EQ(listed("3600 \x1b[2J\n"), "table 3600=\x1b[2J;");
}

TEST(AliasList, TheEntriesEndAtALineWithoutABlank) {
    EXPECT_EQ(listed("3600 a\n\n3601 b\n"), "table 3600=a;");
    EXPECT_EQ(listed("noblank\n"), "table ");
}

TEST(AliasList, AnOutputOfUpToTwoCharactersHasNoTable) {
    EXPECT_EQ(listed(""), "none ");
    EXPECT_EQ(listed("a "), "none ");
}

TEST(AliasList, AScriptThatFailsLeavesNothing) {
    EXPECT_EQ(listed("3600 a\n", 1), "failed none ");
    EXPECT_EQ(listed("", NOT_STARTED), "failed none ");
}

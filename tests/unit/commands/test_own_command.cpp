// What every command of our own makes of its call, whatever it answers.
#include "commands/own_command.h"

#include "cli/command_table.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

class OwnCommand : public LedgerOnHost {
  protected:
    OwnCommand() {
        observe({okVolume()});
    }
    std::string run(const Lines &words, bool json_before = false) {
        const Command *command = findOwnCommand(words.front().c_str());
        return command == nullptr ? "no such command" : answer(command->run_own, words, json_before);
    }
};

// The command lines that only read.
const std::vector<Lines> READING = {{"check"}, {"list"}, {"events"}, {"baseline", "show"}};

} // namespace

TEST_F(OwnCommand, JsonBeforeTheNameIsJsonBehindIt) {
    for (const Lines &words : READING) {
        Lines behind = words;
        behind.emplace_back("--json");
        const std::string said = run(behind);
        EXPECT_EQ(run(words, true), said);
        EXPECT_EQ(run(behind, true), said);
        EXPECT_NE(run(words), said);
        EXPECT_EQ(said.rfind(R"({"format_version":"1.0",)", 0), 0U) << said;
        EXPECT_NE(said.find(R"("command":")" + words.front() + "\""), std::string::npos) << said;
    }
}

TEST_F(OwnCommand, OptionsMayStandAnywhereAmongTheWords) {
    EXPECT_EQ(run({"check", "--json", "fine"}), run({"check", "fine", "--json"}));
    EXPECT_EQ(run({"baseline", "--json", "show", "fine"}), run({"baseline", "show", "fine", "--json"}));
}

TEST_F(OwnCommand, OneThatReadsLeavesNoAuditLine) {
    for (const Lines &words : READING) {
        run(words);
        EXPECT_EQ(audited, Lines()) << words.front();
    }
}

TEST_F(OwnCommand, OneThatChangesSomethingBeginsAndEndsOneAuditLine) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may accept a baseline";
    }
    run({"baseline", "accept", "fine"});
    EXPECT_EQ(audited, (Lines{"begins: dravik baseline accept fine", "Command executed successfully."}));
    audited.clear();
    run({"baseline", "accept", "nosuch"});
    EXPECT_EQ(audited,
              (Lines{"begins: dravik baseline accept nosuch", "the ledger knows no volume \"nosuch\""}));
}

// The tables of the operator guide. (That the guide holds them: tests/host/explain_texts.bats.)
#include "commands/advice_guide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace dravik;

TEST(AdviceGuide, ARowOfRecordsHasCodeTextMeaningAndRemedy) {
    const std::string table = guideTable("records");
    EXPECT_EQ(table.substr(0, table.find("\n| 0001")),
              "| Code | Text | It means | What to do |\n|---|---|---|---|\n"
              "| 0000 | Successfully. | Success: the command has done what it was asked for. | Nothing to "
              "do; it is shown as \"Command executed successfully.\" or not at all. |");
    EXPECT_NE(
        table.find(
            "\n| 0122 | The specified wwid[...] does not be configed alias. | The volume has no alias in "
            "the configuration. | Copy the WWID from `dravik lsalias`, which shows those that have one. "
            "*Look at* `dravik lsalias` |\n"),
        std::string::npos);
}

TEST(AdviceGuide, RowsOfEventsAndLinesHaveKeyMeaningAndRemedy) {
    EXPECT_NE(guideTable("events").find(
                  "\n| `path_seen_again` | A path that was missing from the listing is listed "
                  "again. | Nothing to do. *Look at* `dravik query VOLUME` |\n"),
              std::string::npos);
    EXPECT_NE(
        guideTable("change-log").find("\n| `The path group policy is changed from [ ... ] to [ ... ]` | "),
        std::string::npos);
}

TEST(AdviceGuide, AnAlertHasASectionOfItsOwn) {
    EXPECT_NE(guideTable("alerts").find("\n\n#### DravikTargetPortDown\n\n"
                                        "A port of the array is lost on several hosts: the fault is not the "
                                        "hosts'. Look at the array first: the port and its\n"
                                        "controller, then its cable and switch port, and zones that were "
                                        "changed. *Look at* `dravik list --bad`, `dravik events\n"
                                        "--since 1h`\n\n#### "),
              std::string::npos);
}

TEST(AdviceGuide, TextsThatShareAnEntryShareARow) {
    EXPECT_NE(guideTable("command-log")
                  .find("\n| `Malloc struct s_dravik.`<br>`Malloc struct s_lunPath.`<br>`Malloc struct "
                        "s_path_dev.` | "
                        "Memory was taken for a volume or a path. | Nothing to do. |\n"),
              std::string::npos);
}

TEST(AdviceGuide, EveryRowHasTheCellsOfItsHeading) {
    for (const char *name : {"records", "events", "change-log", "command-log"}) {
        const std::string table = guideTable(name);
        const auto bars = std::count(table.begin(), table.begin() + static_cast<long>(table.find('\n')), '|');
        const auto lines = std::count(table.begin(), table.end(), '\n');
        EXPECT_EQ(std::count(table.begin(), table.end(), '|'), bars * lines) << name;
    }
}

TEST(AdviceGuide, LogLinesAreBothLogsAndAnyOtherNameIsNone) {
    EXPECT_EQ(guideTable("log-lines"), guideTable("change-log") + "\n" + guideTable("command-log"));
    EXPECT_EQ(guideTable("rubbish"), "");
    EXPECT_EQ(guideTable(""), "");
}

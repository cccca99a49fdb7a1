// Tables within a width.
#include <gtest/gtest.h>

#include "output/table.h"

namespace {

using dravik::Align;
using dravik::Table;

std::string textOf(const Table &table) {
    std::string text;
    for (const std::string &line : table.lines()) {
        text += line + "\n";
    }
    return text;
}

Table volumes() {
    return Table({{"VOLUME", Align::LEFT, 16, 36},
                  {"SIZE", Align::RIGHT, 4, 8},
                  {"STATE", Align::LEFT, 9, 9},
                  {"NOTE", Align::LEFT, 0, 0}});
}

TEST(Table, ColumnsAreAsWideAsTheyMustBe) {
    Table table = volumes();
    table.addRow({"database", "5G", "ok", ""});
    table.addRow({"a_name_of_19_letters", "100G", "degraded", "sdb faulty"});
    EXPECT_EQ(textOf(table), "VOLUME                SIZE  STATE      NOTE\n"
                             "database                5G  ok\n"
                             "a_name_of_19_letters  100G  degraded   sdb faulty\n");
}

TEST(Table, TheFirstColumnGivesWayToTheLastDownToItsLeast) {
    Table table = volumes();
    table.addRow({"3600b5d60001a2b3c0000000000000003", "1.0T", "ok", std::string(50, 'n')});
    EXPECT_EQ(textOf(table),
              "VOLUME            SIZE  STATE      NOTE\n"
              "3600b5...0000003  1.0T  ok         nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn...\n");
    EXPECT_EQ(table.lastWidth(), 45U);
    for (const std::string &line : table.lines()) {
        EXPECT_LE(dravik::characterCount(line), dravik::TABLE_WIDTH);
    }
}

TEST(Table, AShorterLastCellGivesTheWidthBack) {
    Table table = volumes();
    table.addRow({"3600b5d60001a2b3c0000000000000003", "1.0T", "ok", std::string(50, 'n')});
    table.setLast(0, "short");
    EXPECT_EQ(textOf(table), "VOLUME                             SIZE  STATE      NOTE\n"
                             "3600b5d60001a2b3c0000000000000003  1.0T  ok         short\n");
}

TEST(Table, ControlBytesAreMadeVisible) {
    Table table = volumes();
    table.addRow({"a\x1b[2J", "1G", "ok", "x\ny"});
    EXPECT_EQ(textOf(table), "VOLUME            SIZE  STATE      NOTE\n"
                             "a\\x1b[2J            1G  ok         x\\x0ay\n");
}

TEST(Table, CharactersAreCountedNotBytes) {
    EXPECT_EQ(dravik::characterCount("größe"), 5U);
    EXPECT_EQ(dravik::cutEnd("größenwahn", 7), "größ...");
    EXPECT_EQ(dravik::cutMiddle("ääääööööüüüü", 9), "äää...üüü");
    EXPECT_EQ(dravik::cutEnd("größe", 5), "größe");
    EXPECT_EQ(dravik::cutMiddle("abcdef", 2), "ab");
    EXPECT_EQ(dravik::cutEnd("abcdef", 0), "");
}

TEST(Table, LinesAreWrappedAtBlanksAlone) {
    EXPECT_EQ(dravik::wrapLines("one two three\nfour five", 7), "one two\nthree\nfour\nfive");
    EXPECT_EQ(dravik::wrapLines("unbreakable word\n", 5), "unbreakable\nword\n");
    EXPECT_EQ(dravik::wrapLines("", 5), "");
}

} // namespace

// The snapshot file's reading: good files, damaged ones, and the pieces a line is read in.
#include <algorithm>
#include <cstring>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "common/comm_util.h"
#include "tests/support/seeded_random.h"
#include "tests/support/snapshot_fixture.h"
#include "tests/support/snapshot_reference.h"

// ---- the file

TEST_F(Snapshot, AFileIsReadLineByLineInItsOrder) {
    expectRead(FULL_LINE + PATHLESS_LINE + FULL_LINE, {FULL, PATHLESS, FULL});
}

TEST_F(Snapshot, AnEmptyFileOrAnEmptyFirstLineGivesAnEmptyListAndSuccess) {
    expectRead("", {});
    expectRead("\n", {});
    expectRead("\n" + FULL_LINE, {});
}

TEST_F(Snapshot, ALineShorterThanThreeCharactersEndsTheReadingAsASuccess) {
    for (const std::string line : {"\n", "a\n", ",\n", "a", ",", "ab"}) {
        std::string text = FULL_LINE;
        text += line;
        expectRead(text, {FULL});
        if (line.back() == '\n') {
            text += FULL_LINE;
            expectRead(text, {FULL});
        }
    }
    expectReadUpTo(FULL_LINE + "ab\n" + FULL_LINE, {FULL}, "ab\n"); // three with its newline
}

TEST_F(Snapshot, ALastLineWithoutANewlineIsReadButNeedsItsSevenCommas) {
    expectRead(PATHLESS_LINE + FULL_LINE.substr(0, FULL_LINE.size() - 1), {PATHLESS, FULL});
    expectReadUpTo(PATHLESS_LINE + FULL_LINE.substr(0, FULL_LINE.size() - 2), {PATHLESS}, "running");
}

TEST_F(Snapshot, ALineWithSixCommasStopsTheReadingAndKeepsTheRecordsBeforeIt) {
    expectReadUpTo(FULL_LINE + "a,b,c,d,e,f,g\n" + FULL_LINE, {FULL}, "g\n");
    expectReadUpTo(FULL_LINE + PATHLESS_LINE + ",,,,,,\n", {FULL, PATHLESS}, "\n");
    expectReadUpTo("no comma at all\n", {}, "no comma at all\n");
}

TEST_F(Snapshot, ALineOfCommasAloneIsARecordOfEmptyTexts) {
    expectRead(",,,,,,,\n,,,,,,,", {{}, {}});
}

TEST_F(Snapshot, WhatFollowsTheSeventhCommaIsIgnored) {
    expectRead("a,b,c,d,e,f,g,and more, of it,\n" + FULL_LINE, {{"a", "b", "c", "d", "e", "f", "g"}, FULL});
}

TEST_F(Snapshot, FieldsLongerThanTheirWidthAreCut) {
    const std::string wide(68, 'x');
    const std::string cut = wide.substr(0, 30);
    expectRead(wide + "," + wide + "," + wide + "," + wide + "," + wide + "," + wide + "," + wide + ",\n",
               {{cut, wide.substr(0, 65), cut, cut, cut, cut, cut}});
}

TEST_F(Snapshot, LongLinesAreReadInPiecesOf511Characters) {
    const std::string start = "a,b,c,d,e,f,g,"; // 14 characters
    const LunFields record = {"a", "b", "c", "d", "e", "f", "g"};
    const auto line = [&](size_t length) { return start + std::string(length - start.size(), 'z'); };
    expectRead(line(510) + "\n" + FULL_LINE, {record, FULL}); // with its newline one piece
    // The newline is a piece of its own and too short to be read on behind.
    expectRead(line(511) + "\n" + FULL_LINE, {record});
    expectRead(line(512) + "\n" + FULL_LINE, {record});
    expectReadUpTo(line(513) + "\n" + FULL_LINE, {record}, "zz\n");
    expectReadUpTo(line(600) + "\n" + FULL_LINE, {record}, std::string(89, 'z') + "\n");
    // The first piece needs its seven commas within it.
    expectReadUpTo("a,b,c,d,e,f," + std::string(588, 'z') + ",\n", {}, std::string(499, 'z'));
    // The second piece may be a record too.
    expectRead(line(511) + FULL_LINE, {record, FULL});
}

TEST_F(Snapshot, AByteOfZeroEndsItsLine) {
    const std::string zero(1, '\0');
    expectRead(FULL_LINE + zero + FULL_LINE, {FULL}); // a line of no characters
    expectReadUpTo("a,b,c" + zero + ",d,e,f,g,\n", {}, "c");
    expectRead("a,b,c,d,e,f,g," + zero + "x\n" + FULL_LINE, {{"a", "b", "c", "d", "e", "f", "g"}, FULL});
}

TEST_F(Snapshot, AMissingOrUnreadableFileIsLoggedAndTheListStaysEmpty) {
    dumps.forgetLogs();
    EXPECT_EQ(readLunPathToFile(head, SNAPSHOT_PATH), 0);
    EXPECT_EQ(dumps.commandLogLines(),
              Lines{"ERROR readLunPathToFile # Open file failed. file: /dumps/data.dravik."});
    EXPECT_EQ(lunListText(head), "");
    EXPECT_FALSE(dumps.has(SNAPSHOT));
    dumps.forgetLogs();
    EXPECT_EQ(readLunPathToFile(nullptr, SNAPSHOT_PATH), 0);
    EXPECT_EQ(readLunPathToFile(head, nullptr), 0);
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(Snapshot, AFolderInThePlaceOfTheFileGivesAnEmptyList) {
    ASSERT_EQ(mkdir(dumps.path(SNAPSHOT).c_str(), 0700), 0);
    readLunPathToFile(head, SNAPSHOT_PATH); // opening a folder succeeds, reading it does not
    EXPECT_EQ(lunListText(head), "");
}

TEST_F(Snapshot, AFileOfMoreRecordsThanAListHoldsIsReadUpToThat) {
    std::string text;
    for (unsigned int i = 0; i < MAX_LIST_NODES + 2; ++i) {
        text += "a,b,c,d,e,f,g,\n";
    }
    log_started = false;
    EXPECT_EQ(read(text), 0);
    log_started = true;
    unsigned int records = 0;
    for (const s_lunPath *record = firstLunpath(head); record != nullptr; record = nextLunpath(record)) {
        ++records;
    }
    EXPECT_EQ(records, MAX_LIST_NODES);
}

// ---- the pieces of the reading

TEST_F(Snapshot, AFieldIsCutOutUpToItsCommaAndTheRestIsReturned) {
    char text[] = "abc,,def";
    char field[8];
    memset(field, 'c', sizeof(field));
    char *rest = readFieldFromStr1(text, field, 3);
    ASSERT_EQ(rest, text + 4);
    EXPECT_STREQ(field, "abc");
    EXPECT_EQ(field[4], 'c');
    EXPECT_STREQ(text, "abc"); // the comma is a terminator now
    rest = readFieldFromStr1(rest, field, 3);
    ASSERT_EQ(rest, text + 5);
    EXPECT_STREQ(field, "");
    memset(field, 'c', sizeof(field));
    dumps.forgetLogs();
    EXPECT_EQ(readFieldFromStr1(rest, field, 3), nullptr);
    EXPECT_EQ(field[0], 'c');
    EXPECT_STREQ(rest, "def");
    EXPECT_EQ(complaints(), Lines{"ERROR readFieldFromStr1 # Read lunpath field failed form string [def]."});
    dumps.forgetLogs();
    EXPECT_EQ(readFieldFromStr1(nullptr, field, 3), nullptr);
    EXPECT_EQ(readFieldFromStr(nullptr, field), nullptr);
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(Snapshot, AFieldIsCutAtItsBoundWhichIs30UnlessGiven) {
    char text[] = "0123456789012345678901234567890123456789,x";
    char field[41];
    memset(field, 'c', sizeof(field));
    EXPECT_EQ(readFieldFromStr(text, field), text + 41);
    EXPECT_STREQ(field, "012345678901234567890123456789");
    EXPECT_EQ(field[31], 'c');
}

TEST_F(Snapshot, ARecordIsReadWhenAllSevenFieldsAreThere) {
    s_lunPath *record = mallocLunpath();
    char good[] = "a,b,c,d,e,f,g,";
    EXPECT_EQ(readLunpathFromStr(good, record), 1);
    EXPECT_EQ(fieldOf(record->lun_alias) + fieldOf(record->lun_wwid) + fieldOf(record->path_dev_id) +
                  fieldOf(record->path_dev_name) + fieldOf(record->path_status) +
                  fieldOf(record->path_group_status) + fieldOf(record->dravik_status),
              "abcdefg");
    char bad[] = "a,b,c,d,e,f,g";
    EXPECT_EQ(readLunpathFromStr(bad, record), 0);
    EXPECT_EQ(readLunpathFromStr(nullptr, record), 0);
    freeLunpath(record);
}

// ---- damaged files against a second reader

TEST_F(Snapshot, AFileCutAtAnyByteOrWithAnyByteReplacedIsReadUpToTheDamage) {
    const std::string whole = FULL_LINE + NAMELESS_LINE + PATHLESS_LINE + FULL_LINE;
    const auto expectAsReference = [&](const std::string &text) {
        const SnapshotOutcome expected = referenceRead(text);
        if (expected.result == 1) {
            expectRead(text, expected.list);
        } else {
            expectReadUpTo(text, expected.list, expected.unread);
        }
    };
    for (size_t at = 0; at <= whole.size(); ++at) {
        expectAsReference(whole.substr(0, at));
        for (const char c : {'\n', ',', '\0', 'x'}) {
            std::string text = whole;
            text[at % whole.size()] = c;
            expectAsReference(text);
        }
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(Snapshot, ThousandsOfRandomFilesAreReadAsASecondReaderReadsThem) {
    std::mt19937 random = seededRandom(3);
    for (int round = 0; round < 1500; ++round) {
        std::string text;
        for (size_t lines = random() % 5; lines > 0; --lines) {
            for (size_t fields = 5 + random() % 4; fields > 0; --fields) {
                text += std::string(random() % 4 == 0 ? random() % 300 : random() % 6, 'f') + ",";
            }
            text += random() % 9 == 0 ? "" : "\n";
        }
        if (random() % 4 == 0 && !text.empty()) {
            text[random() % text.size()] = static_cast<char>(random() % 256);
        }
        SCOPED_TRACE(round);
        const SnapshotOutcome expected = referenceRead(text);
        ASSERT_EQ(read(text), expected.result);
        ASSERT_EQ(lunListText(head), lunText(expected.list));
        const Lines failure = {"ERROR readFieldFromStr1 # Read lunpath field failed form string [" +
                               expected.unread + "]."};
        ASSERT_EQ(complaints(), expected.result == 1 ? Lines() : failure);
    }
}

TEST_F(Snapshot, AListWrittenAndReadAgainAndWrittenAgainGivesTheSameFile) {
    LunFields cut = NAMELESS;
    cut.alias = WWID_33.substr(0, 30);
    const List list = {FULL, cut, PATHLESS, FULL};
    EXPECT_EQ(write(list), 1);
    const std::string first = dumps.read(SNAPSHOT);
    initLunpath(head);
    EXPECT_EQ(readLunPathToFile(head, SNAPSHOT_PATH), 1);
    EXPECT_EQ(lunListText(head), lunText(list));
    ASSERT_EQ(unlink(dumps.path(SNAPSHOT).c_str()), 0);
    EXPECT_EQ(writeLunPathToFile(head, SNAPSHOT_PATH), 1);
    EXPECT_EQ(dumps.read(SNAPSHOT), first);
}

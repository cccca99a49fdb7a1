// The snapshot file. Writing: its bytes, its lock, and what a full disk makes of it. Reading: good files, damaged
// ones, and the pieces a line is read in.
#include "monitor/snapshot.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "common/log.h"
#include "tests/support/rules.h"
#include "tests/support/seeded_random.h"
#include "tests/support/snapshot_fixture.h"
#include "tests/support/snapshot_reference.h"

// ---- writing: the file

TEST_F(Snapshot, EachRecordIsALineOfSevenFieldsEachWithItsComma) {
    EXPECT_EQ(write({FULL, PATHLESS, FULL}), 1);
    EXPECT_EQ(dumps.read(SNAPSHOT), FULL_LINE + PATHLESS_LINE + FULL_LINE);
    EXPECT_EQ(dumps.commandLogLines(), Lines{WRITTEN});
}

TEST_F(Snapshot, SpareNodesAreNotWritten) {
    makeLunList(head, {FULL, FULL, FULL});
    EXPECT_EQ(write({PATHLESS}), 1);
    EXPECT_EQ(dumps.read(SNAPSHOT), PATHLESS_LINE);
}

TEST_F(Snapshot, AShorterListLeavesNothingOfALongerFile) {
    dumps.write(SNAPSHOT, std::string(100000, 'x'));
    EXPECT_EQ(write({FULL}), 1);
    EXPECT_EQ(dumps.read(SNAPSHOT), FULL_LINE);
}

TEST_F(Snapshot, AnEmptyListOrANullArgumentLeavesTheFileAndLogsNothing) {
    dumps.write(SNAPSHOT, "the last one");
    EXPECT_EQ(write({}), 1);
    EXPECT_EQ(writeLunPathToFile(nullptr, SNAPSHOT_PATH), 1);
    makeLunList(head, {FULL});
    EXPECT_EQ(writeLunPathToFile(head, nullptr), 1);
    s_lunPath lonely = {};
    lonely.end = false; // no end flag, but nothing behind it
    EXPECT_EQ(writeLunPathToFile(&lonely, SNAPSHOT_PATH), 1);
    EXPECT_EQ(dumps.read(SNAPSHOT), "the last one");
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(Snapshot, ANewFileHasMode0600UnderTheUmaskAndAnOldOneKeepsItsMode) {
    const auto mode = [&]() {
        struct stat attributes = {};
        EXPECT_EQ(stat(dumps.path(SNAPSHOT).c_str(), &attributes), 0);
        return attributes.st_mode & 07777U;
    };
    const mode_t old_umask = umask(0);
    EXPECT_EQ(write({FULL}), 1);
    EXPECT_EQ(mode(), 0600U);
    ASSERT_EQ(chmod(dumps.path(SNAPSHOT).c_str(), 0644), 0);
    EXPECT_EQ(write({FULL}), 1);
    EXPECT_EQ(mode(), 0644U);
    ASSERT_EQ(unlink(dumps.path(SNAPSHOT).c_str()), 0);
    umask(0277);
    EXPECT_EQ(write({FULL}), 1);
    umask(old_umask);
    EXPECT_EQ(mode(), 0400U);
}

TEST_F(Snapshot, AFileThatCannotBeOpenedForWritingIsLoggedAndTheAnswerIsZero) {
    makeLunList(head, {FULL});
    dumps.forgetLogs();
    EXPECT_EQ(writeLunPathToFile(head, "/dumps/none/data.dravik"), 0);
    EXPECT_EQ(dumps.commandLogLines(),
              Lines{"ERROR writeLunPathToFile # Open file failed. file: /dumps/none/data.dravik."});
}

TEST_F(Snapshot, AnAliasLongerThanItsFieldIsWrittenWithTheWwidBehindItAndReadBackCut) {
    EXPECT_EQ(write({NAMELESS}), 1);
    EXPECT_EQ(dumps.read(SNAPSHOT), NAMELESS_LINE);
    EXPECT_EQ(NAMELESS_LINE.find(','), 64U);
    LunFields cut = NAMELESS;
    cut.alias = WWID_33.substr(0, 30);
    expectRead(NAMELESS_LINE, {cut});
}

TEST_F(Snapshot, FieldsOfFullWidthAreWrittenAndReadWhole) {
    const std::string text(30, 't');
    const LunFields widest = {text, std::string(65, 'w'), text, text, text, text, text};
    EXPECT_EQ(write({widest, FULL}), 1);
    expectRead(dumps.read(SNAPSHOT), {widest, FULL});
}

TEST_F(Snapshot, ALargeListIsWrittenWholeAndReadBack) {
    List list;
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        LunFields f = FULL;
        f.name = "sd" + std::to_string(i);
        list.push_back(f);
        text += "mpatha,360000000000000000000000000000001,8:16," + f.name + ",ready,active,running,\n";
    }
    log_started = false;
    EXPECT_EQ(write(list), 1);
    EXPECT_TRUE(dumps.read(SNAPSHOT) == text);
    EXPECT_EQ(read(text), 1);
    log_started = true;
    EXPECT_TRUE(lunListText(head) == lunText(list));
}

TEST_F(Snapshot, TheFileIsTruncatedBeforeTheLockIsHadAndWrittenOnlyUnderIt) {
    dumps.write(SNAPSHOT, "the last one");
    makeLunList(head, {FULL});
    const int other = open(dumps.path(SNAPSHOT).c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(other, 0);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    bool finished = false;
    std::thread writer([&]() {
        writeLunPathToFile(head, SNAPSHOT_PATH);
        __atomic_store_n(&finished, true, __ATOMIC_RELEASE);
    });
    for (int i = 0; i < 500 && get_file_size(SNAPSHOT_PATH) != 0; ++i) {
        usleep(10000);
    }
    EXPECT_EQ(get_file_size(SNAPSHOT_PATH), 0);
    usleep(100000);
    EXPECT_EQ(get_file_size(SNAPSHOT_PATH), 0);
    EXPECT_FALSE(__atomic_load_n(&finished, __ATOMIC_ACQUIRE));
    flock(other, LOCK_UN);
    writer.join();
    close(other);
    EXPECT_EQ(dumps.read(SNAPSHOT), FULL_LINE);
}

TEST_F(Snapshot, TheLockIsReleasedAndTheDescriptorClosedAfterwards) {
    const int before = dup(0);
    close(before);
    EXPECT_EQ(write({FULL}), 1);
    EXPECT_EQ(read(FULL_LINE), 1);
    EXPECT_EQ(read("no comma"), 0);
    const int after = dup(0);
    close(after);
    EXPECT_EQ(before, after);
}

// ---- writing: the disk is full

namespace {

// No file grows past `limit` bytes while this object lives: what exceeds it is cut, and the next byte refused.
class DiskLimit {
  public:
    explicit DiskLimit(rlim_t limit) {
        old_handler = signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &old_limit);
        const rlimit now = {limit, old_limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
    }
    ~DiskLimit() {
        setrlimit(RLIMIT_FSIZE, &old_limit);
        signal(SIGXFSZ, old_handler);
    }
    DiskLimit(const DiskLimit &) = delete;
    DiskLimit &operator=(const DiskLimit &) = delete;

  private:
    rlimit old_limit = {};
    void (*old_handler)(int);
};

// What the list is made of, in the order in which a writer of single fields writes it.
Lines piecesOf(const List &list) {
    Lines pieces;
    for (const LunFields &f : list) {
        const std::string alias = f.alias.size() < 31 ? f.alias : f.alias + f.wwid;
        for (const std::string &field : {alias, f.wwid, f.id, f.name, f.status, f.group, f.online}) {
            pieces.push_back(field);
            pieces.push_back(",");
        }
        pieces.push_back("\n");
    }
    return pieces;
}

std::string shortWrite(const std::string &piece, long written) {
    return "ERROR writeStrToFile # Write data [" + piece + "] to file failed. Expected write " +
           std::to_string(piece.size()) + " bytes, but only write " + std::to_string(written) + " bytes.";
}

class SnapshotFullDisk : public Snapshot {
  protected:
    SnapshotFullDisk() {
        // The log must not feel the limit: it goes into a pipe, whose size has none.
        EXPECT_EQ(pipe2(log_pipe, O_CLOEXEC | O_NONBLOCK), 0);
    }
    ~SnapshotFullDisk() override {
        close(log_pipe[0]);
        close(log_pipe[1]);
    }

    // Runs `operation` on a disk that takes `limit` bytes of a file; the command log's lines are in `log`.
    template <typename Operation> int onDiskOf(size_t limit, const Operation &operation) {
        dumps.forgetLogs();
        const std::string pipe_name = "/proc/self/fd/" + std::to_string(log_pipe[1]);
        EXPECT_EQ(symlink(pipe_name.c_str(), dumps.path("dravik_cli.log").c_str()), 0);
        int result = 0;
        {
            const DiskLimit limited(limit);
            result = operation();
        }
        dumps.forgetLogs();
        std::string text;
        char piece[4096];
        for (ssize_t got = 0; (got = ::read(log_pipe[0], piece, sizeof(piece))) > 0;) {
            text.append(piece, static_cast<size_t>(got));
        }
        dumps.write("dravik_cli.log", text);
        log = dumps.commandLogLines();
        return result;
    }
    int writeOnDiskOf(size_t limit) {
        return onDiskOf(limit, [this]() { return writeLunPathToFile(head, SNAPSHOT_PATH); });
    }
    // The line that a writer of single fields logs on such a disk; none when all fits.
    static Lines expectedLog(const Lines &pieces, size_t limit) {
        size_t begin = 0;
        for (const std::string &piece : pieces) {
            if (begin + piece.size() > limit) {
                return {shortWrite(piece, limit > begin ? static_cast<long>(limit - begin) : -1), WRITTEN};
            }
            begin += piece.size();
        }
        return {WRITTEN};
    }

    int log_pipe[2] = {-1, -1};
    Lines log;
};

} // namespace

TEST_F(SnapshotFullDisk, AtEveryByteItIsReportedAsAWriterOfSingleFieldsReportsIt) {
    const List list = {FULL, NAMELESS, PATHLESS, FULL};
    makeLunList(head, list);
    const Lines pieces = piecesOf(list);
    std::string whole;
    for (const std::string &piece : pieces) {
        whole += piece;
    }
    ASSERT_EQ(whole, FULL_LINE + NAMELESS_LINE + PATHLESS_LINE + FULL_LINE);
    for (size_t limit = 0; limit <= whole.size() + 1; ++limit) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(writeOnDiskOf(limit), limit < whole.size() ? 0 : 1);
        EXPECT_EQ(log, expectedLog(pieces, limit));
        EXPECT_EQ(dumps.read(SNAPSHOT), whole.substr(0, limit));
        const Lines chunks_log = log;

        // The writer of single fields itself.
        const int fd = open(SNAPSHOT_PATH, O_WRONLY | O_TRUNC | O_CLOEXEC);
        ASSERT_GE(fd, 0);
        const int single = onDiskOf(limit, [&]() {
            for (auto piece = pieces.begin(); piece != pieces.end(); ++piece) { // behind the newline
                for (int field = 0; field < 7; ++field, piece += 2) {
                    if (writeFieldToFile(fd, piece->c_str()) == 0) {
                        return 0;
                    }
                }
                if (writeStrToFile(fd, piece->c_str(), 1) == 0) {
                    return 0;
                }
            }
            return 1;
        });
        close(fd);
        EXPECT_EQ(single, limit < whole.size() ? 0 : 1);
        EXPECT_EQ(dumps.read(SNAPSHOT), whole.substr(0, limit));
        log.push_back(WRITTEN);
        EXPECT_EQ(log, chunks_log);
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(SnapshotFullDisk, OfALargeListItIsReportedAroundEveryPowerOfTwoAndAtRandomBytes) {
    List list;
    for (int i = 0; i < 4000; ++i) {
        LunFields f = i % 5 == 0 ? NAMELESS : i % 7 == 0 ? PATHLESS : FULL;
        f.status = std::to_string(i);
        list.push_back(f);
    }
    log_started = false;
    makeLunList(head, list);
    log_started = true;
    const Lines pieces = piecesOf(list);
    std::string whole;
    for (const std::string &piece : pieces) {
        whole += piece;
    }
    std::vector<size_t> limits = {whole.size() - 1, whole.size(), whole.size() + 1};
    for (size_t power = 512; power < whole.size(); power *= 2) {
        for (size_t limit = power - 20; limit < power + 90; ++limit) {
            limits.push_back(limit);
        }
    }
    std::mt19937 random = seededRandom(5);
    for (int i = 0; i < 300; ++i) {
        limits.push_back(random() % whole.size());
    }
    for (const size_t limit : limits) {
        SCOPED_TRACE(limit);
        unlink(dumps.path(SNAPSHOT).c_str());
        ASSERT_EQ(writeOnDiskOf(limit), limit < whole.size() ? 0 : 1);
        ASSERT_EQ(log, expectedLog(pieces, limit));
        ASSERT_TRUE(dumps.read(SNAPSHOT) == whole.substr(0, limit));
    }
}

TEST_F(Snapshot, ADeviceThatTakesNothingIsReportedForTheFirstField) {
    makeLunList(head, {FULL});
    ASSERT_EQ(symlink("/dev/full", dumps.path(SNAPSHOT).c_str()), 0);
    dumps.forgetLogs();
    EXPECT_EQ(writeLunPathToFile(head, SNAPSHOT_PATH), 0);
    EXPECT_EQ(dumps.commandLogLines(), (Lines{shortWrite("mpatha", -1), WRITTEN}));
}

// ---- writing: its pieces

TEST_F(Snapshot, NothingIsWrittenOrReadWithoutADescriptorABufferOrALength) {
    const int fd = open(SNAPSHOT_PATH, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    char buffer[8] = "canary";
    EXPECT_EQ(write_to_file(-1, "abc", 3), 0);
    EXPECT_EQ(write_to_file(fd, nullptr, 3), 0);
    EXPECT_EQ(write_to_file(fd, "abc", 0), 0);
    EXPECT_EQ(write_to_file(fd, "abc", -1), 0);
    EXPECT_EQ(read_from_file(-1, buffer, 3), 0);
    EXPECT_EQ(read_from_file(fd, nullptr, 3), 0);
    EXPECT_EQ(read_from_file(fd, buffer, 0), 0);
    EXPECT_EQ(read_from_file(fd, buffer, -1), 0);
    EXPECT_STREQ(buffer, "canary");
    EXPECT_EQ(write_to_file(fd, "abcdef", 4), 4);
    EXPECT_EQ(dumps.read(SNAPSHOT), "abcd");
    ASSERT_EQ(lseek(fd, 1, SEEK_SET), 1);
    EXPECT_EQ(read_from_file(fd, buffer, 2), 2);
    EXPECT_STREQ(buffer, "bcnary");
    EXPECT_EQ(read_from_file(fd, buffer, 8), 1);
    EXPECT_EQ(read_from_file(fd, buffer, 8), 0);
    close(fd);
}

TEST_F(Snapshot, ATextCountsAsWrittenWhenAllOfItWas) {
    const int fd = open(SNAPSHOT_PATH, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(writeStrToFile(fd, "abc", 3), 1);
    EXPECT_EQ(writeStrToFile(fd, "", 0), 1);
    EXPECT_EQ(writeStrToFile(-1, "", 0), 1);
    EXPECT_EQ(writeFieldToFile(fd, "field"), 1);
    EXPECT_EQ(writeFieldToFile(fd, ""), 1);
    close(fd);
    EXPECT_EQ(dumps.read(SNAPSHOT), "abcfield,,");
    EXPECT_EQ(complaints(), Lines());
    EXPECT_EQ(writeStrToFile(-1, "abc", 3), 0);
    EXPECT_EQ(writeFieldToFile(-1, ""), 0); // its comma
    EXPECT_EQ(complaints(), (Lines{shortWrite("abc", 0), shortWrite(",", 0)}));
}

// ---- reading: the file

namespace {

// A file, the records that it gives, and what is left of the line at which the reading ends as a failure; null where
// it is read to its end.
struct ReadCase {
    std::string text;
    List list;
    const char *rest;
};

const Rule<ReadCase> READ_RULES[] = {
    {"AFileIsReadLineByLineInItsOrder",
     {{FULL_LINE + PATHLESS_LINE + FULL_LINE, {FULL, PATHLESS, FULL}, nullptr}}},
    {"AnEmptyFileOrAnEmptyFirstLineGivesAnEmptyListAndSuccess",
     {{"", {}, nullptr}, {"\n", {}, nullptr}, {"\n" + FULL_LINE, {}, nullptr}}},
    {"ALastLineWithoutANewlineIsReadButNeedsItsSevenCommas",
     {{PATHLESS_LINE + FULL_LINE.substr(0, FULL_LINE.size() - 1), {PATHLESS, FULL}, nullptr},
      {PATHLESS_LINE + FULL_LINE.substr(0, FULL_LINE.size() - 2), {PATHLESS}, "running"}}},
    {"ALineWithSixCommasStopsTheReadingAndKeepsTheRecordsBeforeIt",
     {{FULL_LINE + "a,b,c,d,e,f,g\n" + FULL_LINE, {FULL}, "g\n"},
      {FULL_LINE + PATHLESS_LINE + ",,,,,,\n", {FULL, PATHLESS}, "\n"},
      {"no comma at all\n", {}, "no comma at all\n"}}},
    {"ALineOfCommasAloneIsARecordOfEmptyTexts", {{",,,,,,,\n,,,,,,,", {{}, {}}, nullptr}}},
    {"WhatFollowsTheSeventhCommaIsIgnored",
     {{"a,b,c,d,e,f,g,and more, of it,\n" + FULL_LINE,
       {{"a", "b", "c", "d", "e", "f", "g"}, FULL},
       nullptr}}},
};

class SnapshotRead : public Snapshot, public testing::WithParamInterface<Rule<ReadCase>> {};

} // namespace

TEST_P(SnapshotRead, GivesRecords) {
    for (const ReadCase &row : GetParam().cases) {
        if (row.rest == nullptr) {
            expectRead(row.text, row.list);
        } else {
            expectReadUpTo(row.text, row.list, row.rest);
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, SnapshotRead, testing::ValuesIn(READ_RULES), nameOfRule);

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

// ---- reading: its pieces

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

// ---- reading: damaged files against a second reader

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

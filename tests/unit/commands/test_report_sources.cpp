// Bounded reading of files, commands and texts made beside this process.
#include "commands/report_sources.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/interruption.h"
#include "tests/support/children.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// "there: TEXT; problem; N left out", its parts only where they are so.
std::string told(const ReportItem &item) {
    return (item.is_there ? "there: " + item.text : "none" + item.text) +
           (item.problem.empty() ? "" : "; " + item.problem) +
           (item.left_out == 0 ? "" : "; " + std::to_string(item.left_out) + " left out") +
           (item.is_expected ? "" : "; may lack");
}

ReportItem limited(uint64_t limit, Keep keep = Keep::BEGINNING) {
    ReportItem item;
    item.name = "x";
    item.limit = limit;
    item.keep = keep;
    return item;
}

class ReportSources : public testing::Test {
  protected:
    ReportSources() {
        char name[] = "/tmp/dravik-sources-XXXXXX";
        folder = mkdtemp(name);
    }
    ~ReportSources() override {
        std::filesystem::remove_all(folder);
    }
    std::string write(const std::string &name, const std::string &text) const {
        std::ofstream(folder + "/" + name, std::ios::binary) << text;
        return folder + "/" + name;
    }
    static ReportItem read(const std::string &path, uint64_t limit = 100, bool expected = true) {
        ReportItem item = limited(limit, Keep::END);
        item.is_expected = expected;
        readFile(&item, path.c_str());
        EXPECT_EQ(item.source, path);
        EXPECT_GE(item.duration_ms, 0);
        return item;
    }
    static ReportItem cut(const std::string &text, uint64_t limit, Keep keep) {
        ReportItem item = limited(limit, keep);
        item.text = text;
        item.is_there = true;
        cutItem(&item);
        return item;
    }
    static ReportItem run(const ShellCommand &command, uint64_t limit = 1000, Keep keep = Keep::BEGINNING,
                          unsigned int seconds = 20, const char *tool = "sh") {
        ReportItem item = limited(limit, keep);
        runCommand(&item, tool, command, seconds);
        return item;
    }
    std::string folder;
    DumpsFolder dumps;
};

} // namespace

TEST_F(ReportSources, ATextIsCutAtTheEndOfALineAndWhatGoesIsCounted) {
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 9, Keep::BEGINNING)), "there: ab\ncd\nef\n");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 8, Keep::BEGINNING)), "there: ab\ncd\n; 3 left out");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 6, Keep::BEGINNING)), "there: ab\ncd\n; 3 left out");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 5, Keep::BEGINNING)), "there: ab\n; 6 left out");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 9, Keep::END)), "there: ab\ncd\nef\n");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 8, Keep::END)), "there: cd\nef\n; 3 left out");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 6, Keep::END)), "there: cd\nef\n; 3 left out");
    EXPECT_EQ(told(cut("ab\ncd\nef\n", 5, Keep::END)), "there: ef\n; 6 left out");
}

TEST_F(ReportSources, ALineThatIsLongerThanTheLimitIsCutWithin) {
    EXPECT_EQ(told(cut("abcdef", 4, Keep::BEGINNING)), "there: abcd; 2 left out");
    EXPECT_EQ(told(cut("abcdef\n", 4, Keep::BEGINNING)), "there: abcd; 3 left out");
    EXPECT_EQ(told(cut("abcdef", 4, Keep::END)), "there: cdef; 2 left out");
    EXPECT_EQ(told(cut("abcdef\n", 4, Keep::END)), "there: def\n; 3 left out");
}

TEST_F(ReportSources, CuttingTwiceCountsBoth) {
    ReportItem item = cut("ab\ncd\nef\n", 6, Keep::END);
    item.limit = 3;
    cutItem(&item);
    EXPECT_EQ(told(item), "there: ef\n; 6 left out");
}

TEST_F(ReportSources, AFileUpToItsLimitIsReadWhole) {
    for (const std::string &text : {std::string(), std::string("ab\n"), std::string("no newline"),
                                    std::string("\0\xff\n\x1b", 4), std::string(100, 'x')}) {
        EXPECT_EQ(told(read(write("file", text))), "there: " + text);
    }
}

TEST_F(ReportSources, OfALongerFileTheEndIsReadFromAWholeLineOn) {
    std::string text;
    for (int i = 10; i < 100; ++i) {
        text += "line " + std::to_string(i) + "\n"; // 8 bytes
    }
    dumps.write("log", text);
    for (const std::string &file : {write("log", text), std::string("/dumps/log")}) {
        EXPECT_EQ(told(read(file, 20)), "there: line 98\nline 99\n; 704 left out");
        EXPECT_EQ(told(read(file, 23)), "there: line 98\nline 99\n; 704 left out");
        EXPECT_EQ(told(read(file, 720)), "there: " + text);
        EXPECT_EQ(told(read(file, 719)), "there: " + text.substr(8) + "; 8 left out");
    }
    EXPECT_EQ(told(read(write("one", "abcdefgh"), 4)), "there: efgh; 4 left out");
}

TEST_F(ReportSources, AnItemThatSaysWhichEndItKeepsKeepsThatOfAFile) {
    const std::string file = write("conf", "first\nsecond\nthird\n");
    ReportItem item = limited(14, Keep::END);
    readFile(&item, file.c_str());
    EXPECT_EQ(item.text, "second\nthird\n");
    item = limited(14, Keep::BEGINNING);
    readFile(&item, file.c_str());
    // Whatever is kept: the item, by which the manifest tells the reader, and the text say the same.
    EXPECT_EQ(item.text, item.keep == Keep::BEGINNING ? "first\nsecond\n" : "second\nthird\n");
}

TEST_F(ReportSources, AFileThatIsNotThereIsOnlyToBeLookedAtWhereItIsExpected) {
    EXPECT_EQ(told(read(folder + "/none")), "none; there is none");
    EXPECT_EQ(told(read(folder + "/none", 100, false)), "none; there is none; may lack");
    EXPECT_EQ(told(read("/dumps/none")), "none; there is none");
    EXPECT_EQ(told(read("/dumps/none", 100, false)), "none; there is none; may lack");
}

TEST_F(ReportSources, WhatIsNoPlainFileIsNotReadAndNothingIsWaitedFor) {
    ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(dumps.path("fifo").c_str(), 0600), 0);
    ASSERT_EQ(mkdir(dumps.path("folder").c_str(), 0700), 0);
    const Clock::time_point start = Clock::now();
    for (const std::string &file :
         {folder + "/fifo", folder, std::string("/dev/null"), std::string("/dev/zero"),
          std::string("/dumps/fifo"), std::string("/dumps/folder")}) {
        EXPECT_EQ(told(read(file)), "none; is no plain file") << file;
        EXPECT_EQ(told(read(file, 100, false)), "none; is no plain file") << file; // that is to be looked at
    }
    EXPECT_LT(secondsSince(start), 25);
}

TEST_F(ReportSources, BelowDumpsNoLinkIsFollowedAnywhereElseLinksAre) {
    const std::string file = write("file", "text\n");
    ASSERT_EQ(symlink(file.c_str(), dumps.path("link").c_str()), 0);
    ASSERT_EQ(symlink(file.c_str(), (folder + "/link").c_str()), 0);
    ASSERT_EQ(symlink("/dev/zero", (folder + "/zero").c_str()), 0);
    dumps.write("twice", "text\n");
    ASSERT_EQ(link(dumps.path("twice").c_str(), dumps.path("second").c_str()), 0);
    EXPECT_EQ(told(read("/dumps/link")), "none; is no plain file");
    EXPECT_EQ(told(read("/dumps/twice")), "none; is no plain file of root's alone");
    EXPECT_EQ(told(read(folder + "/link")), "there: text\n");
    EXPECT_EQ(told(read(folder + "/zero")), "none; is no plain file");
}

TEST_F(ReportSources, ACommandsWholeOutputIsTheTextAndAFailureStandsBehindIt) {
    const ReportItem item = run(ShellCommand("sh -c 'echo out && echo err >&2'"_sh));
    EXPECT_EQ(told(item), "there: out\nerr\n");
    EXPECT_EQ(item.source, "sh -c 'echo out && echo err >&2'");
    EXPECT_EQ(told(run(ShellCommand("echo out && false"_sh))), "there: out\n(its exit status was not 0)\n");
    EXPECT_EQ(told(run(ShellCommand("true"_sh))), "there: ");
}

TEST_F(ReportSources, ACommandsOutputIsCutToItsLimit) {
    EXPECT_EQ(told(run(ShellCommand("seq 10 19"_sh), 8, Keep::BEGINNING)), "there: 10\n11\n; 24 left out");
    EXPECT_EQ(told(run(ShellCommand("seq 10 19"_sh), 8, Keep::END)), "there: 18\n19\n; 24 left out");
}

TEST_F(ReportSources, AToolThatIsNotOnTheHostIsNotRun) {
    EXPECT_EQ(told(run(ShellCommand("echo ran"_sh), 100, Keep::END, 5, "no-such-tool")),
              "none; there is no no-such-tool on this host");
}

TEST_F(ReportSources, AWordThatIsNotPlainIsNotRun) {
    EXPECT_EQ(told(run(ShellCommand("echo "_sh, "$x"))), "none; could not be run");
}

TEST_F(ReportSources, ACommandThatHangsIsKilledAfterItsSecondsWithWhatItStarted) {
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(told(run(ShellCommand("echo begun && sleep 60 | sleep 61"_sh), 100, Keep::BEGINNING, 1)),
              "none; did not end within 1 seconds and was killed");
    EXPECT_LT(secondsSince(start), 25);
    EXPECT_EQ(told(run(ShellCommand("echo next"_sh))), "there: next\n"); // the deadline is over
}

TEST_F(ReportSources, OfAnEndlessOutputNoMoreThan32MiBIsTaken) {
    const ReportItem item = run(ShellCommand("yes"_sh), 6);
    EXPECT_EQ(item.text, "y\ny\ny\n");
    EXPECT_EQ(item.left_out, (32U << 20) - 6);
    EXPECT_TRUE(item.is_there);
}

TEST_F(ReportSources, ALineOfItsOwnAnswersWhatItPrintedOrASentence) {
    std::string output;
    std::string problem;
    EXPECT_TRUE(runLine(ShellCommand("echo a && echo b"_sh), 5, &output, &problem));
    EXPECT_EQ(output + problem, "a\nb\n");
    output.clear();
    EXPECT_FALSE(runLine(ShellCommand("echo a && sh -c 'exit 4'"_sh), 5, &output, &problem));
    EXPECT_EQ(output + problem, "failed with exit status 4");
    output.clear();
    EXPECT_FALSE(runLine(ShellCommand("sleep 60"_sh), 1, &output, &problem));
    EXPECT_EQ(output + problem, "did not end within 1 seconds and was killed");
}

TEST_F(ReportSources, ALineThatIsNotRunSaysSoWhateverBecameOfTheOneBefore) {
    std::string output;
    std::string problem;
    EXPECT_FALSE(runLine(ShellCommand("echo "_sh, "$x"), 5, &output, &problem));
    EXPECT_EQ(output + problem, "could not be run");
    EXPECT_FALSE(runLine(ShellCommand("sleep 60"_sh), 1, &output, &problem));
    EXPECT_FALSE(runLine(ShellCommand("echo "_sh, "$x"), 5, &output, &problem));
    EXPECT_EQ(output + problem, "could not be run");
}

TEST_F(ReportSources, ACommandThatASignalHasEndedIsNoneThatHasRun) {
    std::string output;
    std::string problem;
    EXPECT_FALSE(runLine(ShellCommand("echo half && kill -KILL $$"_sh), 5, &output, &problem));
    EXPECT_EQ(output, "");
    EXPECT_NE(problem, "");
}

TEST_F(ReportSources, ASignalEndsACommandWithinASecondOrTwo) {
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(inChild([] {
                  deferEndingSignals(nullptr);
                  raise(SIGTERM);
                  std::string output;
                  std::string problem;
                  return runLine(ShellCommand("sleep 60"_sh), 30, &output, &problem) ? 1 : 0;
              }),
              0);
    EXPECT_LT(secondsSince(start), 25);
}

TEST_F(ReportSources, ATextMadeBesideIsReadToItsEnd) {
    ReportItem item = limited(10);
    readBeside(
        &item, [](int out) { writeWhole(out, "ab\ncd\nef\ngh\n"); }, 5);
    EXPECT_EQ(told(item), "there: ab\ncd\nef\n; 3 left out");
    item = limited(1U << 20);
    readBeside(
        &item, [](int out) { writeWhole(out, std::string(500000, 'x')); }, 5);
    EXPECT_EQ(told(item), "there: " + std::string(500000, 'x'));
}

TEST_F(ReportSources, OfATextThatIsNotMadeInTimeWhatCameByThenIsKept) {
    const Clock::time_point start = Clock::now();
    ReportItem item = limited(100);
    readBeside(
        &item,
        [](int out) {
            writeWhole(out, "begun\n");
            pause();
        },
        1);
    EXPECT_EQ(told(item), "there: begun\n; did not end within 1 seconds: what came by then");
    EXPECT_LT(secondsSince(start), 25);
    EXPECT_GE(item.duration_ms, 1000);
}

TEST_F(ReportSources, WhatTheProcessBesideChangesDoesNotChangeThisOne) {
    int mine = 1;
    const std::set<int> before = openDescriptors();
    ReportItem item = limited(100);
    readBeside(
        &item, [&mine](int) { mine = 2; }, 5);
    EXPECT_EQ(told(item), "there: ");
    EXPECT_EQ(mine, 1);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(ReportSources, ATextIsWrittenWholeOrTheReasonIsKnown) {
    const std::string file = folder + "/out";
    const int out = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_TRUE(writeWhole(out, std::string(200000, 'x') + "\n"));
    EXPECT_TRUE(writeWhole(out, ""));
    EXPECT_EQ(close(out), 0);
    EXPECT_EQ(std::filesystem::file_size(file), 200001U);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    errno = 0;
    EXPECT_FALSE(writeWhole(full, "x"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(close(full), 0);
}

// The buffer of a command's output: its pages, the heap block that may take their place, and their release.
#include "host/command_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/mman.h>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"
#include "tests/support/system_calls.h"

namespace {

int runs = 0;
std::string command_run;

// Stand-ins for the capture layer. Each answers with a status of its own.
int printsAWord(const char *command, char *buffer, int size, char **out, int * /*grown*/) {
    ++runs;
    command_run = command;
    EXPECT_EQ(size, 2097152);
    memcpy(buffer, "word", 5);
    *out = buffer;
    return 3;
}

int grows(const char * /*command*/, char *buffer, int size, char **out, int *grown) {
    buffer[0] = 'x';
    *out = static_cast<char *>(malloc(static_cast<size_t>(size) + 1));
    memset(*out, 'g', static_cast<size_t>(size));
    (*out)[size] = '\0';
    *grown = 1;
    return 0;
}

int runsOutOfMemory(const char * /*command*/, char * /*buffer*/, int /*size*/, char **out, int * /*grown*/) {
    *out = nullptr;
    return EXE_NO_MEMORY;
}

bool isMapped(char *page) {
    return msync(page, 1, MS_ASYNC) == 0;
}

} // namespace

TEST(CommandOutput, TheBufferIsTwoMebibytesOfZeroes) {
    EXPECT_EQ(TASK_OUTPUT_SIZE, 2097152U);
    const CommandOutput output;
    ASSERT_NE(output.pages, nullptr);
    EXPECT_TRUE(std::all_of(output.pages, output.pages + TASK_OUTPUT_SIZE, [](char c) { return c == '\0'; }));
    EXPECT_EQ(output.text, nullptr);
}

TEST(CommandOutput, FillRunsTheCommandOnceIntoTheBufferAndAnswersItsStatus) {
    runs = 0;
    CommandOutput output;
    EXPECT_EQ(output.fill(printsAWord, "the command"), 3);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(command_run, "the command");
    EXPECT_EQ(output.text, output.pages);
    EXPECT_STREQ(output.text, "word");
}

TEST(CommandOutput, WithoutPagesNothingIsRunAndMemoryHasRunOut) {
    runs = 0;
    const FailingCall failing("mmap", ENOMEM);
    CommandOutput output;
    EXPECT_EQ(failing.size(), 2097152U);
    EXPECT_EQ(output.pages, nullptr);
    EXPECT_EQ(output.fill(printsAWord, "the command"), EXE_NO_MEMORY);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(output.text, nullptr);
}

TEST(CommandOutput, TheTextIsCopiedAsFarAsItFitsWithItsTerminator) {
    CommandOutput output;
    output.fill(printsAWord, "");
    for (const unsigned int size : {1U, 2U, 4U, 5U, 6U, 20U}) {
        std::string out(size + 4, '#');
        output.copyTo(out.data(), size);
        EXPECT_STREQ(out.c_str(), std::string("word").substr(0, size - 1).c_str()) << size;
        EXPECT_EQ(out.substr(size), "####") << size;
    }
    char untouched[] = "##";
    output.copyTo(untouched, 0);
    EXPECT_STREQ(untouched, "##");
    output.copyTo(nullptr, 10); // nothing to do, and nothing happens
}

TEST(CommandOutput, PagesAreReleasedWhenItGoes) {
    char *pages = nullptr;
    {
        CommandOutput output;
        output.fill(printsAWord, "");
        pages = output.pages;
        EXPECT_TRUE(isMapped(pages));
    }
    EXPECT_FALSE(isMapped(pages));
}

TEST(CommandOutput, AGrownBlockIsReleasedWithThePages) {
    const long before = heldBlocks();
    char *pages = nullptr;
    {
        CommandOutput output;
        EXPECT_EQ(output.fill(grows, ""), 0);
        pages = output.pages;
        EXPECT_NE(output.text, pages);
        EXPECT_EQ(heldBlocks() - before, 1);
        char out[4] = "";
        output.copyTo(out, sizeof(out));
        EXPECT_STREQ(out, "ggg");
    }
    EXPECT_EQ(heldBlocks(), before);
    EXPECT_FALSE(isMapped(pages));
}

TEST(CommandOutput, AnOutputThatFoundNoMemoryReleasesThePagesAlone) {
    const long before = heldBlocks();
    char *pages = nullptr;
    {
        CommandOutput output;
        EXPECT_EQ(output.fill(runsOutOfMemory, ""), EXE_NO_MEMORY);
        EXPECT_EQ(output.text, nullptr);
        pages = output.pages;
    }
    EXPECT_EQ(heldBlocks(), before);
    EXPECT_FALSE(isMapped(pages));
}

// Replacing a file: old or new text at any instant, nothing foreign touched, nothing left behind.
#include "common/replace_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/write_faults.h"

namespace {

using Names = std::vector<std::string>;

constexpr char FILE_PATH[] = "/dumps/file";

class ReplaceFile : public testing::Test {
  protected:
    DumpsFolder dumps;

    static int replace(const std::string &text) {
        return replaceFile(FILE_PATH, text.data(), text.size(), 0640);
    }
    mode_t modeOf(const std::string &name) const {
        struct stat attributes = {};
        return lstat(dumps.path(name).c_str(), &attributes) == 0 ? attributes.st_mode : 0;
    }
};

TEST_F(ReplaceFile, ANewFileHoldsTheTextWithTheModeAskedFor) {
    const mode_t before = umask(0077);
    EXPECT_EQ(replace("first"), 0);
    umask(before);
    EXPECT_EQ(dumps.read("file"), "first");
    EXPECT_EQ(modeOf("file"), S_IFREG | 0640U);
    EXPECT_EQ(dumps.names(), (Names{"file"}));
}

TEST_F(ReplaceFile, AnOldFileKeepsItsModeAndOwner) {
    dumps.write("file", "old text, longer than the new one");
    ASSERT_EQ(chmod(FILE_PATH, 0604), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(FILE_PATH, 12345, 23456), 0);
    }
    EXPECT_EQ(replace("new"), 0);
    EXPECT_EQ(dumps.read("file"), "new");
    EXPECT_EQ(modeOf("file"), S_IFREG | 0604U);
    struct stat attributes = {};
    ASSERT_EQ(stat(FILE_PATH, &attributes), 0);
    if (geteuid() == 0) {
        EXPECT_EQ(attributes.st_uid, 12345U);
        EXPECT_EQ(attributes.st_gid, 23456U);
    }
    EXPECT_EQ(replace(""), 0);
    EXPECT_EQ(dumps.read("file"), "");
    EXPECT_EQ(dumps.names(), (Names{"file"}));
}

TEST_F(ReplaceFile, AReaderOfTheOldFileGoesOnReadingIt) {
    dumps.write("file", "old");
    const int fd = open(FILE_PATH, O_RDONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(replace("new"), 0);
    char text[4] = "";
    EXPECT_EQ(read(fd, text, 3), 3);
    EXPECT_STREQ(text, "old");
    close(fd);
}

TEST_F(ReplaceFile, ASymbolicLinkIsReplacedAndItsTargetLeftAlone) {
    dumps.write("target", "precious");
    ASSERT_EQ(symlink(dumps.path("target").c_str(), FILE_PATH), 0);
    EXPECT_EQ(replace("new"), 0);
    EXPECT_EQ(dumps.read("target"), "precious");
    EXPECT_EQ(dumps.read("file"), "new");
    EXPECT_EQ(modeOf("file"), S_IFREG | 0640U);
}

TEST_F(ReplaceFile, ALinkInThePlaceOfTheNewFileIsNotWrittenThrough) {
    dumps.write("target", "precious");
    ASSERT_EQ(symlink(dumps.path("target").c_str(), "/dumps/file.new"), 0);
    EXPECT_EQ(replace("one"), 0);
    ASSERT_EQ(link("/dumps/target", "/dumps/file.new"), 0);
    EXPECT_EQ(replace("two"), 0);
    ASSERT_EQ(mkfifo(dumps.path("file.new").c_str(), 0600), 0);
    EXPECT_EQ(replace("three"), 0);
    EXPECT_EQ(dumps.read("file"), "three");
    EXPECT_EQ(dumps.read("target"), "precious");
    EXPECT_EQ(dumps.names(), (Names{"file", "target"}));
}

TEST_F(ReplaceFile, AnothersNewFileIsNotWrittenInto) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make another user's file";
    }
    dumps.write("file.new", "a stranger holds this open");
    ASSERT_EQ(chown("/dumps/file.new", 12345, 12345), 0);
    const int strangers = open("/dumps/file.new", O_RDWR);
    EXPECT_EQ(replace("text"), 0);
    char text[64] = "";
    EXPECT_GT(pread(strangers, text, sizeof(text) - 1, 0), 0);
    EXPECT_STREQ(text, "a stranger holds this open");
    close(strangers);
    EXPECT_EQ(dumps.read("file"), "text");
    EXPECT_EQ(modeOf("file"), S_IFREG | 0640U);
}

TEST_F(ReplaceFile, ALeftoverOfAKilledProcessIsTakenOver) {
    dumps.write("file.new", "half of a text that was much longer than the next one");
    EXPECT_EQ(replace("whole"), 0);
    EXPECT_EQ(dumps.read("file"), "whole");
    EXPECT_EQ(dumps.names(), (Names{"file"}));
}

TEST_F(ReplaceFile, AFolderInThePlaceOfEitherFileIsAnErrorThatLeavesNothing) {
    std::filesystem::create_directory(dumps.path("file"));
    EXPECT_EQ(replace("text"), EISDIR);
    EXPECT_EQ(dumps.names(), (Names{"file"}));
    std::filesystem::remove(dumps.path("file"));
    std::filesystem::create_directory(dumps.path("file.new"));
    EXPECT_EQ(replace("text"), EISDIR);
    EXPECT_EQ(dumps.names(), (Names{"file.new"}));
}

TEST_F(ReplaceFile, AFolderThatRefusesChangesIsReportedWithItsReason) {
    dumps.write("file", "old");
    dumps.refuseChanges(ENOSPC);
    EXPECT_EQ(replace("new"), ENOSPC);
    dumps.refuseChanges(0);
    EXPECT_EQ(dumps.read("file"), "old");
    dumps.makeMissing();
    EXPECT_EQ(replace("new"), ENOENT);
}

TEST_F(ReplaceFile, AFailureAtAnyStepLeavesTheOldFileAlone) {
    dumps.write("file", "old");
    // ftruncate, half of the write, its rest, fchmod, fsync; the folder's fsync is the last and no failure.
    for (int step = 1; step <= 5; step++) {
        failWriteCall(step, step == 2 ? EDQUOT : EIO);
        const int result = replace("new text");
        const int calls = endWriteFaults();
        if (step == 5) {
            // Without a split write the fifth call is the folder's.
            EXPECT_EQ(result, 0);
            EXPECT_EQ(calls, 5);
            EXPECT_EQ(dumps.read("file"), "new text");
        } else {
            EXPECT_EQ(result, step == 2 ? EDQUOT : EIO) << step;
            EXPECT_EQ(dumps.read("file"), "old") << step;
        }
        EXPECT_EQ(dumps.names(), (Names{"file"})) << step;
    }
}

TEST_F(ReplaceFile, AnInterruptedWriteGoesOn) {
    failWriteCall(2, EINTR); // half is written, the next write is interrupted
    EXPECT_EQ(replace("the whole text"), 0);
    endWriteFaults();
    EXPECT_EQ(dumps.read("file"), "the whole text");
}

TEST_F(ReplaceFile, AKillAtAnyStepLeavesTheOldOrTheNewTextAndNoPile) {
    bool seen_old = false;
    bool seen_new = false;
    for (int step = 1; step <= 5; step++) {
        dumps.write("file", "old");
        const pid_t child = fork();
        if (child == 0) {
            killAtWriteCall(step);
            replace("new text");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << step;
        const std::string text = dumps.read("file");
        EXPECT_TRUE(text == "old" || text == "new text") << step << ": " << text;
        seen_old = seen_old || text == "old";
        seen_new = seen_new || text == "new text";
        for (const std::string &name : dumps.names()) {
            EXPECT_TRUE(name == "file" || name == "file.new") << name;
        }
    }
    EXPECT_TRUE(seen_old);
    EXPECT_TRUE(seen_new);
    EXPECT_EQ(replace("after all"), 0);
    EXPECT_EQ(dumps.names(), (Names{"file"}));
    EXPECT_EQ(dumps.read("file"), "after all");
}

TEST_F(ReplaceFile, WritersAtTheSameTimeLeaveOneWholeText) {
    std::vector<pid_t> children;
    for (char letter = 'a'; letter < 'e'; letter++) {
        const pid_t child = fork();
        if (child == 0) {
            const std::string text(200000, letter);
            int failures = 0;
            for (int i = 0; i < 20; i++) {
                failures += replace(text) == 0 ? 0 : 1;
            }
            _exit(failures);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
    const std::string text = dumps.read("file");
    ASSERT_EQ(text.size(), 200000U);
    EXPECT_EQ(text, std::string(200000, text[0]));
    EXPECT_EQ(dumps.names(), (Names{"file"}));
}

TEST_F(ReplaceFile, AWriterThatHangsIsWaitedForOneSecond) {
    dumps.write("file", "old");
    dumps.write("file.new", "half of ");
    const int hanging = open("/dumps/file.new", O_RDWR);
    ASSERT_EQ(flock(hanging, LOCK_EX), 0);
    EXPECT_EQ(replace("new"), EBUSY);
    EXPECT_EQ(dumps.read("file"), "old");
    EXPECT_EQ(dumps.read("file.new"), "half of ");
    close(hanging);
    EXPECT_EQ(replace("new"), 0);
    EXPECT_EQ(dumps.read("file"), "new");
}

} // namespace

// Writing a file for others, in a folder of anybody's: whole at any instant, nothing foreign touched, nothing left behind.
#include "common/publish_file.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "common/owned.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/write_faults.h"

using namespace dravik;

namespace {

using Names = std::vector<std::string>;

constexpr char FILE_PATH[] = "/dumps/file.prom";
constexpr char ABANDONED[] = ".dravik-new-abc123";

class PublishFile : public testing::Test {
  protected:
    DumpsFolder dumps;

    static int publish(const std::string &text, const std::string &path = FILE_PATH) {
        return publishFile(path.c_str(), text.data(), text.size(), 0644);
    }
    mode_t modeOf(const std::string &name) const {
        struct stat attributes = {};
        return lstat(dumps.path(name).c_str(), &attributes) == 0 ? attributes.st_mode : 0;
    }
    // The old file after an attempt that ended with this error: as it was, and alone.
    void expectOldFile(int error, int result) const {
        EXPECT_EQ(result, error);
        EXPECT_EQ(dumps.read("file.prom"), "old");
        EXPECT_EQ(dumps.names(), (Names{"file.prom"}));
    }
};

} // namespace

TEST_F(PublishFile, TheFileHoldsTheTextWithTheModeAskedForWhateverTheUmask) {
    const mode_t before = umask(0077);
    EXPECT_EQ(publish("first"), 0);
    umask(before);
    EXPECT_EQ(dumps.read("file.prom"), "first");
    EXPECT_EQ(modeOf("file.prom"), S_IFREG | 0644U);
    EXPECT_EQ(dumps.names(), (Names{"file.prom"}));
}

TEST_F(PublishFile, AnOldFileIsReplacedItsModeToo) {
    dumps.write("file.prom", "old text, longer than the new one");
    ASSERT_EQ(chmod(FILE_PATH, 0600), 0);
    EXPECT_EQ(publish("new"), 0);
    EXPECT_EQ(dumps.read("file.prom"), "new");
    EXPECT_EQ(modeOf("file.prom"), S_IFREG | 0644U);
    EXPECT_EQ(publish(""), 0);
    EXPECT_EQ(dumps.read("file.prom"), "");
}

TEST_F(PublishFile, ALinkIsReplacedAndWhatItPointsToLeftAlone) {
    dumps.write("target", "precious");
    ASSERT_EQ(symlink("target", FILE_PATH), 0);
    EXPECT_EQ(publish("new"), 0);
    EXPECT_EQ(dumps.read("target"), "precious");
    EXPECT_EQ(modeOf("file.prom"), S_IFREG | 0644U);
    EXPECT_EQ(dumps.read("file.prom"), "new");
}

TEST_F(PublishFile, AHardLinkedOldFileKeepsItsTextUnderItsOtherName) {
    dumps.write("file.prom", "old");
    ASSERT_EQ(link(FILE_PATH, "/dumps/other"), 0);
    EXPECT_EQ(publish("new"), 0);
    EXPECT_EQ(dumps.read("other"), "old");
    EXPECT_EQ(dumps.read("file.prom"), "new");
}

TEST_F(PublishFile, AFolderADeviceAPipeOrASocketInItsPlaceStays) {
    ASSERT_EQ(mkdir(FILE_PATH, 0700), 0);
    EXPECT_EQ(publish("new"), EISDIR);
    EXPECT_EQ(publish("new", "/dumps/file.prom/"), EISDIR);
    ASSERT_EQ(rmdir(dumps.path("file.prom").c_str()), 0);
    ASSERT_EQ(mkfifo(dumps.path("file.prom").c_str(), 0600), 0);
    EXPECT_EQ(publish("new"), EOPNOTSUPP);
    EXPECT_EQ(modeOf("file.prom"), S_IFIFO | 0600U);
    EXPECT_EQ(publish("new", "/dev/null"), EOPNOTSUPP);
    EXPECT_EQ(dumps.names(), (Names{"file.prom"}));
}

TEST_F(PublishFile, AFolderThatIsNotThereIsToldFromOneThatIsNone) {
    EXPECT_EQ(publish("new", "/dumps/nosuch/file.prom"), ENOENT);
    dumps.write("plain", "");
    EXPECT_EQ(publish("new", "/dumps/plain/file.prom"), ENOTDIR);
    EXPECT_EQ(publish("new", "/dumps/" + std::string(300, 'x')), ENAMETOOLONG);
    EXPECT_EQ(dumps.names(), (Names{"plain"}));
}

TEST_F(PublishFile, AnyStepThatFailsLeavesTheOldFileAloneThere) {
    dumps.write("file.prom", "old");
    for (const int step : {1, 2}) { // the write, the mode
        failWriteCall(step, ENOSPC);
        const int result = publish("new text");
        endWriteFaults();
        expectOldFile(ENOSPC, result);
    }
    dumps.refuseChanges(EROFS);
    const int result = publish("new text");
    dumps.refuseChanges(0);
    expectOldFile(EROFS, result);
}

TEST_F(PublishFile, AKillAtAnyStepLeavesTheOldTextAndOneFileThatTheNextWriterRemoves) {
    dumps.write("file.prom", "old");
    for (const int step : {1, 2}) {
        const pid_t child = fork();
        if (child == 0) {
            killAtWriteCall(step);
            publish("new text");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << step;
        EXPECT_EQ(dumps.read("file.prom"), "old") << step;
        EXPECT_EQ(dumps.names().size(), 2U) << step;
    }
    EXPECT_EQ(publish("new text"), 0);
    EXPECT_EQ(dumps.names(), (Names{"file.prom"}));
}

TEST_F(PublishFile, WhatIsBeingWrittenOrIsNotOursStays) {
    dumps.write(ABANDONED, "half");
    Descriptor writer(open(dumps.path(ABANDONED).c_str(), O_WRONLY));
    ASSERT_EQ(flock(writer.get(), LOCK_EX), 0);
    dumps.write(".dravik-new-abc1234", "a longer name");
    dumps.write(".dravik-old-abc123", "another name");
    ASSERT_EQ(symlink("file.prom", "/dumps/.dravik-new-link00"), 0);
    ASSERT_EQ(mkfifo(dumps.path(".dravik-new-pipe00").c_str(), 0600), 0);
    Names others = dumps.names();
    EXPECT_EQ(publish("new"), 0);
    others.emplace_back("file.prom");
    std::sort(others.begin(), others.end());
    EXPECT_EQ(dumps.names(), others);
    writer.reset();
    EXPECT_EQ(publish("new"), 0);
    others.erase(std::find(others.begin(), others.end(), ABANDONED));
    EXPECT_EQ(dumps.names(), others);
}

TEST_F(PublishFile, WhatAnotherUserHasLeftStays) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    dumps.write(ABANDONED, "half");
    ASSERT_EQ(chown(dumps.path(ABANDONED).c_str(), 12345, 12345), 0);
    EXPECT_EQ(publish("new"), 0);
    EXPECT_EQ(dumps.names(), (Names{ABANDONED, "file.prom"}));
}

TEST_F(PublishFile, OfThoseThatWriteAtOnceEachLeavesAWholeFile) {
    constexpr int WRITERS = 4;
    constexpr int ROUNDS = 50;
    constexpr size_t LENGTH = 100000;
    std::vector<pid_t> children;
    for (int i = 0; i < WRITERS; ++i) {
        children.push_back(fork());
        if (children.back() == 0) {
            int failures = 0;
            for (int round = 0; round < ROUNDS; ++round) {
                failures += publish(std::string(LENGTH, static_cast<char>('a' + i))) == 0 ? 0 : 1;
            }
            _exit(failures);
        }
    }
    for (int i = 0; i < ROUNDS; ++i) {
        const std::string text = dumps.read("file.prom");
        EXPECT_TRUE(text.empty() || text == std::string(LENGTH, text[0])) << text.size();
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(dumps.read("file.prom").size(), LENGTH);
    EXPECT_EQ(dumps.names(), (Names{"file.prom"}));
}

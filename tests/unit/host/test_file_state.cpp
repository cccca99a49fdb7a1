// Looking at a small file whole, and putting it back in place.
#include "host/file_state.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/write_faults.h"

using dravik::FileState;

namespace {

constexpr char FILE_PATH[] = "/dumps/file";

class FileStateTest : public testing::Test {
  protected:
    DumpsFolder dumps;
};

} // namespace

TEST_F(FileStateTest, AFileIsReadWithItsModeAndOwner) {
    const std::string text = std::string(200000, 'x') + std::string("\0end\n", 5);
    dumps.write("file", text);
    ASSERT_EQ(chmod(FILE_PATH, 04640), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(FILE_PATH, 12, 34), 0);
        ASSERT_EQ(chmod(FILE_PATH, 04640), 0);
    }
    FileState state = {};
    ASSERT_TRUE(dravik::readFileState(FILE_PATH, &state));
    EXPECT_TRUE(state.exists);
    EXPECT_TRUE(state.text == text);
    EXPECT_EQ(state.mode, 04640U);
    if (geteuid() == 0) {
        EXPECT_EQ(state.owner, 12U);
        EXPECT_EQ(state.group, 34U);
    }
}

TEST_F(FileStateTest, AMissingFileIsReadAsOneThatDoesNotExist) {
    FileState state = {true, "left over", 0644, 1, 1};
    EXPECT_TRUE(dravik::readFileState(FILE_PATH, &state));
    EXPECT_FALSE(state.exists);
    EXPECT_EQ(state.text, "");
}

TEST_F(FileStateTest, ALinkIsFollowed) {
    dumps.write("target", "text");
    ASSERT_EQ(symlink(dumps.path("target").c_str(), FILE_PATH), 0);
    FileState state = {};
    EXPECT_TRUE(dravik::readFileState(FILE_PATH, &state));
    EXPECT_EQ(state.text, "text");
}

TEST_F(FileStateTest, WhatIsNoRegularFileIsNotReadAndNotWaitedFor) {
    FileState state = {};
    ASSERT_EQ(mkfifo(dumps.path("file").c_str(), 0600), 0);
    EXPECT_FALSE(dravik::readFileState(FILE_PATH, &state));
    EXPECT_EQ(errno, EINVAL);
    ASSERT_EQ(mkdir("/dumps/folder", 0700), 0);
    EXPECT_FALSE(dravik::readFileState("/dumps/folder", &state));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(dravik::readFileState("/dumps/folder/../file/x", &state));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(FileStateTest, AFileOfMoreThan16MiBIsNotRead) {
    dumps.write("file", "");
    ASSERT_EQ(truncate(dumps.path("file").c_str(), 16 * 1024 * 1024), 0);
    FileState state = {};
    EXPECT_TRUE(dravik::readFileState(FILE_PATH, &state));
    EXPECT_EQ(state.text.size(), 16U * 1024 * 1024);
    ASSERT_EQ(truncate(dumps.path("file").c_str(), 16 * 1024 * 1024 + 1), 0);
    EXPECT_FALSE(dravik::readFileState(FILE_PATH, &state));
    EXPECT_EQ(errno, EFBIG);
}

TEST_F(FileStateTest, AttributesAreSetAndAMissingFileIsAnError) {
    dumps.write("file", "text");
    FileState state = {true, "", 0604, geteuid(), getegid()};
    ASSERT_TRUE(dravik::setFileAttributes(FILE_PATH, state));
    struct stat attributes = {};
    ASSERT_EQ(stat(FILE_PATH, &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 07777, 0604U);
    EXPECT_FALSE(dravik::setFileAttributes("/dumps/none", state));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileStateTest, ASyncThatFailsIsReported) {
    dumps.write("file", "text");
    EXPECT_TRUE(dravik::syncFile(FILE_PATH));
    failWriteCall(1, EIO);
    EXPECT_FALSE(dravik::syncFile(FILE_PATH));
    endWriteFaults();
    EXPECT_FALSE(dravik::syncFile("/dumps/none"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileStateTest, AMoveReplacesWhatLiesThere) {
    dumps.write("file", "new");
    dumps.write("other", "old");
    EXPECT_TRUE(dravik::moveFile(FILE_PATH, "/dumps/other"));
    EXPECT_EQ(dumps.read("other"), "new");
    EXPECT_EQ(dumps.names(), (std::vector<std::string>{"other"}));
    EXPECT_FALSE(dravik::moveFile(FILE_PATH, "/dumps/other"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileStateTest, AMissingFileIsRemovedAlready) {
    dumps.write("file", "text");
    EXPECT_TRUE(dravik::removeFile(FILE_PATH));
    EXPECT_TRUE(dravik::removeFile(FILE_PATH));
    dumps.write("file", "text");
    dumps.refuseChanges(EROFS);
    EXPECT_FALSE(dravik::removeFile(FILE_PATH));
    EXPECT_EQ(errno, EROFS);
}

// The test program's own "/dumps" redirect: what it covers, what it leaves alone, what it can arrange.

#include "tests/support/dumps_redirect.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "common/log.h"

namespace {

using Texts = std::vector<std::string>;

// What the kernel says about the machine's own /dumps, past every redirect: its last change, 0 when there is none.
int64_t realDumpsChange() {
    struct statx attributes = {};
    if (syscall(SYS_statx, AT_FDCWD, "/dumps", 0, STATX_CTIME, &attributes) != 0) {
        return 0;
    }
    return attributes.stx_ctime.tv_sec * 1000000000 + attributes.stx_ctime.tv_nsec;
}

void put(const char *path, const char *text) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0) << path;
    EXPECT_EQ(write(fd, text, strlen(text)), static_cast<ssize_t>(strlen(text)));
    close(fd);
}

} // namespace

TEST(DumpsRedirect, FilesOpenedUnderDumpsLieInTheFolder) {
    const int64_t before = realDumpsChange();
    const DumpsFolder dumps;
    put("/dumps/by_open", "open");
    FILE *stream = fopen("/dumps/by_fopen", "w");
    ASSERT_NE(stream, nullptr);
    fputs("fopen", stream);
    fclose(stream);
    std::ofstream("/dumps/by_stream") << "stream";
    ASSERT_EQ(mkdir("/dumps/sub", 0700), 0);
    put("/dumps/sub/deep", "deep");
    ASSERT_EQ(rename("/dumps/by_open", "/dumps/renamed"), 0);

    EXPECT_EQ(dumps.names(), (Texts{"by_fopen", "by_stream", "renamed", "sub"}));
    EXPECT_EQ(dumps.read("by_fopen"), "fopen");
    EXPECT_EQ(dumps.read("by_stream"), "stream");
    EXPECT_EQ(dumps.read("renamed"), "open");
    EXPECT_EQ(dumps.read("sub/deep"), "deep");
    EXPECT_EQ(realDumpsChange(), before);
}

TEST(DumpsRedirect, LooksAndRemovalsFollow) {
    const DumpsFolder dumps;
    dumps.write("file", "text");
    struct stat attributes = {};
    EXPECT_EQ(stat("/dumps/file", &attributes), 0);
    EXPECT_EQ(attributes.st_size, 4);
    EXPECT_EQ(lstat("/dumps", &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 07777, 0700U);
    EXPECT_EQ(access("/dumps/file", R_OK), 0);
    EXPECT_TRUE(std::filesystem::exists("/dumps/file"));
    EXPECT_EQ(truncate("/dumps/file", 2), 0);
    EXPECT_EQ(dumps.read("file"), "te");
    EXPECT_EQ(unlink("/dumps/file"), 0);
    EXPECT_EQ(dumps.names(), Texts());
    EXPECT_EQ(rmdir("/dumps/"), 0);
    EXPECT_FALSE(std::filesystem::exists(dumps.path()));
}

TEST(DumpsRedirect, DirectoryItselfCanBeOpenedAndSynced) {
    const DumpsFolder dumps;
    for (const char *path : {"/dumps/", "/dumps"}) {
        const int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_GE(fd, 0);
        EXPECT_EQ(fsync(fd), 0);
        close(fd);
    }
}

TEST(DumpsRedirect, TemplateOfAMadeFileGetsTheChosenName) {
    const DumpsFolder dumps;
    char name[] = "/dumps/beside.XXXXXX";
    const int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    close(fd);
    EXPECT_EQ(std::string(name).substr(0, 14), "/dumps/beside.");
    EXPECT_EQ(dumps.names(), Texts{std::string(name).substr(7)});
}

TEST(DumpsRedirect, ModeAndUmaskReachTheFile) {
    const DumpsFolder dumps;
    const mode_t old = umask(0077);
    put("/dumps/file", "");
    const int fd = open("/dumps/wide", O_WRONLY | O_CREAT, 0666);
    umask(old);
    close(fd);
    struct stat attributes = {};
    ASSERT_EQ(stat(dumps.path("file").c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 07777, 0600U);
    ASSERT_EQ(stat(dumps.path("wide").c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 07777, 0600U);
}

TEST(DumpsRedirect, WithoutAFolderEveryPathUnderDumpsIsRefused) {
    const int64_t before = realDumpsChange();
    errno = 0;
    EXPECT_EQ(mkdir("/dumps/", 0700), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(open("/dumps/file", O_RDONLY), -1);
    EXPECT_EQ(fopen("/dumps/file", "w"), nullptr);
    struct stat attributes = {};
    EXPECT_EQ(stat("/dumps", &attributes), -1);
    EXPECT_FALSE(std::ofstream("/dumps/file").is_open());
    dravik_log(LOG_ERROR, "", 1, "function", "lost");
    EXPECT_EQ(realDumpsChange(), before);
}

TEST(DumpsRedirect, OtherPathsAreLeftAlone) {
    EXPECT_EQ(redirectedPath("/dumpster"), "/dumpster");
    EXPECT_EQ(redirectedPath("/tmp/dumps/x"), "/tmp/dumps/x");
    EXPECT_EQ(redirectedPath("dumps/x"), "dumps/x");
    const DumpsFolder dumps;
    EXPECT_EQ(redirectedPath("/dumpster"), "/dumpster");
    EXPECT_EQ(redirectedPath("/dumps"), dumps.path());
    EXPECT_EQ(redirectedPath("/dumps/"), dumps.path() + "/");
    EXPECT_EQ(redirectedPath("/dumps/a/b"), dumps.path("a/b"));
    EXPECT_EQ(access("/etc/passwd", R_OK), 0);
}

TEST(DumpsRedirect, ForkedChildrenWriteIntoTheSameFolder) {
    const DumpsFolder dumps;
    const pid_t child = fork();
    if (child == 0) {
        dravik_log(LOG_MONITOR, "", 0, "", "from the child");
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(dumps.changeLog(), "from the child\n");
}

TEST(DumpsRedirect, FolderCanBeMissingAPlainFileOrEmpty) {
    DumpsFolder dumps;
    dumps.write("old", "old");
    dumps.makeMissing();
    struct stat attributes = {};
    EXPECT_EQ(stat("/dumps", &attributes), -1);
    EXPECT_EQ(errno, ENOENT);
    dumps.makePlainFile();
    ASSERT_EQ(stat("/dumps", &attributes), 0);
    EXPECT_TRUE(S_ISREG(attributes.st_mode));
    EXPECT_EQ(open("/dumps/x", O_WRONLY | O_CREAT, 0600), -1);
    EXPECT_EQ(errno, ENOTDIR);
    dumps.makeEmpty();
    EXPECT_EQ(dumps.names(), Texts());
    put("/dumps/new", "new");
    EXPECT_EQ(dumps.names(), Texts{"new"});
}

TEST(DumpsRedirect, ChangesCanBeRefusedAlsoForRootWhileReadingGoesOn) {
    DumpsFolder dumps;
    dumps.write("file", "text");
    dumps.refuseChanges(EROFS);
    for (const int flags : {O_WRONLY, O_RDWR, O_RDONLY | O_CREAT, O_WRONLY | O_APPEND}) {
        errno = 0;
        EXPECT_EQ(open("/dumps/file", flags, 0600), -1);
        EXPECT_EQ(errno, EROFS);
    }
    for (const char *mode : {"w", "a", "r+"}) {
        EXPECT_EQ(fopen("/dumps/file", mode), nullptr);
    }
    EXPECT_EQ(rename("/dumps/file", "/dumps/other"), -1);
    EXPECT_EQ(unlink("/dumps/file"), -1);
    EXPECT_EQ(mkdir("/dumps/sub", 0700), -1);
    FILE *stream = fopen("/dumps/file", "r");
    ASSERT_NE(stream, nullptr);
    fclose(stream);
    EXPECT_EQ(dumps.read("file"), "text");
    dumps.refuseChanges(0);
    EXPECT_EQ(unlink("/dumps/file"), 0);
}

TEST(DumpsRedirect, FolderIsGoneAtTheEndAndTheNextOneIsFresh) {
    std::string first;
    {
        const DumpsFolder dumps;
        first = dumps.path();
        put("/dumps/file", "text");
    }
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(first).parent_path()));
    const DumpsFolder dumps;
    EXPECT_NE(dumps.path(), first);
    EXPECT_EQ(dumps.names(), Texts());
}

TEST(DumpsRedirect, LogsAreReadWithoutTimeStampsAndLineNumbers) {
    const DumpsFolder dumps;
    EXPECT_EQ(dumps.commandLog(), "");
    dravik_log(LOG_ERROR, "", 219, "getLunPath", "message %d", 1);
    dravik_log(LOG_INFO, "", 7, "other", "two\nlines\n");
    dravik_log(LOG_MONITOR, "", 0, "", "changed");
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 message 1\nINFO  other 7 two\nlines\n\n");
    EXPECT_EQ(dumps.commandLogLines(), (Texts{"ERROR getLunPath # message 1", "INFO  other # two\nlines\n"}));
    EXPECT_EQ(dumps.commandLogMessages(), (Texts{"ERROR message 1", "INFO  two\nlines\n"}));
    EXPECT_EQ(dumps.changeLog(), "changed\n");
    EXPECT_EQ(dumps.changeLogLines(), Texts{"changed"});
    dumps.forgetLogs();
    EXPECT_EQ(dumps.commandLog(), "");
    EXPECT_EQ(dumps.changeLogLines(), Texts());
}

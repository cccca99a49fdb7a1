// The lock of the commands that change the host: one holder, a wait with its line, files that are not trusted.
#include "cli/command_lock.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "cli/caller.h"

namespace {

// A folder with room for two lock files, and the other command as a child process.
class CommandLock : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/dravik-lock-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
        first = folder + "/first";
        second = folder + "/second";
        char name_of_user[USER_NAME_SIZE] = "";
        runningUser(name_of_user, sizeof(name_of_user));
        user = name_of_user;
    }
    void TearDown() override {
        endOther();
        releaseCommandLock();
        const std::string command = "rm -rf " + folder;
        ASSERT_EQ(system(command.c_str()), 0); // NOLINT(cert-env33-c): a name made above
    }

    // What this process gets, with what it said on standard error.
    int take(unsigned int seconds, const char *command_line = "dravik scan") {
        const char *const files[] = {first.c_str(), second.c_str(), nullptr};
        testing::internal::CaptureStderr();
        const int result = takeCommandLock(command_line, files, seconds);
        said = testing::internal::GetCapturedStderr();
        return result;
    }

    // Starts another process that takes the lock for `command_line` and keeps it for so many tenths of a second
    // (0: until it is ended).
    void startOther(const char *command_line, unsigned int tenths = 0) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        other = fork();
        ASSERT_GE(other, 0);
        if (other == 0) {
            const char *const files[] = {first.c_str(), second.c_str(), nullptr};
            const int result = takeCommandLock(command_line, files, 0);
            if (write(ready[1], "x", 1) != 1 || result != COMMAND_LOCK_TAKEN) {
                _exit(1);
            }
            usleep(tenths == 0 ? 60000000 : tenths * 100000);
            _exit(0);
        }
        char byte = 0;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]);
        close(ready[1]);
    }
    void endOther() {
        if (other > 0) {
            kill(other, SIGKILL);
            waitpid(other, nullptr, 0);
            other = 0;
        }
    }

    static std::string contentOf(const std::string &path) {
        std::ostringstream content;
        content << std::ifstream(path, std::ios::binary).rdbuf();
        return content.str();
    }

    std::string user;
    std::string folder;
    std::string first;
    std::string second;
    std::string said;
    pid_t other = 0;
};

} // namespace

TEST_F(CommandLock, IsTakenAtOnceAndSaysWhoHasIt) {
    EXPECT_EQ(take(0, "dravik delete mpatha"), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(said, "");
    EXPECT_EQ(contentOf(first), std::to_string(getpid()) + "\n" + user + "\ndravik delete mpatha");
    struct stat attributes = {};
    ASSERT_EQ(stat(first.c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 07777, 0600U);
    EXPECT_EQ(contentOf(second), "");
}

TEST_F(CommandLock, IsGivenUpAfterTheTimeWithBothLines) {
    startOther("dravik setalias -wwid \"a b\" -alias x");
    const std::string holder =
        "process " + std::to_string(other) + " (user " + user + "): dravik setalias -wwid \"a b\" -alias x\n";
    EXPECT_EQ(take(1), COMMAND_LOCK_BUSY);
    EXPECT_EQ(said, "dravik: waiting up to 1 seconds for " + holder +
                        "dravik: gave up after 1 seconds, nothing was changed: still running is " + holder);
}

TEST_F(CommandLock, IsTakenWhenTheHolderEndsInTime) {
    startOther("dravik scan", 5);
    EXPECT_EQ(take(30, "dravik stop"), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(said, "dravik: waiting up to 30 seconds for process " + std::to_string(other) + " (user " +
                        user + "): dravik scan\n");
    EXPECT_EQ(contentOf(first), std::to_string(getpid()) + "\n" + user + "\ndravik stop");
}

TEST_F(CommandLock, IsFreeAfterTheHolderWasKilled) {
    startOther("dravik scan with a long line that is longer than the next one");
    endOther();
    EXPECT_EQ(take(0, "dravik stop"), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(said, "");
    EXPECT_EQ(contentOf(first), std::to_string(getpid()) + "\n" + user + "\ndravik stop");
}

TEST_F(CommandLock, IsNotInheritedByChildren) {
    ASSERT_EQ(take(0), COMMAND_LOCK_TAKEN);
    // A child that outlives the holder.
    FILE *child = popen("sleep 30 >/dev/null & echo $!", "re"); // NOLINT(cert-env33-c)
    ASSERT_NE(child, nullptr);
    char pid[32] = "";
    ASSERT_NE(fgets(pid, sizeof(pid), child), nullptr);
    pclose(child);
    releaseCommandLock();
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(kill(atoi(pid), SIGKILL), 0); // NOLINT(cert-err34-c): the shell's own number
}

TEST_F(CommandLock, AFileRemovedUnderItsHolderIsNoticedByTheNextOne) {
    startOther("dravik scan");
    ASSERT_EQ(unlink(first.c_str()), 0);
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN); // the name leads to a new file, which nobody has locked
    EXPECT_EQ(contentOf(first), std::to_string(getpid()) + "\n" + user + "\ndravik scan");
}

TEST_F(CommandLock, ASymbolicLinkIsNotFollowed) {
    ASSERT_EQ(symlink((folder + "/victim").c_str(), first.c_str()), 0);
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(access((folder + "/victim").c_str(), F_OK), -1);
    EXPECT_NE(contentOf(second), "");
}

TEST_F(CommandLock, AFileWithASecondNameIsLeftAlone) {
    std::ofstream(folder + "/victim") << "precious";
    ASSERT_EQ(link((folder + "/victim").c_str(), first.c_str()), 0);
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(contentOf(folder + "/victim"), "precious");
    EXPECT_NE(contentOf(second), "");
}

TEST_F(CommandLock, AFileOfAnotherUserIsLeftAlone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    std::ofstream(first.c_str()) << "theirs";
    ASSERT_EQ(chown(first.c_str(), 12345, 12345), 0);
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN);
    EXPECT_EQ(contentOf(first), "theirs");
    EXPECT_NE(contentOf(second), "");
}

TEST_F(CommandLock, AFifoOrAFolderInItsPlaceIsPassedOverWithoutWaiting) {
    ASSERT_EQ(mkfifo(first.c_str(), 0600), 0);
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN);
    releaseCommandLock();
    ASSERT_EQ(unlink(first.c_str()), 0);
    ASSERT_EQ(mkdir(first.c_str(), 0700), 0);
    EXPECT_EQ(take(0), COMMAND_LOCK_TAKEN);
    EXPECT_NE(contentOf(second), "");
}

TEST_F(CommandLock, AHostWithoutAPlaceForItIsToldWhatHappens) {
    first = folder + "/none/first";
    ASSERT_EQ(symlink("nowhere", second.c_str()), 0);
    EXPECT_EQ(take(5), COMMAND_LOCK_IMPOSSIBLE);
    EXPECT_EQ(said,
              "dravik: no lock file can be made (" + first + ": No such file or directory, " + second +
                  ": Too many levels of symbolic links), going on: another command may change the host at "
                  "the same time\n");
}

TEST_F(CommandLock, AHolderThatWroteNothingOrRubbishIsWaitedForAllTheSame) {
    startOther("dravik scan");
    std::ofstream(first.c_str(), std::ios::trunc).close();
    EXPECT_EQ(take(1), COMMAND_LOCK_BUSY);
    EXPECT_EQ(said, "dravik: waiting up to 1 seconds for another dravik command\n"
                    "dravik: gave up after 1 seconds, nothing was changed: still running is another dravik "
                    "command\n");
    std::ofstream(first.c_str(), std::ios::trunc) << "1\n\x1b[31mx\ny";
    EXPECT_EQ(take(0), COMMAND_LOCK_BUSY);
    EXPECT_EQ(said, "dravik: gave up after 0 seconds, nothing was changed: still running is process 1 (user "
                    "\\x1b[31mx): y\n");
}

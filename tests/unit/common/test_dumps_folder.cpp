// Whose folder /dumps is, and what may be opened in it.
#include "common/dumps_folder.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "tests/support/dumps_redirect.h"

using dravik::Descriptor;
using dravik::haveDumpsFolder;
using dravik::openDataFile;

namespace {

using Lines = std::vector<std::string>;

constexpr char FILE_PATH[] = "/dumps/file";
const std::string TAKEN_AWAY =
    "ERROR haveDumpsFolder # Others could write to /dumps: that permission has been taken away.";
const std::string PUT_ASIDE =
    "ERROR putAside # /dumps/file was no plain file of ours: put aside as /dumps/file.foreign.";

class DumpsFolderTest : public testing::Test {
  protected:
    DumpsFolder dumps;

    mode_t mode(const std::string &name = "") const {
        struct stat attributes = {};
        return lstat((name.empty() ? dumps.path() : dumps.path(name)).c_str(), &attributes) == 0
                   ? attributes.st_mode
                   : 0;
    }
    // What cannot be used lies at FILE_PATH by now: it is put aside when a file is to be made, and read by nobody.
    void expectForeign(const std::string &kind) {
        EXPECT_FALSE(openDataFile(FILE_PATH, O_RDONLY).isOpen()) << kind;
        EXPECT_EQ(dumps.names(), (Lines{"file", "precious"})) << kind;
        const Descriptor made = openDataFile(FILE_PATH, O_RDWR | O_CREAT | O_TRUNC, 0600);
        ASSERT_TRUE(made.isOpen()) << kind;
        EXPECT_EQ(write(made.get(), "ours", 4), 4) << kind;
        EXPECT_EQ(dumps.commandLogLines(), Lines{PUT_ASIDE}) << kind;
        EXPECT_EQ(dumps.read("file"), "ours") << kind;
        EXPECT_EQ(mode("file"), S_IFREG | 0600U) << kind;
        EXPECT_EQ(dumps.read("precious"), "precious") << kind;
        dumps.makeEmpty();
        dumps.write("precious", "precious");
    }
};

} // namespace

TEST_F(DumpsFolderTest, AMissingFolderIsMadeForItsOwnerAlone) {
    dumps.makeMissing();
    EXPECT_TRUE(haveDumpsFolder());
    EXPECT_EQ(mode(), S_IFDIR | 0700U);
}

TEST_F(DumpsFolderTest, AnOwnFolderStaysAsItIs) {
    ASSERT_EQ(chmod(dumps.path().c_str(), 0755), 0);
    EXPECT_TRUE(haveDumpsFolder());
    EXPECT_EQ(mode(), S_IFDIR | 0755U);
    EXPECT_EQ(dumps.names(), Lines());
}

TEST_F(DumpsFolderTest, WritePermissionOfOthersIsTakenAwayAndThatIsLogged) {
    for (const mode_t open_mode : {0777U, 01777U, 0775U, 0757U}) {
        ASSERT_EQ(chmod(dumps.path().c_str(), open_mode), 0);
        EXPECT_TRUE(haveDumpsFolder());
        EXPECT_EQ(mode(), S_IFDIR | (open_mode & ~0022U));
        EXPECT_EQ(dumps.commandLogLines(), Lines{TAKEN_AWAY});
        EXPECT_TRUE(haveDumpsFolder());
        EXPECT_EQ(dumps.commandLogLines(), Lines{TAKEN_AWAY}); // once
        dumps.forgetLogs();
    }
}

TEST_F(DumpsFolderTest, AnothersFolderIsNotTaken) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    ASSERT_EQ(chown(dumps.path().c_str(), 12345, 0), 0);
    EXPECT_FALSE(haveDumpsFolder());
    EXPECT_EQ(errno, EPERM);
    EXPECT_FALSE(openDataFile(FILE_PATH, O_RDWR | O_CREAT, 0600).isOpen());
    dravik_log(LOG_ERROR, "", 1, "test", "a line");
    ASSERT_EQ(chown(dumps.path().c_str(), 0, 0), 0);
    EXPECT_EQ(dumps.names(), Lines());
}

TEST_F(DumpsFolderTest, WhatIsNoFolderIsNotTaken) {
    dumps.makePlainFile();
    EXPECT_FALSE(haveDumpsFolder());
    EXPECT_EQ(errno, ENOTDIR);
    dumps.makeEmpty();
}

TEST_F(DumpsFolderTest, APlainFileOfOursIsOpenedAndCutOnlyOnOrder) {
    dumps.write("file", "text");
    EXPECT_TRUE(openDataFile(FILE_PATH, O_RDONLY).isOpen());
    EXPECT_TRUE(openDataFile(FILE_PATH, O_RDWR | O_CREAT, 0600).isOpen());
    EXPECT_EQ(dumps.read("file"), "text");
    EXPECT_TRUE(openDataFile(FILE_PATH, O_RDWR | O_CREAT | O_TRUNC, 0600).isOpen());
    EXPECT_EQ(dumps.read("file"), "");
}

TEST_F(DumpsFolderTest, AFileIsMadeOnlyOnOrder) {
    EXPECT_FALSE(openDataFile(FILE_PATH, O_RDWR).isOpen());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(openDataFile(FILE_PATH, O_RDWR | O_CREAT, 0640).isOpen());
    EXPECT_EQ(mode("file"), S_IFREG | 0640U);
}

TEST_F(DumpsFolderTest, NoDescriptorOutlivesAnExec) {
    const Descriptor file = openDataFile(FILE_PATH, O_RDWR | O_CREAT, 0600);
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(fcntl(file.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(DumpsFolderTest, WhatOthersMayHavePlantedIsPutAsideAndNeverWrittenThrough) {
    dumps.write("precious", "precious");
    ASSERT_EQ(symlink(dumps.path("precious").c_str(), FILE_PATH), 0);
    expectForeign("a link");
    ASSERT_EQ(symlink(dumps.path("nothing").c_str(), FILE_PATH), 0);
    expectForeign("a link to nothing");
    ASSERT_EQ(link("/dumps/precious", FILE_PATH), 0);
    expectForeign("a second name");
    ASSERT_EQ(mkfifo(dumps.path("file").c_str(), 0600), 0);
    expectForeign("a FIFO");
    ASSERT_EQ(mkdir(FILE_PATH, 0700), 0);
    expectForeign("a folder");
    if (geteuid() == 0) {
        dumps.write("file", "another's");
        ASSERT_EQ(chown(FILE_PATH, 12345, 12345), 0);
        expectForeign("another's file");
    }
}

TEST_F(DumpsFolderTest, AFileElsewhereIsOpenedAsItIs) {
    const Descriptor null_device = openDataFile("/dev/null", O_RDONLY);
    EXPECT_TRUE(null_device.isOpen());
    EXPECT_EQ(fcntl(null_device.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(DumpsFolderTest, TheLineIsWrittenInTheMiddleOfAnotherAndLeavesThatItsFile) {
    dumps.write("precious", "precious");
    ASSERT_EQ(symlink(dumps.path("precious").c_str(), "/dumps/dravik_monitor.log"), 0);
    dravik_log(LOG_MONITOR, "", 1, "test", "a change");
    EXPECT_EQ(dumps.changeLogLines(), Lines{"a change"});
    EXPECT_EQ(dumps.commandLogLines(),
              Lines{"ERROR putAside # /dumps/dravik_monitor.log was no plain file of ours: put "
                    "aside as /dumps/dravik_monitor.log.foreign."});
}

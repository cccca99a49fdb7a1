// The folder of a report: nobody else's, and gone in every way out.
#include "commands/report_folder.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/interruption.h"
#include "tests/support/children.h"
#include "tests/support/fake_tools.h"
#include "tests/support/system_calls.h"

using namespace dravik;

namespace {

using Names = std::vector<std::string>;

// The octal mode of a file, and what it is: "f 600", "d 700".
std::string modeOf(const std::string &path) {
    struct stat is = {};
    char text[16] = "none";
    if (lstat(path.c_str(), &is) == 0) {
        snprintf(text, sizeof(text), "%c %o", S_ISDIR(is.st_mode) ? 'd' : 'f', is.st_mode & 07777);
    }
    return text;
}

std::string outputOf(const std::string &command) {
    std::string text;
    FILE *stream = popen(command.c_str(), "r");
    for (int c = fgetc(stream); c != EOF; c = fgetc(stream)) {
        text += static_cast<char>(c);
    }
    return pclose(stream) == 0 ? text : text + "(failed)";
}

class ReportFolderTest : public testing::Test {
  protected:
    ReportFolderTest() : old_folder(std::filesystem::current_path()) {
        char name[] = "/tmp/dravik-folder-XXXXXX";
        place = mkdtemp(name);
        file = place + "/r.tar.gz";
    }
    ~ReportFolderTest() override {
        std::filesystem::current_path(old_folder);
        std::filesystem::remove_all(place);
    }
    // What lies in a folder, sorted.
    static Names namesIn(const std::string &folder) {
        Names names;
        for (const auto &entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // The report's folder, the only entry of `place` that begins so.
    std::string workFolder() const {
        for (const std::string &name : namesIn(place)) {
            if (name.compare(0, 15, ".dravik-report-") == 0) {
                return place + "/" + name;
            }
        }
        return "";
    }
    // Why no report's folder can be made for that file.
    static std::string refusal(const std::string &file) {
        try {
            ReportFolder folder(file);
        } catch (const ReportFailure &failure) {
            return failure.what();
        }
        return "made";
    }
    // What the owner of `place` does the moment that the report's folder is made, called with its name.
    template <typename Act> void refusedWhen(const char *what, const Act &act) {
        std::string work;
        std::string answer;
        {
            const ActsBehind somebody("mkdirat", [&] {
                work = workFolder();
                act(work);
            });
            answer = refusal(file);
        }
        EXPECT_EQ(answer, place + ": " + std::filesystem::path(work).filename().string() +
                              ", just made there, is no empty folder of root's alone: somebody else has "
                              "replaced it, or the file system knows no owners; name a file in a folder that "
                              "nobody else may change")
            << what;
        EXPECT_FALSE(std::filesystem::exists(file)) << what;
    }
    // Takes the report's folder out of the way and puts one of somebody else's there, through which links lead to `victim`.
    std::string replaceWork() const {
        const std::string work = workFolder();
        std::filesystem::rename(work, place + "/aside");
        std::filesystem::create_directory(work);
        for (const char *name : {"report.tar.gz", "names", "ledger.db", "rewritten.db", "top"}) {
            std::filesystem::create_symlink(place + "/victim", work + "/" + name);
        }
        std::ofstream(place + "/victim") << "precious";
        return work;
    }
    // What a report says when its folder has lost its name.
    std::string lostName(const std::string &work) const {
        return place + ": the report's folder there, " + std::filesystem::path(work).filename().string() +
               ", has been renamed or removed meanwhile; name a file in a folder that nobody else may change";
    }
    // That nothing was written or removed in what replaceWork() has put there, and that the report's folder is empty.
    void untouched(const std::string &work) const {
        EXPECT_EQ(namesIn(work), (Names{"ledger.db", "names", "report.tar.gz", "rewritten.db", "top"}));
        EXPECT_EQ(outputOf("/bin/cat " + place + "/victim"), "precious");
        EXPECT_EQ(namesIn(place), (Names{std::filesystem::path(work).filename(), "aside", "victim"}));
        EXPECT_EQ(namesIn(place + "/aside"), Names{});
    }
    void makeOld(const std::string &name, time_t seconds) const {
        const timespec then = {time(nullptr) - seconds, 0};
        const timespec times[2] = {then, then};
        ASSERT_EQ(utimensat(AT_FDCWD, (place + "/" + name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    // A folder as a killed report leaves it, so old.
    void leaveBehind(const std::string &name, time_t seconds, mode_t mode = 0700) const {
        const std::string folder = place + "/" + name;
        std::filesystem::create_directories(folder + "/top/deeper");
        std::ofstream(folder + "/made-by-dravik") << "";
        std::ofstream(folder + "/top/file") << "text";
        std::ofstream(folder + "/report.tar.gz") << "text";
        std::filesystem::create_symlink("/etc", folder + "/link");
        ASSERT_EQ(chmod(folder.c_str(), mode), 0);
        makeOld(name, seconds);
    }
    std::filesystem::path old_folder;
    std::string place;
    std::string file;
};

} // namespace

TEST_F(ReportFolderTest, TheFolderIsRootsAloneWhateverTheMaskAndGoesWithAllThatIsInIt) {
    const mode_t mask = umask(0);
    {
        ReportFolder folder(file);
        folder.makeTop("top");
        folder.write("check.txt", "OK\n");
        EXPECT_EQ(namesIn(place).size(), 1U);
        EXPECT_EQ(modeOf(workFolder()), "d 700");
        EXPECT_EQ(modeOf(workFolder() + "/top"), "d 700");
        EXPECT_EQ(modeOf(workFolder() + "/top/check.txt"), "f 600");
    }
    umask(mask);
    EXPECT_EQ(namesIn(place), Names{});
}

TEST_F(ReportFolderTest, AFailureOrAnInterruptionRemovesIt) {
    try {
        ReportFolder folder(file);
        folder.makeTop("top");
        folder.write("name", "text");
        folder.write("name", "again"); // the file is there
        FAIL();
    } catch (const ReportFailure &failure) {
        EXPECT_EQ(failure.what(), place + ": File exists; name a file in another folder");
    }
    EXPECT_EQ(namesIn(place), Names{});
    EXPECT_EQ(inChild([this] {
                  deferEndingSignals(nullptr);
                  checkInterruption(); // none has come
                  try {
                      ReportFolder folder(file);
                      folder.makeTop("top");
                      raise(SIGTERM);
                      checkInterruption();
                  } catch (const ReportInterrupted &) {
                      return 7;
                  }
                  return 1;
              }),
              7);
    EXPECT_EQ(namesIn(place), Names{});
}

TEST_F(ReportFolderTest, WhatIsThereAlreadyIsNeverReplaced) {
    std::ofstream(file) << "old";
    EXPECT_EQ(refusal(file), file + " is already there: remove it, or name another file");
    std::filesystem::remove(file);
    std::filesystem::create_symlink("/nowhere/at/all", file);
    EXPECT_EQ(refusal(file), file + " is already there: remove it, or name another file");
    EXPECT_EQ(namesIn(place), Names{"r.tar.gz"});
}

TEST_F(ReportFolderTest, AFolderThatIsNotThereIsNamedWithTheRemedy) {
    EXPECT_EQ(refusal(place + "/no/r.tar.gz"),
              place + "/no: No such file or directory; make the folder, or name a file in another one");
    std::ofstream(place + "/plain") << "";
    EXPECT_EQ(refusal(place + "/plain/r.tar.gz"),
              place + "/plain: Not a directory; make the folder, or name a file in another one");
    EXPECT_EQ(refusal(place + "/" + std::string(300, 'x')),
              place + ": File name too long; name a file in another folder");
}

TEST_F(ReportFolderTest, AFullDiskIsNamedWithTheRemedy) {
    ReportFolder folder(file);
    EXPECT_STREQ(
        folder.failure(ENOSPC).what(),
        (place + ": No space left on device; free space there, or name a file in another folder").c_str());
    EXPECT_STREQ(
        folder.failure(EDQUOT).what(),
        (place + ": Disk quota exceeded; free space there, or name a file in another folder").c_str());
    EXPECT_STREQ(folder.failure(EROFS).what(),
                 (place + ": Read-only file system; name a file in another folder").c_str());
}

TEST_F(ReportFolderTest, OnlyAFolderOfAKilledReportIsRemovedByTheNextOne) {
    leaveBehind(".dravik-report-old", LEFT_BEHIND_SECONDS + 60);
    leaveBehind(".dravik-report-young", LEFT_BEHIND_SECONDS - 60);
    leaveBehind(".dravik-report-open", LEFT_BEHIND_SECONDS + 60, 0755);
    leaveBehind(".dravik-report-locked", LEFT_BEHIND_SECONDS + 60);
    leaveBehind("dravik-report-other", LEFT_BEHIND_SECONDS + 60);
    std::ofstream(place + "/.dravik-report-file") << "text";
    makeOld(".dravik-report-file", LEFT_BEHIND_SECONDS + 60);
    std::filesystem::create_symlink(place + "/dravik-report-other", place + "/.dravik-report-link");
    makeOld(".dravik-report-link", LEFT_BEHIND_SECONDS + 60);
    const Descriptor lock(open((place + "/.dravik-report-locked").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(lock.get(), LOCK_EX), 0);
    EXPECT_EQ(refusal(file), "made");
    EXPECT_EQ(namesIn(place), (Names{".dravik-report-file", ".dravik-report-link", ".dravik-report-locked",
                                     ".dravik-report-open", ".dravik-report-young", "dravik-report-other"}));
    EXPECT_EQ(namesIn(place + "/.dravik-report-young"),
              (Names{"link", "made-by-dravik", "report.tar.gz", "top"}));
    EXPECT_EQ(namesIn(place + "/dravik-report-other"),
              (Names{"link", "made-by-dravik", "report.tar.gz", "top"}));
    EXPECT_EQ(modeOf("/etc").substr(0, 1), "d"); // no link is followed
}

TEST_F(ReportFolderTest, AFolderThatAReportIsUsingStaysHoweverOldItLooks) {
    ReportFolder running(file);
    makeOld(std::filesystem::path(workFolder()).filename(), LEFT_BEHIND_SECONDS + 60);
    EXPECT_EQ(refusal(place + "/second.tar.gz"), "made");
    EXPECT_EQ(namesIn(place).size(), 1U);
}

TEST_F(ReportFolderTest, TheChecksumsAreThoseThatSha256sumChecks) {
    ReportFolder folder(file);
    folder.makeTop("top");
    folder.write("a", "");
    folder.write("b", "abc");
    std::string problem;
    EXPECT_EQ(folder.checksums(&problem),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855  a\n"
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  b\n");
    EXPECT_EQ(problem, "");
}

TEST_F(ReportFolderTest, TheArchiveHoldsTheNamedFilesInTheirOrderRootsAloneAndIsNobodyElses) {
    const mode_t mask = umask(0);
    uint64_t bytes = 0;
    {
        ReportFolder folder(file);
        folder.makeTop("dravik-report-x");
        folder.write("a.txt", "first\n");
        folder.write("b.txt", "second\n");
        folder.write("c.txt", "left out\n");
        EXPECT_EQ(namesIn(place).size(), 1U); // no file before it is whole
        bytes = folder.pack({"b.txt", "a.txt"});
    }
    umask(mask);
    EXPECT_EQ(namesIn(place), Names{"r.tar.gz"});
    EXPECT_EQ(modeOf(file), "f 600");
    EXPECT_EQ(bytes, std::filesystem::file_size(file));
    EXPECT_EQ(outputOf("tar -tzf " + file),
              "dravik-report-x/\ndravik-report-x/b.txt\ndravik-report-x/a.txt\n");
    EXPECT_EQ(outputOf("tar -xzOf " + file), "second\nfirst\n");
    EXPECT_EQ(outputOf("tar --numeric-owner -tvzf " + file + " | awk '{ print $1, $2 }'"),
              "drwx------ 0/0\n-rw------- 0/0\n-rw------- 0/0\n");
}

TEST_F(ReportFolderTest, AFileThatComesToBeThereMeanwhileStays) {
    try {
        ReportFolder folder(file);
        folder.makeTop("top");
        folder.write("a", "text");
        std::ofstream(file) << "somebody's";
        folder.pack({"a"});
        FAIL();
    } catch (const ReportFailure &failure) {
        EXPECT_EQ(failure.what(), file + " has come to be there meanwhile: remove it, or name another file");
    }
    EXPECT_EQ(namesIn(place), Names{"r.tar.gz"});
    EXPECT_EQ(outputOf("cat " + file), "somebody's");
}

TEST_F(ReportFolderTest, AFileThatCannotBePackedIsAFailureAndLeavesNothing) {
    try {
        ReportFolder folder(file);
        folder.makeTop("top");
        folder.pack({"missing"});
        FAIL();
    } catch (const ReportFailure &failure) {
        EXPECT_STREQ(failure.what(), "tar failed with exit status 2: are tar and gzip installed?");
    }
    EXPECT_EQ(namesIn(place), Names{});
}

TEST_F(ReportFolderTest, APackingThatIsKilledIsAFailureAndNoReport) {
    const FakeTools tools;
    tools.runs("tar", "echo half\nkill -KILL $$");
    EXPECT_THROW(
        {
            ReportFolder folder(file);
            folder.makeTop("top");
            folder.write("a", "text");
            folder.pack({"a"});
        },
        ReportFailure);
    EXPECT_EQ(namesIn(place), Names{});
}

TEST_F(ReportFolderTest, AVisitLeadsIntoTheFolderAndBackToTheRoot) {
    {
        ReportFolder folder(file);
        folder.makeTop("top");
        {
            const ReportFolder::Visit visit(folder.top());
            std::ofstream("here") << "text";
            EXPECT_EQ(std::filesystem::current_path(), workFolder() + "/top");
        }
        EXPECT_EQ(std::filesystem::current_path(), "/");
        EXPECT_EQ(namesIn(workFolder() + "/top"), Names{"here"});
    }
    EXPECT_EQ(namesIn(place), Names{});
}

// ---- a folder that another user may change

TEST_F(ReportFolderTest, WhatIsNoLongerTheFolderThatWasMadeIsNeitherUsedNorRemoved) {
    const std::string kept = place + "/kept";
    refusedWhen("another user's", [&](const std::string &work) {
        std::filesystem::rename(work, kept);
        std::filesystem::create_directory(work);
        std::ofstream(work + "/file") << "text";
        if (geteuid() == 0) {
            ASSERT_EQ(chown(work.c_str(), 12345, 12345), 0);
            ASSERT_EQ(chmod(work.c_str(), 0700), 0);
        }
    });
    EXPECT_EQ(namesIn(workFolder()), Names{"file"});
    EXPECT_EQ(namesIn(kept), Names{});
    std::filesystem::remove_all(workFolder());
    refusedWhen("others may enter", [&](const std::string &work) { chmod(work.c_str(), 0750); });
    EXPECT_EQ(modeOf(workFolder()), "d 750");
    std::filesystem::remove_all(workFolder());
    refusedWhen("not empty", [&](const std::string &work) { std::ofstream(work + "/file") << "text"; });
    EXPECT_EQ(namesIn(workFolder()), Names{"file"});
    std::filesystem::remove_all(workFolder());
    refusedWhen("a link", [&](const std::string &work) {
        std::filesystem::remove(work);
        std::filesystem::create_symlink(kept, work);
    });
    EXPECT_TRUE(std::filesystem::is_symlink(workFolder()));
    std::filesystem::remove(workFolder());
    refusedWhen("a file", [&](const std::string &work) {
        std::filesystem::remove(work);
        std::ofstream(work) << "text";
    });
    EXPECT_EQ(outputOf("cat " + workFolder()), "text");
    std::filesystem::remove(workFolder());
    refusedWhen("nothing", [&](const std::string &work) { std::filesystem::remove(work); });
    EXPECT_EQ(namesIn(place), Names{"kept"});
}

TEST_F(ReportFolderTest, AFolderThatLosesItsNameIsAFailureThatTouchesNothingElse) {
    for (const bool is_late : {false, true}) {
        std::string work;
        try {
            ReportFolder folder(file);
            work = is_late ? "" : replaceWork();
            folder.makeTop("top");
            folder.write("a", "text");
            work = is_late ? replaceWork() : work;
            std::string problem;
            EXPECT_EQ(folder.checksums(&problem).substr(64), "  a\n");
            folder.pack({"a"});
            ADD_FAILURE();
        } catch (const ReportFailure &failure) {
            EXPECT_EQ(failure.what(), lostName(work));
        }
        untouched(work);
        std::filesystem::remove_all(place + "/aside");
        std::filesystem::remove_all(work);
    }
}

TEST_F(ReportFolderTest, AFolderThatIsRemovedIsAFailure) {
    std::string work;
    try {
        ReportFolder folder(file);
        work = workFolder();
        std::filesystem::remove_all(work);
        folder.makeTop("top");
        FAIL();
    } catch (const ReportFailure &failure) {
        EXPECT_EQ(failure.what(), lostName(work));
    }
    EXPECT_EQ(namesIn(place), Names{});
}

TEST_F(ReportFolderTest, TarWritesIntoTheOpenFileWhereverTheFolderGoesMeanwhile) {
    const FakeTools tools;
    std::ofstream(place + "/victim") << "precious";
    tools.runs("tar", "/bin/mv '" + place + "'/.dravik-report-* '" + place + "/aside'\n" + "/bin/mkdir '" +
                          place + "/.dravik-report-x'\n" + "/bin/ln -s '" + place + "/victim' '" + place +
                          "/.dravik-report-x/report.tar.gz'\necho archive");
    std::string work;
    try {
        ReportFolder folder(file);
        folder.makeTop("top");
        folder.write("a", "text");
        work = workFolder();
        folder.pack({"a"});
        FAIL();
    } catch (const ReportFailure &failure) {
        EXPECT_EQ(failure.what(), lostName(work));
    }
    EXPECT_EQ(tools.calls(), Names{"tar [-c] [-z] [-f] [-] [--owner] [0] [--group] [0] [--numeric-owner] "
                                   "[--no-recursion] [-T] [names]"});
    EXPECT_EQ(outputOf("/bin/cat " + place + "/victim"), "precious");
    EXPECT_EQ(namesIn(place), (Names{".dravik-report-x", "aside", "victim"}));
    EXPECT_EQ(namesIn(place + "/.dravik-report-x"), Names{"report.tar.gz"});
    EXPECT_EQ(namesIn(place + "/aside"), Names{});
}

TEST_F(ReportFolderTest, WhatIsNotTheFileThatTarHasWrittenGetsNoName) {
    const FakeTools tools;
    tools.runs("tar", "/bin/rm report.tar.gz\necho other > report.tar.gz\necho archive");
    try {
        ReportFolder folder(file);
        folder.makeTop("top");
        folder.pack({});
        FAIL();
    } catch (const ReportFailure &failure) {
        EXPECT_EQ(failure.what(), file +
                                      " has been replaced while it was packed; name a file in a folder that "
                                      "nobody else may change");
    }
    EXPECT_EQ(namesIn(place), Names{});
}

TEST_F(ReportFolderTest, StandardInputIsBackBehindThePacking) {
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(fstat(STDIN_FILENO, &before), 0);
    ReportFolder folder(file);
    folder.makeTop("top");
    folder.pack({});
    ASSERT_EQ(fstat(STDIN_FILENO, &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_dev, after.st_dev);
}

TEST_F(ReportFolderTest, AFolderOfRootsThatWasGivenAReportsNameIsNotRemovedUnlessItIsEmpty) {
    std::filesystem::create_directory(place + "/.dravik-report-backup");
    std::ofstream(place + "/.dravik-report-backup/data") << "precious";
    std::filesystem::create_directory(place + "/.dravik-report-linked");
    std::filesystem::create_symlink("data", place + "/.dravik-report-linked/made-by-dravik");
    std::filesystem::create_directory(place + "/.dravik-report-empty");
    for (const char *name : {".dravik-report-backup", ".dravik-report-linked", ".dravik-report-empty"}) {
        ASSERT_EQ(chmod((place + "/" + name).c_str(), 0700), 0);
        makeOld(name, LEFT_BEHIND_SECONDS + 60);
    }
    EXPECT_EQ(refusal(file), "made");
    EXPECT_EQ(namesIn(place), (Names{".dravik-report-backup", ".dravik-report-linked"}));
    EXPECT_EQ(namesIn(place + "/.dravik-report-backup"), Names{"data"});
}

TEST_F(ReportFolderTest, WhatTakesTheNameOfAFolderThatIsBeingRemovedStays) {
    leaveBehind(".dravik-report-old", LEFT_BEHIND_SECONDS + 60);
    {
        const ActsBehind somebody("flock", [this] {
            std::filesystem::rename(place + "/.dravik-report-old", place + "/aside");
            std::filesystem::create_directory(place + "/.dravik-report-old");
            std::ofstream(place + "/.dravik-report-old/file") << "text";
        });
        EXPECT_EQ(refusal(file), "made");
    }
    EXPECT_EQ(namesIn(place), (Names{".dravik-report-old", "aside"}));
    EXPECT_EQ(namesIn(place + "/.dravik-report-old"), Names{"file"});
    EXPECT_EQ(namesIn(place + "/aside"), Names{});
}

TEST_F(ReportFolderTest, NoOtherFileSystemIsEnteredWhereAFolderIsRemoved) {
    constexpr int NO_MOUNT = 77;
    leaveBehind(".dravik-report-old", LEFT_BEHIND_SECONDS + 60);
    const std::string inside = place + "/.dravik-report-old/top/deeper";
    const int status = inChild([&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", inside.c_str(), "tmpfs", 0, "size=64k") != 0) {
            return NO_MOUNT;
        }
        std::ofstream(inside + "/file") << "precious";
        const bool made = refusal(file) == "made";
        return made && outputOf("cat " + inside + "/file") == "precious" ? 0 : 1;
    });
    if (status == NO_MOUNT) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    EXPECT_EQ(status, 0);
    EXPECT_EQ(namesIn(place), Names{".dravik-report-old"});
    EXPECT_EQ(namesIn(place + "/.dravik-report-old"), Names{"top"});
}

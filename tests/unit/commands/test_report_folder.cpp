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
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/interruption.h"
#include "tests/support/children.h"
#include "tests/support/fake_tools.h"

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
    void makeOld(const std::string &name, time_t seconds) const {
        const timespec then = {time(nullptr) - seconds, 0};
        const timespec times[2] = {then, then};
        ASSERT_EQ(utimensat(AT_FDCWD, (place + "/" + name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    // A folder as a killed report leaves it, so old.
    void leaveBehind(const std::string &name, time_t seconds, mode_t mode = 0700) const {
        const std::string folder = place + "/" + name;
        std::filesystem::create_directories(folder + "/top/deeper");
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
    EXPECT_EQ(namesIn(place + "/.dravik-report-young"), (Names{"link", "report.tar.gz", "top"}));
    EXPECT_EQ(namesIn(place + "/dravik-report-other"), (Names{"link", "report.tar.gz", "top"}));
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
    tools.runs("tar", "echo half > report.tar.gz\nkill -KILL $$");
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

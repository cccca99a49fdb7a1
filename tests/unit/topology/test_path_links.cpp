// The links of a folder, listed as the shell would list them.
#include "topology/path_links.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"
#include "tests/support/children.h"

using dravik::LinksState;
using dravik::PathLinks;

namespace {

namespace fs = std::filesystem;

// A folder of links; only root's are plain ones.
class PathLinksTest : public testing::Test {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only links of root's are answered for";
        }
        top = testing::TempDir() + "dravik-links.XXXXXX";
        ASSERT_NE(mkdtemp(top.data()), nullptr);
        folder = top + "/by-path";
        fs::create_directory(folder);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(top, ignored);
    }

    void link(const std::string &name, const std::string &text) const {
        ASSERT_EQ(symlink(text.c_str(), (folder + "/" + name).c_str()), 0) << name;
    }
    std::string list(const std::string &device, size_t size = 1024) {
        std::string out(size + 1, '#');
        links.list(device, out.data(), size);
        EXPECT_EQ(out[size], '#');
        return out.substr(0, out.find('\0'));
    }
    void expectUnsure(const std::string &why) {
        EXPECT_EQ(links.read(folder.c_str()), LinksState::UNSURE) << why;
    }

    std::string top;
    std::string folder;
    PathLinks links;
};

} // namespace

// ---- what is listed

TEST_F(PathLinksTest, TheNamesOfADevicesLinksStandInTheOrderOfTheirBytes) {
    link("pci-b", "../../sdb");
    link("pci-B", "../../sdb");
    link("pci-a", "../../sdb");
    link("pci-\xC3\xA4", "../../sdb");
    link("pci-c", "../../sdc");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "pci-B\npci-a\npci-b\npci-\xC3\xA4\n");
    EXPECT_EQ(list("sdc"), "pci-c\n");
    EXPECT_EQ(list("sdd"), "");
}

TEST_F(PathLinksTest, ALinkCountsWhoseTextEndsInTheDevicesNameWhereverItLeads) {
    link("absolute", "/dev/sdb");
    link("alike", "../../asdb");
    link("bare", "sdb");
    link("behind", "../../sdb1");
    link("dangling", "../nowhere/sdb");
    link("itself-sdb", "itself-sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "absolute\nalike\nbare\ndangling\nitself-sdb\n");
    EXPECT_EQ(list("asdb"), "alike\n");
    EXPECT_EQ(list("sdb1"), "behind\n");
}

TEST_F(PathLinksTest, HiddenEntriesAreNeitherListedNorJudged) {
    link(".hidden", "../../sdb");
    fs::create_directory(folder + "/.folder");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "");
}

TEST_F(PathLinksTest, OfANameWithBlanksTheFirstWordIsListedAndOfBlanksAloneTheArrow) {
    link("a b", "../../sdb");
    link("  c d", "../../sdb");
    link("   ", "../../sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "->\nc\na\n");
}

TEST_F(PathLinksTest, TheListingIsCutAtTheSizeOfTheBuffer) {
    link("abc", "sdb");
    link("def", "sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    const std::string whole = "abc\ndef\n";
    for (size_t size = 1; size <= 10; ++size) {
        EXPECT_EQ(list("sdb", size), whole.substr(0, size - 1)) << size;
    }
}

TEST_F(PathLinksTest, ThousandsOfLinksToOneDeviceAndNamesOf255BytesAreListedToTheCut) {
    const std::string long_name(255, 'a');
    link(long_name, "../../sdb");
    for (int i = 0; i < 2000; ++i) {
        link("b" + std::to_string(10000 + i), "../../sdb");
    }
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    std::string expected = long_name + "\n";
    for (int i = 0; i < 200; ++i) {
        expected += "b" + std::to_string(10000 + i) + "\n";
    }
    EXPECT_EQ(list("sdb"), expected.substr(0, 1023));
}

// ---- what cannot be vouched for

TEST_F(PathLinksTest, AMissingFolderIsAnEmptyOne) {
    fs::remove_all(folder);
    EXPECT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "");
    fs::create_symlink("nowhere", folder);
    EXPECT_EQ(links.read((folder + "/").c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "");
}

TEST_F(PathLinksTest, AFileOrALoopInThePlaceOfTheFolderIsNoFolder) {
    link("pci-a", "../../sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    fs::remove_all(folder);
    std::ofstream(folder) << "a file\n";
    EXPECT_EQ(links.read((folder + "/").c_str()), LinksState::NO_FOLDER);
    EXPECT_EQ(list("sdb"), ""); // nothing of the reading before
    fs::remove(folder);
    fs::create_symlink("by-path", folder);
    EXPECT_EQ(links.read((folder + "/").c_str()), LinksState::NO_FOLDER);
}

TEST_F(PathLinksTest, OnlyTheCommandsCanJudgeAFolderThatHoldsAnythingButPlainLinksOfRoots) {
    const std::string odd = folder + "/odd";
    fs::create_directory(odd);
    expectUnsure("a folder");
    fs::remove(odd);
    std::ofstream(odd) << "";
    expectUnsure("a file");
    fs::remove(odd);
    ASSERT_EQ(mkfifo(odd.c_str(), 0600), 0);
    expectUnsure("a pipe");
    fs::remove(odd);
    link("a\nb", "../../sdb");
    expectUnsure("a control byte in a name");
    fs::remove(folder + "/a\nb");
    link("odd", "../../\tsdb");
    expectUnsure("a control byte in a text");
    fs::remove(odd);
    link("odd", "../../sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    if (lchown(odd.c_str(), 4711, 0) == 0) {
        expectUnsure("another owner's");
        ASSERT_EQ(lchown(odd.c_str(), 0, 4711), 0);
        expectUnsure("another group's");
    }
}

TEST_F(PathLinksTest, WithoutADescriptorToOpenTheFolderOnlyTheCommandsCanTell) {
    EXPECT_EQ(inChild([this] {
                  while (dup(0) >= 0) {
                  }
                  return links.read(folder.c_str()) == LinksState::UNSURE ? 0 : 1;
              }),
              0);
}

TEST_F(PathLinksTest, LinksThatComeAndGoMeanwhileSpoilNothing) {
    constexpr int STEADY = 300;
    for (int i = 0; i < STEADY; ++i) {
        link("a" + std::to_string(i), "../../sdb");
    }
    std::atomic<bool> stop{false};
    std::atomic<int> turns{0};
    std::thread other([&] {
        const std::string from = folder + "/x";
        const std::string to = folder + "/y";
        while (!stop) {
            if (symlink("../../sdc", from.c_str()) == 0 && rename(from.c_str(), to.c_str()) == 0) {
                unlink(to.c_str());
                ++turns;
            }
        }
    });
    for (int round = 0; round < 300 || turns < 100; ++round) {
        ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
        EXPECT_EQ(list("sda"), "");
        const std::string steady = list("sdb", 65536);
        EXPECT_EQ(std::count(steady.begin(), steady.end(), '\n'), STEADY);
        EXPECT_EQ(list("sdc").find_first_not_of("xy\n"), std::string::npos);
    }
    stop = true;
    other.join();
}

// ---- reading anew

TEST_F(PathLinksTest, EachReadingForgetsTheOneBefore) {
    link("one", "../../sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "one\n");
    fs::remove(folder + "/one");
    link("two", "../../sdb");
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_EQ(list("sdb"), "two\n");
}

TEST_F(PathLinksTest, ForgettingGivesTheMemoryBack) {
    for (int i = 0; i < 100; ++i) {
        link("a-name-of-a-link-" + std::to_string(i), "../../sdb");
    }
    const long before = heldBlocks();
    ASSERT_EQ(links.read(folder.c_str()), LinksState::READ);
    EXPECT_NE(list("sdb"), "");
    EXPECT_GT(heldBlocks(), before);
    links.forget();
    EXPECT_EQ(heldBlocks(), before);
    EXPECT_EQ(list("sdb"), "");
}

TEST_F(PathLinksTest, ASecondReadingTakesAsMuchMemoryForManyLinksAsForFew) {
    const auto taken = [this](int first, int end) {
        for (int i = first; i < end; ++i) {
            link("a-name-of-a-link-" + std::to_string(i), "../../sdb");
        }
        EXPECT_EQ(links.read(folder.c_str()), LinksState::READ);
        links.forget();
        const long before = allocationCount();
        EXPECT_EQ(links.read(folder.c_str()), LinksState::READ);
        const long count = allocationCount() - before;
        links.forget();
        return count;
    };
    const long few = taken(0, 10);
    EXPECT_EQ(taken(10, 1000), few);
}

// The cache file in memory: when it is read, what its index finds, and what a writing makes of it.
#include "array/vdisk_file.h"

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "array/vdisk_cache.h"
#include "common/replace_file.h"
#include "tests/support/allocation_count.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/write_faults.h"

namespace {

constexpr char FILE_NAME[] = "cache.json";
constexpr char FILE_PATH[] = "/dumps/cache.json";

constexpr char TWO_ENTRIES[] =
    R"({"disk":[{"wwid":"3600a","vdisk_name":"vol1"},{"wwid":"3600b","vdisk_name":"vol2"}]})";

class VdiskFile : public testing::Test {
  protected:
    VdiskFile() {
        forgetVdiskTree();
    }
    ~VdiskFile() override {
        forgetVdiskTree();
    }

    TreeState load() {
        tree = nullptr;
        error = "as it was";
        return loadVdiskTree(FILE_PATH, false, &tree, &error);
    }
    // Loads a file with this content, which must be readable.
    void loadText(const std::string &text) {
        dumps.write(FILE_NAME, text);
        ASSERT_EQ(load(), TreeState::READY);
        ASSERT_NE(tree, nullptr);
    }
    // Writes the tree within a turn of its own.
    int write() {
        dravik::WritingTurn turn;
        EXPECT_EQ(turn.take(FILE_PATH), 0);
        return writeVdiskTree(tree);
    }
    static std::string nameOf(const cJSON *entry) {
        return entry == nullptr ? "(none)" : cJSON_GetObjectItem(entry, "vdisk_name")->valuestring;
    }
    std::string lookedUp(const char *wwid) const {
        return nameOf(entryForLookup(tree, wwid));
    }
    // What an update finds: the name, "blocked by N" for the N-th element of the list, "(none)".
    std::string forUpdate(const char *wwid) const {
        const cJSON *blocked_by = tree->root; // an old value must not stay
        const cJSON *entry = entryForUpdate(tree, wwid, &blocked_by);
        if (blocked_by == nullptr) {
            return nameOf(entry);
        }
        EXPECT_EQ(entry, nullptr);
        for (int i = 0; i < cJSON_GetArraySize(tree->disk); ++i) {
            if (cJSON_GetArrayItem(tree->disk, i) == blocked_by) {
                return "blocked by " + std::to_string(i);
            }
        }
        return "blocked by a stranger";
    }

    DumpsFolder dumps;
    VdiskTree *tree = nullptr;
    std::string error;
};

} // namespace

// ---- reading

TEST_F(VdiskFile, AFileIsReadAndItsEntriesAreIndexed) {
    loadText(TWO_ENTRIES);
    EXPECT_EQ(tree->path, FILE_PATH);
    EXPECT_EQ(tree->count, 2);
    EXPECT_EQ(tree->first_bad, INT_MAX);
    EXPECT_EQ(tree->first_bad_item, nullptr);
    EXPECT_EQ(tree->entries.size(), 2U);
    EXPECT_EQ(tree->entries.at("3600b").index, 1);
    EXPECT_EQ(lookedUp("3600a"), "vol1");
    EXPECT_EQ(lookedUp("3600b"), "vol2");
    struct stat attributes = {};
    ASSERT_EQ(stat(FILE_PATH, &attributes), 0);
    EXPECT_EQ(tree->attributes.st_ino, attributes.st_ino);
    EXPECT_FALSE(dumps.has("dravik_cli.log"));
}

TEST_F(VdiskFile, WhatStandsInTheWayOfAReadingIsTold) {
    EXPECT_EQ(load(), TreeState::MISSING);
    EXPECT_EQ(tree, nullptr);

    ASSERT_EQ(mkfifo(dumps.path(FILE_NAME).c_str(), 0600), 0);
    EXPECT_EQ(load(), TreeState::UNREADABLE); // and nobody is waited for
    std::filesystem::remove(dumps.path(FILE_NAME));

    std::filesystem::create_directory(dumps.path(FILE_NAME));
    EXPECT_EQ(load(), TreeState::UNREADABLE);
    std::filesystem::remove(dumps.path(FILE_NAME));

    dumps.write(FILE_NAME, TWO_ENTRIES);
    std::filesystem::resize_file(dumps.path(FILE_NAME), VDISK_CACHE_LIMIT + 1);
    EXPECT_EQ(load(), TreeState::TOO_LARGE);
    EXPECT_EQ(error, "as it was");
    EXPECT_FALSE(dumps.has("dravik_cli.log"));
}

TEST_F(VdiskFile, AFileThatDoesNotParseIsToldWithThePlaceOfTheError) {
    struct Case {
        const char *text;
        const char *place;
    };
    for (const Case &row : {Case{"", ""}, Case{"{\"disk\": oops}", "oops}"}, Case{"{", ""}}) {
        dumps.write(FILE_NAME, row.text);
        EXPECT_EQ(load(), TreeState::DAMAGED) << row.text;
        EXPECT_EQ(error, row.place) << row.text;
        EXPECT_EQ(tree, nullptr) << row.text;
    }
}

TEST_F(VdiskFile, AFileWithoutADiskArrayIsReadyAndHasNoEntries) {
    loadText("{}");
    EXPECT_EQ(tree->disk, nullptr);
    EXPECT_EQ(tree->count, 0);
    EXPECT_EQ(lookedUp("3600a"), "(none)");
    loadText(R"({"disk":"a text"})");
    ASSERT_NE(tree->disk, nullptr);
    EXPECT_EQ(tree->count, 0);
    EXPECT_EQ(lookedUp("3600a"), "(none)");
}

// ---- what is kept

TEST_F(VdiskFile, AFileThatStayedTheSameIsNotReadAgain) {
    loadText(TWO_ENTRIES);
    const cJSON *root = tree->root;
    const long before = heldBlocks();
    ASSERT_EQ(load(), TreeState::READY);
    EXPECT_EQ(tree->root, root);
    EXPECT_EQ(heldBlocks(), before);
}

TEST_F(VdiskFile, AFileThatWasChangedReplacedOrRemovedIsReadAnew) {
    loadText(TWO_ENTRIES);
    dumps.write(FILE_NAME, R"({"disk":[{"wwid":"3600a","vdisk_name":"grown longer"}]})");
    ASSERT_EQ(load(), TreeState::READY);
    EXPECT_EQ(lookedUp("3600a"), "grown longer");
    EXPECT_EQ(lookedUp("3600b"), "(none)");

    // Another file of the same size in its place.
    dumps.write("other", R"({"disk":[{"wwid":"3600a","vdisk_name":"other longer"}]})");
    std::filesystem::rename(dumps.path("other"), dumps.path(FILE_NAME));
    ASSERT_EQ(load(), TreeState::READY);
    EXPECT_EQ(lookedUp("3600a"), "other longer");

    std::filesystem::remove(dumps.path(FILE_NAME));
    EXPECT_EQ(load(), TreeState::MISSING);
}

TEST_F(VdiskFile, AnotherFileIsReadInsteadOfTheOneInMemory) {
    loadText(TWO_ENTRIES);
    dumps.write("other.json", R"({"disk":[{"wwid":"3600c","vdisk_name":"vol3"}]})");
    ASSERT_EQ(loadVdiskTree("/dumps/other.json", false, &tree, &error), TreeState::READY);
    EXPECT_EQ(lookedUp("3600c"), "vol3");
    EXPECT_EQ(lookedUp("3600a"), "(none)");
}

TEST_F(VdiskFile, ATreeThatIsHeldStaysWhateverBecomesOfItsFile) {
    loadText(TWO_ENTRIES);
    ASSERT_TRUE(appendEntry(tree, "3600c", "vol3"));
    dumps.write(FILE_NAME, "{}");
    ASSERT_EQ(loadVdiskTree(FILE_PATH, true, &tree, &error), TreeState::READY);
    EXPECT_EQ(lookedUp("3600c"), "vol3");
    EXPECT_EQ(lookedUp("3600a"), "vol1");
    ASSERT_EQ(load(), TreeState::READY); // it is not held any more
    EXPECT_EQ(lookedUp("3600a"), "(none)");
}

TEST_F(VdiskFile, OnlyATreeOfTheSameFileIsHeld) {
    loadText(TWO_ENTRIES);
    dumps.write("other.json", R"({"disk":[{"wwid":"3600c","vdisk_name":"vol3"}]})");
    ASSERT_EQ(loadVdiskTree("/dumps/other.json", true, &tree, &error), TreeState::READY);
    EXPECT_EQ(lookedUp("3600c"), "vol3");
    forgetVdiskTree();
    ASSERT_EQ(loadVdiskTree(FILE_PATH, true, &tree, &error), TreeState::READY);
    EXPECT_EQ(lookedUp("3600a"), "vol1");
}

TEST_F(VdiskFile, AForgottenTreeIsGoneWithItsUnwrittenChanges) {
    loadText(TWO_ENTRIES);
    ASSERT_TRUE(appendEntry(tree, "3600c", "vol3"));
    forgetVdiskTree();
    ASSERT_EQ(loadVdiskTree(FILE_PATH, true, &tree, &error), TreeState::READY);
    EXPECT_EQ(lookedUp("3600c"), "(none)");
    forgetVdiskTree();
    forgetVdiskTree(); // nothing to forget
}

TEST_F(VdiskFile, ForgettingReleasesTheTree) {
    loadText(TWO_ENTRIES);
    forgetVdiskTree();
    const long before = heldBlocks();
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(load(), TreeState::READY);
        EXPECT_GT(heldBlocks(), before);
        forgetVdiskTree();
        EXPECT_EQ(heldBlocks(), before);
    }
}

// ---- the index

TEST_F(VdiskFile, TheFirstObjectOfAWwidIsItsEntryAndOthersArePassedOver) {
    loadText(
        R"({"disk":[{"wwid":"3600a","vdisk_name":"first"},{"wwid":7,"vdisk_name":"no"},)"
        R"({"vdisk_name":"no"},{"wwid":"3600a","vdisk_name":"later"},{"wwid":"","vdisk_name":"empty"}]})");
    EXPECT_EQ(tree->count, 5);
    EXPECT_EQ(tree->entries.size(), 2U);
    EXPECT_EQ(lookedUp("3600a"), "first");
    EXPECT_EQ(forUpdate("3600a"), "first");
    EXPECT_EQ(lookedUp(""), "empty");
    EXPECT_EQ(lookedUp("3600A"), "(none)");
    EXPECT_EQ(forUpdate("3600"), "(none)");
    EXPECT_EQ(lookedUp(nullptr), "(none)");
}

TEST_F(VdiskFile, AnElementThatIsNoObjectBlocksAnUpdateBehindItAndNoLookup) {
    loadText(R"({"disk":[{"wwid":"a","vdisk_name":"1"},5,{"wwid":"b","vdisk_name":"2"},"x"]})");
    EXPECT_EQ(tree->count, 4);
    EXPECT_EQ(tree->first_bad, 1);
    EXPECT_EQ(forUpdate("a"), "1");
    EXPECT_EQ(forUpdate("b"), "blocked by 1");
    EXPECT_EQ(forUpdate("c"), "blocked by 1"); // it would be found behind all
    EXPECT_EQ(lookedUp("a"), "1");
    EXPECT_EQ(lookedUp("b"), "2");
    EXPECT_EQ(lookedUp("c"), "(none)");
}

TEST_F(VdiskFile, AnAppendedEntryStandsAtTheEndAndIsFound) {
    loadText(R"({"disk":[5]})");
    ASSERT_TRUE(appendEntry(tree, "3600a", "a \"name\""));
    ASSERT_TRUE(appendEntry(tree, "3600b", "vol2"));
    EXPECT_EQ(tree->count, 3);
    EXPECT_EQ(tree->entries.at("3600a").index, 1);
    EXPECT_EQ(tree->entries.at("3600b").index, 2);
    EXPECT_EQ(lookedUp("3600a"), "a \"name\"");
    EXPECT_EQ(cJSON_GetArrayItem(tree->disk, 2), entryForLookup(tree, "3600b"));
}

// ---- writing

TEST_F(VdiskFile, AWrittenTreeIsWhatTheFileHoldsAndIsNotReadAgain) {
    loadText(R"({"disk":[]})");
    ASSERT_TRUE(appendEntry(tree, "3600a", "vol1"));
    const cJSON *root = tree->root;
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(dumps.read(FILE_NAME),
              "{\n\t\"disk\":\t[{\n\t\t\t\"wwid\":\t\"3600a\",\n\t\t\t\"vdisk_name\":\t\"vol1\"\n\t\t}]\n}");
    ASSERT_EQ(load(), TreeState::READY);
    EXPECT_EQ(tree->root, root);
}

TEST_F(VdiskFile, ATreeThatCannotBeWrittenIsForgottenAndTheFileStays) {
    loadText(TWO_ENTRIES);
    ASSERT_TRUE(appendEntry(tree, "3600c", "vol3"));
    failWriteCall(1, EIO);
    EXPECT_EQ(write(), EIO);
    endWriteFaults();
    EXPECT_EQ(dumps.read(FILE_NAME), TWO_ENTRIES);
    ASSERT_EQ(loadVdiskTree(FILE_PATH, true, &tree, &error), TreeState::READY);
    EXPECT_EQ(lookedUp("3600c"), "(none)");
}

TEST_F(VdiskFile, AnyTreeIsWrittenFormattedIntoAnyFile) {
    cJSON *root = cJSON_Parse(R"({"a":[1,"b"]})");
    dravik::WritingTurn turn;
    ASSERT_EQ(turn.take(FILE_PATH), 0);
    EXPECT_EQ(writeJsonFile("/dumps/any", root), 0);
    EXPECT_EQ(dumps.read("any"), "{\n\t\"a\":\t[1, \"b\"]\n}");
    EXPECT_EQ(writeJsonFile("/dumps/none/any", root), ENOENT);
    cJSON_Delete(root);
    EXPECT_EQ(dumps.names(), std::vector<std::string>{"any"});
}

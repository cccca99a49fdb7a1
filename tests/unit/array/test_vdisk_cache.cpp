// The cache file: what a store leaves in it byte for byte, what a lookup finds, what a fault does to it.
#include "array/vdisk_cache.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "array/vdisk_entry.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/seeded_random.h"
#include "tests/support/write_faults.h"

namespace {

using Lines = std::vector<std::string>;
using Names = std::vector<std::string>;

constexpr char FILE_NAME[] = "storage_config.json";
constexpr char FILE_PATH[] = "/dumps/storage_config.json";

// An entry as the file holds it.
std::string entry(const std::string &wwid, const std::string &name) {
    return "{\n\t\t\t\"wwid\":\t\"" + wwid + "\",\n\t\t\t\"vdisk_name\":\t\"" + name + "\"\n\t\t}";
}

// The file with these entries.
std::string file(const std::vector<std::string> &entries) {
    std::string text = "{\n\t\"disk\":\t[";
    for (size_t i = 0; i < entries.size(); i++) {
        text += (i == 0 ? "" : ", ") + entries[i];
    }
    return text + "]\n}";
}

class VdiskCache : public testing::Test {
  protected:
    DumpsFolder dumps;

    static void store(const std::string &wwid, const std::string &name) {
        store_wwid_vdiskname(FILE_PATH, wwid.c_str(), name.c_str());
    }
    std::string stored() const {
        return dumps.read(FILE_NAME);
    }
    void fill(const std::string &text) const {
        dumps.write(FILE_NAME, text);
    }
    // What a lookup finds: the name, "(untouched)" when there is an entry without a name, "(none)".
    static std::string lookUp(const std::string &wwid) {
        char name[128 + 32];
        memset(name, '#', sizeof(name));
        unsigned int found = 0;
        getStoredVdiskname(FILE_PATH, wwid.c_str(), name, &found);
        EXPECT_EQ(std::string(name + 128, 32), std::string(32, '#'));
        const bool untouched = std::string(name, 128) == std::string(128, '#');
        if (found == 0) {
            EXPECT_TRUE(untouched);
            return "(none)";
        }
        EXPECT_EQ(found, 1U);
        return untouched ? "(untouched)" : std::string(name, strnlen(name, 128));
    }
    timespec modified() const {
        struct stat attributes = {};
        stat(dumps.path(FILE_NAME).c_str(), &attributes);
        return attributes.st_mtim;
    }
    ino_t inode() const {
        struct stat attributes = {};
        stat(dumps.path(FILE_NAME).c_str(), &attributes);
        return attributes.st_ino;
    }
    mode_t mode() const {
        struct stat attributes = {};
        lstat(dumps.path(FILE_NAME).c_str(), &attributes);
        return attributes.st_mode;
    }
    void expectNoLog() const {
        EXPECT_EQ(dumps.commandLogLines(), Lines{});
    }
};

// ---- store

TEST_F(VdiskCache, WithoutAFileAStoreCreatesItWithTheOneEntry) {
    store("3600a", "vol1");
    EXPECT_EQ(stored(),
              "{\n\t\"disk\":\t[{\n\t\t\t\"wwid\":\t\"3600a\",\n\t\t\t\"vdisk_name\":\t\"vol1\"\n\t\t}]\n}");
    EXPECT_EQ(mode(), S_IFREG | 0600U);
    EXPECT_EQ(dumps.names(), (Names{FILE_NAME}));
    expectNoLog();
}

TEST_F(VdiskCache, ANewWwidIsAppendedAtTheEnd) {
    store("3600c", "vol3");
    store("3600a", "vol1");
    store("3600b", "vol2");
    EXPECT_EQ(stored(), file({entry("3600c", "vol3"), entry("3600a", "vol1"), entry("3600b", "vol2")}));
    expectNoLog();
}

TEST_F(VdiskCache, TheSameNameLeavesTheFileUntouched) {
    const std::string odd_spacing = R"({"disk":[{"wwid":"3600a","vdisk_name":"vol1"}]})";
    fill(odd_spacing);
    const ino_t inode_before = inode();
    const timespec before = modified();
    store("3600a", "vol1");
    EXPECT_EQ(stored(), odd_spacing);
    EXPECT_EQ(inode(), inode_before);
    EXPECT_EQ(modified().tv_sec, before.tv_sec);
    EXPECT_EQ(modified().tv_nsec, before.tv_nsec);
    expectNoLog();
}

TEST_F(VdiskCache, ANewNameIsChangedInPlaceAndTheOthersKeepTheirOrder) {
    fill(file({entry("3600a", "vol1"), entry("3600b", "vol2"), entry("3600c", "vol3")}));
    store("3600b", "renamed");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1"), entry("3600b", "renamed"), entry("3600c", "vol3")}));
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR update_wwid_vdiskname # device (3600b), vdisk name change from (vol2) to "
                     "(renamed).\n"}));
}

TEST_F(VdiskCache, AnEntryWithoutATextualNameIsLeftAsItIs) {
    const std::string text = R"({"disk":[{"wwid":"3600a","vdisk_name":5}]})";
    fill(text);
    store("3600a", "vol1");
    EXPECT_EQ(stored(), text);
    expectNoLog();
}

TEST_F(VdiskCache, AnEmptyWwidOrNameIsLoggedAndNotStored) {
    const std::string no_wwid =
        "ERROR store_wwid_vdiskname # Failed to save wwid filed, because wwid is NULL.\n";
    const std::string no_name =
        "ERROR store_wwid_vdiskname # Failed to save vdisk name filed, because vdisk name is NULL.\n";
    store("", "vol1");
    store("3600a", "");
    store("", "");
    store_wwid_vdiskname(FILE_PATH, nullptr, nullptr);
    EXPECT_EQ(dumps.commandLogLines(), (Lines{no_wwid, no_name, no_wwid, no_name, no_wwid, no_name}));
    EXPECT_FALSE(dumps.has(FILE_NAME));
}

TEST_F(VdiskCache, AFileOfZeroBytesIsMadeAnew) {
    fill("");
    store("3600a", "vol1");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    expectNoLog();
}

TEST_F(VdiskCache, ADamagedFileIsReplacedWithoutAMessage) {
    for (const char *damaged :
         {"{", "not json", "{\"disk\": [", "\xFF\xFE", "{\"disk\": [{\"wwid\": \"3600"}) {
        fill(damaged);
        store("3600a", "vol1");
        EXPECT_EQ(stored(), file({entry("3600a", "vol1")})) << damaged;
    }
    // A file that a crash of the machine has left full of zero bytes.
    fill(std::string(4096, '\0'));
    store("3600a", "vol1");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    expectNoLog();
}

TEST_F(VdiskCache, AnElementThatIsNoObjectIsLoggedAndTheEntryAppended) {
    fill(R"({"disk":[5,{"wwid":"3600a","vdisk_name":"vol1"}]})");
    store("3600a", "vol1");
    EXPECT_EQ(stored(), file({"5", entry("3600a", "vol1"), entry("3600a", "vol1")}));
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR update_wwid_vdiskname # Invalid JSON format for json property .\n"}));
    EXPECT_EQ(lookUp("3600a"), "vol1");
}

TEST_F(VdiskCache, AnElementThatIsNoObjectBehindTheEntryDoesNotMatter) {
    fill(R"({"disk":[{"wwid":"3600a","vdisk_name":"vol1"},5]})");
    store("3600a", "vol2");
    EXPECT_EQ(stored(), file({entry("3600a", "vol2"), "5"}));
}

TEST_F(VdiskCache, ARootWithoutDiskIsRewrittenWithTheSameContent) {
    fill(R"({"other": [1, 2], "name": "x"})");
    const ino_t before = inode();
    store("3600a", "vol1");
    EXPECT_EQ(stored(), "{\n\t\"other\":\t[1, 2],\n\t\"name\":\t\"x\"\n}");
    EXPECT_NE(inode(), before);
    fill("[1, 2]");
    store("3600a", "vol1");
    EXPECT_EQ(stored(), "[1, 2]");
    expectNoLog();
}

TEST_F(VdiskCache, ADiskThatIsNoArrayIsLeftAlone) {
    for (const char *text : {R"({"disk":"x"})", R"({"disk":{"wwid":"3600a"}})", R"({"disk":null,"y":1})"}) {
        fill(text);
        store("3600a", "vol1");
        EXPECT_EQ(stored(), text);
    }
    expectNoLog();
}

TEST_F(VdiskCache, OtherMembersAreKept) {
    fill(R"({"version":3,"disk":[{"wwid":"3600a","vdisk_name":"vol1","seen":true}],"note":"n"})");
    store("3600b", "vol2");
    EXPECT_EQ(stored(), "{\n\t\"version\":\t3,\n\t\"disk\":\t[{\n\t\t\t\"wwid\":\t\"3600a\",\n\t\t\t"
                        "\"vdisk_name\":\t\"vol1\",\n\t\t\t\"seen\":\ttrue\n\t\t}, " +
                            entry("3600b", "vol2") + "],\n\t\"note\":\t\"n\"\n}");
}

TEST_F(VdiskCache, ANameThatBreaksOutOfTheFirstFilesTemplateWritesNothing) {
    store("3600a", "a\"b");
    store("3600a", "x\"}, {\"wwid\": \"3600b\", \"vdisk_name\": \"y");
    store("3600a", "a\\n");
    EXPECT_FALSE(dumps.has(FILE_NAME));
    EXPECT_EQ(make_disk_json("3600a", "a\\b", FILE_PATH), 0);
    EXPECT_FALSE(dumps.has(FILE_NAME));
    fill("damaged");
    store("3600a", "a\"b");
    EXPECT_EQ(stored(), "damaged");
    expectNoLog();
}

TEST_F(VdiskCache, InAFileThatExistsAnyNameIsStoredAndComesBack) {
    store("3600a", "vol1");
    store("3600b", "a\"b\\c\n\x01\xC3\xA9");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1"), entry("3600b", "a\\\"b\\\\c\\n\\u0001\xC3\xA9")}));
    EXPECT_EQ(lookUp("3600b"), "a\"b\\c\n\x01\xC3\xA9");
}

TEST_F(VdiskCache, AFirstFileReportsWhetherItWasWritten) {
    EXPECT_EQ(make_disk_json("3600a", "vol1", FILE_PATH), 1);
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    EXPECT_EQ(make_disk_json("3600b", "vol2", FILE_PATH), 1);
    EXPECT_EQ(stored(), file({entry("3600b", "vol2")}));
    EXPECT_EQ(make_disk_json("3600a", "vol1", "/nonexistent/file"), 0);
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR make_disk_json # Failed to write file /nonexistent/file: No such file or "
                     "directory.\n"}));
}

TEST_F(VdiskCache, TheFileKeepsItsMode) {
    store("3600a", "vol1");
    ASSERT_EQ(chmod(FILE_PATH, 0644), 0);
    store("3600b", "vol2");
    EXPECT_EQ(mode(), S_IFREG | 0644U);
    fill("damaged");
    store("3600c", "vol3");
    EXPECT_EQ(mode(), S_IFREG | 0644U);
}

TEST_F(VdiskCache, AFailedWriteIsLoggedAndTheOldFileStays) {
    store("3600a", "vol1");
    dumps.refuseChanges(ENOSPC);
    store("3600b", "vol2");
    store("3600a", "renamed");
    dumps.refuseChanges(0);
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    // The log lies in the same folder: its lines are lost as well. The write itself can fail alone.
    failWriteCall(2, ENOSPC);
    store("3600b", "vol2");
    endWriteFaults();
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR store_wwid_vdiskname # Failed to write file /dumps/storage_config.json: No space "
                     "left on device.\n"}));
    EXPECT_EQ(dumps.names(), (Names{"dravik_cli.log", FILE_NAME}));
    // What could not be written is not remembered either.
    EXPECT_EQ(lookUp("3600b"), "(none)");
    EXPECT_EQ(lookUp("3600a"), "vol1");
    store("3600b", "vol2");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1"), entry("3600b", "vol2")}));
}

TEST_F(VdiskCache, AKillAtAnyStepLeavesTheOldOrTheNewFile) {
    const std::string before = file({entry("3600a", "vol1")});
    const std::string after = file({entry("3600a", "vol1"), entry("3600b", "vol2")});
    for (int step = 1; step <= 5; step++) {
        fill(before);
        const pid_t child = fork();
        if (child == 0) {
            killAtWriteCall(step);
            store("3600b", "vol2");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << step;
        EXPECT_EQ(stored(), step < 5 ? before : after) << step;
    }
    store("3600b", "vol2");
    store("3600c", "vol3");
    EXPECT_EQ(dumps.names(), (Names{FILE_NAME}));
}

TEST_F(VdiskCache, ATargetOfASymbolicLinkIsReadButNeverWritten) {
    const std::string text = file({entry("3600a", "vol1")});
    dumps.write("elsewhere", text);
    ASSERT_EQ(symlink(dumps.path("elsewhere").c_str(), FILE_PATH), 0);
    EXPECT_EQ(lookUp("3600a"), "vol1");
    store("3600b", "vol2");
    EXPECT_EQ(dumps.read("elsewhere"), text);
    EXPECT_EQ(mode(), S_IFREG | 0600U);
    EXPECT_EQ(stored(), file({entry("3600a", "vol1"), entry("3600b", "vol2")}));
}

TEST_F(VdiskCache, WhatIsNoRegularFileIsLeftAlone) {
    ASSERT_EQ(mkfifo(dumps.path(FILE_NAME).c_str(), 0600), 0);
    store("3600a", "vol1"); // must not wait for a writer either
    EXPECT_EQ(mode(), S_IFIFO | 0600U);
    EXPECT_EQ(lookUp("3600a"), "(none)");
    std::filesystem::remove(dumps.path(FILE_NAME));
    std::filesystem::create_directory(dumps.path(FILE_NAME));
    store("3600a", "vol1");
    EXPECT_EQ(mode() & S_IFMT, static_cast<mode_t>(S_IFDIR));
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR getStoredVdiskname # Error can't open file /dumps/storage_config.json.\n"}));
}

TEST_F(VdiskCache, AFileBeyondTheLimitIsNeitherReadNorOverwritten) {
    fill(file({entry("3600a", "vol1")}));
    const auto limit = static_cast<uintmax_t>(VDISK_CACHE_LIMIT);
    // Blanks behind the JSON text are no part of it.
    std::ofstream(dumps.path(FILE_NAME), std::ios::app) << std::string(limit - stored().size(), ' ');
    EXPECT_EQ(lookUp("3600a"), "vol1");
    std::ofstream(dumps.path(FILE_NAME), std::ios::app) << " ";
    EXPECT_EQ(lookUp("3600a"), "(none)");
    store("3600a", "vol2");
    EXPECT_EQ(std::filesystem::file_size(dumps.path(FILE_NAME)), limit + 1);
    const std::string message = "File /dumps/storage_config.json is larger than 16777216 bytes, not used.\n";
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR getStoredVdiskname # " + message, "ERROR store_wwid_vdiskname # " + message}));
}

TEST_F(VdiskCache, AFileThatWouldGrowBeyondTheLimitStays) {
    // Escaped on printing, the text becomes six times as long.
    fill("{\"disk\":[], \"x\": \"" + std::string(3000000, '\x01') + "\"}");
    const std::string before = stored();
    store("3600a", "vol1");
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR store_wwid_vdiskname # Failed to write file /dumps/storage_config.json: File too "
                     "large.\n"}));
}

// ---- lookup

TEST_F(VdiskCache, ALookupCopiesTheNameOfTheFirstMatchingEntry) {
    fill(R"({"disk":[{"wwid":"3600A","vdisk_name":"no"},{"wwid":"3600a","vdisk_name":"vol1"},)"
         R"({"wwid":"3600a","vdisk_name":"later"}]})");
    EXPECT_EQ(lookUp("3600a"), "vol1");
    EXPECT_EQ(lookUp("3600"), "(none)");
    EXPECT_EQ(lookUp(""), "(none)");
    expectNoLog();
}

TEST_F(VdiskCache, ALookupPassesOverElementsThatAreNoObjectsOrHaveNoTextualWwid) {
    fill(R"({"disk":[5,"x",null,[],{"wwid":7},{},{"wwid":"3600a","vdisk_name":"vol1"}]})");
    EXPECT_EQ(lookUp("3600a"), "vol1");
    expectNoLog();
}

TEST_F(VdiskCache, AnEntryWithoutATextualNameIsFoundAndTheBufferUntouched) {
    fill(R"({"disk":[{"wwid":"3600a","vdisk_name":5},{"wwid":"3600b"},{"wwid":"3600c","vdisk_name":""}]})");
    EXPECT_EQ(lookUp("3600a"), "(untouched)");
    EXPECT_EQ(lookUp("3600b"), "(untouched)");
    EXPECT_EQ(lookUp("3600c"), "");
}

TEST_F(VdiskCache, ANameLongerThanTheFieldIsCut) {
    for (const size_t length : {127U, 128U, 5000U}) {
        fill(file({entry("3600a", std::string(length, 'n'))}));
        EXPECT_EQ(lookUp("3600a"), std::string(127, 'n'));
    }
}

TEST_F(VdiskCache, AMissingFileIsLoggedByTheLookup) {
    EXPECT_EQ(lookUp("3600a"), "(none)");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR getStoredVdiskname # Error can't open file /dumps/storage_config.json.\n"}));
}

TEST_F(VdiskCache, AFileThatDoesNotParseIsLoggedWithThePlaceOfTheError) {
    fill("");
    EXPECT_EQ(lookUp("3600a"), "(none)");
    fill("{\"disk\": oops}");
    EXPECT_EQ(lookUp("3600a"), "(none)");
    EXPECT_EQ(dumps.commandLogLines(), (Lines{"ERROR getStoredVdiskname # Error before: [].\n",
                                              "ERROR getStoredVdiskname # Error before: [oops}].\n"}));
}

TEST_F(VdiskCache, ARootOrADiskOfAnotherTypeIsLogged) {
    fill("[]");
    EXPECT_EQ(lookUp("3600a"), "(none)");
    fill("{}");
    EXPECT_EQ(lookUp("3600a"), "(none)");
    fill(R"({"Disk": 5})"); // found without regard to case
    EXPECT_EQ(lookUp("3600a"), "(none)");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR getStoredVdiskname # Invalid JSON format for /dumps/storage_config.json file.\n",
                     "ERROR getStoredVdiskname # Invalid JSON format for json property .\n",
                     "ERROR getStoredVdiskname # Invalid JSON format for json property Disk.\n"}));
}

TEST_F(VdiskCache, ADeepNestingIsRefusedNotFollowed) {
    fill("{\"disk\":" + std::string(100000, '[') + std::string(100000, ']') + "}");
    EXPECT_EQ(lookUp("3600a"), "(none)");
    store("3600a", "vol1");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
}

// ---- what is kept in memory

TEST_F(VdiskCache, AFileChangedByAnotherProcessIsReadAnew) {
    store("3600a", "vol1");
    EXPECT_EQ(lookUp("3600a"), "vol1");
    const pid_t child = fork();
    if (child == 0) {
        store("3600a", "theirs");
        store("3600b", "vol2");
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(lookUp("3600a"), "theirs");
    EXPECT_EQ(lookUp("3600b"), "vol2");
    std::filesystem::remove(dumps.path(FILE_NAME));
    EXPECT_EQ(lookUp("3600a"), "(none)");
    store("3600c", "vol3");
    EXPECT_EQ(stored(), file({entry("3600c", "vol3")}));
}

TEST_F(VdiskCache, HeldWritesAreSeenByLookupsAndWrittenOnceAtTheEnd) {
    fill(file({entry("3600a", "vol1")}));
    const ino_t before = inode();
    holdVdiskWrites();
    store("3600b", "vol2");
    store("3600a", "renamed");
    store("3600b", "vol2");
    EXPECT_EQ(lookUp("3600b"), "vol2");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    EXPECT_EQ(inode(), before);
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR update_wwid_vdiskname # device (3600a), vdisk name change from (vol1) to "
                     "(renamed).\n"}));
    releaseVdiskWrites();
    EXPECT_EQ(stored(), file({entry("3600a", "renamed"), entry("3600b", "vol2")}));
    store("3600c", "vol3"); // no longer held
    EXPECT_EQ(stored(), file({entry("3600a", "renamed"), entry("3600b", "vol2"), entry("3600c", "vol3")}));
}

TEST_F(VdiskCache, HeldWritesWithoutAChangeWriteNothing) {
    fill(file({entry("3600a", "vol1")}));
    const ino_t before = inode();
    holdVdiskWrites();
    store("3600a", "vol1");
    releaseVdiskWrites();
    releaseVdiskWrites();
    EXPECT_EQ(inode(), before);
    expectNoLog();
}

TEST_F(VdiskCache, AHeldFirstFileIsMadeAtOnce) {
    holdVdiskWrites();
    store("3600a", "vol1");
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    store("3600b", "vol2");
    releaseVdiskWrites();
    EXPECT_EQ(stored(), file({entry("3600a", "vol1"), entry("3600b", "vol2")}));
}

TEST_F(VdiskCache, HeldWritesThatFailAreLoggedAndForgotten) {
    fill(file({entry("3600a", "vol1")}));
    holdVdiskWrites();
    store("3600b", "vol2");
    failWriteCall(1, EIO);
    releaseVdiskWrites();
    endWriteFaults();
    EXPECT_EQ(stored(), file({entry("3600a", "vol1")}));
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR releaseVdiskWrites # Failed to write file /dumps/storage_config.json: "
                     "Input/output error.\n"}));
    EXPECT_EQ(lookUp("3600b"), "(none)");
}

TEST_F(VdiskCache, WritesHeldForOneFileAreNotLostToAnother) {
    fill(file({entry("3600a", "vol1")}));
    holdVdiskWrites();
    store("3600b", "vol2");
    store_wwid_vdiskname("/dumps/other.json", "3600c", "vol3");
    releaseVdiskWrites();
    EXPECT_EQ(stored(), file({entry("3600a", "vol1"), entry("3600b", "vol2")}));
    EXPECT_EQ(dumps.read("other.json"), file({entry("3600c", "vol3")}));
}

// ---- the index against the rules themselves

// A lookup as the rule says it: in order, the first object with the WWID as its text.
std::string linearLookUp(const std::string &text, const std::string &wwid) {
    cJSON *root = cJSON_Parse(text.c_str());
    const cJSON *item = nullptr;
    std::string result = "(none)";
    cJSON_ArrayForEach(item, cJSON_GetObjectItem(root, "disk")) {
        const cJSON *key = cJSON_GetObjectItem(item, "wwid");
        if (isJsonObject(item) && isJsonString(key) && wwid == key->valuestring) {
            const cJSON *name = cJSON_GetObjectItem(item, "vdisk_name");
            result = isJsonString(name) ? name->valuestring : "(untouched)";
            break;
        }
    }
    cJSON_Delete(root);
    return result;
}

// A store as the rule says it, through the tree's own linear rule.
std::string linearStore(const std::string &text, const std::string &wwid, const std::string &name) {
    cJSON *root = cJSON_Parse(text.c_str());
    cJSON *item = cJSON_CreateString(name.c_str());
    unsigned int found = 0;
    unsigned int updated = 0;
    int index = 0;
    update_wwid_vdiskname(root, wwid.c_str(), item, &found, &updated, &index);
    if (found == 0) {
        cJSON *added = cJSON_CreateObject();
        cJSON_AddStringToObject(added, "wwid", wwid.c_str());
        cJSON_AddStringToObject(added, "vdisk_name", name.c_str());
        cJSON_AddItemToArray(cJSON_GetObjectItem(root, "disk"), added);
    }
    std::string result = text;
    if (found == 0 || updated != 0) {
        char *printed = cJSON_Print(root);
        result = printed;
        cJSON_free(printed);
    }
    if (updated == 0) {
        cJSON_Delete(item);
    }
    cJSON_Delete(root);
    return result;
}

TEST_F(VdiskCache, TheIndexAnswersAsTheLinearSearchDoes) {
    std::mt19937 random = seededRandom(20240607);
    const auto pick = [&random](int below) {
        return static_cast<int>(random() % static_cast<unsigned>(below));
    };
    for (int round = 0; round < 60; round++) {
        std::string text = "{\"disk\":[";
        const int elements = pick(12);
        for (int i = 0; i < elements; i++) {
            const std::string wwid = "w" + std::to_string(pick(6));
            const char *kinds[] = {"5", "\"w1\"", "{\"wwid\":7}", "{\"vdisk_name\":\"n\"}"};
            const int kind = pick(20);
            text += i == 0 ? "" : ",";
            text += kind < 4 ? kinds[kind]
                    : kind < 6
                        ? "{\"wwid\":\"" + wwid + "\",\"vdisk_name\":null}"
                        : "{\"wwid\":\"" + wwid + "\",\"vdisk_name\":\"n" + std::to_string(pick(3)) + "\"}";
        }
        text += "]}";
        fill(text);
        std::string expected = text;
        for (int step = 0; step < 12; step++) {
            const std::string wwid = "w" + std::to_string(pick(8));
            if (pick(2) == 0) {
                ASSERT_EQ(lookUp(wwid), linearLookUp(expected, wwid)) << expected;
                continue;
            }
            const std::string name = "n" + std::to_string(pick(3));
            dumps.forgetLogs();
            const std::string next = linearStore(expected, wwid, name);
            const Lines log = dumps.commandLogLines();
            dumps.forgetLogs();
            store(wwid, name);
            ASSERT_EQ(stored(), next) << expected;
            ASSERT_EQ(dumps.commandLogLines(), log) << expected;
            expected = next;
        }
    }
}

} // namespace

// Merging a WWID and its name into the cache's tree.
#include "array/vdisk_merge.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"

namespace {

constexpr char FILE_PATH[] = "/dumps/cache.json";

class VdiskMerge : public testing::Test {
  protected:
    VdiskMerge() {
        forgetVdiskTree();
    }
    ~VdiskMerge() override {
        forgetVdiskTree();
    }

    // The tree of a file with this text, after the pair has been merged into it; whether it is to be written is in `write`.
    std::string merged(const std::string &text, const char *wwid, const char *name, bool logged = true) {
        forgetVdiskTree();
        dumps.write("cache.json", text);
        VdiskTree *tree = nullptr;
        std::string error;
        EXPECT_EQ(loadVdiskTree(FILE_PATH, false, &tree, &error), TreeState::READY);
        write = dravik::mergeIntoTree(tree, wwid, name, logged);
        char *printed = cJSON_PrintUnformatted(tree->root);
        const std::string result = printed;
        cJSON_free(printed);
        return result;
    }

    DumpsFolder dumps;
    bool write = false;
};

constexpr char ONE[] = R"({"disk":[{"wwid":"3600a","vdisk_name":"vol1"}]})";

using Lines = std::vector<std::string>;

} // namespace

TEST_F(VdiskMerge, AnUnknownWwidIsAppended) {
    EXPECT_EQ(merged(ONE, "3600b", "vol2"),
              R"({"disk":[{"wwid":"3600a","vdisk_name":"vol1"},{"wwid":"3600b","vdisk_name":"vol2"}]})");
    EXPECT_TRUE(write);
    EXPECT_EQ(dumps.commandLogLines(), Lines());
}

TEST_F(VdiskMerge, AnotherNameReplacesTheOldOneAndIsLogged) {
    EXPECT_EQ(merged(ONE, "3600a", "new"), R"({"disk":[{"wwid":"3600a","vdisk_name":"new"}]})");
    EXPECT_TRUE(write);
    EXPECT_EQ(
        dumps.commandLogLines(),
        Lines{"ERROR update_wwid_vdiskname # device (3600a), vdisk name change from (vol1) to (new).\n"});
}

TEST_F(VdiskMerge, WhereItIsNotFirstMadeAChangeIsNotLogged) {
    EXPECT_EQ(merged(ONE, "3600a", "new", false), R"({"disk":[{"wwid":"3600a","vdisk_name":"new"}]})");
    EXPECT_TRUE(write);
    EXPECT_EQ(dumps.commandLogLines(), Lines());
}

TEST_F(VdiskMerge, TheSameNameOrOneThatIsNoTextIsLeftAlone) {
    EXPECT_EQ(merged(ONE, "3600a", "vol1"), ONE);
    EXPECT_FALSE(write);
    constexpr char NUMBER[] = R"({"disk":[{"wwid":"3600a","vdisk_name":7}]})";
    EXPECT_EQ(merged(NUMBER, "3600a", "vol1"), NUMBER);
    EXPECT_FALSE(write);
}

TEST_F(VdiskMerge, WhatIsNoArrayIsLeftAloneAndARootWithoutDiskIsWrittenAsItWas) {
    EXPECT_EQ(merged(R"({"disk":{}})", "3600a", "vol1"), R"({"disk":{}})");
    EXPECT_FALSE(write);
    EXPECT_EQ(merged(R"({"other":1})", "3600a", "vol1"), R"({"other":1})");
    EXPECT_TRUE(write);
}

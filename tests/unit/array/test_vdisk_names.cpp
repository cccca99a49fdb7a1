// Names from the cache file, for those who only read it.
#include "array/vdisk_names.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"

namespace {

using dravik::VdiskNames;

constexpr char FILE_NAME[] = "storage_config.json";

TEST(VdiskNames, AreFoundByTheWwid) {
    DumpsFolder dumps;
    dumps.write(FILE_NAME,
                R"({"disk":[{"wwid":"3600a","vdisk_name":"vol1"},{"wwid":"3600b","vdisk_name":7}]})");
    const VdiskNames names;
    EXPECT_EQ(names.of("3600a"), "vol1");
    EXPECT_EQ(names.of("3600b"), "");
    EXPECT_EQ(names.of("3600c"), "");
    EXPECT_EQ(names.of(""), "");
}

TEST(VdiskNames, AreThoseOfTheFileWhenTheyWereMade) {
    DumpsFolder dumps;
    for (const std::string name : {"vol1", "vol2"}) {
        dumps.write(FILE_NAME, R"({"disk":[{"wwid":"3600a","vdisk_name":")" + name + R"("}]})");
        EXPECT_EQ(VdiskNames().of("3600a"), name);
    }
}

TEST(VdiskNames, AreNoneInAFileThatIsMissingOrDamagedAndNothingIsLogged) {
    DumpsFolder dumps;
    EXPECT_EQ(VdiskNames().of("3600a"), "");
    dumps.write(FILE_NAME, R"({"disk":[{"wwid")");
    EXPECT_EQ(VdiskNames().of("3600a"), "");
    EXPECT_EQ(dumps.commandLogLines(), std::vector<std::string>{});
}

} // namespace

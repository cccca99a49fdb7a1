// Other names of a device.
#include "stats/device_names.h"

#include <filesystem>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/stats_host.h"

namespace {

TEST(DeviceNames, ALinkIsFollowedAndTheDevFolderDropped) {
    const StatsHost host;
    const std::string link = host.path("/link");
    ASSERT_EQ(symlink("/dev/null", link.c_str()), 0);
    EXPECT_STREQ(device_name(link.c_str()), "null");
    EXPECT_STREQ(device_name("/dev/null"), "null");
    host.write("/file", "");
    std::filesystem::remove(link);
    ASSERT_EQ(symlink("file", link.c_str()), 0);
    EXPECT_EQ(device_name(link.c_str()), std::filesystem::canonical(host.path("/file")).string());
}

TEST(DeviceNames, WhatLeadsNowhereIsTheNameItself) {
    const char *name = "dm-3";
    EXPECT_EQ(device_name(name), name);
    EXPECT_STREQ(device_name("/nonexistent/dm-3"), "/nonexistent/dm-3");
    EXPECT_STREQ(device_name(""), "");
}

TEST(DeviceNames, AFileInTheWorkingFolderDoesNotHideADevice) {
    const StatsHost host;
    host.write("/working/sdb", "");
    ASSERT_EQ(symlink("/dev/null", host.path("/working/sdc").c_str()), 0);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(host.path("/working"));
    EXPECT_STREQ(device_name("sdb"), "sdb");
    EXPECT_STREQ(device_name("sdc"), "null");
    std::filesystem::current_path("/dev");
    EXPECT_STREQ(device_name("null"), "null");
    std::filesystem::current_path(before);
}

TEST(DeviceNames, TheNamingTablesFindNoName) {
    EXPECT_EQ(device_table_name(8, 16), nullptr);
    EXPECT_EQ(device_mapper_name(253, 3), nullptr);
    EXPECT_EQ(get_pretty_name_from_persistent("sdb"), nullptr);
}

} // namespace

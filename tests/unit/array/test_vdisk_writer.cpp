// The process that writes names beside the one that asks.
#include "array/vdisk_writer.h"

#include <csignal>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "array/vdisk_cache.h"
#include "tests/support/children.h"
#include "tests/support/dumps_redirect.h"

namespace {

constexpr char FILE_NAME[] = "storage_config.json";
constexpr char WWID[] = "3600b5d60001a2b3c0000000000000001";
constexpr char OTHER_WWID[] = "3600b5d60001a2b3c0000000000000002";

std::string storedName(const char *wwid) {
    char name[128] = "";
    unsigned int found = 0;
    getStoredVdiskname(VDISK_CACHE_FILE, wwid, name, &found);
    return found != 0 ? name : "";
}

// This process's only child.
pid_t onlyChild() {
    std::ifstream children("/proc/" + std::to_string(getpid()) + "/task/" + std::to_string(getpid()) +
                           "/children");
    pid_t child = 0;
    children >> child;
    return child;
}

void killWriter() {
    const pid_t writer = onlyChild();
    ASSERT_GT(writer, 0);
    kill(writer, SIGKILL);
    siginfo_t end = {};
    waitid(P_PID, static_cast<id_t>(writer), &end, WEXITED | WNOWAIT);
}

std::string entry(const std::string &wwid, const std::string &name) {
    return "{\n\t\t\t\"wwid\":\t\"" + wwid + "\",\n\t\t\t\"vdisk_name\":\t\"" + name + "\"\n\t\t}";
}

std::string file(const std::string &entries) {
    return "{\n\t\"disk\":\t[" + entries + "]\n}";
}

class VdiskWriter : public testing::Test {
  protected:
    ~VdiskWriter() override {
        dravik::endVdiskWriter();
    }
    // The file once it is there, at most two seconds from now.
    std::string awaited() const {
        for (int i = 0; i < 200 && !dumps.has(FILE_NAME); ++i) {
            usleep(10000);
        }
        return dumps.read(FILE_NAME);
    }
    DumpsFolder dumps;
};

} // namespace

TEST_F(VdiskWriter, WhatIsHandedOverStandsInTheFileWhenItHasEnded) {
    ASSERT_TRUE(dravik::startVdiskWriter(VDISK_CACHE_FILE));
    EXPECT_TRUE(dravik::handToVdiskWriter("3600a", "vol1"));
    EXPECT_TRUE(dravik::handToVdiskWriter("3600b", "vol2"));
    EXPECT_TRUE(dravik::handToVdiskWriter("3600a", "renamed"));
    dravik::endVdiskWriter();
    EXPECT_EQ(dumps.read(FILE_NAME), file(entry("3600a", "renamed") + ", " + entry("3600b", "vol2")));
}

TEST_F(VdiskWriter, ANameIsWrittenWithinASecondWhileTheOthersAreStillAsked) {
    ASSERT_TRUE(dravik::startVdiskWriter(VDISK_CACHE_FILE));
    EXPECT_TRUE(dravik::handToVdiskWriter("3600a", "vol1"));
    EXPECT_EQ(awaited(), file(entry("3600a", "vol1")));
}

TEST_F(VdiskWriter, ItMergesIntoTheFileAsItIsThen) {
    ASSERT_TRUE(dravik::startVdiskWriter(VDISK_CACHE_FILE));
    EXPECT_TRUE(dravik::handToVdiskWriter("3600a", "vol1"));
    dumps.write(FILE_NAME, file(entry("3600c", "vol3")));
    dravik::endVdiskWriter();
    EXPECT_EQ(dumps.read(FILE_NAME), file(entry("3600c", "vol3") + ", " + entry("3600a", "vol1")));
}

TEST_F(VdiskWriter, AKillOfTheProcessThatAsksLosesNoNameThatItHandedOver) {
    const pid_t asker = fork();
    if (asker == 0) {
        if (!dravik::startVdiskWriter(VDISK_CACHE_FILE) || !dravik::handToVdiskWriter("3600a", "vol1")) {
            _exit(1);
        }
        raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(asker, &status, 0), asker);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(awaited(), file(entry("3600a", "vol1")));
}

TEST_F(VdiskWriter, WithoutOneNothingIsHandedOver) {
    EXPECT_FALSE(dravik::handToVdiskWriter("3600a", "vol1"));
    dravik::endVdiskWriter();
    EXPECT_EQ(dumps.names(), std::vector<std::string>());
}

TEST_F(VdiskWriter, OneWriterServesOneFile) {
    ASSERT_TRUE(dravik::startVdiskWriter(VDISK_CACHE_FILE));
    EXPECT_TRUE(dravik::startVdiskWriter(VDISK_CACHE_FILE));
    EXPECT_FALSE(dravik::startVdiskWriter("/dumps/other.json"));
}

TEST_F(VdiskWriter, OneThatHasBeenKilledEndsNobodyElseAndANewOneCanBeStarted) {
    const int outcome = inChild([] {
        signal(SIGPIPE, SIG_DFL);
        if (!dravik::startVdiskWriter(VDISK_CACHE_FILE)) {
            return 1;
        }
        killWriter();
        if (dravik::handToVdiskWriter(WWID, "vol1")) {
            return 2;
        }
        const bool goes_on =
            dravik::startVdiskWriter(VDISK_CACHE_FILE) && dravik::handToVdiskWriter(OTHER_WWID, "vol2");
        dravik::endVdiskWriter();
        return goes_on ? 0 : 3;
    });
    EXPECT_EQ(outcome, 0);
    EXPECT_EQ(storedName(OTHER_WWID), "vol2");
}

TEST_F(VdiskWriter, ANameThatItDidNotTakeIsStoredAtOnce) {
    store_wwid_vdiskname(VDISK_CACHE_FILE, OTHER_WWID, "vol2");
    holdVdiskWrites();
    store_wwid_vdiskname(VDISK_CACHE_FILE, OTHER_WWID, "vol3"); // starts it
    killWriter();
    store_wwid_vdiskname(VDISK_CACHE_FILE, WWID, "vol1");
    releaseVdiskWrites();
    EXPECT_EQ(storedName(WWID), "vol1");
}

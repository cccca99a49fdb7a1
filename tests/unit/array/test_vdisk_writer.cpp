// The writing process: what it stores, and what becomes of names when it dies.
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

using dravik::endVdiskWriter;
using dravik::handToVdiskWriter;
using dravik::startVdiskWriter;

namespace {

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

class VdiskWriter : public testing::Test {
  protected:
    ~VdiskWriter() override {
        endVdiskWriter();
    }
    DumpsFolder dumps;
};

TEST_F(VdiskWriter, NamesHandedToItAreInTheFileWhenItHasEnded) {
    ASSERT_TRUE(startVdiskWriter(VDISK_CACHE_FILE));
    EXPECT_TRUE(handToVdiskWriter(WWID, "vol1"));
    EXPECT_TRUE(handToVdiskWriter(OTHER_WWID, "vol2"));
    endVdiskWriter();
    EXPECT_EQ(storedName(WWID), "vol1");
    EXPECT_EQ(storedName(OTHER_WWID), "vol2");
}

TEST_F(VdiskWriter, WithoutOneNoNameCanBeHanded) {
    EXPECT_FALSE(handToVdiskWriter(WWID, "vol1"));
}

TEST_F(VdiskWriter, OneThatHasBeenKilledEndsNobodyElseAndANewOneCanBeStarted) {
    const int outcome = inChild([] {
        signal(SIGPIPE, SIG_DFL);
        if (!startVdiskWriter(VDISK_CACHE_FILE)) {
            return 1;
        }
        killWriter();
        if (handToVdiskWriter(WWID, "vol1")) {
            return 2;
        }
        const bool goes_on = startVdiskWriter(VDISK_CACHE_FILE) && handToVdiskWriter(OTHER_WWID, "vol2");
        endVdiskWriter();
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

} // namespace

// The name of a listed volume: from the array, from the cache, or not known.
#include "commands/vdisk_question.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_host.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char WWID[] = "3600b5d60001a2b3c0000000000000001";

std::string cacheWith(const std::string &name) {
    return std::string(R"({"disk": [{"wwid": ")") + WWID + R"(", "vdisk_name": ")" + name + R"("}]})";
}

template <size_t N> void set(char (&field)[N], const std::string &text) {
    snprintf(field, N, "%s", text.c_str());
}

struct FreeDravik {
    void operator()(s_dravik *device) const {
        freeDravik(device);
    }
};

class VdiskQuestion : public testing::Test {
  protected:
    // A device with one path in this state. No host has a map of number 987654: no array answers.
    VdiskQuestion() : device(mallocDravik()) {
        set(device->wwid, WWID);
        set(device->device_number, "987654");
    }
    void path(const std::string &dm_state, const std::string &checker_state) {
        device->pdev = mallocPathDev();
        s_path_dev *path = getOrMallocNextPathDev(device->pdev);
        device->pdev->end = false;
        set(path->group_status, "active");
        set(path->path_status, dm_state);
        set(path->checker_state, checker_state);
        dumps.forgetLogs();
    }
    // The name, or "-" where it is not known.
    std::string found() {
        return dravik::findVdiskNameOf(device.get()) ? device->vdisk_name : "-";
    }
    // The lines of this module.
    Lines ownLines() const {
        Lines lines;
        for (const std::string &line : dumps.commandLogLines()) {
            if (line.find("_printOneDravik") != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    DumpsFolder dumps;
    std::unique_ptr<s_dravik, FreeDravik> device;
};

} // namespace

TEST_F(VdiskQuestion, WhereTheArrayDoesNotAnswerTheCacheDoes) {
    dumps.write("storage_config.json", cacheWith("vol_one"));
    path("active", "ready");
    EXPECT_EQ(found(), "vol_one");
    EXPECT_EQ(ownLines(), Lines{});
}

TEST_F(VdiskQuestion, ANumberThatIsNoneOpensNothingAndTheCacheAnswers) {
    dumps.write("storage_config.json", cacheWith("vol_one"));
    path("active", "ready");
    set(device->device_number, "3/../4");
    EXPECT_EQ(found(), "vol_one");
    EXPECT_EQ(dumps.commandLogLines(), Lines{});
}

TEST_F(VdiskQuestion, AWorkingVolumeWithoutANameIsLogged) {
    path("active", "ready");
    EXPECT_EQ(found(), "-");
    EXPECT_EQ(ownLines(),
              Lines{"ERROR _printOneDravik # This device (3600b5d60001a2b3c0000000000000001), the vdisk "
                    "name we obtained is NULL.\n"});
}

TEST_F(VdiskQuestion, AFailedVolumeIsAskedFromTheCacheAlone) {
    dumps.write("storage_config.json", cacheWith("vol_one"));
    path("failed", "faulty");
    EXPECT_EQ(found(), "vol_one");
    EXPECT_EQ(ownLines(), Lines{});
}

TEST_F(VdiskQuestion, AFailedVolumeThatTheCacheDoesNotKnowOrHasNoNameOfIsLogged) {
    path("failed", "faulty");
    EXPECT_EQ(found(), "-");
    EXPECT_EQ(ownLines(),
              Lines{"ERROR _printOneDravik # This device (3600b5d60001a2b3c0000000000000001) is a failed "
                    "device, we can not get the vdisk name.\n"});
    dumps.forgetLogs();
    dumps.write("storage_config.json", cacheWith(""));
    EXPECT_EQ(found(), "-");
    EXPECT_EQ(ownLines(),
              Lines{"ERROR _printOneDravik # This device (3600b5d60001a2b3c0000000000000001) is a failed "
                    "device, we get the vdisk name from file is NULL.\n"});
}

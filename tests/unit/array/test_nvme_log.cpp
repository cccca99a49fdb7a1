// The name over NVMe: commands as they leave the program, answers good, hostile and failing.
#include "array/nvme_log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/array_device.h"
#include "tests/support/dumps_redirect.h"

namespace {

using Lines = std::vector<std::string>;

class NvmeLog : public testing::Test {
  protected:
    NvmeLog() : fd(open(device.path().c_str(), O_RDWR)) {
        memset(name, '#', sizeof(name));
    }
    ~NvmeLog() override {
        close(fd);
    }

    // Reads the name through the node; the test's own descriptor stays the only one.
    int readName() {
        const int result = get_nvme_vdisk_name(device.path().c_str(), name);
        EXPECT_EQ(device.openDescriptors(), 1);
        EXPECT_EQ(std::string(name + 128, 64), std::string(64, '#'));
        return result;
    }
    std::string text() const {
        return {name, strnlen(name, 128)};
    }
    bool untouched() const {
        return std::string(name, 128) == std::string(128, '#');
    }

    DumpsFolder dumps;
    ArrayDevice device;
    int fd;
    char name[128 + 64];
};

// Whether the commands are the same in all their 72 bytes.
void expectCommand(const nvme_admin_cmd &sent, const nvme_admin_cmd &expected) {
    ASSERT_EQ(sizeof(nvme_admin_cmd), 72U);
    EXPECT_EQ(memcmp(&sent, &expected, sizeof(sent)), 0);
    EXPECT_EQ(sent.opcode, expected.opcode);
    EXPECT_EQ(sent.nsid, expected.nsid);
    EXPECT_EQ(sent.cdw10, expected.cdw10);
    EXPECT_EQ(sent.cdw11, expected.cdw11);
    EXPECT_EQ(sent.data_len, expected.data_len);
}

TEST_F(NvmeLog, GetLogPageHoldsExactlyTheDescribedValues) {
    char buffer[64];
    device.answerLog("vol1");
    ASSERT_EQ(nvme_get_log_c0(fd, 7, 0xC0, 64, buffer), 0);
    ASSERT_EQ(device.admin_commands.size(), 1U);
    nvme_admin_cmd expected = {};
    expected.opcode = 0x02;
    expected.nsid = 7;
    expected.addr = reinterpret_cast<uintptr_t>(buffer);
    expected.data_len = 64;
    expected.cdw10 = 0x000F00C0;
    expectCommand(device.admin_commands[0], expected);
    EXPECT_STREQ(buffer, "vol1");
}

TEST_F(NvmeLog, TheNumberOfDwordsIsSplitOverTwoCommandWords) {
    std::vector<char> buffer(0x50000);
    device.answerLog("");
    ASSERT_EQ(nvme_get_log_c0(fd, 1, 0x02, 0x50000, buffer.data()), 0);
    EXPECT_EQ(device.admin_commands[0].cdw10, 0x3FFF0002U); // 0x50000 / 4 - 1 = 0x13FFF
    EXPECT_EQ(device.admin_commands[0].cdw11, 0x1U);
    EXPECT_EQ(device.admin_commands[0].data_len, 0x50000U);
}

TEST_F(NvmeLog, IdentifyHoldsExactlyTheDescribedValues) {
    std::vector<char> buffer(NVME_IDENTIFY_SIZE);
    device.answerLog("identified");
    ASSERT_EQ(nvme_identify(fd, 3, 0x01, buffer.data()), 0);
    nvme_admin_cmd expected = {};
    expected.opcode = 0x06;
    expected.nsid = 3;
    expected.addr = reinterpret_cast<uintptr_t>(buffer.data());
    expected.data_len = 4096;
    expected.cdw10 = 0x01;
    expectCommand(device.admin_commands[0], expected);
    EXPECT_STREQ(buffer.data(), "identified");
}

TEST_F(NvmeLog, ThePassThroughHandsTheResultOn) {
    nvme_admin_cmd cmd = {};
    device.on_admin = [](nvme_admin_cmd *) { return 0x4002; };
    EXPECT_EQ(nvme_submit_admin_passthru(fd, &cmd), 0x4002);
    device.on_admin = nullptr;
    EXPECT_EQ(nvme_submit_admin_passthru(fd, &cmd), -1);
    char buffer[64];
    EXPECT_EQ(nvme_get_log_c0(fd, 1, 0xC0, 64, buffer), -1);
    EXPECT_EQ(nvme_identify(fd, 1, 1, buffer), -1);
}

TEST_F(NvmeLog, TheNamespaceIsAskedOfBlockDevicesOnly) {
    device.nsid = 42;
    EXPECT_EQ(nvme_get_nsid(fd), 42);
    EXPECT_EQ(device.nsid_requests, 1);
    device.block_device = false;
    EXPECT_EQ(nvme_get_nsid(fd), -15);
    device.fstat_fails = true;
    EXPECT_EQ(nvme_get_nsid(fd), -1);
    EXPECT_EQ(device.nsid_requests, 1);
}

TEST_F(NvmeLog, TheNameIsTheTextAtTheStartOfTheLogPage) {
    device.answerLog("vol-nvme-1");
    device.nsid = 5;
    EXPECT_EQ(readName(), 0);
    EXPECT_EQ(text(), "vol-nvme-1");
    ASSERT_EQ(device.admin_commands.size(), 1U);
    EXPECT_EQ(device.admin_commands[0].nsid, 5U);
    EXPECT_EQ(device.admin_commands[0].cdw10, 0x000F00C0U);
    EXPECT_EQ(device.admin_commands[0].data_len, 64U);
    EXPECT_FALSE(dumps.has("dravik_cli.log"));
}

TEST_F(NvmeLog, SixtyFourBytesWithoutANulYieldSixtyThreeCharacters) {
    device.answerLog(std::string(64, 'n'));
    EXPECT_EQ(readName(), 0);
    EXPECT_EQ(text(), std::string(63, 'n'));
}

TEST_F(NvmeLog, AnEmptyLogPageFailsAndIsLogged) {
    device.answerLog("");
    EXPECT_EQ(readName(), -1);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_vdisk_info # Get Disk C0 Page failed, vdisk name is NULL.\n",
                     "ERROR get_nvme_vdisk_name # Get C0 page of nvme device failed.\n"}));
}

TEST_F(NvmeLog, AFailedRequestIsLoggedWhetherTheDriverOrTheControllerRefused) {
    const Lines expected = {"ERROR get_vdisk_info # Get NVMe C0 Page failed.\n",
                            "ERROR get_nvme_vdisk_name # Get C0 page of nvme device failed.\n"};
    EXPECT_EQ(readName(), -1);
    EXPECT_TRUE(untouched());
    EXPECT_EQ(dumps.commandLogLines(), expected);
    dumps.forgetLogs();
    device.on_admin = [](nvme_admin_cmd *cmd) {
        memcpy(dataOf(cmd), "vol1", 5);
        return 0x4002; // an NVMe status
    };
    EXPECT_EQ(readName(), -1);
    EXPECT_TRUE(untouched());
    EXPECT_EQ(dumps.commandLogLines(), expected);
}

TEST_F(NvmeLog, ANamespaceOfZeroIsAFailure) {
    device.nsid = 0;
    EXPECT_EQ(readName(), -1);
    EXPECT_TRUE(untouched());
    EXPECT_TRUE(device.admin_commands.empty());
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_nvme_vdisk_name # Can not get namespace id, fd = 0.\n"}));
}

TEST_F(NvmeLog, ANegativeNamespaceIsStillSentToTheArray) {
    device.block_device = false;
    device.answerLog("vol1");
    EXPECT_EQ(readName(), 0);
    EXPECT_EQ(text(), "vol1");
    ASSERT_EQ(device.admin_commands.size(), 1U);
    EXPECT_EQ(device.admin_commands[0].nsid, static_cast<unsigned int>(-15));
    EXPECT_EQ(device.nsid_requests, 0);
}

TEST_F(NvmeLog, ANodeThatDoesNotOpenIsLoggedWithItsDescriptor) {
    EXPECT_EQ(get_nvme_vdisk_name("/nonexistent/node", name), -1);
    EXPECT_TRUE(untouched());
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR get_nvme_vdisk_name # Open nvme device failed, fd = -1.\n"}));
}

TEST_F(NvmeLog, ANodeThatOpensForReadingOnlyIsRead) {
    device.answerLog("vol1");
    EXPECT_EQ(get_nvme_vdisk_name(device.readOnlyPath().c_str(), name), 0);
    EXPECT_EQ(text(), "vol1");
    EXPECT_EQ(device.openDescriptors(), 1);
}

} // namespace

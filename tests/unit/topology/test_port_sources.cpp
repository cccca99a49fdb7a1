// When the texts of a path are read from the files, and when the commands are asked. What both answer is compared over
// random files in a root of its own (tests/host/lookups.bats).
#include "topology/port_sources.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_tools.h"
#include "tests/support/system_calls.h"

using dravik::askAddress;
using dravik::askLinks;
using dravik::askTransport;

namespace {

using Lines = std::vector<std::string>;
using Ask = s_ecItems *(*)(const char *device, char *out, unsigned int size);

// A device that no machine has.
constexpr char NOWHERE[] = "nvme4711n4712";

class PortSources : public testing::Test {
  protected:
    PortSources() {
        tools.prints("ls",
                     "total 0\nlrwxrwxrwx 1 root root 9 Nov 21 09:34 pci-0-fc-0x1-lun-1 -> ../../sd.b\n");
        tools.prints("cat", "fc,x\n");
        tools.lends("grep");
        tools.lends("awk");
    }
    ~PortSources() override {
        dravik::ask_commands_only = false;
    }

    std::string text(Ask ask, const std::string &device) {
        char out[64] = "";
        record = ask(device.c_str(), out, sizeof(out));
        return out;
    }

    DumpsFolder dumps;
    FakeTools tools;
    const s_ecItems *record = nullptr;
};

} // namespace

TEST_F(PortSources, TheCommandsAreRunWhileDebugLinesAreLogged) {
    const DebugLog debug;
    EXPECT_EQ(text(askTransport, NOWHERE), "fc,x\n");
    EXPECT_EQ(text(askAddress, NOWHERE), "fc\n");
    EXPECT_EQ(text(askLinks, "sd.b"), "pci-0-fc-0x1-lun-1\n");
    EXPECT_EQ(commandLines(dumps.commandLogMessages()),
              (Lines{"0: cat /sys/block/nvme4711n4712/device/transport 2>&1",
                     "0: cat /sys/block/nvme4711n4712/device/address | awk -F \",\" '{print $1}' 2>&1",
                     "0: ls -l /dev/disk/by-path/ | grep 'sd.b$' | awk -F\" \" '{print $9}' 2>&1"}));
    EXPECT_EQ(record, &EC_info_ok);
}

TEST_F(PortSources, TheCommandsAreRunWhereTheyAloneAreToBeAsked) {
    dravik::ask_commands_only = true;
    EXPECT_EQ(text(askTransport, NOWHERE), "fc,x\n");
    EXPECT_EQ(text(askAddress, NOWHERE), "fc\n");
    EXPECT_EQ(tools.calls(), (Lines{"cat [/sys/block/nvme4711n4712/device/transport]",
                                    "cat [/sys/block/nvme4711n4712/device/address]"}));
}

TEST_F(PortSources, TheCommandsAreRunForANameThatIsMoreThanLettersAndDigitsToThem) {
    for (const std::string name : {"nvme.1", "nvme!1", "nvme:1", "nvme,1",
                                   "nvme00000000000000000000000000000000000"
                                   "0000000000000000000000000000000000000"}) {
        EXPECT_EQ(text(askTransport, name), "fc,x\n") << name;
        EXPECT_EQ(text(askAddress, name), "fc\n") << name;
    }
    EXPECT_EQ(text(askLinks, "sd.b"), "pci-0-fc-0x1-lun-1\n");
}

TEST_F(PortSources, AMissingAttributeStartsNoChildAndLogsWhatTheCommandLogs) {
    tools.lends("cat");
    dravik::ask_commands_only = true;
    text(askTransport, NOWHERE);
    EXPECT_EQ(record, &EC_exe_cmd_failed);
    EXPECT_EQ(text(askAddress, NOWHERE), "");
    const Lines logged = dumps.commandLogLines();
    EXPECT_EQ(
        logged,
        (Lines{
            "ERROR exe_cmd # Execute command [cat /sys/block/nvme4711n4712/device/transport 2>&1] failed, "
            "exit code [1]\n",
            "ERROR exe_cmd # Error message: cat: /sys/block/nvme4711n4712/device/transport: No such file or "
            "directory\n\n",
            "ERROR exeLiunxInfoCmd # Command [cat /sys/block/nvme4711n4712/device/transport] failed, "
            "exitcode:[1]\n"}));

    dumps.forgetLogs();
    dravik::ask_commands_only = false;
    const FailingCall no_child("posix_spawn", EPERM);
    EXPECT_EQ(text(askTransport, NOWHERE), "");
    EXPECT_EQ(record, &EC_exe_cmd_failed);
    EXPECT_EQ(text(askAddress, NOWHERE), "");
    EXPECT_EQ(record, &EC_info_ok);
    EXPECT_EQ(dumps.commandLogLines(), logged);
    EXPECT_EQ(no_child.count(), 0U);
}

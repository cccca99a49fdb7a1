// Which port of the array a path reaches, read from what the look-up commands print; and which commands run.
#include "topology/target_port.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_tools.h"
#include "tests/support/listing_reference.h"
#include "tests/support/rules.h"

namespace {

using Lines = std::vector<std::string>;

const std::string TRANSPORT = "cat /sys/block/nvme0n1/device/transport 2>&1";
const std::string ADDRESS = "cat /sys/block/nvme0n1/device/address | awk -F \",\" '{print $1}' 2>&1";
const std::string BY_PATH = "ls -l /dev/disk/by-path/ | grep 'sdb$' | awk -F\" \" '{print $9}' 2>&1";

// A listing of /dev/disk/by-path with these links, each given as "NAME DEVICE".
std::string byPath(const Lines &links) {
    std::string text = "total 0\n";
    for (const std::string &link : links) {
        const size_t blank = link.find(' ');
        text += "lrwxrwxrwx 1 root root 9 Nov 21 09:34 " + link.substr(0, blank) + " -> ../../" +
                link.substr(blank + 1) + "\n";
    }
    return text;
}

class TargetPort : public testing::Test {
  protected:
    TargetPort() {
        tools.lends("grep");
        tools.lends("awk");
    }

    // Looks `name` up in a record whose other fields hold marks that must still be there afterwards.
    void resolve(const std::string &name) {
        s_path_dev path;
        memset(&path, 'm', sizeof(path));
        memset(path.host_interface, 0, sizeof(path.host_interface));
        memset(path.target_port, 0, sizeof(path.target_port));
        s_path_dev before = path;
        dumps.forgetLogs();
        result = getTargetPort(name.c_str(), path.host_interface, path.target_port);
        interface = fieldText(path.host_interface);
        port = fieldText(path.target_port);
        memset(path.host_interface, 0, sizeof(path.host_interface));
        memset(path.target_port, 0, sizeof(path.target_port));
        EXPECT_EQ(memcmp(&path, &before, sizeof(path)), 0);
        commands = commandLines(dumps.commandLogMessages());
    }

    void expect(const std::string &host_interface, const std::string &target_port,
                const Lines &command_lines) const {
        EXPECT_EQ(interface, host_interface);
        EXPECT_EQ(port, target_port);
        EXPECT_EQ(commands, command_lines);
    }

    // `cat` of an NVMe device's two files; one that is empty here does not exist.
    void nvme(const std::string &transport, const std::string &address) const {
        std::string body = "case $1 in\n";
        const auto serve = [&](const std::string &attribute, const std::string &text) {
            std::string quoted;
            for (const char c : text) {
                quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
            }
            body += "*/device/" + attribute + ") " +
                    (text.empty() ? "exit 1" : "printf '%s' '" + quoted + "'") + ";;\n";
        };
        serve("transport", transport);
        serve("address", address);
        tools.runs("cat", body + "esac");
    }
    void expectNvme(const std::string &transport, const std::string &address,
                    const std::string &host_interface, const std::string &target_port) {
        SCOPED_TRACE(transport + " " + address);
        nvme(transport, address);
        resolve("nvme0n1");
        expect(host_interface, target_port, {"0: " + TRANSPORT, "0: " + ADDRESS});
        EXPECT_EQ(result, &EC_info_ok);
    }
    void expectScsi(const Lines &links, const std::string &host_interface, const std::string &target_port) {
        tools.prints("ls", byPath(links));
        resolve("sdb");
        SCOPED_TRACE(byPath(links));
        expect(host_interface, target_port, {"0: " + BY_PATH});
        EXPECT_EQ(result, &EC_info_ok);
    }
    // What the whole pipeline prints, any bytes.
    void expectOutput(const std::string &output, const std::string &host_interface,
                      const std::string &target_port) {
        tools.prints("ls", "");
        tools.prints("awk", output);
        resolve("sdb");
        SCOPED_TRACE(output);
        expect(host_interface, target_port, {"0: " + BY_PATH});
    }

    DumpsFolder dumps;
    FakeTools tools;
    DebugLog debug;
    const s_ecItems *result = nullptr;
    std::string interface;
    std::string port;
    Lines commands;
};

} // namespace

// ---- which names are looked up

TEST_F(TargetPort, ANameThatIsNeitherNvmeNorSdRunsNoCommand) {
    for (const std::string name : {"dm-3", "", "xab", "SDB", "NVME0n1", "s-d", "vda", "nvm"}) {
        SCOPED_TRACE(name);
        resolve(name);
        expect("", "", {});
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(dumps.commandLog(), "");
    }
    EXPECT_EQ(tools.calls(), Lines());
}

TEST_F(TargetPort, ANameThatIsNoPlainWordIsNeverHandedToAShell) {
    for (const std::string name :
         {"sd;reboot", "sd$(reboot)", "sd`reboot`", "sd b",   "-sdb",      "--nvme", "sd'b",
          "sd\"b",     "sd|b",        "sd&",        "sd>x",   "nvme0n1\n", "sd*",    "sd?",
          "sd[b]",     "sd{a,b}",     "sd\\",       "sd\x80", "nvme~",     "sd#",    "sd%",
          "sd=",       "sd@",         "sd+",        "sd(b)",  "sd^",       "sd\t",   "nvme0n1$PATH"}) {
        SCOPED_TRACE(name);
        resolve(name);
        expect("", "", {});
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(dumps.commandLog(), "");
    }
    EXPECT_EQ(tools.calls(), Lines());
}

TEST_F(TargetPort, AllCharactersOfAPlainWordReachTheCommand) {
    tools.prints("ls", "");
    resolve("xAz09sd._:!,/-");
    // The command runner's own filter has no "!"; the log shows the text before it.
    expect("", "", {"0: ls -l /dev/disk/by-path/ | grep 'xAz09sd._:!,/-$' | awk -F\" \" '{print $9}' 2>&1"});
}

TEST_F(TargetPort, ANameThatHoldsBothWordsIsAnNvmePath) {
    nvme("tcp\n", "");
    resolve("sdnvme0");
    expect("", "", {"0: cat /sys/block/sdnvme0/device/transport 2>&1"});
}

// ---- NVMe

TEST_F(TargetPort, AnNvmePathOverFibreChannelGivesThePortNameOfItsAddress) {
    expectNvme("fc\n", "traddr=nn-0x20000090fa:pn-0x21000090fa,host_traddr=nn-0x1:pn-0x2\n", "fc-nvme",
               "0x21000090fa");
    EXPECT_EQ(tools.calls(), (Lines{"cat [/sys/block/nvme0n1/device/transport]",
                                    "cat [/sys/block/nvme0n1/device/address]"}));
}

namespace {

// The two files of an NVMe device, and what they give.
struct NvmeCase {
    std::string transport;
    std::string address;
    std::string host_interface;
    std::string target_port;
};

const Rule<NvmeCase> NVME_RULES[] = {
    {"AnNvmePathOverFibreChannelWithoutAUsableAddressKeepsItsHostInterface",
     {
         {"fc\n", "nn-0x20000090fa:pn-0x21000090fa\n", "fc-nvme", ""},      // no traddr=
         {"fc\n", "traddr=nn-0x20000090fa:pn\n", "fc-nvme", ""},            // two pieces
         {"fc\n", "traddr=nn-0x20000090fa:pn-21000090fa\n", "fc-nvme", ""}, // no 0x
         {"fc\n", ",traddr=nn-0x1:pn-0x2\n", "fc-nvme", ""}                 // not in the first field
     }},
    {"AnNvmePortNameIsTheThirdPieceOfTheFirstLineWhereverTraddrStands",
     {{"fc\n", "traddr=nn--0x1:pn---0x2-more-0x3\n", "fc-nvme", "0x2"},
      {"fc\n", "a-b-x0xy\ntraddr=nn-0x1:pn-0x2\n", "fc-nvme", "x0xy"},
      {"fc\n", "a-b\ntraddr=nn-0x1:pn-0x2\n", "fc-nvme", ""}}},
    {"AnNvmePathOverRdmaGivesItsAddressWithTheFixedPort",
     {{"rdma\n", "traddr=192.168.1.10,trsvcid=4421\n", "rdma-nvme", "192.168.1.10:4420"},
      {"rdma\n", "traddr=192.168.1.10\n", "rdma-nvme", "192.168.1.10:4420"}}},
    {"AnNvmePathOverRdmaWithoutAUsableAddressKeepsItsHostInterface",
     {
         {"rdma\n", "trsvcid=4420,traddr=192.168.1.10\n", "rdma-nvme", ""},
         {"rdma\n", "traddr=fe80::1\n", "rdma-nvme", ""}, // no dot
         {"rdma\n", "traddr=\n", "rdma-nvme", ""},
         {"rdma\n", "x=1.2\ntraddr=3.4\n", "rdma-nvme",
          "1.2:4420"},                                            // the first line, wherever traddr= stands
         {"rdma\n", "traddr==1.2=3.4\n", "rdma-nvme", "1.2:4420"} // runs of the separator count as one
     }},
    {"FibreChannelIsLookedForBeforeRdmaAnywhereInTheTransport",
     {{"rdma fc\n", "traddr=nn-0x1:pn-0x2\n", "fc-nvme", "0x2"},
      {"xrdmax\n", "traddr=1.2.3.4\n", "rdma-nvme", "1.2.3.4:4420"}}},
};

class TargetPortNvme : public TargetPort, public testing::WithParamInterface<Rule<NvmeCase>> {};

} // namespace

TEST_P(TargetPortNvme, IsReadFromTransportAndAddress) {
    for (const NvmeCase &row : GetParam().cases) {
        expectNvme(row.transport, row.address, row.host_interface, row.target_port);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, TargetPortNvme, testing::ValuesIn(NVME_RULES), nameOfRule);

TEST_F(TargetPort, AnNvmePathOverAnotherTransportGivesNeitherValueAndRunsOneCommand) {
    for (const std::string transport : {"tcp\n", "pcie\n", "\n", "loop"}) {
        SCOPED_TRACE(transport);
        nvme(transport, "traddr=nn-0x1:pn-0x2\n");
        resolve("nvme0n1");
        expect("", "", {"0: " + TRANSPORT});
        EXPECT_EQ(result, &EC_info_ok);
    }
}

TEST_F(TargetPort, AnNvmePathWhoseTransportCannotBeReadStopsThere) {
    nvme("", "traddr=nn-0x1:pn-0x2\n");
    resolve("nvme0n1");
    expect("", "", {"1: " + TRANSPORT});
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    // What a failing command printed is not looked at.
    tools.prints("cat", "fc\n", 1);
    resolve("nvme0n1");
    expect("", "", {"1: " + TRANSPORT});
    EXPECT_EQ(result, &EC_exe_cmd_failed);
}

TEST_F(TargetPort, AnNvmePathWhoseAddressCommandFailsKeepsItsHostInterface) {
    for (const std::string transport : {"fc", "rdma"}) {
        nvme(transport, "unused");
        tools.prints("awk", "traddr=nn-0x1.2:pn-0x2\n", 1);
        resolve("nvme0n1");
        expect(transport + "-nvme", "", {"0: " + TRANSPORT, "1: " + ADDRESS});
        EXPECT_EQ(result, &EC_exe_cmd_failed);
    }
}

TEST_F(TargetPort, AnNvmePathWhoseAddressIsEmptyKeepsItsHostInterface) {
    nvme("fc", ""); // cat fails, but the pipeline's status is awk's
    resolve("nvme0n1");
    expect("fc-nvme", "", {"0: " + TRANSPORT, "0: " + ADDRESS});
    EXPECT_EQ(result, &EC_info_ok);
}

TEST_F(TargetPort, AnNvmePortLongerThanItsFieldIsCut) {
    const std::string digits(400, '1');
    expectNvme("fc\n", "traddr=nn-0x1:pn-0x" + digits + "\n", "fc-nvme", ("0x" + digits).substr(0, 128));
    const std::string long_address = "1." + digits;
    nvme("rdma\n", "traddr=" + long_address + "\n");
    resolve("nvme0n1");
    EXPECT_EQ(interface, "rdma-nvme");
    EXPECT_EQ(port, (long_address + ":4420").substr(0, 127));
    // Address and port together take at most 128 bytes with their terminator; the port number is cut too.
    const std::string address = "1." + std::string(122, '1');
    expectNvme("rdma\n", "traddr=" + address + "\n", "rdma-nvme", address + ":44");
}

// ---- SCSI

TEST_F(TargetPort, AFibreChannelPathWithOneLinkGivesTheRemotePortName) {
    expectScsi({"pci-0000:05:00.0-fc-0x5006016-lun-1 sdb", "pci-0000:05:00.0-fc-0x5006017-lun-1 sdc"}, "fc",
               "0x5006016");
    EXPECT_EQ(tools.calls(), Lines{"ls [-l] [/dev/disk/by-path/]"});
}

namespace {

// The links of /dev/disk/by-path, each "NAME DEVICE", and what they give.
struct ScsiCase {
    Lines links;
    std::string host_interface;
    std::string target_port;
};

const Rule<ScsiCase> SCSI_RULES[] = {
    {"ALinkOfAPartitionOrOfALongerNameIsNotTheDevices",
     {{{"pci-0000:05:00.0-fc-0x1-lun-1-part1 sdb1", "pci-0000:05:00.0-fc-0x2-lun-1 sdba",
        "pci-0000:05:00.0-fc-0x3-lun-1 sdb"},
       "fc",
       "0x3"}}},
    {"WithSeveralFibreChannelLinksTheFirstLineIsSkippedAndTheNextPciLineDecides",
     {{{"fc-0x111-lun-1 sdb", "pci-0000:05:00.0-fc-0x222-lun-1 sdb"}, "fc", "0x222"},
      {{"pci-0000:05:00.0-fc-0x111-lun-1 sdb", "pci-0000:06:00.0-fc-0x222-lun-1 sdb",
        "pci-0000:07:00.0-fc-0x333-lun-1 sdb"},
       "fc",
       "0x222"},
      {{"pci-0000:05:00.0-fc-0x111-lun-1 sdb", "xyz-0000:06:00.0-fc-0x222-lun-1 sdb",
        "pci-0000:07:00.0-fc-0x333-lun-1 sdb"},
       "fc",
       "0x333"}}},
    {"WithSeveralFibreChannelLinksAndNoUsablePciLineBehindTheFirstThereIsNoPort",
     {{{"pci-0000:05:00.0-fc-0x111-lun-1 sdb", "a-fc-0x222-lun-1 sdb"}, "fc", ""},
      // The first line that holds "pci" decides, also when its fourth piece is none.
      {{"pci-a-fc-0x111 sdb", "pci-a-fc-111 sdb", "pci-a-fc-0x333 sdb"}, "fc", ""},
      {{"pci-a-fc-0x111 sdb", "pci-fc-0x222 sdb", "pci-a-fc-0x333 sdb"}, "fc", ""}}},
    // "fc-" is counted in the whole output, wherever it stands.
    {"AWwpnThatEndsInFcCountsAsASecondOccurrence", {{{"pci-0000:05:00.0-fc-0x50060fc-lun-1 sdb"}, "fc", ""}}},
    {"AFibreChannelLinkOfAnotherShapeGivesNoPort",
     {{{"pci-0000:05:00.0-fc-5006016-lun-1 sdb"}, "fc", ""},
      {{"pci-fc-0x1 sdb"}, "fc", ""},
      {{"x-fc- sdb"}, "fc", ""}}},
    {"AnIscsiPathGivesItsPortalOnPort3260",
     {{{"ip-192.168.1.10:3260-iscsi-iqn.2000-01.com.x:vol-lun-1 sdb"}, "iscsi", "192.168.1.10:3260"}}},
    {"AnIscsiPathOnAnotherPortOrWithAnotherSecondPieceGivesNoPort",
     {{{"ip-192.168.1.10:3261-iscsi-iqn.2000-01.com.x:vol-lun-1 sdb"}, "iscsi", ""},
      {{"pci-0000:05:00.0-ip-192.168.1.10:3260-iscsi-iqn.2000-01.x:v-lun-1 sdb"}, "iscsi", ""}}},
    {"IscsiIsLookedForBeforeFibreChannelAndThatBeforeSas",
     {{{"pci-0-fc-0x1-lun-1 sdb", "ip-1.2.3.4:3260-iscsi-iqn.x-lun-1 sdb"}, "iscsi", ""},
      {{"ip-1.2.3.4:3260-iscsi-iqn.x-lun-1 sdb", "pci-0-fc-0x1-lun-1 sdb"}, "iscsi", "1.2.3.4:3260"},
      {{"pci-0000:05:00.0-scsi-0:0:0:1 sdb", "pci-0000:05:00.0-fc-0x1-lun-1 sdb"}, "fc", ""}}},
    {"ASasPathGivesItsHostInterfaceAndNoPort", {{{"pci-0000:05:00.0-scsi-0:0:0:1 sdb"}, "sas", ""}}},
    {"AnyOtherLinkOrNoneGivesNeitherValue",
     {{{"pci-0000:05:00.0-sas-0x1-lun-1 sdb"}, "", ""},
      {{"pci-0000:05:00.0-fc-0x1-lun-1 sdc"}, "", ""},
      {{}, "", ""}}},
};

class TargetPortScsi : public TargetPort, public testing::WithParamInterface<Rule<ScsiCase>> {};

} // namespace

TEST_P(TargetPortScsi, IsReadFromTheLinks) {
    for (const ScsiCase &row : GetParam().cases) {
        expectScsi(row.links, row.host_interface, row.target_port);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, TargetPortScsi, testing::ValuesIn(SCSI_RULES), nameOfRule);

TEST_F(TargetPort, AScsiLookUpThatFailsGivesNeitherValue) {
    tools.prints("ls", "");
    tools.prints("awk", "pci-0000:05:00.0-fc-0x1-lun-1\n", 2);
    resolve("sdb");
    expect("", "", {"2: " + BY_PATH});
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    tools.removes("awk");
    resolve("sdb");
    expect("", "", {"127: " + BY_PATH});
    EXPECT_EQ(result, &EC_exe_cmd_failed);
}

TEST_F(TargetPort, PiecesLongerThanTheFieldAreCutToIt) {
    const std::string digits(400, '2');
    expectOutput("pci-0-fc-0x" + digits + "-lun-1\n", "fc", ("0x" + digits).substr(0, 128));
    expectOutput("x-fc-0x1-y\npci-0-fc-0x" + digits + "-lun-1\n", "fc", ("0x" + digits).substr(0, 128));
    expectOutput("ip-3260" + digits + "-iscsi-x\n", "iscsi", ("3260" + digits).substr(0, 128));
}

TEST_F(TargetPort, OutputOfAnyShapeStaysInsideTheFields) {
    for (const std::string &output :
         {std::string("-fc-"), std::string("fc-fc-fc-"), std::string("-fc-\n\n\n"),
          std::string("\n\n-fc-fc-\npci\n"), std::string("----"), std::string("-iscsi-"),
          std::string("3260-iscsi-"), std::string(1, '\0') + "-fc-", "a-fc-b-" + std::string(1, '\0')}) {
        tools.prints("ls", "");
        tools.prints("awk", output);
        resolve("sdb");
        EXPECT_EQ(port, "");
    }
    // No more than 1023 characters of the output are looked at.
    expectOutput(std::string(1023, 'x') + "-fc-0x1", "", "");
    expectOutput(std::string(1021, '-') + "-scsi-", "", "");
    expectOutput("-scsi-" + std::string(100000, 'y'), "sas", "");
}

TEST_F(TargetPort, OutputAtItsCutIsStillSplitAsItStands) {
    const std::string front = "pci-0-fc-0x";
    expectOutput(front + std::string(1023 - front.size(), '3') + "444", "fc", "0x" + std::string(126, '3'));
}

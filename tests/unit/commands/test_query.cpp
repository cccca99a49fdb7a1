// The topology as `query` prints it, to the last blank.
#include "commands/query.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

const std::string DASHES = std::string(130, '-') + "\n";
const std::string EQUALS = std::string(130, '=') + "\n";
const std::string WWID = "3600b5d60001a2b3c0000000000000001";
const std::string CACHE = R"({"disk": [{"wwid": ")" + WWID + R"(", "vdisk_name": "vol_one"}]})";

template <size_t N> void set(char (&field)[N], const std::string &text) {
    snprintf(field, N, "%s", text.c_str());
}

struct FreeDravik {
    void operator()(s_dravik *head) const {
        freeDravik(head);
    }
};

// A list of devices in the making; device and path are the last ones added.
class Topology {
  public:
    // Number 987654: no host has that many, so that nothing answers for the array.
    Topology &device(const std::string &alias, const std::string &vendor = "KORVEL") {
        s_dravik *after = last == nullptr ? head.get() : last;
        last = getOrMallocNextDravik(after);
        after->end = false;
        path_cursor = last->pdev = mallocPathDev();
        set(last->path_alias, alias);
        set(last->wwid, WWID);
        set(last->device_number, "987654");
        set(last->vendor, vendor);
        set(last->product_type, "QVX");
        set(last->lun_size, "10G");
        return *this;
    }
    Topology &path(const std::string &name, const std::string &policy = "service-time 0",
                   const std::string &interface = "fc", const std::string &port = "0x20d0000b5d6a1010") {
        s_path_dev *node = getOrMallocNextPathDev(path_cursor);
        path_cursor->end = false;
        path_cursor = node;
        set(node->dev_id, "8:16");
        set(node->dev_name, name);
        set(node->dev_node, "1:0:0:1");
        set(node->group_policy, policy);
        set(node->group_priority, "50");
        set(node->group_status, "active");
        set(node->path_status, "active");
        set(node->checker_state, "ready");
        set(node->dravik_status, "running");
        set(node->host_interface, interface);
        set(node->target_port, port);
        return *this;
    }
    Topology &failedPath(const std::string &name) {
        path(name);
        set(path_cursor->path_status, "failed");
        set(path_cursor->checker_state, "faulty");
        return *this;
    }
    s_dravik *first() const {
        return firstDravik(head.get());
    }

    s_dravik *last = nullptr;
    s_path_dev *path_cursor = nullptr;

  private:
    std::unique_ptr<s_dravik, FreeDravik> head{mallocDravik()};
};

class Query : public testing::Test {
  protected:
    std::string shown(const Topology &topology) {
        dumps.forgetLogs();
        testing::internal::CaptureStdout();
        printDravik(topology.first());
        return testing::internal::GetCapturedStdout();
    }
    std::string oneDevice(const Topology &topology) {
        dumps.forgetLogs();
        testing::internal::CaptureStdout();
        _printOneDravik(topology.first());
        return testing::internal::GetCapturedStdout();
    }
    // The display's own lines of the command log.
    std::vector<std::string> ownLines() const {
        std::vector<std::string> lines;
        for (const std::string &line : dumps.commandLogLines()) {
            if (line.find("_printOneDravik") != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }
    DumpsFolder dumps;
};

std::string header(const std::string &alias, const std::string &vendor = "KORVEL") {
    return "path_alias: " + alias + "\nwwid: " + WWID + "\ndevice_number: 987654\nvendor: " + vendor +
           "\nproduct_type: QVX\nlun_size: 10G\n";
}

// The policy that a single path of `vendor` is shown with.
std::string shownPolicy(const std::string &vendor, const std::string &policy) {
    Topology topology;
    topology.device("a", vendor).path("sdb", policy);
    testing::internal::CaptureStdout();
    _printOneDravik(topology.first());
    testing::internal::GetCapturedStdout();
    return topology.path_cursor->path_policy;
}

} // namespace

TEST_F(Query, NoDeviceIsTwoSeparatorsAndNothingBetween) {
    EXPECT_EQ(shown(Topology()), DASHES + DASHES);
}

TEST_F(Query, ADeviceWithPathsIsShownWhole) {
    dumps.write("storage_config.json", CACHE);
    Topology topology;
    topology.device("mpatha").path("sdb").path("nvme0n1", "queue-length 0", "fc", "");
    EXPECT_EQ(shown(topology),
              DASHES + header("mpatha") + "vdisk_name: vol_one\nhost_interface: fc\n" + EQUALS +
                  "dev_id dev_name dev_node path_policy              path_status dravik_status "
                  "target_port          \n"
                  "8:16   sdb      1:0:0:1  round-robin-extend       active      running       "
                  "0x20d0000b5d6a1010 \n"
                  "8:16   nvme0n1  1:0:0:1  least-queue-depth-extend active      running       "
                  "                   \n" +
                  DASHES);
}

TEST_F(Query, ColumnsAreAsWideAsTheirWidestValueAndOneBlank) {
    Topology topology;
    topology.device("mpatha").path("a_path_of_30_characters_in_all");
    set(topology.path_cursor->dev_id, "253:1048575");
    set(topology.path_cursor->dev_node, "10:11:12:13000");
    set(topology.path_cursor->path_status, "undef_undef_undef");
    set(topology.path_cursor->dravik_status, "transport-offline");
    set(topology.path_cursor->target_port, "p");
    EXPECT_EQ(oneDevice(topology),
              header("mpatha") + "host_interface: fc\n" + EQUALS +
                  "dev_id      dev_name                       dev_node       path_policy        "
                  "path_status       dravik_status     target_port   \n"
                  "253:1048575 a_path_of_30_characters_in_all 10:11:12:13000 round-robin-extend "
                  "undef_undef_undef transport-offline p           \n");
}

TEST_F(Query, AnEmptyLineStandsBetweenTwoDevices) {
    Topology topology;
    topology.device("a").device("b").device("c");
    EXPECT_EQ(shown(topology), DASHES + header("a") + "\n" + header("b") + "\n" + header("c") + DASHES);
}

TEST_F(Query, SpareDevicesAndPathsOfALongerQueryAreNotShown) {
    Topology topology;
    topology.device("a").path("sdb").path("sdspare");
    firstPathDev(topology.last->pdev)->end = true;
    topology.device("spare");
    topology.first()->end = true;
    const std::string output = shown(topology);
    EXPECT_EQ(output.find("spare"), std::string::npos);
    EXPECT_EQ(output, DASHES + oneDevice(topology) + DASHES);
}

TEST_F(Query, ADeviceWithoutPathsEndsAfterItsName) {
    dumps.write("storage_config.json", CACHE);
    EXPECT_EQ(oneDevice(Topology().device("a")), header("a") + "vdisk_name: vol_one\n");
    Topology topology;
    topology.device("a");
    freePathDev(topology.last->pdev);
    topology.last->pdev = nullptr;
    EXPECT_EQ(oneDevice(topology), header("a") + "vdisk_name: vol_one\n");
}

// ---- the name of the virtual disk

TEST_F(Query, AFailedDeviceGetsItsNameFromTheCacheFileOnly) {
    dumps.write("storage_config.json", CACHE);
    const std::string output = oneDevice(Topology().device("a").failedPath("sdb").failedPath("sdc"));
    EXPECT_EQ(output.substr(0, output.find("host_interface")), header("a") + "vdisk_name: vol_one\n");
    EXPECT_EQ(dumps.commandLogLines(), (std::vector<std::string>{"ERROR isFailedDevice # This device (" +
                                                                 WWID + ") is a failed device.\n"}));
}

TEST_F(Query, AFailedDeviceWithoutACacheFileHasNoName) {
    EXPECT_EQ(oneDevice(Topology().device("a").failedPath("sdb")).find("vdisk_name"), std::string::npos);
    EXPECT_EQ(dumps.commandLogMessages(),
              (std::vector<std::string>{"ERROR This device (" + WWID + ") is a failed device.\n",
                                        "ERROR This device (" + WWID +
                                            ") is a failed device, we can not get the vdisk name.\n"}));
}

TEST_F(Query, AFailedDeviceThatTheCacheDoesNotKnowHasNoName) {
    dumps.write("storage_config.json", R"({"disk": [{"wwid": "other", "vdisk_name": "vol"}]})");
    EXPECT_EQ(oneDevice(Topology().device("a")), header("a"));
    EXPECT_EQ(ownLines(),
              (std::vector<std::string>{"ERROR _printOneDravik # This device (" + WWID +
                                        ") is a failed device, we can not get the vdisk name.\n"}));
}

TEST_F(Query, AFailedDeviceWhoseStoredNameIsEmptyHasNoName) {
    dumps.write("storage_config.json", R"({"disk": [{"wwid": ")" + WWID + R"(", "vdisk_name": ""}]})");
    EXPECT_EQ(oneDevice(Topology().device("a")), header("a"));
    EXPECT_EQ(ownLines(),
              (std::vector<std::string>{"ERROR _printOneDravik # This device (" + WWID +
                                        ") is a failed device, we get the vdisk name from file is NULL.\n"}));
}

TEST_F(Query, OneWorkingPathMakesTheArrayTheOneToAsk) {
    const std::string output = oneDevice(Topology().device("a").failedPath("sdb").path("sdc"));
    EXPECT_EQ(output.find("vdisk_name"), std::string::npos);
    const std::vector<std::string> messages = dumps.commandLogMessages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages[0], "ERROR Open scsi device failed, fd = -1.\n");
    EXPECT_EQ(ownLines(), (std::vector<std::string>{"ERROR _printOneDravik # This device (" + WWID +
                                                    "), the vdisk name we obtained is NULL.\n"}));
}

TEST_F(Query, AnNvmeDeviceIsAskedTheNvmeWay) {
    oneDevice(Topology().device("a").path("nvme0n1", "service-time 0", "rdma-nvme"));
    const std::vector<std::string> messages = dumps.commandLogMessages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages[0], "ERROR Open nvme device failed, fd = -1.\n");
}

TEST_F(Query, ADeviceNumberThatIsNoNumberOpensNothing) {
    dumps.write("storage_config.json", CACHE);
    Topology topology;
    topology.device("a").path("sdb");
    set(topology.last->device_number, "../../dumps/x");
    EXPECT_NE(oneDevice(topology).find("vdisk_name: vol_one\n"), std::string::npos);
    EXPECT_EQ(dumps.commandLog(), "");
}

// ---- the host interface

TEST_F(Query, TheInterfaceIsThatOfTheFirstPath) {
    const char *const rows[][2] = {{"iscsi", "iscsi"},    {"fc-nvme", "fc-nvme"}, {"rdma-nvme", "rdma-nvme"},
                                   {"fc", "fc"},          {"sas", "sas"},         {"xfc-nvmex", "fc-nvme"},
                                   {"sas-iscsi", "iscsi"}};
    for (const auto &row : rows) {
        Topology topology;
        topology.device("a").path("sdb", "service-time 0", row[0]).path("sdc", "service-time 0", "iscsi");
        EXPECT_NE(oneDevice(topology).find(std::string("\nhost_interface: ") + row[1] + "\n" + EQUALS),
                  std::string::npos)
            << row[0];
    }
}

TEST_F(Query, AnUnknownInterfaceIsLoggedAndHasNoLine) {
    dumps.write("storage_config.json", CACHE);
    Topology topology;
    topology.device("a").path("sdb", "service-time 0", "").path("sdc", "service-time 0", "fc");
    const std::string output = oneDevice(topology);
    EXPECT_EQ(output.find("host_interface"), std::string::npos);
    EXPECT_EQ(ownLines(),
              (std::vector<std::string>{
                  "ERROR _printOneDravik # the transport we obtained is not fc/iscsi/fc-nvme/rdma-nvme.\n"}));
}

// ---- the policy as shown

namespace {

// The vendor, the policy as listed, and as shown.
struct PolicyCase {
    std::string vendor;
    std::string listed;
    std::string shown;
};

const Rule<PolicyCase> POLICY_RULES[] = {
    {"TheKernelsSelectorsAreShownUnderTheProductsNames",
     {{"KORVEL", "round-robin 0", "smart-distribution-extend"},
      {"KORVEL", "queue-length 0", "least-queue-depth-extend"},
      {"KORVEL", "service-time 0", "round-robin-extend"}}},
    {"AnUnknownSelectorIsShownAsListed",
     {{"KORVEL", "historical-service-time 0", "historical-service-time 0"},
      {"KORVEL", "service-time", "service-time"},
      {"KORVEL", "", ""}}},
    {"WhatStandsBehindTheSelectorFollowsItsName",
     {{"KORVEL", "service-time 0 1 8:16", "round-robin-extend 1 8:16"},
      {"KORVEL", "service-time 05", "round-robin-extend5"},
      // never more than the field holds
      {"KORVEL", "round-robin 0 abcdefghijklmnop", "smart-distribution-extend abcd"}}},
    {"HuaweiAndHitachiShowTheirRotationAsListed",
     {
         {"HUAWEI", "round-robin 0", "round-robin 0"},
         {"HUAWEI", "service-time 0", "round-robin-extend"},
         {"HITACHI", "round-robin 0", "round-robin 0"},
         {"HITACHI", "service-time 0", "round-robin-extend"},
         {"HITACHI-X", "round-robin 0", "round-robin 0"},
         {"HITACHI-X", "service-time 0", "round-robin-extend"},
         {"XHUAWEI", "round-robin 0", "smart-distribution-extend"},
         {"NVME", "round-robin 0", "smart-distribution-extend"},
     }},
};

class QueryPolicy : public Query, public testing::WithParamInterface<Rule<PolicyCase>> {};

} // namespace

TEST_P(QueryPolicy, IsShownUnderTheProductsName) {
    for (const PolicyCase &row : GetParam().cases) {
        EXPECT_EQ(shownPolicy(row.vendor, row.listed), row.shown) << row.vendor << " " << row.listed;
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, QueryPolicy, testing::ValuesIn(POLICY_RULES), nameOfRule);

// ---- the commands

TEST(QueryCommand, TheTopologyIsTakenAndShownAndTheParsersRecordIsTheAnswer) {
    FakeHost host;
    host.answer(QUERY_ALL, listing({readyPath("xa")}, "mpatha", "987654"));
    s_ecItems *result = nullptr;
    EXPECT_EQ(DASHES +
                  "path_alias: mpatha\nwwid: 360000000000000000000000000000001\ndevice_number: 987654\n"
                  "vendor: KORVEL\nproduct_type: QVX\nlun_size: 10G\n" +
                  EQUALS +
                  "dev_id dev_name dev_node path_policy        path_status dravik_status target_port   \n"
                  "8:16   xa       1:0:0:1  round-robin-extend active      running                   \n" +
                  DASHES,
              printed(query, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(host.calls, std::vector<std::string>{QUERY_ALL});
}

TEST(QueryCommand, OneDeviceIsAskedForByItsName) {
    FakeHost host;
    host.answer("velomux -ll mpatha", listing({}, "mpatha", "987654"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(&EC_info_ok, querySingleDevice("mpatha"));
    EXPECT_EQ(DASHES +
                  "path_alias: mpatha\nwwid: 360000000000000000000000000000001\ndevice_number: 987654\n"
                  "vendor: KORVEL\nproduct_type: QVX\nlun_size: 10G\n" +
                  DASHES,
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(host.calls, std::vector<std::string>{"velomux -ll mpatha"});
}

TEST(QueryCommand, AFailureOfTheQueryIsTheAnswerAndNothingIsPrinted) {
    FakeHost host;
    testing::internal::CaptureStdout();
    EXPECT_EQ(&EC_no_this_device, querySingleDevice("mpathx"));
    host.answer(QUERY_ALL, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, query());
    host.answer(QUERY_ALL, listing({readyPath("xa")}) + "|-+- nonsense\n");
    EXPECT_EQ(&EC_parse_cmd_out, query());
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(QueryCommand, AnEmptyTopologyIsTwoSeparators) {
    FakeHost host;
    s_ecItems *result = nullptr;
    EXPECT_EQ(DASHES + DASHES, printed(query, &result));
    EXPECT_EQ(&EC_info_ok, result);
}

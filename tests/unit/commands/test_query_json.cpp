// The topology as structured data.
#include "commands/query_json.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "ledger/kernel_view.h"
#include "tests/support/fake_host.h"

namespace {

const std::string CACHE =
    R"({"disk": [{"wwid": "360000000000000000000000000000001", "vdisk_name": "vol_one"}]})";

// A folder that stands for the kernel's files while it lives.
class KernelFiles {
  public:
    KernelFiles() {
        char name[] = "/tmp/dravik-kernel-XXXXXX";
        folder = mkdtemp(name);
        dravik::kernel_root = folder;
    }
    ~KernelFiles() {
        std::filesystem::remove_all(folder);
    }
    KernelFiles(const KernelFiles &) = delete;
    KernelFiles &operator=(const KernelFiles &) = delete;
    void write(const std::string &name, const std::string &text) const {
        std::filesystem::create_directories(std::filesystem::path(folder + name).parent_path());
        std::ofstream(folder + name) << text;
    }

  private:
    std::string folder;
};

// A host whose kernel tells nothing, so that an initiator is its host's number and no size in bytes is known.
class QueryJson : public testing::Test {
  protected:
    QueryJson() {
        dravik::kernel_root = "/nowhere";
        gParamMpathxVal[0] = '\0';
    }
    ~QueryJson() override {
        dravik::kernel_root.clear();
        gParamMpathxVal[0] = '\0';
    }
    static std::string described(int argc, const s_ecItems *expected) {
        dravik::Json document = dravik::Json::object();
        EXPECT_EQ(expected, dravik::describeQuery(argc, &document));
        return document.line();
    }

    FakeHost host;
};

} // namespace

TEST_F(QueryJson, AVolumeHasItsPathsAndWhatIsNotKnownIsNull) {
    host.dumps.write("storage_config.json", CACHE);
    host.answer(QUERY_ALL,
                listing({"1:0:0:1 sdb 8:16 active ready running", "2:0:0:1 sdc 8:32 failed faulty offline"},
                        "mpatha", "987654"));
    EXPECT_EQ(
        described(2, &EC_info_ok),
        R"({"volumes":[{"alias":"mpatha","wwid":"360000000000000000000000000000001","vdisk_name":"vol_one",)"
        R"("map":"dm-987654","vendor":"KORVEL","product":"QVX","size":"10G","size_bytes":null,"transport":null,)"
        R"("paths":[{"name":"sdb","address":"1:0:0:1","device_id":"8:16","lun":1,"initiator":"host1",)"
        R"("target_port":null,"transport":null,)"
        R"("group":{"policy":"service-time 0","priority":50,"status":"active"},)"
        R"("dm_state":"active","checker_state":"ready","online_state":"running"},)"
        R"({"name":"sdc","address":"2:0:0:1","device_id":"8:32","lun":1,"initiator":"host2",)"
        R"("target_port":null,"transport":null,)"
        R"("group":{"policy":"service-time 0","priority":50,"status":"active"},)"
        R"("dm_state":"failed","checker_state":"faulty","online_state":"offline"}]}]})");
}

TEST_F(QueryJson, TheKernelTellsTheInitiatorAndTheSizeOfTheMap) {
    const KernelFiles kernel;
    kernel.write("/sys/class/fc_host/host1/port_name", "0x21000024ff5d6a11\n");
    kernel.write("/sys/block/dm-987654/size", "8\n");
    host.answer(QUERY_ALL, listing({"1:0:0:1 sdb 8:16 active ready running"}, "mpatha", "987654"));
    EXPECT_EQ(
        described(2, &EC_info_ok),
        R"({"volumes":[{"alias":"mpatha","wwid":"360000000000000000000000000000001","vdisk_name":null,)"
        R"("map":"dm-987654","vendor":"KORVEL","product":"QVX","size":"10G","size_bytes":4096,"transport":null,)"
        R"("paths":[{"name":"sdb","address":"1:0:0:1","device_id":"8:16","lun":1,)"
        R"("initiator":"0x21000024ff5d6a11","target_port":null,"transport":null,)"
        R"("group":{"policy":"service-time 0","priority":50,"status":"active"},)"
        R"("dm_state":"active","checker_state":"ready","online_state":"running"}]}]})");
}

TEST_F(QueryJson, AHostWithoutVolumesHasAnEmptyList) {
    host.answer(QUERY_ALL, "");
    EXPECT_EQ(described(2, &EC_info_ok), R"({"volumes":[]})");
}

TEST_F(QueryJson, AQueryThatFailsTellsNothing) {
    host.answer(QUERY_ALL, "", NOT_STARTED);
    EXPECT_EQ(described(2, &EC_exe_cmd_failed), "{}");
}

TEST_F(QueryJson, ThreeWordsAskForTheOneDevice) {
    snprintf(gParamMpathxVal, PARAM_SIZE, "mpathz");
    EXPECT_EQ(described(3, &EC_no_this_device), "{}");
    EXPECT_EQ(host.calls, std::vector<std::string>{"velomux -ll mpathz"});
}

// A report of what the devices do as structured data.
#include "commands/devstats_json.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stats/stats.h"
#include "tests/support/report_texts.h"
#include "tests/support/stats_host.h"

namespace {

// AFTER - BEFORE over two seconds.
const std::string RATES = R"("iops":{"total":105.000,"read":100.000,"write":5.000},)"
                          R"("kib_per_s":{"total":225.000,"read":200.000,"write":25.000},)"
                          R"("response_ms":{"total":1.024,"read":1.000,"write":1.500})";
const std::string IDLE = R"("iops":{"total":0.000,"read":0.000,"write":0.000},)"
                         R"("kib_per_s":{"total":0.000,"read":0.000,"write":0.000},)"
                         R"("response_ms":{"total":null,"read":null,"write":null})";
const std::string UNKNOWN = R"("iops":null,"kib_per_s":null,"response_ms":null)";

class DevstatsJson : public testing::Test {
  protected:
    // Two samples, two seconds apart, over these devices.
    void prepare(const std::vector<std::string> &names) {
        host.diskstats(std::string(8, '\n'));
        io_sys_init();
        cpu_nr = 1;
        if (!names.empty()) {
            listDevices(names);
        }
        presave_device_list();
        uptime[0] = 1000;
        uptime[1] = 1200;
        st_settings.unfiltered = true;
    }
    static void count(int slot, const s_iodev &earlier, const s_iodev &now) {
        st_iodev[0][slot] = earlier;
        st_iodev[1][slot] = now;
    }
    static std::string described() {
        dravik::Json document = dravik::Json::object();
        dravik::describeReport(1, &document);
        return document.line();
    }

    StatsHost host;
};

} // namespace

TEST_F(DevstatsJson, EachMapStandsUnderItsAliasWithItsPaths) {
    prepare({"dm-3=mpatha", "sdb", "sdc", "dm-4=mpathb", "sdd"});
    for (int slot = 0; slot < 5; ++slot) {
        count(slot, BEFORE, AFTER);
    }
    EXPECT_EQ(described(), R"({"interval_s":2.000,"devices":[{"name":"mpatha",)" + RATES +
                               R"(,"paths":[{"name":"sdb",)" + RATES + R"(},{"name":"sdc",)" + RATES +
                               R"(}]},{"name":"mpathb",)" + RATES + R"(,"paths":[{"name":"sdd",)" + RATES +
                               "}]}]}");
}

TEST_F(DevstatsJson, WithoutARequestThereIsNoResponseTime) {
    prepare({"dm-3=mpatha"});
    count(0, AFTER, AFTER);
    EXPECT_EQ(described(),
              R"({"interval_s":2.000,"devices":[{"name":"mpatha",)" + IDLE + R"(,"paths":[]}]})");
}

TEST_F(DevstatsJson, ADeviceThatWasNeverUsedHasRatesAndOneThatTheHostDoesNotShowHasNone) {
    prepare({"dm-3=mpatha", "sdb"});
    count(0, NOTHING, NOTHING);
    st_hdr_iodev[1].used = 0;
    EXPECT_EQ(described(), R"({"interval_s":2.000,"devices":[{"name":"mpatha",)" + IDLE +
                               R"(,"paths":[{"name":"sdb",)" + UNKNOWN + "}]}]}");
}

TEST_F(DevstatsJson, WithoutDevicesTheListIsEmpty) {
    prepare({});
    EXPECT_EQ(described(), R"({"interval_s":2.000,"devices":[]})");
}

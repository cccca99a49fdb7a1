// The daemon's state as structured data.
#include "commands/status_json.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

std::string described(const std::string &output, int outcome) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, output, outcome);
    dravik::Json document = dravik::Json::object();
    EXPECT_EQ(&EC_info_ok, dravik::describeStatus(2, &document));
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
    return document.line();
}

} // namespace

TEST(StatusJson, TheServiceIsRunningStoppedOrUnknown) {
    EXPECT_EQ(described(SYSTEMD_RUNNING, 0), R"({"service":"running"})");
    EXPECT_EQ(described(SYSTEMD_STOPPED, 3), R"({"service":"stopped"})");
    EXPECT_EQ(described("", 4), R"({"service":"unknown"})");
    EXPECT_EQ(described("", NOT_STARTED), R"({"service":"unknown"})");
}

// The Fibre Channel ports as structured data.
#include "commands/port_json.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace {

constexpr char COMMAND[] = "bash /usr/bin/dravik-script/fc_info.sh fields";

std::string described(const std::string &output, int outcome = 0, const s_ecItems *expected = &EC_info_ok) {
    FakeHost host;
    host.answer(COMMAND, output, outcome);
    dravik::Json document = dravik::Json::object();
    EXPECT_EQ(expected, dravik::describePort(2, &document));
    EXPECT_EQ(std::vector<std::string>{COMMAND}, host.calls);
    return document.line();
}

} // namespace

TEST(PortJson, APortIsALineOfSevenValuesAndAnEmptyOneIsNull) {
    EXPECT_EQ(described("host1\t0x21\t0x20\tOnline\t16 Gbit\tNPort\tqla\n"
                        "host10\t0x22\t\tLinkdown\t\t\t"),
              R"({"ports":[{"host":"host1","wwpn":"0x21","wwnn":"0x20","state":"Online","speed":"16 Gbit",)"
              R"("topology":"NPort","driver":"qla"},)"
              R"({"host":"host10","wwpn":"0x22","wwnn":null,"state":"Linkdown","speed":null,)"
              R"("topology":null,"driver":null}]})");
}

TEST(PortJson, WithoutPortsTheListIsEmpty) {
    EXPECT_EQ(described(""), R"({"ports":[]})");
}

TEST(PortJson, ALineOfAnotherShapeIsNoPort) {
    EXPECT_EQ(described("host1\t0x21\t0x20\tOnline\t16 Gbit\tNPort\n"
                        "bash: warning: setlocale: LC_ALL\n"
                        "host1\t0x21\t0x20\tOnline\t16 Gbit\tNPort\tqla\tmore\n"),
              R"({"ports":[]})");
}

TEST(PortJson, AScriptThatFailsTellsNothing) {
    EXPECT_EQ(described("a\tb\tc\td\te\tf\tg\n", 1, &EC_exe_cmd_failed), "{}");
    EXPECT_EQ(described("", NOT_STARTED, &EC_exe_cmd_failed), "{}");
}

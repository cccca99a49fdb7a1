// The aliases as structured data.
#include "commands/lsalias_json.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace {

std::string described(const std::string &output, int outcome, const s_ecItems *expected) {
    FakeHost host;
    host.answer("bash /usr/bin/dravik-script/alias.sh query", output, outcome);
    dravik::Json document = dravik::Json::object();
    EXPECT_EQ(expected, dravik::describeLsalias(2, &document));
    return document.line();
}

} // namespace

TEST(LsaliasJson, EveryAliasStandsInTheOrderOfTheScriptAsItIs) {
    EXPECT_EQ(described("3601 b\n3600 a\x1b\n", 0, &EC_info_ok),
              R"({"aliases":[{"wwid":"3601","alias":"b"},{"wwid":"3600","alias":"a\u001b"}]})");
}

TEST(LsaliasJson, WithoutAliasesTheListIsEmpty) {
    EXPECT_EQ(described("\n", 0, &EC_info_ok), R"({"aliases":[]})");
}

TEST(LsaliasJson, AScriptThatFailsTellsNothing) {
    EXPECT_EQ(described("3601 b\n", 1, &EC_exe_cmd_failed), "{}");
}

// What the tool itself asks of a command line before it runs the command.
#include "cli/tool_checks.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"

namespace {

const s_ecItems *checkWwid(const std::string &wwid) {
    snprintf(gParamWwidVal, PARAM_SIZE, "%s", wwid.c_str());
    return checkBeforeRun("delalias");
}

const s_ecItems *checkInterval(const std::string &interval) {
    snprintf(gParamIntervalVal, PARAM_SIZE, "%s", interval.c_str());
    return checkBeforeRun("devstats");
}

} // namespace

TEST(ToolChecks, DelaliasRefusesAWwidThatNoShellMaySee) {
    for (const char *good : {"3600b5d60001a2b3c0000000000000001", "eui.0", "nqn.2014-08.org:x_1", "-"}) {
        EXPECT_EQ(checkWwid(good), &EC_ok) << good;
    }
    for (const char *bad :
         {"", "a b", "a;b", "$(x)", "`x`", "a/b", "a,b", "a!b", "a\n", "\xc3\xa9", "'", "*"}) {
        EXPECT_EQ(checkWwid(bad), &EC_wwid_format_error) << bad;
    }
}

TEST(ToolChecks, DevstatsWantsAnIntervalThatTheAlarmTakes) {
    EXPECT_EQ(checkInterval(""), &EC_miss_interval);
    EXPECT_EQ(checkInterval("0"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval("0000"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval("1"), &EC_ok);
    EXPECT_EQ(checkInterval("4294967295"), &EC_ok);
    EXPECT_EQ(checkInterval("4294967296"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval("18446744073709551617"), &EC_interval_format_error);
    EXPECT_EQ(checkInterval(std::string(256, '9')), &EC_interval_format_error);
}

TEST(ToolChecks, AnIntervalMayHaveLeadingZeros) {
    EXPECT_EQ(checkInterval("00001"), &EC_ok);
    EXPECT_EQ(intervalSeconds(), 1ULL);
    EXPECT_EQ(checkInterval(std::string(250, '0') + "300"), &EC_ok);
    EXPECT_EQ(intervalSeconds(), 300ULL);
}

TEST(ToolChecks, OtherCommandsAreNotAsked) {
    EXPECT_EQ(checkWwid(";"), &EC_wwid_format_error);
    EXPECT_EQ(checkInterval(""), &EC_miss_interval);
    for (const char *name : {"query", "setalias", "delete", "scan"}) {
        EXPECT_EQ(checkBeforeRun(name), &EC_ok) << name;
    }
}

TEST(ToolChecks, CommandsThatChangeTheHostAreKnown) {
    for (const char *name :
         {"config", "mkconfig", "setpathpolicy", "setalias", "delalias", "setstate", "delete", "scan",
          "refresh", "aggregation", "start", "stop", "restart", "setselfstart"}) {
        EXPECT_TRUE(changesHost(name)) << name;
    }
    for (const char *name : {"query", "devstats", "lspathpolicy", "lsalias", "status", "version", "port",
                             "lsselfstart", "", "scanx", "sca"}) {
        EXPECT_FALSE(changesHost(name)) << name;
    }
}

TEST(ToolChecks, OnlyTheServiceCommandsRunAsSuch) {
    for (const char *name : {"mkconfig", "lsselfstart", "setselfstart"}) {
        EXPECT_EQ(checkServiceName(name), &EC_ok) << name;
    }
    for (const char *name : {"query", "scan", "", "mkconfigx"}) {
        EXPECT_EQ(checkServiceName(name), &EC_invalid_cli_name) << name;
        EXPECT_STREQ(EC_invalid_cli_name.items[0], name);
    }
}

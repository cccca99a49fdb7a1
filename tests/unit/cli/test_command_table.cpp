// The table of the commands: the check of a name, the printed list, what each row says.
#include "cli/command_table.h"

#include <string>

#include <gtest/gtest.h>

namespace {

const char *const NAMES[] = {"aggregation",  "config", "delalias", "delete", "lsalias",
                             "lspathpolicy", "query",  "restart",  "scan",   "setalias",
                             "setstate",     "start",  "status",   "stop",   "setpathpolicy",
                             "version",      "port",   "devstats", "refresh"};

// The record's address and first word, as one comparable thing.
std::pair<const s_ecItems *, std::string> checked(const char *name) {
    const s_ecItems *record = checkCliNames(name);
    return {record, record->code == 0 ? "" : record->items[0]};
}

std::pair<const s_ecItems *, std::string> refused(const std::string &word) {
    return {&EC_invalid_cli_name, word};
}

} // namespace

TEST(CommandTable, EveryListedNameAndRefreshAreAccepted) {
    for (const char *name : NAMES) {
        EXPECT_EQ(checkCliNames(name), &EC_ok) << name;
    }
}

TEST(CommandTable, APrefixOrAnExtensionOfANameIsNotAccepted) {
    EXPECT_EQ(checked("quer"), refused("quer"));
    EXPECT_EQ(checked("queryx"), refused("queryx"));
    EXPECT_EQ(checked("query "), refused("query "));
    EXPECT_EQ(checked("Query"), refused("Query"));
    EXPECT_EQ(checked("refreshx"), refused("refreshx"));
    EXPECT_EQ(checked(""), refused(""));
    EXPECT_EQ(checked(nullptr), refused(""));
}

TEST(CommandTable, AServiceCommandIsNotAccepted) {
    for (const char *name : {"mkconfig", "lsselfstart", "setselfstart"}) {
        EXPECT_EQ(checked(name), refused(name));
    }
}

TEST(CommandTable, AnUnknownNameIsShownWithItsFirst64Characters) {
    EXPECT_EQ(checked(std::string(300, 'x').c_str()), refused(std::string(64, 'x')));
}

TEST(CommandTable, TheListShowsTheTableInItsOrderAndNothingElse) {
    testing::internal::CaptureStdout();
    print_cli_list();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "aggregation\nconfig\ndelalias\ndelete\nlsalias\nlspathpolicy\nquery\nrestart\nscan\nsetalias\n"
              "setstate\nsetpathpolicy\nstart\nstatus\nstop\nversion\nport\ndevstats\n");
}

TEST(CommandTable, TheTableEndsWithAnEmptyRow) {
    EXPECT_STREQ(CLI_NAMES[17], "devstats");
    EXPECT_STREQ(CLI_NAMES[18], "");
}

TEST(CommandTable, CommandsThatChangeTheHostAreKnown) {
    for (const char *name :
         {"config", "mkconfig", "setpathpolicy", "setalias", "delalias", "setstate", "delete", "scan",
          "refresh", "aggregation", "start", "stop", "restart", "setselfstart"}) {
        EXPECT_TRUE(dravik::findCommand(name)->changes_host) << name;
    }
    for (const char *name :
         {"query", "devstats", "lspathpolicy", "lsalias", "status", "version", "port", "lsselfstart"}) {
        EXPECT_FALSE(dravik::findCommand(name)->changes_host) << name;
    }
}

TEST(CommandTable, OnlyTheServiceCommandsRunAsSuch) {
    for (const char *name : {"mkconfig", "lsselfstart", "setselfstart"}) {
        ASSERT_NE(dravik::findServiceCommand(name), nullptr) << name;
        EXPECT_STREQ(dravik::findServiceCommand(name)->name, name);
    }
    for (const char *name : {"query", "scan", "", "mkconfigx", "mkconfi"}) {
        EXPECT_EQ(dravik::findServiceCommand(name), nullptr) << name;
    }
}

TEST(CommandTable, OnlyTwoCommandsAskOnceMoreBeforeTheyRun) {
    for (const char *name : NAMES) {
        const bool asks = std::string(name) == "delalias" || std::string(name) == "devstats";
        EXPECT_EQ(dravik::findCommand(name)->check_last != nullptr, asks) << name;
    }
}

TEST(CommandTable, TheHiddenTableHasARowForEveryCommandWithItsParameters) {
    testing::internal::CaptureStdout();
    dravik::printCommandTable();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "aggregation listed changes\n"
              "config listed changes\n"
              "delalias listed changes -wwid=WWID\n"
              "delete listed changes =DEVICE\n"
              "lsalias listed reads\n"
              "lspathpolicy listed reads\n"
              "query listed reads =DEVICE\n"
              "restart listed changes\n"
              "scan listed changes\n"
              "setalias listed changes -wwid=WWID -alias=ALIAS\n"
              "setstate listed changes -path_alias=DEVICE -device_name=PATH -state=online|offline\n"
              "setpathpolicy listed changes -scsi -nvme "
              "-chooser=smart-distribution-extend|least-queue-depth-extend|round-robin-extend\n"
              "start listed changes\n"
              "status listed reads\n"
              "stop listed changes\n"
              "version listed reads\n"
              "port listed reads\n"
              "devstats listed reads -path_alias=DEVICE -interval=SECONDS\n"
              "refresh unlisted changes\n"
              "mkconfig service changes\n"
              "lsselfstart service reads\n"
              "setselfstart service changes\n"
              "check own reads =VOLUME --json\n"
              "list own reads --bad --watch=SECONDS --json\n"
              "events own reads --since=TIME --volume=VOLUME --path=PATH --incident=N --all --follow --json\n"
              "baseline own reads =show|accept =VOLUME --json\n"
              "metrics own reads --textfile=FILE --volumes-only\n"
              "explain own reads =WORDS --list --json\n"
              "report own reads =FILE --redact --json\n");
}

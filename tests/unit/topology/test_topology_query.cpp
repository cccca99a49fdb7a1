// The topology queries: which command runs, and what becomes of its listing, its silence and its failure.
#include "topology/topology_query.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "host/command_output.h"
#include "tests/support/allocation_count.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_tools.h"
#include "tests/support/large_listing.h"
#include "tests/support/listing_reference.h"
#include "topology/listing.h"

namespace {

using Lines = std::vector<std::string>;

const std::string LISTING = "mpatha (36000d310001) dm-3 KORVEL  ,QVX\n"
                            "size=10G features='0'\n"
                            "`-+- policy='service-time 0' prio=50 status=active\n"
                            "  `- 1:0:0:1 xab 8:16 active ready running\n";
const std::string OTHER_LISTING = "mpathb dm-4 HUAWEI,any\n"
                                  "size=2G\n";

const std::string ALL = "velomux -ll 2> /dev/null";
const std::string ONE = "velomux -ll mpatha 2>&1";

class TopologyQuery : public testing::Test {
  protected:
    TopologyQuery() : head(mallocDravik()) {
        std::string before = OTHER_LISTING;
        unsigned int count = 0;
        parseQueryCmdResultList(before.data(), head, &count);
        dumps.forgetLogs();
    }
    ~TopologyQuery() override {
        freeDravik(head);
    }

    // The list holds the devices of this listing.
    void expectList(const std::string &listing) const {
        EXPECT_EQ(deviceListText(head), referenceParse(listing).devices);
    }
    Lines commands() const {
        return commandLines(dumps.commandLogMessages());
    }
    // The command log without the node allocations.
    Lines complaints() const {
        Lines found;
        for (const std::string &line : dumps.commandLogLines()) {
            if (line.find("# Malloc struct ") == std::string::npos && line.rfind("DEBUG", 0) != 0) {
                found.push_back(line);
            }
        }
        return found;
    }
    void expectNoSuchDevice(const s_ecItems *result, const std::string &name) const {
        EXPECT_EQ(result, &EC_no_this_device);
        EXPECT_STREQ(EC_no_this_device.items[0], name.c_str());
        EXPECT_STREQ(EC_no_this_device.items[1], "");
        EXPECT_STREQ(EC_no_this_device.items[2], "");
    }

    DumpsFolder dumps;
    FakeTools tools;
    DebugLog debug;
    s_dravik *head; // holds OTHER_LISTING at first
    unsigned int lines = 4711;
};

} // namespace

// ---- all devices

TEST_F(TopologyQuery, TheQueryRunsTheToolOnceAndReplacesTheList) {
    tools.prints("velomux", LISTING);
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    expectList(LISTING);
    EXPECT_EQ(tools.calls(), Lines{"velomux [-ll]"});
    EXPECT_EQ(commands(), Lines{"0: " + ALL});
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(TopologyQuery, TheStatisticsQueryCountsTheLines) {
    tools.prints("velomux", LISTING);
    EXPECT_EQ(queryDravikStats(head, &lines), &EC_info_ok);
    EXPECT_EQ(lines, 5U); // four and the empty one behind the last newline
    expectList(LISTING);
    EXPECT_EQ(commands(), Lines{"0: " + ALL});
}

TEST_F(TopologyQuery, WhatTheToolPrintsToItsErrorOutputIsNotPartOfTheListing) {
    tools.runs("velomux", "echo 'mpathz dm-9 KORVEL,QVX' >&2\necho >&2\nprintf '%s' '" + OTHER_LISTING + "'");
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    expectList(OTHER_LISTING);
}

TEST_F(TopologyQuery, AToolThatPrintsNothingEmptiesTheList) {
    tools.prints("velomux", "");
    EXPECT_EQ(queryDravikStats(head, &lines), &EC_info_ok);
    EXPECT_EQ(lines, 0U);
    expectList("");
}

TEST_F(TopologyQuery, AMissingToolIsAFailedQueryAndTheListStaysAsItWas) {
    EXPECT_EQ(queryDravikInfo(head), &EC_exe_cmd_failed);
    expectList(OTHER_LISTING);
    EXPECT_EQ(complaints(),
              (Lines{"ERROR exe_query # Execute command [" + ALL + "] failed, exit code [127]\n",
                     "ERROR exe_query # Error message: \n",
                     "ERROR queryDravikInfo # Execute command [" + ALL + "] failed"}));
}

TEST_F(TopologyQuery, AToolThatMayNotBeExecutedIsAFailedQuery) {
    tools.forbids("velomux");
    EXPECT_EQ(queryDravikStats(head, &lines), &EC_exe_cmd_failed);
    expectList(OTHER_LISTING);
    EXPECT_EQ(complaints(),
              (Lines{"ERROR exe_query # Execute command [" + ALL + "] failed, exit code [126]\n",
                     "ERROR exe_query # Error message: \n",
                     "ERROR queryDravikStats # Execute command [" + ALL + "] failed"}));
}

TEST_F(TopologyQuery, AnyOtherExitStatusIsJudgedByWhatWasPrinted) {
    for (const int status : {1, 2, 125, 128, 255}) {
        SCOPED_TRACE(status);
        dumps.forgetLogs();
        tools.prints("velomux", LISTING, status);
        EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
        expectList(LISTING);
        EXPECT_EQ(complaints(), (Lines{"ERROR exe_query # Execute command [" + ALL + "] failed, exit code [" +
                                           std::to_string(status) + "]\n",
                                       "ERROR exe_query # Error message: " + LISTING + "\n"}));
        tools.prints("velomux", "", status);
        EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
        expectList("");
    }
}

TEST_F(TopologyQuery, AToolThatDiesInTheMiddleOfItsListingIsJudgedByWhatItPrinted) {
    tools.runs("velomux", "printf '%s' '" + OTHER_LISTING + "'\nkill -9 $$");
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    expectList(OTHER_LISTING);
    tools.runs("velomux", "printf 'mpatha (36000d310001) dm-3 KORVEL,QVX'\nkill -9 $$");
    EXPECT_EQ(queryDravikInfo(head), &EC_parse_cmd_out);
    expectList("");
}

TEST_F(TopologyQuery, AMalformedListingIsLoggedByTheParserAndAnsweredWithItsRecord) {
    tools.prints("velomux", OTHER_LISTING + "mpatha (36000d310001) dm-3 KORVEL,QVX\nsize=1G\n|");
    EXPECT_EQ(queryDravikStats(head, &lines), &EC_parse_cmd_out);
    EXPECT_EQ(lines, 5U);
    expectList(OTHER_LISTING);
    EXPECT_EQ(complaints(),
              Lines{"ERROR parseQueryCmdResultList # Parse 4th line in 'velomux -ll' output failed."});
}

TEST_F(TopologyQuery, AListingLargerThanTwoMebibytesIsReadToItsEnd) {
    const std::string large = largeListing(12000);
    ASSERT_GT(large.size(), TASK_OUTPUT_SIZE);
    tools.prints("velomux", large);
    log_started = false;
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    log_started = true;
    EXPECT_TRUE(deviceListText(head) == referenceParse(large).devices);
    // Also when the tool exits with a failure: the grown buffer is released all the same, and no node is new.
    tools.prints("velomux", large, 3);
    log_started = false;
    const long before = heldBlocks();
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    EXPECT_EQ(heldBlocks(), before);
    log_started = true;
    EXPECT_TRUE(deviceListText(head) == referenceParse(large).devices);
}

TEST_F(TopologyQuery, AListingOfExactlyTheBufferIsRead) {
    for (const size_t size : {TASK_OUTPUT_SIZE - 2U, TASK_OUTPUT_SIZE - 1U, TASK_OUTPUT_SIZE + 0U}) {
        SCOPED_TRACE(size);
        std::string text = "#" + std::string(size - LISTING.size() - 2, 'w') + "\n" + LISTING;
        ASSERT_EQ(text.size(), size);
        tools.prints("velomux", text);
        EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
        expectList(LISTING);
    }
}

TEST_F(TopologyQuery, AByteOfZeroEndsTheListing) {
    tools.prints("velomux", OTHER_LISTING + std::string(1, '\0') + LISTING);
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    expectList(OTHER_LISTING);
}

TEST_F(TopologyQuery, AnotherQueryOverTheSameListAllocatesNoNode) {
    tools.prints("velomux", LISTING);
    ASSERT_EQ(queryDravikInfo(head), &EC_info_ok);
    const s_dravik *node = head->next;
    dumps.forgetLogs();
    ASSERT_EQ(queryDravikInfo(head), &EC_info_ok);
    EXPECT_EQ(head->next, node);
    EXPECT_EQ(dumps.commandLogMessages(), Lines{"DEBUG Execute command [" + ALL + "] successfully.\n"});
}

TEST_F(TopologyQuery, EachPathOfTheListingIsLookedUpInItsOrder) {
    tools.prints("velomux", "a (w) dm-3 KORVEL,QVX\nsize=1G\n|-+- policy='p' prio=1 status=a\n"
                            "| |- 1:0:0:1 sdc 8:16 active ready running\n"
                            "| `- 2:0:0:1 dm-7 8:32 active ready running\n"
                            "`-+- policy='p' prio=1 status=b\n"
                            "  |- 3:0:0:1 sd;reboot 8:48 active ready running\n"
                            "  `- 3:0:0:1 sdb 8:48 active ready running\n");
    tools.prints("ls", "l 1 r r 9 Nov 21 09:34 pci-0-fc-0x11-lun-1 -> ../../sdb\n"
                       "l 1 r r 9 Nov 21 09:34 ip-1.2.3.4:3260-iscsi-x -> ../../sdc\n");
    tools.lends("grep");
    tools.lends("awk");
    EXPECT_EQ(queryDravikInfo(head), &EC_info_ok);
    const std::string middle = "] checker=[ready] online=[running] interface=[";
    EXPECT_EQ(
        deviceListText(head),
        "device alias=[a] wwid=[w] dm=[3] vendor=[KORVEL] product=[QVX] size=[1G] vdisk=[]\n"
        "  path node=[1:0:0:1] name=[sdc] id=[8:16] policy=[p] prio=[1] group=[a] status=[active" +
            middle + "iscsi] port=[1.2.3.4:3260] shown=[]\n" +
            "  path node=[2:0:0:1] name=[dm-7] id=[8:32] policy=[p] prio=[1] group=[a] status=[active" +
            middle + "] port=[] shown=[]\n" +
            "  path node=[3:0:0:1] name=[sd;reboot] id=[8:48] policy=[p] prio=[1] group=[b] status=[active" +
            middle + "] port=[] shown=[]\n" +
            "  path node=[3:0:0:1] name=[sdb] id=[8:48] policy=[p] prio=[1] group=[b] status=[active" +
            middle + "fc] port=[0x11] shown=[]\n");
    const std::string awk = " | awk -F\" \" '{print $9}' 2>&1";
    EXPECT_EQ(commands(), (Lines{"0: " + ALL, "0: ls -l /dev/disk/by-path/ | grep 'sdc$'" + awk,
                                 "0: ls -l /dev/disk/by-path/ | grep 'sdb$'" + awk}));
}

// ---- one device

TEST_F(TopologyQuery, ASingleDeviceIsNamedToTheToolAndReplacesTheList) {
    tools.prints("velomux", LISTING);
    EXPECT_EQ(querySingleDravikInfo(head, "mpatha"), &EC_info_ok);
    expectList(LISTING);
    EXPECT_EQ(tools.calls(), Lines{"velomux [-ll] [mpatha]"});
    EXPECT_EQ(commands(), Lines{"0: " + ONE});
    EXPECT_EQ(querySingleDravikStats(head, "mpatha", &lines), &EC_info_ok);
    EXPECT_EQ(lines, 5U);
}

TEST_F(TopologyQuery, ASingleDeviceUnknownToTheToolIsNamedInTheAnswerAndTheListStays) {
    tools.prints("velomux", "");
    expectNoSuchDevice(querySingleDravikInfo(head, "mpatha"), "mpatha");
    tools.prints("velomux", "", 1);
    expectNoSuchDevice(querySingleDravikInfo(head, "mpathq"), "mpathq");
    tools.complains("velomux", "mpatha: no such device\n", 1);
    expectNoSuchDevice(querySingleDravikStats(head, "mpatha", &lines), "mpatha");
    expectList(OTHER_LISTING);
}

TEST_F(TopologyQuery, ASingleDeviceOfAnotherVendorIsNoDeviceOfOurs) {
    tools.prints("velomux", "mpatha (36000d310001) dm-3 OTHER,Product\nsize=10G\n");
    expectNoSuchDevice(querySingleDravikInfo(head, "mpatha"), "mpatha");
    tools.prints("velomux", "mpatha (36000d310001) dm-3 NVME,Other\nsize=10G\n");
    expectNoSuchDevice(querySingleDravikInfo(head, "mpatha"), "mpatha");
    expectList(OTHER_LISTING);
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(TopologyQuery, TheNameInTheAnswerIsCutAt64Characters) {
    tools.prints("velomux", "");
    const std::string name(100, 'n');
    expectNoSuchDevice(querySingleDravikInfo(head, name.c_str()), name.substr(0, 64));
}

TEST_F(TopologyQuery, AVendorsNameAnywhereInTheOutputSendsItToTheParser) {
    for (const std::string output :
         {"KORVEL", "xHUAWEIx\n", "no HITACHI here\n", "a dm-3 KORVEL,OTHER\nsize=1G\n"}) {
        SCOPED_TRACE(output);
        tools.prints("velomux", output);
        EXPECT_EQ(querySingleDravikInfo(head, "mpatha"), &EC_info_ok);
        expectList("");
    }
    tools.prints("velomux", "mpatha dm-3 HUAWEI,x");
    EXPECT_EQ(querySingleDravikInfo(head, "mpatha"), &EC_parse_cmd_out);
}

TEST_F(TopologyQuery, TheErrorOutputOfASingleQueryIsPartOfItsText) {
    tools.complains("velomux", LISTING, 1);
    EXPECT_EQ(querySingleDravikInfo(head, "mpatha"), &EC_info_ok);
    expectList(LISTING);
}

TEST_F(TopologyQuery, AToolThatCannotBeStartedFailsASingleQueryTooAndTheListStays) {
    EXPECT_EQ(querySingleDravikInfo(head, "mpatha"), &EC_exe_cmd_failed);
    const Lines missing = complaints();
    ASSERT_EQ(missing.size(), 3U);
    EXPECT_EQ(missing[0], "ERROR exe_cmd # Execute command [" + ONE + "] failed, exit code [127]\n");
    // The line between quotes the shell, whose words differ from one shell to another.
    EXPECT_EQ(missing[1].rfind("ERROR exe_cmd # Error message: ", 0), 0U);
    EXPECT_EQ(missing[2], "ERROR querySingleDravikInfo # Execute command [velomux -ll mpatha] failed");
    dumps.forgetLogs();
    tools.forbids("velomux");
    EXPECT_EQ(querySingleDravikStats(head, "KORVEL", &lines), &EC_exe_cmd_failed);
    const Lines forbidden = complaints();
    ASSERT_EQ(forbidden.size(), 3U);
    EXPECT_EQ(forbidden[0],
              "ERROR exe_cmd # Execute command [velomux -ll KORVEL 2>&1] failed, exit code [126]\n");
    EXPECT_EQ(forbidden[2], "ERROR querySingleDravikStats # Execute command [velomux -ll KORVEL] failed");
    expectList(OTHER_LISTING);
}

TEST_F(TopologyQuery, ANameThatIsNoPlainWordIsNoDeviceAndRunsNoCommand) {
    tools.prints("velomux", LISTING);
    for (const std::string name :
         {"",    "-l", "--help", "a;reboot", "a b",  "$(reboot)", "`reboot`", "a|b",
          "a>b", "a&", "a'b",    "a\"b",     "a\nb", "*",         "a\\b",     "a\x80",
          "~",   "a#", "a%",     "a=b",      "a@b",  "a+b"}) {
        SCOPED_TRACE(name);
        expectNoSuchDevice(querySingleDravikInfo(head, name.c_str()), name);
        expectNoSuchDevice(querySingleDravikStats(head, name.c_str(), &lines), name);
    }
    EXPECT_EQ(tools.calls(), Lines());
    EXPECT_EQ(dumps.commandLog(), "");
    expectList(OTHER_LISTING);
}

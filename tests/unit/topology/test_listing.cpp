// The parser of the multipath tool's listing: what each line of a device block yields, and what it refuses.
#include "topology/listing.h"

#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/listing_reference.h"
#include "tests/support/rules.h"

namespace {

using Lines = std::vector<std::string>;

const std::string HEADER = "mpatha (36000d310001) dm-3 KORVEL  ,QVX";
const std::string SIZE = "size=10G features='0' hwhandler='0' wp=rw";
const std::string GROUP = "|-+- policy='service-time 0' prio=50 status=active";
const std::string PATH = "| |- 1:0:0:1 xab 8:16 active ready running";
const std::string LAST_PATH = "| `- 2:0:0:1 xac 8:32 active ready running";
const std::string GROUP_2 = "`-+- policy='round-robin 0' prio=10 status=enabled";
const std::string PATH_2 = "  `- 3:0:0:1 xad 8:48 failed faulty offline";

// What the block of the lines above yields.
const std::string DEVICE_TEXT =
    "device alias=[mpatha] wwid=[36000d310001] dm=[3] vendor=[KORVEL] product=[QVX] size=[10G] vdisk=[]\n";
const std::string PATH_TEXT =
    "  path node=[1:0:0:1] name=[xab] id=[8:16] policy=[service-time 0] prio=[50] group=[active] "
    "status=[active] checker=[ready] online=[running] interface=[] port=[] shown=[]\n";
const std::string LAST_PATH_TEXT =
    "  path node=[2:0:0:1] name=[xac] id=[8:32] policy=[service-time 0] prio=[50] group=[active] "
    "status=[active] checker=[ready] online=[running] interface=[] port=[] shown=[]\n";
const std::string PATH_2_TEXT =
    "  path node=[3:0:0:1] name=[xad] id=[8:48] policy=[round-robin 0] prio=[10] group=[enabled] "
    "status=[failed] checker=[faulty] online=[offline] interface=[] port=[] shown=[]\n";

std::string joined(const Lines &lines) {
    std::string text;
    for (const std::string &line : lines) {
        text += line + "\n";
    }
    return text;
}

std::string deviceText(const std::string &alias, const std::string &wwid, const std::string &number,
                       const std::string &vendor = "KORVEL", const std::string &product = "QVX",
                       const std::string &size = "") {
    return "device alias=[" + alias + "] wwid=[" + wwid + "] dm=[" + number + "] vendor=[" + vendor +
           "] product=[" + product + "] size=[" + size + "] vdisk=[]\n";
}

std::string malformed(const std::string &function, unsigned int line) {
    return "ERROR " + function + " # Parse " + std::to_string(line) +
           "th line in 'velomux -ll' output failed.";
}

class Listing : public testing::Test {
  protected:
    Listing() : head(mallocDravik()) {
        dumps.forgetLogs();
    }
    ~Listing() override {
        freeDravik(head);
    }

    const s_ecItems *parse(const std::string &text) {
        initDravik(head);
        FencedText fenced(text);
        lines = 4711;
        const s_ecItems *result = parseQueryCmdResultList(fenced.text(), head, &lines);
        EXPECT_TRUE(fenced.fencesStand());
        return result;
    }
    const s_ecItems *parse(const Lines &listing) {
        return parse(joined(listing));
    }
    const s_ecItems *parseOlder(const std::string &text) {
        initDravik(head);
        FencedText fenced(text);
        const s_ecItems *result = parseQueryCmdResult(fenced.text(), head);
        EXPECT_TRUE(fenced.fencesStand());
        return result;
    }

    // The lines of the command log but for those of the node allocations.
    Lines complaints() const {
        Lines found;
        for (const std::string &line : dumps.commandLogLines()) {
            if (line.find("# Malloc struct ") == std::string::npos) {
                found.push_back(line);
            }
        }
        return found;
    }

    // The listing is good and yields these devices and nothing else; nothing is logged.
    void expectGood(const Lines &listing, const std::string &devices) {
        dumps.forgetLogs();
        EXPECT_EQ(parse(listing), &EC_info_ok);
        EXPECT_EQ(deviceListText(head), devices);
        EXPECT_EQ(lines, listing.size() + 1);
        EXPECT_EQ(complaints(), Lines());
    }
    // A device whose header is `header` and that has nothing else.
    void expectHeader(const std::string &header, const std::string &device) {
        SCOPED_TRACE(header);
        expectGood({header}, device);
    }
    // The listing fails at line `line`, logged by `function`; these devices are left of it.
    void expectMalformed(const Lines &listing, const std::string &function, unsigned int line,
                         const std::string &devices) {
        SCOPED_TRACE(joined(listing));
        dumps.forgetLogs();
        EXPECT_EQ(parse(listing), &EC_parse_cmd_out);
        EXPECT_EQ(deviceListText(head), devices);
        EXPECT_EQ(lines, listing.size() + 1);
        EXPECT_EQ(complaints(), Lines{malformed(function, line)});
    }

    DumpsFolder dumps;
    s_dravik *head;
    unsigned int lines = 0;
};

} // namespace

// ---- nothing to read

TEST_F(Listing, NullAndEmptyTextsGiveNoLinesAndNoDevices) {
    lines = 4711;
    EXPECT_EQ(parseQueryCmdResultList(nullptr, head, &lines), &EC_info_ok);
    EXPECT_EQ(lines, 0U);
    EXPECT_EQ(parse(""), &EC_info_ok);
    EXPECT_EQ(lines, 0U);
    EXPECT_EQ(parseQueryCmdResult(nullptr, head), &EC_info_ok);
    EXPECT_EQ(parseOlder(""), &EC_info_ok);
    EXPECT_EQ(deviceListText(head), "");
    EXPECT_EQ(dumps.commandLog(), "");
}

TEST_F(Listing, WarningsAndDevicesOfOtherVendorsGiveAnEmptyListAndSuccess) {
    expectGood({"Nov 21 10:00:00 | /etc/velomux.conf line 3, invalid keyword: foo", "",
                "mpathx (36005076300c2) dm-9 OTHER,Product", SIZE, GROUP, PATH,
                "KORVEL,QVX without a blank in front is no header's end",
                "mpathy (36005076300c3) dm-8 KORVEL,OTHER", "|", "`"},
               "");
    EXPECT_EQ(dumps.commandLog(), "");
}

// ---- blocks

namespace {

// The lines of a listing, and the devices that they give.
struct BlockCase {
    Lines listing;
    std::string devices;
};

const Rule<BlockCase> BLOCK_RULES[] = {
    {"ADeviceWithTwoGroupsKeepsEachPathWithItsOwnGroup",
     {{{HEADER, SIZE, GROUP, PATH, LAST_PATH, GROUP_2, PATH_2},
       DEVICE_TEXT + PATH_TEXT + LAST_PATH_TEXT + PATH_2_TEXT}}},
    {"DevicesStandInTheOrderOfTheListingWithWarningsBetweenThemPassedOver",
     {{{"a warning", HEADER, SIZE, GROUP, PATH, "another warning | `- 1 2 3 4 5 6", "",
        "mpathb (36000d310002) dm-4 KORVEL,QVX", SIZE, GROUP_2, PATH_2},
       DEVICE_TEXT + PATH_TEXT + deviceText("mpathb", "36000d310002", "4", "KORVEL", "QVX", "10G") +
           PATH_2_TEXT}}},
    {"DirectlyFollowingBlocksNeedNoEmptyLineBetweenThem",
     {{{HEADER, SIZE, GROUP, PATH, "mpathb (36000d310002) dm-4 KORVEL,QVX", SIZE, GROUP_2, PATH_2},
       DEVICE_TEXT + PATH_TEXT + deviceText("mpathb", "36000d310002", "4", "KORVEL", "QVX", "10G") +
           PATH_2_TEXT}}},
    {"AGroupFollowedByTheNextHeaderHasNoPaths",
     {{{HEADER, SIZE, GROUP, "mpathb (36000d310002) dm-4 KORVEL,QVX", SIZE},
       DEVICE_TEXT + deviceText("mpathb", "36000d310002", "4", "KORVEL", "QVX", "10G")}}},
    {"AGroupWithoutPathsBeforeAGroupWithPathsIsPassedOver",
     {{{HEADER, SIZE, GROUP, GROUP_2, PATH_2}, DEVICE_TEXT + PATH_2_TEXT}}},
    {"AnotherProductOfTheMakerIsNotAccepted",
     {{{"a (w) dm-3 KORVEL,QVX2"}, ""},
      {{"a (w) dm-3 KORVEL,OTHER"}, ""},
      {{"a (w) dm-3 KORVEL, QVX"}, ""},
      {{"a (w) dm-3 NVME,QVX"}, ""},
      {{"a (w) dm-3 KORVEL,KORVELQVX"}, ""}}},
    {"TheSizeRunsToTheNextBlankOrToTheEndOfTheLine",
     {{{HEADER, "size=10G"}, DEVICE_TEXT},
      {{HEADER, "[size=10G"}, DEVICE_TEXT},
      {{HEADER, "size= 10G"}, deviceText("mpatha", "36000d310001", "3")},
      {{HEADER, "size="}, deviceText("mpatha", "36000d310001", "3")},
      {{HEADER, "wp=rw size=1.5T size=9G"},
       deviceText("mpatha", "36000d310001", "3", "KORVEL", "QVX", "1.5T")}}},
    {"ALineWithoutASizeLeavesItEmptyAndIsNoError",
     {{{HEADER, "features='0'", GROUP, PATH}, deviceText("mpatha", "36000d310001", "3") + PATH_TEXT},
      {{HEADER, "", GROUP, PATH}, deviceText("mpatha", "36000d310001", "3") + PATH_TEXT}}},
    {"TheLineBehindAHeaderIsItsSizeLineWhateverItHolds",
     {{{HEADER, "mpathb (36000d310002) dm-4 KORVEL,QVX", GROUP, PATH},
       deviceText("mpatha", "36000d310001", "3") + PATH_TEXT},
      {{HEADER, GROUP, GROUP_2, PATH_2}, deviceText("mpatha", "36000d310001", "3") + PATH_2_TEXT}}},
    {"ASecondGroupWithoutPriorityAndStatusDoesNotInheritThoseOfTheFirst",
     {{{HEADER, SIZE, GROUP, PATH, "`-+- policy='a'", PATH_2},
       DEVICE_TEXT + PATH_TEXT +
           "  path node=[3:0:0:1] name=[xad] id=[8:48] policy=[a] prio=[] group=[] "
           "status=[failed] checker=[faulty] online=[offline] interface=[] port=[] shown=[]\n"}}},
    {"ThePrefixOfAPathLineIsFiveCharactersWhateverTheyAre",
     {{{HEADER, SIZE, GROUP, "    |1:0:0:1 xab 8:16 active ready running",
        "`xxxx2:0:0:1 xac 8:32 active ready running"},
       DEVICE_TEXT + PATH_TEXT + LAST_PATH_TEXT}}},
    {"TheSixthTokenRunsToTheEndOfTheLine",
     {{{HEADER, SIZE, GROUP, "| |- 1:0:0:1 xab 8:16 active ready running and  more  "},
       DEVICE_TEXT + "  path node=[1:0:0:1] name=[xab] id=[8:16] policy=[service-time 0] prio=[50] "
                     "group=[active] status=[active] checker=[ready] online=[running and  more  ] "
                     "interface=[] port=[] shown=[]\n"}}},
};

class ListingBlock : public Listing, public testing::WithParamInterface<Rule<BlockCase>> {};

} // namespace

TEST_P(ListingBlock, GivesDevices) {
    for (const BlockCase &row : GetParam().cases) {
        SCOPED_TRACE(joined(row.listing));
        expectGood(row.listing, row.devices);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ListingBlock, testing::ValuesIn(BLOCK_RULES), nameOfRule);

TEST_F(Listing, ATextWithoutAFinalNewlineIsReadToItsEndAndCountsOneLineLess) {
    EXPECT_EQ(parse(HEADER + "\n" + SIZE + "\n" + GROUP + "\n" + PATH), &EC_info_ok);
    EXPECT_EQ(lines, 4U);
    EXPECT_EQ(deviceListText(head), DEVICE_TEXT + PATH_TEXT);
}

TEST_F(Listing, ABlockWithoutAnyGroupGivesADeviceWithAnEmptyPathList) {
    expectGood({HEADER, SIZE}, DEVICE_TEXT);
    ASSERT_NE(head->next, nullptr);
    ASSERT_NE(head->next->pdev, nullptr);
    EXPECT_TRUE(head->next->pdev->end);
}

TEST_F(Listing, TheBlockEndsAtALineWhoseFirstCharacterIsNeitherABarNorABackquote) {
    for (const std::string end : {"", "     ", "x", "\t| |- 1:0:0:1 xad 8:48 active ready running",
                                  "- |- 1:0:0:1 xad 8:48 active ready running"}) {
        SCOPED_TRACE(end);
        expectGood({HEADER, SIZE, GROUP, PATH, end, LAST_PATH}, DEVICE_TEXT + PATH_TEXT);
    }
}

// ---- header

namespace {

// A header, and the device that it gives.
struct HeaderCase {
    std::string header;
    std::string device;
};

const Rule<HeaderCase> HEADER_RULES[] = {
    {"AHeaderWithoutAliasGivesTheWwidInBothFields",
     {{"36000d310001 dm-3 KORVEL,QVX", deviceText("36000d310001", "36000d310001", "3")},
      {"(36000d310001) dm-3 KORVEL,QVX", deviceText("36000d310001", "36000d310001", "3")}}},
    {"BlanksBehindTheProductAndBeforeTheCommaAreAccepted",
     {{"a (w) dm-3 KORVEL,QVX    ", deviceText("a", "w", "3")},
      {"a (w) dm-3    KORVEL     ,QVX", deviceText("a", "w", "3")},
      {"a (w) dm-3 NVME    ,KORVELQVX   ", deviceText("a", "w", "3", "NVME", "KORVELQVX")}}},
    {"HuaweiAndHitachiAreAcceptedWithAnyProductAndNormalised",
     {{"a (w) dm-3 HUAWEI,XSG1", deviceText("a", "w", "3", "HUAWEI", "XSG1")},
      {"a (w) dm-3 HUAWEI  ,anything at all", deviceText("a", "w", "3", "HUAWEI", "XSG1")},
      {"a (w) dm-3 HUAWEI,", deviceText("a", "w", "3", "HUAWEI", "XSG1")},
      {"a (w) dm-3 HITACHI,OPEN-V", deviceText("a", "w", "3", "HITACHI", "DF")},
      {"a (w) dm-3 HITACHI ,", deviceText("a", "w", "3", "HITACHI", "DF")}}},
    {"AVendorWordInTheAliasDecidesTheVendorInTheOrderNvmeHuaweiHitachi",
     {{"HUAWEI_old (w) dm-3 KORVEL,QVX", deviceText("HUAWEI_old", "w", "3", "HUAWEI", "XSG1")},
      {"myHITACHI (w) dm-3 KORVEL,QVX", deviceText("myHITACHI", "w", "3", "HITACHI", "DF")},
      {"NVME1 (w) dm-3 HITACHI,OPEN", deviceText("NVME1", "w", "3", "NVME", "KORVELQVX")},
      {"HITACHI1 (w) dm-3 HUAWEI,x", deviceText("HITACHI1", "w", "3", "HUAWEI", "XSG1")},
      {"a (w) dm-3 HITACHI,HUAWEI NVME", deviceText("a", "w", "3", "NVME", "KORVELQVX")},
      {"huawei (w) dm-3 KORVEL,QVX", deviceText("huawei", "w", "3")}}},
    {"TheDmNumberIsTheTextUpToTheNextBlank",
     {{"a (w) dm-12345 KORVEL,QVX", deviceText("a", "w", "12345")},
      {"a (w) dm- KORVEL,QVX", deviceText("a", "w", "")},
      {"a (w) dm-1x dm-2 KORVEL,QVX", deviceText("a", "w", "1x")}}},
    {"AHeaderWithoutADmNumberKeepsItEmptyAndIsTokenisedAsAWhole",
     {{"a (w) KORVEL,QVX", deviceText("a", "w", "")},
      {"a KORVEL,QVX", deviceText("a", "KORVEL,QVX", "")},
      {" KORVEL,QVX", deviceText("KORVEL,QVX", "KORVEL,QVX", "")},
      {"dm-3 KORVEL,QVX", deviceText("dm-3", "KORVEL,QVX", "")}}},
    {"BlanksAroundTheTokensOfAHeaderAreSkippedAndAThirdTokenIsIgnored",
     {{"   a    (w)    dm-3 KORVEL,QVX", deviceText("a", "w", "3")},
      {"   w   dm-3 KORVEL,QVX", deviceText("w", "w", "3")},
      {"a (w) b c d dm-3 KORVEL,QVX", deviceText("a", "w", "3")},
      {"a\tb (w) dm-3 KORVEL,QVX", deviceText("a\tb", "w", "3")}}},
    {"ParenthesesAreRemovedTwiceFromTheWwidAndOnceFromANameThatIsTheWwid",
     {{"a ((w)) dm-3 KORVEL,QVX", deviceText("a", "w", "3")},
      {"a (((w))) dm-3 KORVEL,QVX", deviceText("a", "(w)", "3")},
      {"((w)) dm-3 KORVEL,QVX", deviceText("(w)", "w", "3")},
      {"(a) (w dm-3 KORVEL,QVX", deviceText("(a)", "w", "3")},
      {"a w) dm-3 KORVEL,QVX", deviceText("a", "w", "3")},
      {"a ( dm-3 KORVEL,QVX", deviceText("a", "", "3")},
      {"a () dm-3 KORVEL,QVX", deviceText("a", "", "3")}}},
};

class ListingHeader : public Listing, public testing::WithParamInterface<Rule<HeaderCase>> {};

} // namespace

TEST_P(ListingHeader, GivesADevice) {
    for (const HeaderCase &row : GetParam().cases) {
        expectHeader(row.header, row.device);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ListingHeader, testing::ValuesIn(HEADER_RULES), nameOfRule);

TEST_F(Listing, TokensLongerThanTheirFieldsAreCut) {
    const std::string text(200, '7');
    expectGood({text + " (" + text + ") dm-" + text + " KORVEL,QVX", "size=" + text + " x",
                "|-+- policy='" + text + "' prio=" + text + " status=" + text,
                "| `- " + text + " " + text + " " + text + " " + text + " " + text + " " + text},
               deviceText(std::string(65, '7'), std::string(65, '7'), std::string(30, '7'), "KORVEL", "QVX",
                          std::string(30, '7')) +
                   "  path node=[" + std::string(30, '7') + "] name=[" + std::string(30, '7') + "] id=[" +
                   std::string(30, '7') + "] policy=[" + std::string(30, '7') + "] prio=[" +
                   std::string(30, '7') + "] group=[" + std::string(30, '7') + "] status=[" +
                   std::string(30, '7') + "] checker=[" + std::string(30, '7') + "] online=[" +
                   std::string(30, '7') + "] interface=[] port=[] shown=[]\n");
}

// ---- what is refused

namespace {

// The lines of a listing, who refuses which of them, and the devices that are left.
struct MalformedCase {
    Lines listing;
    std::string function;
    unsigned int line;
    std::string devices;
};

const Rule<MalformedCase> MALFORMED_RULES[] = {
    // The vendor stands in front of the last " dm-": the pattern for HITACHI lets anything follow.
    {"AHeaderWithoutABlankBehindTheDmNumberIsMalformed",
     {{{"a (w) HITACHI,OPEN dm-3", SIZE}, "parseQueryCmdResultList", 0, ""},
      {{HEADER, SIZE, GROUP, PATH, "a (w) HUAWEI,x dm-"},
       "parseQueryCmdResultList",
       4,
       DEVICE_TEXT + PATH_TEXT}}},
    {"AHeaderWithoutAnyNameIsMalformed",
     {{{" dm-3 KORVEL,QVX", SIZE}, "parseQueryCmdResultList", 0, ""},
      {{"warning", "", "    dm-3 KORVEL,QVX", SIZE}, "parseQueryCmdResultList", 2, ""}}},
    {"AFirstLineOfTheBlockWithoutAPolicyIsMalformed",
     {{{HEADER, SIZE, PATH}, "processPathInfo", 2, ""},
      {{HEADER, SIZE, "|policy='x' prio=1 status=a"}, "processPathInfo", 2, ""},
      {{HEADER, SIZE, "`     "}, "processPathInfo", 2, ""}}},
    {"AFailedBlockKeepsTheDevicesBeforeIt",
     {{{HEADER, SIZE, GROUP, PATH, "mpathb (36000d310002) dm-4 KORVEL,QVX", SIZE, PATH},
       "processPathInfo",
       6,
       DEVICE_TEXT + PATH_TEXT},
      {{HEADER, SIZE, GROUP, PATH, "mpathb (36000d310002) dm-4 KORVEL,QVX", SIZE, GROUP, PATH,
        "| |- 1 2 3 4 5", "mpathc (36000d310003) dm-5 KORVEL,QVX", SIZE},
       "processPathInfo",
       8,
       DEVICE_TEXT + PATH_TEXT}}},
    {"ALineOfTheBlockShorterThanSixCharactersIsMalformedBeforeAnyPathIsRead",
     {
         {{HEADER, SIZE, GROUP, PATH, "| |- "}, "parseQueryCmdResultList", 4, ""},
         {{HEADER, SIZE, "|"}, "parseQueryCmdResultList", 2, ""},
         {{HEADER, SIZE, "    `"}, "parseQueryCmdResultList", 2, ""},
         {{HEADER, SIZE, PATH, "|"}, "parseQueryCmdResultList", 3, ""},
         {{HEADER, SIZE, GROUP, "| |- 1"}, "processPathInfo", 3, ""} // six are enough to be read
     }},
    {"ATabIsNoSeparator",
     {{{HEADER, SIZE, GROUP, "| |- 1:0:0:1\txab\t8:16\tactive\tready\trunning"}, "processPathInfo", 3, ""}}},
};

class ListingMalformed : public Listing, public testing::WithParamInterface<Rule<MalformedCase>> {};

} // namespace

TEST_P(ListingMalformed, IsRefusedAtItsLine) {
    for (const MalformedCase &row : GetParam().cases) {
        expectMalformed(row.listing, row.function, row.line, row.devices);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ListingMalformed, testing::ValuesIn(MALFORMED_RULES), nameOfRule);

TEST_F(Listing, AHeaderThatIsTheLastLineIsMalformedAndNamesTheNumberOfLines) {
    EXPECT_EQ(parse(HEADER), &EC_parse_cmd_out);
    EXPECT_EQ(deviceListText(head), "");
    EXPECT_EQ(lines, 1U);
    EXPECT_EQ(complaints(), Lines{malformed("parseQueryCmdResultList", 1)});
    dumps.forgetLogs();
    EXPECT_EQ(parse("w\n" + HEADER + "\n" + SIZE + "\n" + GROUP + "\n" + PATH + "\n" + HEADER),
              &EC_parse_cmd_out);
    EXPECT_EQ(deviceListText(head), DEVICE_TEXT + PATH_TEXT);
    EXPECT_EQ(complaints(), Lines{malformed("parseQueryCmdResultList", 6)});
}

// ---- group lines

TEST_F(Listing, APolicyWithoutAClosingQuoteIsMalformed) {
    for (const std::string line : {"|-+- policy='service-time 0 prio=50 status=active",
                                   "|-+- policy=", "|-+- policy='", "|-+- policy=service-time"}) {
        expectMalformed({HEADER, SIZE, line}, "processPathInfo", 2, "");
        expectMalformed({HEADER, SIZE, GROUP, PATH, line}, "processPathInfo", 4, "");
    }
}

TEST_F(Listing, APriorityWithoutABlankBehindItIsMalformed) {
    for (const std::string line :
         {"|-+- policy='a' prio=50", "|-+- policy='a' prio=", "|-+- policy='a'prio=5x"}) {
        expectMalformed({HEADER, SIZE, line}, "processPathInfo", 2, "");
    }
}

TEST_F(Listing, GroupLinesYieldWhatTheyHoldAndEmptyTextsForWhatTheyLack) {
    const struct {
        std::string line, policy, priority, status;
    } rows[] = {
        {"|-+- policy='service-time 0' prio=50 status=active", "service-time 0", "50", "active"},
        {"|-+- policy='service-time 0' status=active", "service-time 0", "", "active"},
        {"|-+- policy='service-time 0'", "service-time 0", "", ""},
        {"|-+- policy='service-time 0' prio=50 ", "service-time 0", "50", ""},
        {"|-+- policy='' prio= status=", "", "", ""},
        {"|-+- policy='a'prio=1 status=enabled more words", "a", "1", "enabled"},
        {"|-+- policy=xa' prio=-1 status=failed]", "a", "-1",
         "failed]"}, // whatever stands for the opening quote
        {"|-+- some words policy='a' prio=1 status=b", "a", "1", "b"},
        {"|-+- policy='prio=9 ' prio=1 status=b", "prio=9 ", "1", "b"},
        {"|-+- policy='a' status=b prio=1 ", "a", "1", ""}, // the status is looked for behind the priority
        {"|-+- policy='a' status=b prio=1 status=c", "a", "1", "c"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        dumps.forgetLogs();
        expectGood({HEADER, SIZE, row.line, PATH},
                   DEVICE_TEXT + "  path node=[1:0:0:1] name=[xab] id=[8:16] policy=[" + row.policy +
                       "] prio=[" + row.priority + "] group=[" + row.status +
                       "] status=[active] checker=[ready] online=[running] interface=[] port=[] shown=[]\n");
    }
}

TEST_F(Listing, ALaterLineStartsAGroupOnlyWithThePolicyAtItsSixthCharacter) {
    expectMalformed({HEADER, SIZE, GROUP, PATH, "`-+-  policy='a' prio=1 status=b"}, "processPathInfo", 4,
                    "");
    expectGood({HEADER, SIZE, GROUP, "`-+-  policy='a' 2 3 4 5 6"},
               DEVICE_TEXT +
                   "  path node=[policy='a'] name=[2] id=[3] policy=[service-time 0] prio=[50] "
                   "group=[active] status=[4] checker=[5] online=[6] interface=[] port=[] shown=[]\n");
}

// ---- path lines

TEST_F(Listing, RunsOfBlanksBetweenTheTokensOfAPathAreAccepted) {
    dumps.forgetLogs();
    expectGood({HEADER, SIZE, GROUP, "| |-   1:0:0:1    xab  8:16   active     ready  running"},
               DEVICE_TEXT + PATH_TEXT);
}

TEST_F(Listing, APathLineOfFewerThanSixTokensIsMalformed) {
    for (const std::string line :
         {"| |- 1:0:0:1 xab 8:16 active ready", "| |- 1:0:0:1 xab 8:16 active ready   ", "| |-      ",
          "| |- 1:0:0:1", "| |- #:#:#:# -   #:#  failed faulty"}) {
        expectMalformed({HEADER, SIZE, GROUP, line}, "processPathInfo", 3, "");
    }
}

// ---- processPathInfo by itself

namespace {

// The lines as the parser hands them on, cut in place.
struct CutLines {
    explicit CutLines(const Lines &texts) {
        for (const std::string &text : texts) {
            fenced.push_back(std::make_unique<FencedText>(text));
            lines.push_back(fenced.back()->text());
        }
    }
    ~CutLines() {
        for (const auto &text : fenced) {
            EXPECT_TRUE(text->fencesStand());
        }
    }
    CutLines(const CutLines &) = delete;
    CutLines &operator=(const CutLines &) = delete;
    std::vector<std::unique_ptr<FencedText>> fenced;
    std::vector<char *> lines;
};

} // namespace

TEST_F(Listing, PathInfoReadsOnlyItsRangeOfLines) {
    CutLines cut({"not read", GROUP, PATH, LAST_PATH, "not read"});
    s_path_dev *paths = mallocPathDev();
    EXPECT_EQ(processPathInfo(cut.lines.data(), 1, 3, paths), &EC_info_ok);
    EXPECT_EQ(pathListText(paths), PATH_TEXT);
    freePathDev(paths);
}

TEST_F(Listing, PathInfoOfAnEmptyRangeIsASuccessWithoutPaths) {
    CutLines cut({PATH});
    s_path_dev *paths = mallocPathDev();
    EXPECT_EQ(processPathInfo(cut.lines.data(), 1, 1, paths), &EC_info_ok);
    EXPECT_EQ(processPathInfo(cut.lines.data(), 1, 0, paths), &EC_info_ok);
    EXPECT_EQ(pathListText(paths), "");
    EXPECT_EQ(complaints(), Lines());
    freePathDev(paths);
}

TEST_F(Listing, PathInfoKeepsThePathsBeforeAFailingLineAndNamesItsIndex) {
    CutLines cut({"0", "1", GROUP, PATH, LAST_PATH, "| |- too few tokens", PATH_2});
    s_path_dev *paths = mallocPathDev();
    EXPECT_EQ(processPathInfo(cut.lines.data(), 2, 7, paths), &EC_parse_cmd_out);
    EXPECT_EQ(pathListText(paths), PATH_TEXT + LAST_PATH_TEXT);
    EXPECT_EQ(complaints(), Lines{malformed("processPathInfo", 5)});
    freePathDev(paths);
}

// ---- reuse

TEST_F(Listing, AShorterListingReusesTheNodesAndHidesTheSpareOnes) {
    const Lines block = {SIZE, GROUP, PATH, LAST_PATH};
    Lines three;
    for (const std::string header :
         {"a (1) dm-1 KORVEL,QVX", "b (2) dm-2 KORVEL,QVX", "c (3) dm-3 KORVEL,QVX"}) {
        three.push_back(header);
        three.insert(three.end(), block.begin(), block.end());
    }
    ASSERT_EQ(parse(three), &EC_info_ok);
    const std::string first = deviceListText(head);
    s_dravik *const nodes[] = {head->next, head->next->next, head->next->next->next};
    s_path_dev *const path_nodes[] = {nodes[0]->pdev, nodes[0]->pdev->next, nodes[0]->pdev->next->next};
    dumps.forgetLogs();

    // Every field that the second listing leaves out must be empty, whatever the first one left in the node.
    expectGood({"w KORVEL,QVX", "", "|-+- policy=''", "| |- 1 2 3 4 5 6", "(x) dm-7 HUAWEI,", "no size"},
               deviceText("w", "KORVEL,QVX", "") +
                   "  path node=[1] name=[2] id=[3] policy=[] prio=[] group=[] status=[4] checker=[5] "
                   "online=[6] interface=[] port=[] shown=[]\n" +
                   deviceText("x", "x", "7", "HUAWEI", "XSG1"));
    EXPECT_EQ(dumps.commandLog(), "");
    EXPECT_EQ(head->next, nodes[0]);
    EXPECT_EQ(nodes[0]->next, nodes[1]);
    EXPECT_EQ(nodes[1]->next, nodes[2]);
    EXPECT_EQ(nodes[2]->next, nullptr);
    EXPECT_EQ(nodes[0]->pdev, path_nodes[0]);
    EXPECT_EQ(path_nodes[0]->next, path_nodes[1]);
    EXPECT_EQ(path_nodes[1]->next, path_nodes[2]);

    ASSERT_EQ(parse(three), &EC_info_ok);
    EXPECT_EQ(deviceListText(head), first);
    EXPECT_EQ(dumps.commandLog(), "");
}

TEST_F(Listing, AListingThatFailsAtItsFirstBlockLeavesTheListEmptyAndTheNextOneIsRead) {
    ASSERT_EQ(parse(Lines{HEADER, SIZE, GROUP, PATH}), &EC_info_ok);
    expectMalformed({HEADER, SIZE, GROUP, "| |- 1"}, "processPathInfo", 3, "");
    dumps.forgetLogs();
    expectGood({HEADER, SIZE, GROUP_2, PATH_2}, DEVICE_TEXT + PATH_2_TEXT);
}

TEST_F(Listing, EveryNodeAllocationIsLoggedOnceInTheOrderOfTheParsing) {
    ASSERT_EQ(parse(Lines{HEADER, SIZE, GROUP, PATH, LAST_PATH}), &EC_info_ok);
    EXPECT_EQ(dumps.commandLogLines(), (Lines{"INFO  mallocDravik # Malloc struct s_dravik.",
                                              "INFO  mallocPathDev # Malloc struct s_path_dev.",
                                              "INFO  mallocPathDev # Malloc struct s_path_dev.",
                                              "INFO  mallocPathDev # Malloc struct s_path_dev."}));
}

// ---- the older parser

TEST_F(Listing, TheOlderParserReadsABlockAsTheOtherDoes) {
    EXPECT_EQ(parseOlder(joined({HEADER, SIZE, GROUP, PATH, LAST_PATH, GROUP_2, PATH_2})), &EC_info_ok);
    EXPECT_EQ(deviceListText(head), DEVICE_TEXT + PATH_TEXT + LAST_PATH_TEXT + PATH_2_TEXT);
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(Listing, TheOlderParserTakesHuaweiAndHitachiForTheMakersOwn) {
    EXPECT_EQ(parseOlder(joined({"a (w) dm-3 HUAWEI,XSG1", SIZE, "b (x) dm-4 HITACHI,OPEN", SIZE,
                                 "c (y) dm-5 NVME,KORVELQVX", SIZE, "HUAWEI (z) dm-6 KORVEL,QVX", SIZE})),
              &EC_info_ok);
    EXPECT_EQ(deviceListText(head), deviceText("a", "w", "3", "KORVEL", "QVX", "10G") +
                                        deviceText("b", "x", "4", "KORVEL", "QVX", "10G") +
                                        deviceText("c", "y", "5", "NVME", "KORVELQVX", "10G") +
                                        deviceText("HUAWEI", "z", "6", "KORVEL", "QVX", "10G"));
}

TEST_F(Listing, TheOlderParserDropsEmptyLinesSoTheyNeitherEndABlockNorStandForASizeLine) {
    EXPECT_EQ(parseOlder("\n\n" + HEADER + "\n\n\n" + SIZE + "\n\n" + GROUP + "\n\n" + PATH + "\n\n\n"),
              &EC_info_ok);
    EXPECT_EQ(deviceListText(head), DEVICE_TEXT + PATH_TEXT);
    EXPECT_EQ(complaints(), Lines());
}

TEST_F(Listing, TheOlderParserCountsOnlyTheLinesItKeeps) {
    EXPECT_EQ(parseOlder("\n\n" + HEADER + "\n\n" + SIZE + "\n\n" + PATH + "\n"), &EC_parse_cmd_out);
    EXPECT_EQ(complaints(), Lines{malformed("processPathInfo", 2)});
    dumps.forgetLogs();
    EXPECT_EQ(parseOlder("\n\n" + HEADER + "\n\n"), &EC_parse_cmd_out); // the header is its last line
    EXPECT_EQ(complaints(), Lines{malformed("parseQueryCmdResult", 1)});
    EXPECT_EQ(deviceListText(head), "");
}

// ---- out of memory

TEST_F(Listing, ADevicePastTheLargestListEndsTheParsingWithoutALogLine) {
    log_started = false; // a line per node is another test's subject
    std::string text;
    const std::string block = "a (1) dm-1 KORVEL,QVX\nsize=1G\n";
    text.reserve(block.size() * (MAX_LIST_NODES + 1));
    for (unsigned int i = 0; i < MAX_LIST_NODES; ++i) {
        text += block;
    }
    EXPECT_EQ(parse(text), &EC_info_ok);
    log_started = true;
    dumps.forgetLogs();
    EXPECT_EQ(parse(text + block), &EC_molloc_failed);
    EXPECT_EQ(dumps.commandLog(), "");
    unsigned int valid = 0;
    for (const s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        ++valid;
    }
    EXPECT_EQ(valid, MAX_LIST_NODES);
}

TEST_F(Listing, APathPastTheLargestListEndsTheParsingWithoutALogLine) {
    log_started = false;
    std::string text = HEADER + "\n" + SIZE + "\n" + GROUP + "\n";
    const std::string path = "| |- 1 x 3 4 5 6\n";
    text.reserve(text.size() + path.size() * (MAX_LIST_NODES + 1));
    for (unsigned int i = 0; i < MAX_LIST_NODES; ++i) {
        text += path;
    }
    EXPECT_EQ(parse(text), &EC_info_ok);
    log_started = true;
    dumps.forgetLogs();
    EXPECT_EQ(parse(text + path), &EC_molloc_failed);
    EXPECT_EQ(dumps.commandLog(), "");
    EXPECT_EQ(deviceListText(head), ""); // the device whose paths failed is not among the valid ones
}

// The parser of the multipath tool's listing against a second reader: listings cut at every byte, generated
// and damaged ones, lines of a megabyte.
#include "topology/listing.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "common/text_split.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/listing_reference.h"
#include "tests/support/seeded_random.h"

namespace {

using Lines = std::vector<std::string>;

const std::string LISTING = "Nov 21 10:00:00 | a warning of the tool\n"
                            "mpatha (36000d310001) dm-3 KORVEL  ,QVX\n"
                            "size=10G features='0' hwhandler='0' wp=rw\n"
                            "|-+- policy='service-time 0' prio=50 status=active\n"
                            "| |- 1:0:0:1 xab 8:16 active ready running\n"
                            "| `- 2:0:0:1 xac 8:32 active ready running\n"
                            "`-+- policy='round-robin 0' prio=10 status=enabled\n"
                            "  `- 3:0:0:1 xad 8:48 failed faulty offline\n"
                            "36000d310002 dm-14 NVME,KORVELQVX\n"
                            "size=1.5T features='1 queue_if_no_path' hwhandler='1 alua' wp=rw\n"
                            "`-+- policy='queue-length 0' prio=1 status=enabled\n"
                            "  `- 4:0:0:1 xae 8:64 active ready running\n"
                            "\n"
                            "mpathc (36000d310003) dm-5 OTHER,Product\n"
                            "size=2G features='0'\n"
                            "`-+- policy='service-time 0' prio=1 status=active\n"
                            "  `- 5:0:0:1 xaf 8:80 active ready running\n"
                            "vol_d (36000d310004) dm-6 HUAWEI,XSG1  \n"
                            "size=3G\n";

std::string hex(const std::string &text) {
    std::string shown;
    for (const char c : text) {
        char piece[8];
        const auto byte = static_cast<unsigned char>(c);
        snprintf(piece, sizeof(piece), byte >= 0x20 && byte < 0x7f ? "%c" : "\\x%02x", byte);
        shown += piece;
    }
    return shown;
}

// The parser's outcome in the words of the second reader, read off its list, its log and its line count.
class ListingHostile : public testing::Test {
  protected:
    ListingHostile() : head(mallocDravik()) {}
    ~ListingHostile() override {
        freeDravik(head);
    }

    ListingOutcome parserOutcome(const std::string &text, bool older) {
        initDravik(head);
        dumps.forgetLogs();
        // A block of its own, so that a sanitizer sees one byte too far, and behind it the fences.
        const std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
        std::vector<char> exact(copy);
        unsigned int lines = 0;
        const s_ecItems *result = older ? parseQueryCmdResult(exact.data(), head)
                                        : parseQueryCmdResultList(exact.data(), head, &lines);
        ListingOutcome outcome;
        outcome.lines = lines;
        outcome.devices = deviceListText(head);
        EXPECT_EQ(exact.back(), '\0');

        Lines complaints;
        for (const std::string &message : dumps.commandLogMessages()) {
            if (message.find("INFO  Malloc struct ") != 0) {
                complaints.push_back(message);
            }
        }
        if (result == &EC_parse_cmd_out) {
            EXPECT_EQ(complaints.size(), 1U);
            const std::string front = "ERROR Parse ";
            const std::string back = "th line in 'velomux -ll' output failed.";
            const std::string complaint = complaints.empty() ? "" : complaints[0];
            const size_t digits = complaint.find(back);
            if (complaint.rfind(front, 0) == 0 && digits != std::string::npos) {
                EXPECT_EQ(digits + back.size(), complaint.size());
                outcome.malformed = std::stoul(complaint.substr(front.size(), digits - front.size()));
            }
        } else {
            EXPECT_EQ(result, &EC_info_ok);
            EXPECT_EQ(complaints, Lines());
        }

        FencedText fenced(text);
        initDravik(head);
        const s_ecItems *again = older ? parseQueryCmdResult(fenced.text(), head)
                                       : parseQueryCmdResultList(fenced.text(), head, &lines);
        EXPECT_TRUE(fenced.fencesStand());
        EXPECT_EQ(again, result);
        EXPECT_EQ(deviceListText(head), outcome.devices);
        return outcome;
    }

    // Both parsers answer as the second reader does.
    void expectAsReference(const std::string &text) {
        const ListingOutcome expected = referenceParse(text.c_str());
        ASSERT_EQ(outcomeText(parserOutcome(text, false)), outcomeText(expected)) << hex(text);
        ListingOutcome older = referenceParse(text.c_str(), true);
        older.lines = 0; // it reports none
        ASSERT_EQ(outcomeText(parserOutcome(text, true)), outcomeText(older)) << hex(text);
    }

    DumpsFolder dumps;
    s_dravik *head;
    std::mt19937 random = seededRandom(17);
    size_t below(size_t bound) {
        return random() % bound;
    }
    std::string oneOf(const Lines &choices) {
        return choices[below(choices.size())];
    }
};

} // namespace

// The second reader itself must not be a copy of the parser's faults: here it is held to a listing by hand.
TEST_F(ListingHostile, TheSecondReaderKnowsTheListing) {
    const std::string ends = "] interface=[] port=[] shown=[]\n";
    EXPECT_EQ(
        outcomeText(referenceParse(LISTING)),
        "lines 20, good\n"
        "device alias=[mpatha] wwid=[36000d310001] dm=[3] vendor=[KORVEL] product=[QVX] size=[10G] vdisk=[]\n"
        "  path node=[1:0:0:1] name=[xab] id=[8:16] policy=[service-time 0] prio=[50] group=[active] "
        "status=[active] checker=[ready] online=[running" +
            ends +
            "  path node=[2:0:0:1] name=[xac] id=[8:32] policy=[service-time 0] prio=[50] group=[active] "
            "status=[active] checker=[ready] online=[running" +
            ends +
            "  path node=[3:0:0:1] name=[xad] id=[8:48] policy=[round-robin 0] prio=[10] group=[enabled] "
            "status=[failed] checker=[faulty] online=[offline" +
            ends +
            "device alias=[36000d310002] wwid=[36000d310002] dm=[14] vendor=[NVME] product=[KORVELQVX] "
            "size=[1.5T] vdisk=[]\n"
            "  path node=[4:0:0:1] name=[xae] id=[8:64] policy=[queue-length 0] prio=[1] group=[enabled] "
            "status=[active] checker=[ready] online=[running" +
            ends +
            "device alias=[vol_d] wwid=[36000d310004] dm=[6] vendor=[HUAWEI] product=[XSG1] size=[3G] "
            "vdisk=[]\n");
}

TEST_F(ListingHostile, AListingCutAtAnyByteIsReadOrRefusedAsItsRulesSay) {
    for (size_t length = 0; length <= LISTING.size(); ++length) {
        SCOPED_TRACE(length);
        expectAsReference(LISTING.substr(0, length));
    }
}

TEST_F(ListingHostile, AListingWithAnyOneByteReplacedIsReadOrRefusedAsItsRulesSay) {
    for (size_t place = 0; place < LISTING.size(); ++place) {
        SCOPED_TRACE(place);
        for (const char c : {' ', '\n', '\0', '\'', '|', '\x80'}) {
            std::string text = LISTING;
            text[place] = c;
            expectAsReference(text);
        }
    }
}

TEST_F(ListingHostile, AListingWithAnyOneByteLeftOutIsReadOrRefusedAsItsRulesSay) {
    for (size_t place = 0; place < LISTING.size(); ++place) {
        SCOPED_TRACE(place);
        std::string text = LISTING;
        text.erase(place, 1);
        expectAsReference(text);
    }
}

TEST_F(ListingHostile, ThousandsOfShuffledListingsAreReadOrRefusedAsTheirRulesSay) {
    const Lines headers = {"mpatha (36000d310001) dm-3 KORVEL  ,QVX",
                           "36000d310002 dm-14 NVME,KORVELQVX",
                           "vol_d (36000d310004) dm-6 HUAWEI,XSG1  ",
                           "h (w) dm-7 HITACHI,OPEN-V",
                           "x HUAWEI,a dm-3",
                           " dm-3 KORVEL,QVX",
                           "a ((b)) KORVEL,QVX",
                           "() dm-1 KORVEL,QVX",
                           "a" + std::string(90, 'b') + " (" + std::string(70, '3') + ") dm-" +
                               std::string(40, '1') + " KORVEL,QVX",
                           "mpathc (36000d310003) dm-5 OTHER,Product"};
    const Lines sizes = {"size=10G features='0'", "size=", "no size", "", "xsize=" + std::string(50, '9')};
    const Lines groups = {"|-+- policy='service-time 0' prio=50 status=active",
                          "`-+- policy='round-robin 0' prio=10 status=enabled",
                          "`-+- policy='a' prio=",
                          "`-+- policy='a'",
                          "`-+- policy=",
                          "`-+- policy='" + std::string(60, 'p') + "' prio=" + std::string(60, '1') +
                              " status=" + std::string(60, 's'),
                          "|-+-  policy='a' prio=1 status=b"};
    const Lines paths = {"| |- 1:0:0:1 xab 8:16 active ready running",
                         "  `- 3:0:0:1 xad 8:48 failed faulty offline",
                         "  `-   1  2   3 4  5    6 7 8  ",
                         "  `- 1 2 3 4 5 ",
                         "  `-",
                         "|",
                         "    ",
                         "| `- " + std::string(40, 'a') + " " + std::string(40, 'b') + " " +
                             std::string(40, 'c') + " " + std::string(40, 'd') + " " + std::string(40, 'e') +
                             " " + std::string(40, 'f')};
    // The later choices of each row are the odd ones: mostly the good ones are taken, so that listings get long.
    const auto pick = [this](const Lines &choices) {
        return below(4) != 0 ? choices[below(2)] : oneOf(choices);
    };
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (size_t device = below(4) + 1; device > 0; --device) {
            text += pick(headers) + "\n" + pick(sizes) + "\n";
            for (size_t group = below(4); group > 0; --group) {
                text += pick(groups) + "\n";
                for (size_t path = below(4); path > 0; --path) {
                    text += pick(paths) + "\n";
                }
            }
        }
        if (below(3) == 0) {
            text.resize(below(text.size() + 1));
        }
        SCOPED_TRACE(round);
        expectAsReference(text);
        if (HasFatalFailure()) {
            return;
        }
    }
}

// A line is taken for a header exactly when one of the four patterns matches it: then, and only then, a device or
// a malformed header comes of it.
TEST_F(ListingHostile, ALineIsAHeaderExactlyWhenOneOfTheFourPatternsMatchesIt) {
    const Lines pieces = {" ",    "  ",   "KORVEL",    "NVME",       "HITACHI", "HUAWEI",
                          ",",    "QVX",  "KORVELQVX", "a (w) dm-3", "\t",      "x",
                          "\r",   ",QVX", " ,",        "KORVEL,QVX", " NVME ,", "\x80\xff",
                          "QVX ", "(",    " HITACHI,", "HUAWE",      "dm-",     " KORVEL  ,QVX  "};
    log_started = false;
    int headers = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string line;
        for (size_t count = below(9); count > 0; --count) {
            line += oneOf(pieces);
        }
        bool matches = false;
        for (const char *pattern : {DRAVIK_END_REG, DRAVIK_NVME_END_REG, RL_END_REG, HW_END_REG}) {
            matches = matches || regMatch(pattern, line.c_str()) == 1;
        }
        std::string text = line + "\nsize=1G\n";
        unsigned int lines = 0;
        initDravik(head);
        const s_ecItems *result = parseQueryCmdResultList(text.data(), head, &lines);
        const bool recognised = result == &EC_parse_cmd_out || firstDravik(head) != nullptr;
        ASSERT_EQ(recognised, matches) << hex(line);
        headers += matches ? 1 : 0;
    }
    log_started = true;
    EXPECT_GT(headers, 2000); // both answers must have been asked for often
    EXPECT_LT(headers, 18000);
}

TEST_F(ListingHostile, LinesOfAMegabyteAreReadAsAnyOther) {
    const std::string mega(1U << 20U, 'm');
    const std::string blanks(1U << 20U, ' ');
    expectAsReference(mega + " (" + mega + ") dm-" + mega + " KORVEL,QVX\nsize=" + mega + "\n|-+- policy='" +
                      mega + "' prio=" + mega + " status=" + mega + "\n| |- " + mega + " " + mega + " " +
                      mega + " " + mega + " " + mega + " " + mega + "\n");
    expectAsReference("a (w)" + blanks + "dm-3 KORVEL" + blanks + ",QVX" + blanks + "\n" + blanks +
                      "\n|-+- " + blanks + "policy='a" + blanks + "' prio=1 status=\n| |- 1" + blanks + "2" +
                      blanks + "3 4 5 6" + blanks + "\n");
    expectAsReference(mega + " KORVEL,QVX");
    expectAsReference("a (w) dm-3 KORVEL,QVX\n\n|" + mega + "\n");
    expectAsReference("a (w) dm-3 KORVEL,QVX\n\n" + blanks + "|\n");
    expectAsReference("a (w) dm-3 KORVEL,QVX\n\n|-+- policy='" + mega);
}

TEST_F(ListingHostile, AMegabyteOfNewlinesIsAMegabyteOfLines) {
    const std::string text(1U << 20U, '\n');
    unsigned int lines = 0;
    FencedText fenced(text);
    EXPECT_EQ(parseQueryCmdResultList(fenced.text(), head, &lines), &EC_info_ok);
    EXPECT_EQ(lines, (1U << 20U) + 1);
    EXPECT_EQ(deviceListText(head), "");
}

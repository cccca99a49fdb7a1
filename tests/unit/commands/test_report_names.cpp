// What counts as a name of the site, the forms of a volume's, and the lines of a text.
#include "commands/report_names.h"

#include <gtest/gtest.h>
#include <vector>

using namespace dravik;

namespace {

// `name` in a text, once it has been learnt as one of that kind.
std::string learnt(Secret kind, const std::string &name) {
    Redactor redactor;
    learnName(&redactor, kind, name);
    return redactor.text(name);
}

} // namespace

TEST(ReportNames, NamesThatTheKernelNumbersAreNoNamesOfTheSite) {
    for (const char *name : {"dm-3", "dm-12", "nvme0", "nvme0n1", "nvme0c1n2", "nvme10n2p3"}) {
        EXPECT_EQ(learnt(Secret::ALIAS, name), name);
    }
}

TEST(ReportNames, NamesThatOnlyLookLikeTheKernelsAreTheSites) {
    for (const char *name : {"nvme0payroll", "sdpay", "dm-7hr", "sdatabase", "dm-", "nvme", "nvmex", "dm-3x",
                             "sda-1", "nvme0n1x", "nvme0n"}) {
        EXPECT_EQ(learnt(Secret::ALIAS, name), "alias-1") << name;
    }
}

TEST(ReportNames, AUserOrAWwidMayBeCalledAsADeviceIs) {
    EXPECT_EQ(learnt(Secret::USER, "sdean"), "user-1");
    EXPECT_EQ(learnt(Secret::USER, "dm-3"), "user-1");
    EXPECT_EQ(learnt(Secret::WWID, "nvme0n1"), "wwid-1");
}

TEST(ReportNames, AVolumesAliasTooLongForTheRecordsIsFoundAsTheyCutIt) {
    const std::string alias = "abcdefghijklmnopqrstuvwxyz_01234567";
    Redactor redactor;
    learnVolume(&redactor, alias, "odd_wwid");
    EXPECT_EQ(
        redactor.text(alias + " " + alias.substr(0, 31) + "odd_wwid " + alias.substr(0, 30) + " odd_wwid"),
        "alias-1 alias-1 alias-1 wwid-1");
}

TEST(ReportNames, EveryLineIsGivenWithoutItsEndTheLastOneToo) {
    const Redactor redactor;
    std::vector<std::string> lines;
    forEachLine(&redactor, "a\n\nb\r\nlast", [&lines](std::string_view line) { lines.emplace_back(line); });
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "", "b\r", "last"}));
    forEachLine(&redactor, "", [](std::string_view) { FAIL(); });
}

TEST(ReportNames, LinesEndWithTheTime) {
    Redactor redactor;
    redactor.limitTime(0);
    const std::string text(200000, '\n');
    EXPECT_THROW(forEachLine(&redactor, text, [](std::string_view) {}), RedactionOverrun);
}

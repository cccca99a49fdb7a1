// The distribution's name from release files as the distributions ship them, and from broken ones.
#include "common/os_name.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

constexpr char LSB_RELEASE[] = "what lsb_release prints";

std::string nameWith(const std::string &path, const std::string &text) {
    FakeHost host;
    host.file(path, text);
    return get_os_name();
}

std::string lsbName(const std::string &text) {
    FakeHost host;
    host.lsbRelease(text);
    return get_os_name();
}

// The release file that there is, or LSB_RELEASE; its text; the name that it gives.
struct NameCase {
    std::string source;
    std::string text;
    std::string name;
};

const Rule<NameCase> NAME_RULES[] = {
    {"ARedHatSystemGivesANameContainingRed",
     {{"/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n",
       "Red Hat Enterprise Linux 8.4 "}}},
    {"ACentOs7SystemGivesANameContainingCentOsLinuxWithATrailingBlank",
     {{"/etc/redhat-release", "CentOS Linux release 7.9.2009 (Core)\n", "CentOS Linux 7.9.2009 "}}},
    {"ALineWithoutAParenthesisLosesItsLastCharacterBeforeTheNewline",
     {{"/etc/oracle-release", "Oracle Linux Server release 7.9\n", "Oracle Linux Server 7."}}},
    {"ALineWithoutANewlineLosesItsLastTwoCharacters",
     {{"/etc/oracle-release", "Oracle Linux Server release 7.9", "Oracle Linux Server 7"}}},
    {"ReleaseAndItsBlankAreSkippedWhereverTheyStand",
     {{"/etc/redhat-release", "a release b release release c(x)\n", "a b c"}}},
    {"ReleaseWithoutItsBlankIsKept", {{"/etc/redhat-release", "a releases 8 (x)\n", "a releases 8 "}}},
    {"TheRedHatNameHoldsAtMost64Characters",
     {{"/etc/redhat-release", std::string(100, 'a') + " (x)\n", std::string(64, 'a')}}},
    {"TheSecondLineOfOsReleaseIsCutAt64Characters",
     {{"/etc/os-release", "NAME=\"SLES\"\nVERSION=\"" + std::string(70, '1') + "\"\n",
       "VERSION=\"" + std::string(55, '1')}}},
    {"SuseReleaseGivesItsFirstLineUpToTheBlankBeforeTheParenthesisAndItsThird",
     {{"/etc/SuSE-release", "SUSE Linux Enterprise Server 12 (x86_64)\nVERSION = 12\nPATCHLEVEL = 6\n",
       "SUSE Linux Enterprise Server 12PATCHLEVEL = 6\n"}}},
    {"ASuseLineWithoutAParenthesisLosesItsLastCharacter",
     {{"/etc/SuSE-release", "SUSE Linux Enterprise Server 12\nVERSION = 12\nPATCHLEVEL = 6",
       "SUSE Linux Enterprise Server 12PATCHLEVEL = 6"}}},
    {"ASuseLineThatBeginsWithAParenthesisLosesOnlyItsLastCharacter",
     {{"/etc/SuSE-release", "(SUSE) (12)\nb\nc", "(SUSE) (12)c"}}},
    {"ASuseNameHoldsAtMost64Characters",
     {{"/etc/SuSE-release", "SUSE (x)\nVERSION\n" + std::string(100, 'p') + "\n",
       "SUSE" + std::string(60, 'p')}}},
    {"ASuseFileOfOneLineGivesThatLine", {{"/etc/SuSE-release", "SUSE 12 (x86_64)\n", "SUSE 12"}}},
    {"AnLsbTextWithoutAParenthesisLosesTheLastCharacterOfTheLineAsRead",
     {// With a newline that character is the newline; without one it belongs to the text or to its quotes.
      {LSB_RELEASE, "Debian 12\n", "Debian 12"},
      {LSB_RELEASE, "\"Debian 12\"\n", "Debian 12"},
      {LSB_RELEASE, "\"Debian 12\"", "Debian 12"},
      {LSB_RELEASE, "Debian 12", "Debian 1"}}},
    {"AllTrailingQuotesAndNewlinesGoButOnlyOneLeadingQuote",
     {{LSB_RELEASE, "\"\"Debian 12\"\"\n", "\"Debian 12"}}},
    {"AnLsbTextThatBeginsWithAParenthesisIsNotCutThere",
     {{LSB_RELEASE, "\"(Debian) (12)\"\n", "(Debian) (12)"}}},
    {"TheLsbLineIsReadOver127Characters",
     {{LSB_RELEASE, std::string(300, 'a') + "\n", std::string(126, 'a')}}},
};

class OsNameOf : public testing::TestWithParam<Rule<NameCase>> {};

} // namespace

TEST_P(OsNameOf, IsMadeOfTheText) {
    for (const NameCase &row : GetParam().cases) {
        EXPECT_EQ(row.name, row.source == LSB_RELEASE ? lsbName(row.text) : nameWith(row.source, row.text));
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, OsNameOf, testing::ValuesIn(NAME_RULES), nameOfRule);

TEST(OsName, TheRedHatLineIsReadOver119Characters) {
    // All but the last 59 characters are skipped; the line ends two short of its 119 characters.
    std::string line;
    for (int i = 0; i < 14; ++i) {
        line += "release ";
    }
    EXPECT_EQ("01234", nameWith("/etc/redhat-release", line + "0123456789\n"));
}

TEST(OsName, WhenBothFilesExistTheOracleFileWins) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n");
    host.file("/etc/oracle-release", "Oracle Linux Server release 8.4\n");
    EXPECT_STREQ("Oracle Linux Server 8.", get_os_name());
    EXPECT_EQ(0, read_redhat_release());
}

TEST(OsName, AnEmptyFirstLineMakesTheRedHatReaderFail) {
    for (const char *text : {"", "\n", "\nRed Hat Enterprise Linux release 8.4 (Ootpa)\n"}) {
        FakeHost host;
        host.file("/etc/redhat-release", text);
        EXPECT_EQ(1, read_redhat_release()) << text;
    }
}

TEST(OsName, ALineOfWhichNothingIsLeftMakesTheRedHatReaderFail) {
    for (const char *text : {"x\n", "(Core)\n", "release (Core)\n"}) {
        FakeHost host;
        host.file("/etc/redhat-release", text);
        EXPECT_EQ(1, read_redhat_release()) << text;
        EXPECT_STREQ("Unknown Linux", get_os_name()) << text;
    }
}

TEST(OsName, OsReleaseWithoutRedHatReleaseGivesItsSecondLineAsItStands) {
    const std::string name = nameWith("/etc/os-release", "NAME=\"SLES\"\nVERSION=\"11.4\"\nID=\"sles\"\n");
    EXPECT_EQ("VERSION=\"11.4\"\n", name);
    EXPECT_NE(std::string::npos, name.find("VERSION="));
    EXPECT_NE(std::string::npos, name.find("11.4"));
}

TEST(OsName, RedHatReleaseGoesBeforeOsRelease) {
    FakeHost host;
    host.file("/etc/os-release", "NAME=\"CentOS Linux\"\nVERSION=\"7 (Core)\"\n");
    host.file("/etc/redhat-release", "CentOS Linux release 7.9.2009 (Core)\n");
    EXPECT_STREQ("CentOS Linux 7.9.2009 ", get_os_name());
}

TEST(OsName, OsReleaseWithoutASecondLineFailsWithoutLookingAtSuseRelease) {
    for (const char *text : {"", "NAME=\"SLES\"", "NAME=\"SLES\"\n", "NAME=\"SLES\"\n\nVERSION=\"12\"\n"}) {
        FakeHost host;
        host.file("/etc/os-release", text);
        host.file("/etc/SuSE-release",
                  "SUSE Linux Enterprise Server 11 (x86_64)\nVERSION = 11\nPATCHLEVEL = 3\n");
        EXPECT_EQ(1, read_suse_release()) << text;
        EXPECT_STREQ("Unknown Linux", get_os_name()) << text;
    }
}

TEST(OsName, AnEmptyFirstLineMakesTheSuseReaderFail) {
    for (const char *text : {"", "\nVERSION = 12\nPATCHLEVEL = 6\n"}) {
        FakeHost host;
        host.file("/etc/SuSE-release", text);
        EXPECT_EQ(1, read_suse_release()) << text;
    }
}

TEST(OsName, LsbReleaseIsAskedWhenNoFileAnswers) {
    FakeHost host;
    host.lsbRelease("\"SUSE Linux Enterprise Server 11 (x86_64)\"\n");
    EXPECT_STREQ("SUSE Linux Enterprise Server 11", get_os_name());
    EXPECT_EQ(1, host.askedFor("lsb_release"));
    EXPECT_EQ(0, read_lsb_release());
}

TEST(OsName, LsbReleaseIsNotAskedWhenAFileAnswers) {
    FakeHost host;
    host.file("/etc/os-release", "NAME=\"SLES\"\nVERSION=\"12-SP5\"\n");
    EXPECT_STREQ("VERSION=\"12-SP5\"\n", get_os_name());
    EXPECT_EQ(0, host.askedFor("lsb_release"));
}

TEST(OsName, AnEmptyLsbLineMakesTheReaderFail) {
    for (const char *text : {"", "\n", "\"\"\n", "\"\n"}) {
        FakeHost host;
        host.lsbRelease(text);
        EXPECT_EQ(1, read_lsb_release()) << text;
        EXPECT_STREQ("Unknown Linux", get_os_name()) << text;
    }
}

TEST(OsName, WithNoneOfTheFilesAndNoLsbReleaseTheNameIsUnknownLinux) {
    FakeHost host;
    EXPECT_STREQ("Unknown Linux", get_os_name());
    host.lsbReleaseCannotBeStarted();
    EXPECT_STREQ("Unknown Linux", get_os_name());
    EXPECT_EQ(1, read_redhat_release());
    EXPECT_EQ(1, read_suse_release());
    EXPECT_EQ(1, read_lsb_release());
}

TEST(OsName, TheAddressIsThatOfTheNameAndTheDetectionRunsAnewEveryTime) {
    FakeHost host;
    host.file("/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n");
    EXPECT_EQ(hi_linux_os_name, get_os_name());
    host.file("/etc/redhat-release", "CentOS Linux release 7.9.2009 (Core)\n");
    EXPECT_EQ(hi_linux_os_name, get_os_name());
    EXPECT_STREQ("CentOS Linux 7.9.2009 ", hi_linux_os_name);
}

TEST(OsName, NothingIsLogged) {
    FakeHost host;
    get_os_name();
    EXPECT_EQ("", host.dumps.commandLog());
}

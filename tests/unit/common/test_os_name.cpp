// The distribution's name from release files as the distributions ship them, and from broken ones.
#include "common/comm_util.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace {

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

} // namespace

TEST(OsName, ARedHatSystemGivesANameContainingRed) {
    EXPECT_EQ("Red Hat Enterprise Linux 8.4 ",
              nameWith("/etc/redhat-release", "Red Hat Enterprise Linux release 8.4 (Ootpa)\n"));
}

TEST(OsName, ACentOs7SystemGivesANameContainingCentOsLinuxWithATrailingBlank) {
    EXPECT_EQ("CentOS Linux 7.9.2009 ",
              nameWith("/etc/redhat-release", "CentOS Linux release 7.9.2009 (Core)\n"));
}

TEST(OsName, ALineWithoutAParenthesisLosesItsLastCharacterBeforeTheNewline) {
    EXPECT_EQ("Oracle Linux Server 7.", nameWith("/etc/oracle-release", "Oracle Linux Server release 7.9\n"));
}

TEST(OsName, ALineWithoutANewlineLosesItsLastTwoCharacters) {
    EXPECT_EQ("Oracle Linux Server 7", nameWith("/etc/oracle-release", "Oracle Linux Server release 7.9"));
}

TEST(OsName, ReleaseAndItsBlankAreSkippedWhereverTheyStand) {
    EXPECT_EQ("a b c", nameWith("/etc/redhat-release", "a release b release release c(x)\n"));
}

TEST(OsName, ReleaseWithoutItsBlankIsKept) {
    EXPECT_EQ("a releases 8 ", nameWith("/etc/redhat-release", "a releases 8 (x)\n"));
}

TEST(OsName, TheRedHatNameHoldsAtMost64Characters) {
    EXPECT_EQ(std::string(64, 'a'), nameWith("/etc/redhat-release", std::string(100, 'a') + " (x)\n"));
}

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

TEST(OsName, TheSecondLineOfOsReleaseIsCutAt64Characters) {
    EXPECT_EQ("VERSION=\"" + std::string(55, '1'),
              nameWith("/etc/os-release", "NAME=\"SLES\"\nVERSION=\"" + std::string(70, '1') + "\"\n"));
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

TEST(OsName, SuseReleaseGivesItsFirstLineUpToTheBlankBeforeTheParenthesisAndItsThird) {
    EXPECT_EQ("SUSE Linux Enterprise Server 12PATCHLEVEL = 6\n",
              nameWith("/etc/SuSE-release",
                       "SUSE Linux Enterprise Server 12 (x86_64)\nVERSION = 12\nPATCHLEVEL = 6\n"));
}

TEST(OsName, ASuseLineWithoutAParenthesisLosesItsLastCharacter) {
    EXPECT_EQ("SUSE Linux Enterprise Server 12PATCHLEVEL = 6",
              nameWith("/etc/SuSE-release", "SUSE Linux Enterprise Server 12\nVERSION = 12\nPATCHLEVEL = 6"));
}

TEST(OsName, ASuseLineThatBeginsWithAParenthesisLosesOnlyItsLastCharacter) {
    EXPECT_EQ("(SUSE) (12)c", nameWith("/etc/SuSE-release", "(SUSE) (12)\nb\nc"));
}

TEST(OsName, ASuseNameHoldsAtMost64Characters) {
    EXPECT_EQ("SUSE" + std::string(60, 'p'),
              nameWith("/etc/SuSE-release", "SUSE (x)\nVERSION\n" + std::string(100, 'p') + "\n"));
}

TEST(OsName, ASuseFileOfOneLineGivesThatLine) {
    EXPECT_EQ("SUSE 12", nameWith("/etc/SuSE-release", "SUSE 12 (x86_64)\n"));
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

TEST(OsName, AnLsbTextWithoutAParenthesisLosesTheLastCharacterOfTheLineAsRead) {
    // With a newline that character is the newline; without one it belongs to the text or to its quotes.
    EXPECT_EQ("Debian 12", lsbName("Debian 12\n"));
    EXPECT_EQ("Debian 12", lsbName("\"Debian 12\"\n"));
    EXPECT_EQ("Debian 12", lsbName("\"Debian 12\""));
    EXPECT_EQ("Debian 1", lsbName("Debian 12"));
}

TEST(OsName, AllTrailingQuotesAndNewlinesGoButOnlyOneLeadingQuote) {
    EXPECT_EQ("\"Debian 12", lsbName("\"\"Debian 12\"\"\n"));
}

TEST(OsName, AnLsbTextThatBeginsWithAParenthesisIsNotCutThere) {
    EXPECT_EQ("(Debian) (12)", lsbName("\"(Debian) (12)\"\n"));
}

TEST(OsName, TheLsbLineIsReadOver127Characters) {
    EXPECT_EQ(std::string(126, 'a'), lsbName(std::string(300, 'a') + "\n"));
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

// The help texts as they are shown, and those that cannot be shown.
#include "cli/help.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace {

constexpr char FILE_OF_SCAN[] = "/usr/bin/dravik-help/scan.help";
constexpr char SHOW_SCAN[] = "cat /usr/bin/dravik-help/scan.help";

// What showing the help of `scan` prints, whose file holds `text`.
std::string shownOf(const std::string &text) {
    FakeHost host;
    host.node(FILE_OF_SCAN);
    host.answer(SHOW_SCAN, text);
    testing::internal::CaptureStdout();
    EXPECT_EQ(&EC_ok, dravik::showHelp("scan"));
    EXPECT_EQ(std::vector<std::string>{SHOW_SCAN}, host.calls);
    EXPECT_EQ("", host.dumps.commandLog());
    return testing::internal::GetCapturedStdout();
}

} // namespace

// ---- a text that is there

TEST(Help, TheTextStandsBetweenTwoSeparators) {
    EXPECT_EQ(boxed("NAME\n    scan - looks for new paths\n"),
              shownOf("NAME\n    scan - looks for new paths\n"));
    EXPECT_EQ(boxed("100% %s %n\n"), shownOf("100% %s %n\n"));
}

TEST(Help, TheMakersNameStandsInThePlaceOfEveryPlaceholder) {
    EXPECT_EQ(boxed("Korvel and Korvel, KorvelKorvel\nKorvelX XXXXX\n"),
              shownOf("XXXXXX and XXXXXX, XXXXXXXXXXXX\nXXXXXXX XXXXX\n"));
}

TEST(Help, ATextOfAnySizeIsShownWhole) {
    const std::string text = std::string(3 << 20, 'h') + "\n";
    EXPECT_TRUE(shownOf(text) == boxed(text));
}

TEST(Help, PrintingItIsShowingIt) {
    FakeHost host;
    host.node(FILE_OF_SCAN);
    host.answer(SHOW_SCAN, "the text of XXXXXX\n");
    testing::internal::CaptureStdout();
    print_help("scan");
    EXPECT_EQ(boxed("the text of Korvel\n"), testing::internal::GetCapturedStdout());
}

// ---- a text that cannot be shown

TEST(Help, AFileThatCannotBeShownIsLoggedAndNothingIsPrinted) {
    for (const int outcome : {1, 127, NOT_STARTED, NO_MEMORY}) {
        FakeHost host;
        host.node(FILE_OF_SCAN);
        host.answer(SHOW_SCAN, "half of it\n", outcome);
        testing::internal::CaptureStdout();
        EXPECT_EQ(&EC_print_help, dravik::showHelp("scan")) << outcome;
        EXPECT_EQ("", testing::internal::GetCapturedStdout()) << outcome;
        EXPECT_EQ(
            std::vector<std::string>{
                "ERROR print_help # Execute command [cat /usr/bin/dravik-help/scan.help] failed\n"},
            host.dumps.commandLogLines());
        testing::internal::CaptureStdout();
        print_help("scan");
        EXPECT_EQ(boxed("Error(0002): Show command help failed.\n"), testing::internal::GetCapturedStdout());
    }
}

TEST(Help, ACommandWithoutAFileSaysSo) {
    FakeHost host;
    testing::internal::CaptureStdout();
    print_help("nosuchcommand");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              separator() + "Error(0001): No help avaliable for [nosuchcommand].\n" + separator());
    EXPECT_EQ(host.dumps.commandLog(), "");
}

TEST(Help, ANameThatNoShellMaySeeSaysSo) {
    FakeHost host;
    for (const std::string &name :
         {std::string("$(reboot)"), std::string("a b"), std::string("a;b"), std::string("")}) {
        testing::internal::CaptureStdout();
        print_help(name.c_str());
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  separator() + "Error(0001): No help avaliable for [" + name + "].\n" + separator());
    }
    EXPECT_EQ(host.dumps.commandLog(), "");
}

TEST(Help, ANameThatDoesNotFitThePathSaysSo) {
    FakeHost host;
    const std::string name(300, 'x');
    EXPECT_EQ(dravik::showHelp(name.c_str()), &EC_no_help);
    EXPECT_EQ(std::string(EC_no_help.items[0]), std::string(64, 'x'));
}

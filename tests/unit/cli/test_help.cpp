// The help texts as they are shown, and those that are not there.
#include "cli/help.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"

namespace {

const std::string LINE = std::string(130, '-') + "\n";

} // namespace

TEST(Help, ACommandWithoutAFileSaysSo) {
    const DumpsFolder dumps;
    testing::internal::CaptureStdout();
    print_help("nosuchcommand");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              LINE + "Error(0001): No help avaliable for [nosuchcommand].\n" + LINE);
    EXPECT_EQ(dumps.commandLog(), "");
}

TEST(Help, ANameThatNoShellMaySeeSaysSo) {
    const DumpsFolder dumps;
    for (const std::string &name :
         {std::string("$(reboot)"), std::string("a b"), std::string("a;b"), std::string("")}) {
        testing::internal::CaptureStdout();
        print_help(name.c_str());
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  LINE + "Error(0001): No help avaliable for [" + name + "].\n" + LINE);
    }
    EXPECT_EQ(dumps.commandLog(), "");
}

TEST(Help, ANameThatDoesNotFitThePathSaysSo) {
    const std::string name(300, 'x');
    EXPECT_EQ(dravik::showHelp(name.c_str()), &EC_no_help);
    EXPECT_EQ(std::string(EC_no_help.items[0]), std::string(64, 'x'));
}

// Names of files that the caller gives, from the folder that he stands in.
#include "common/callers_folder.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "common/startup.h"
#include "tests/support/children.h"

using namespace dravik;

namespace {

// Steps into a new folder and gives its name.
std::string enterFolder() {
    char folder[] = "/tmp/callers_folder.XXXXXX";
    return mkdtemp(folder) != nullptr && chdir(folder) == 0 ? folder : "";
}

} // namespace

TEST(CallersFolder, ARelativeNameIsOneBelowTheFolderThatTheProgramWasCalledIn) {
    EXPECT_EQ(inChild([] {
                  const std::string folder = enterFolder();
                  resetProcess();
                  const bool is_left = access("callers_folder", F_OK) != 0;
                  rmdir(folder.c_str());
                  return is_left && inCallersFolder("a/b") == folder + "/a/b" ? 0 : 1;
              }),
              0);
}

TEST(CallersFolder, ANameFromTheRootOnStaysAsItIsAndNoNameIsNone) {
    EXPECT_EQ(inChild([] {
                  resetProcess();
                  return inCallersFolder("/a/b") == "/a/b" && inCallersFolder("").empty() ? 0 : 1;
              }),
              0);
}

TEST(CallersFolder, InAFolderThatHasBeenRemovedNoRelativeNameMeansAnything) {
    EXPECT_EQ(inChild([] {
                  rmdir(enterFolder().c_str());
                  resetProcess();
                  return inCallersFolder("a").empty() && inCallersFolder("/a") == "/a" ? 0 : 1;
              }),
              0);
}

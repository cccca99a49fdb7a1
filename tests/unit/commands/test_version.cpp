// The identification that `version` prints.
#include "commands/version.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Version, TheIdentificationStandsBetweenTwoSeparators) {
    FakeHost host;
    s_ecItems *result = nullptr;
    EXPECT_EQ(separator() +
                  "Software name: Dravik\n"
                  "Vendor: Korvel\n"
                  "Version: " +
                  DRAVIK_VERSION +
                  "\n"
                  "Copyright (c) Korvel. All rights reserved.\n" +
                  separator(),
              printed(version, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(Version, ItIsThreeNumbers) {
    const std::string text = DRAVIK_VERSION;
    EXPECT_EQ(text.find_first_not_of("0123456789."), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '.'), 2) << text;
    EXPECT_EQ(text.find(".."), std::string::npos) << text;
}

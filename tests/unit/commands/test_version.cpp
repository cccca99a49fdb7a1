// The identification that `version` prints.
#include "commands/version.h"

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

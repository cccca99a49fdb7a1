// The version as structured data.
#include "commands/version_json.h"

#include <string>

#include <gtest/gtest.h>

#include "commands/version.h"

TEST(VersionJson, TheVersionIsTheOneThatIsPrinted) {
    dravik::Json document = dravik::Json::object();
    EXPECT_EQ(&EC_info_ok, dravik::describeVersion(2, &document));
    EXPECT_EQ(document.line(), std::string(R"({"version":")") + DRAVIK_VERSION + "\"}");
}

// Asking an object for its members.
#include "output/json.h"

#include <gtest/gtest.h>

TEST(JsonMembers, AnObjectHasTheMembersThatWereSetNullIncludedAndNoOther) {
    dravik::Json object = dravik::Json::object();
    EXPECT_FALSE(object.has("scsi"));
    object.set("scsi", 1).set("nvme", dravik::Json::null());
    EXPECT_TRUE(object.has("scsi"));
    EXPECT_TRUE(object.has("nvme"));
    EXPECT_FALSE(object.has("SCSI"));
    EXPECT_FALSE(object.has(""));
}

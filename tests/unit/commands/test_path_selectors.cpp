// The names of the path selectors: the kernel's, the listing's and the product's.
#include "commands/path_selectors.h"

#include <string>

#include <gtest/gtest.h>

TEST(PathSelectors, TheTablesAreReadInParallelAndEndWithAnEmptyRow) {
    const char *const stored[] = {"round-robin", "queue-length", "service-time", ""};
    const char *const listed[] = {"round-robin 0", "queue-length 0", "service-time 0", ""};
    const char *const shown[] = {"smart-distribution-extend", "least-queue-depth-extend",
                                 "round-robin-extend", ""};
    for (int row = 0; row < 4; ++row) {
        EXPECT_STREQ(gChooserVals[row], stored[row]);
        EXPECT_STREQ(gQueryChooserVals[row], listed[row]);
        EXPECT_STREQ(gChooserDisplayVals[row], shown[row]);
    }
}

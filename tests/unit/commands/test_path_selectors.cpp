// The names of the path selectors: the kernel's, the listing's and the product's.
#include "commands/path_selectors.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using dravik::findPathSelector;
using dravik::PathSelector;
using dravik::SelectorName;

namespace {

// The three names of a row.
using Row = std::vector<std::string>;

const Row NONE = {"", "", ""};

Row found(SelectorName kind, const char *text) {
    const PathSelector selector = findPathSelector(kind, text);
    return {selector.stored, selector.listed, selector.shown};
}

} // namespace

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

TEST(PathSelectors, ASelectorIsFoundByItsStoredOrItsShownNameAsAWhole) {
    for (int row = 0; row < 3; ++row) {
        const Row expected = {gChooserVals[row], gQueryChooserVals[row], gChooserDisplayVals[row]};
        EXPECT_EQ(found(SelectorName::STORED, gChooserVals[row]), expected);
        EXPECT_EQ(found(SelectorName::SHOWN, gChooserDisplayVals[row]), expected);
    }
    const Row service_time = {"service-time", "service-time 0", "round-robin-extend"};
    EXPECT_EQ(found(SelectorName::STORED, "service-time"), service_time);
    EXPECT_EQ(found(SelectorName::SHOWN, "round-robin-extend"), service_time);
    for (const char *text : {"service-tim", "service-time 0", "service-times", "Service-time",
                             "round-robin-extend", " service-time", ""}) {
        EXPECT_EQ(found(SelectorName::STORED, text), NONE) << text;
    }
    for (const char *text : {"round-robin", "round-robin-extend ", "round-robin-exten", "service-time", ""}) {
        EXPECT_EQ(found(SelectorName::SHOWN, text), NONE) << text;
    }
}

TEST(PathSelectors, ASelectorIsFoundByWhatAListingBeginsWith) {
    const Row round_robin = {"round-robin", "round-robin 0", "smart-distribution-extend"};
    for (const char *text : {"round-robin 0", "round-robin 0 1 8:16", "round-robin 05"}) {
        EXPECT_EQ(found(SelectorName::LISTED, text), round_robin) << text;
    }
    for (const char *text : {"round-robin", "round-robin 1", " round-robin 0", "a round-robin 0", ""}) {
        EXPECT_EQ(found(SelectorName::LISTED, text), NONE) << text;
    }
}

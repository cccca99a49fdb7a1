// The names of the path selectors: the kernel's, the listing's and the product's. The scripts hold the kernel's as well, in
// scripts/lib/policy.sh.
#pragma once

constexpr unsigned int SELECTOR_NAME_SIZE = 256;

// One row for each selector, read in parallel; each table ends with an empty row. "service-time" goes by the name
// "round-robin-extend": the product's naming, which administrators know.
extern const char gChooserVals[4][SELECTOR_NAME_SIZE];        // the kernel's, as stored: "round-robin"
extern const char gQueryChooserVals[4][SELECTOR_NAME_SIZE];   // the kernel's, as listed: "round-robin 0"
extern const char gChooserDisplayVals[4][SELECTOR_NAME_SIZE]; // the product's, as typed and shown

namespace dravik {

// The three names of one selector.
struct PathSelector {
    const char *stored;
    const char *listed;
    const char *shown;
};

// By which of its names a selector is looked for.
enum class SelectorName {
    STORED, // the whole text is the name
    LISTED, // the text begins with the name; a listing has more behind it
    SHOWN,  // the whole text is the name
};

// The first selector whose name of this kind is that of `text`, compared over 256 characters; three empty names
// when there is none.
PathSelector findPathSelector(SelectorName kind, const char *text);

// The name under which the product shows the selector that is stored as `stored`, or `stored` itself where it has none.
const char *shownSelector(const char *stored);

} // namespace dravik

// The tables of the path selectors and the one look-up in them.
#include "commands/path_selectors.h"

#include "common/text.h"

//      stored          listed           shown
#define PATH_SELECTORS(X)                                                                                    \
    X("round-robin", "round-robin 0", "smart-distribution-extend")                                           \
    X("queue-length", "queue-length 0", "least-queue-depth-extend")                                          \
    X("service-time", "service-time 0", "round-robin-extend")                                                \
    X("", "", "")

#define STORED_NAME(stored, listed, shown) stored,
#define LISTED_NAME(stored, listed, shown) listed,
#define SHOWN_NAME(stored, listed, shown) shown,
const char gChooserVals[4][SELECTOR_NAME_SIZE] = {PATH_SELECTORS(STORED_NAME)};
const char gQueryChooserVals[4][SELECTOR_NAME_SIZE] = {PATH_SELECTORS(LISTED_NAME)};
const char gChooserDisplayVals[4][SELECTOR_NAME_SIZE] = {PATH_SELECTORS(SHOWN_NAME)};

namespace dravik {

namespace {

bool isNamed(const PathSelector &selector, SelectorName kind, const char *text) {
    switch (kind) {
    case SelectorName::STORED:
        return tessaline_strncmp(text, selector.stored, SELECTOR_NAME_SIZE) == 0;
    case SelectorName::LISTED:
        return isBeginwith(text, selector.listed) == 1;
    case SelectorName::SHOWN:
        return tessaline_strncmp(text, selector.shown, SELECTOR_NAME_SIZE) == 0;
    }
    return false;
}

} // namespace

PathSelector findPathSelector(SelectorName kind, const char *text) {
    for (int row = 0; gChooserVals[row][0] != '\0'; ++row) {
        const PathSelector selector = {gChooserVals[row], gQueryChooserVals[row], gChooserDisplayVals[row]};
        if (isNamed(selector, kind, text)) {
            return selector;
        }
    }
    return {"", "", ""};
}

const char *shownSelector(const char *stored) {
    const char *shown = findPathSelector(SelectorName::STORED, stored).shown;
    return shown[0] != '\0' ? shown : stored;
}

} // namespace dravik

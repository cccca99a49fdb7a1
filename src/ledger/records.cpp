// The words of the qualities.
#include "ledger/records.h"

#include <algorithm>
#include <iterator>

namespace dravik {

namespace {

constexpr const char *QUALITY_WORDS[] = {"good", "doubtful", "failed", "never"};

} // namespace

const char *qualityWord(Quality quality) {
    return QUALITY_WORDS[static_cast<size_t>(quality)];
}

Quality qualityOfWord(const std::string &word) {
    const auto *found = std::find(std::begin(QUALITY_WORDS), std::end(QUALITY_WORDS), word);
    return found == std::end(QUALITY_WORDS) ? Quality::NEVER
                                            : static_cast<Quality>(found - std::begin(QUALITY_WORDS));
}

} // namespace dravik

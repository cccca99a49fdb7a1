// The distance between two words.
#include "common/nearest_name.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace dravik {

size_t mistakesBetween(std::string_view word, std::string_view name) {
    if (name.size() > LONGEST_NAME || word.size() > name.size() + MOST_MISTAKES ||
        name.size() > word.size() + MOST_MISTAKES) {
        return MOST_MISTAKES + 1;
    }
    // Rows of the table of distances between the beginnings of both.
    size_t before_last[LONGEST_NAME + 1] = {};
    size_t last[LONGEST_NAME + 1] = {};
    size_t now[LONGEST_NAME + 1] = {};
    std::iota(std::begin(last), std::end(last), size_t{0});
    for (size_t i = 1; i <= word.size(); ++i) {
        now[0] = i;
        for (size_t j = 1; j <= name.size(); ++j) {
            const bool same = word[i - 1] == name[j - 1];
            now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && word[i - 1] == name[j - 2] && word[i - 2] == name[j - 1]) {
                now[j] = std::min(now[j], before_last[j - 2] + 1);
            }
        }
        std::copy(std::begin(last), std::end(last), std::begin(before_last));
        std::copy(std::begin(now), std::end(now), std::begin(last));
    }
    return last[name.size()];
}

} // namespace dravik

// Names as the keys of a hash index.
#include "stats/name_index.h"

#include <algorithm>

namespace {

// Whether the name at a place is `name`.
auto named(const char *(*name_of)(int place), std::string_view name) {
    return [name_of, name](uint32_t place) { return name == name_of(static_cast<int>(place)); };
}

int placeNumber(uint32_t place) {
    return place == dravik::NO_PLACE ? -1 : static_cast<int>(place);
}

} // namespace

void NameIndex::clear(int size) {
    const auto places = static_cast<size_t>(std::max(size, 0));
    index.reset(places);
    next_same.assign(std::max(places, next_same.size()), -1);
}

void NameIndex::addBefore(int place) {
    const std::string_view name = nameOf(place);
    const uint32_t before =
        index.replace(dravik::hashText(name), static_cast<uint32_t>(place), named(nameOf, name));
    next_same[static_cast<size_t>(place)] = placeNumber(before);
}

void NameIndex::addNew(int place) {
    const std::string_view name = nameOf(place);
    index.addFirst(dravik::hashText(name), static_cast<uint32_t>(place), named(nameOf, name));
}

int NameIndex::find(std::string_view name) const {
    return placeNumber(index.find(dravik::hashText(name), named(nameOf, name)));
}

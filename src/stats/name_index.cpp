// The hash index: open addressing, at most half full.
#include "stats/name_index.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t LEAST_CELLS = 64;

// Names differ in their last letters, so those must reach all bits: a multiplication per character does.
size_t hashOf(std::string_view name) {
    uint64_t hash = 1469598103934665603U;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }
    return static_cast<size_t>(hash ^ (hash >> 32));
}

} // namespace

void NameIndex::clear(int size) {
    const auto places = static_cast<size_t>(std::max(size, 0));
    size_t wanted = LEAST_CELLS;
    while (wanted < places * 2) {
        wanted *= 2;
    }
    cells.assign(std::max(wanted, cells.size()), -1);
    nextSame.assign(std::max(places, nextSame.size()), -1);
}

size_t NameIndex::cellOf(std::string_view name) const {
    const size_t mask = cells.size() - 1;
    size_t cell = hashOf(name) & mask;
    while (cells[cell] >= 0) {
        const char *there = nameOf(cells[cell]);
        if (strncmp(there, name.data(), name.size()) == 0 && there[name.size()] == '\0') {
            break;
        }
        cell = (cell + 1) & mask;
    }
    return cell;
}

void NameIndex::addBefore(int place) {
    const size_t cell = cellOf(nameOf(place));
    nextSame[static_cast<size_t>(place)] = cells[cell];
    cells[cell] = place;
}

void NameIndex::addNew(int place) {
    const size_t cell = cellOf(nameOf(place));
    if (cells[cell] < 0) {
        cells[cell] = place;
    }
}

int NameIndex::find(std::string_view name) const {
    return cells.empty() ? -1 : cells[cellOf(name)];
}

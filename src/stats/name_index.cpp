// The hash index: open addressing, at most half full.
#include "stats/name_index.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t LEAST_CELLS = 64;

// Eight characters at a time. Names differ in their last letters, so those must reach all bits: the
// multiplication carries them up, the folding brings them down again.
uint32_t hashOf(std::string_view name) {
    uint64_t hash = name.size();
    while (!name.empty()) {
        const size_t length = std::min(name.size(), sizeof(uint64_t));
        uint64_t piece = 0;
        memcpy(&piece, name.data(), length);
        hash = (hash ^ piece) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
        name.remove_prefix(length);
    }
    return static_cast<uint32_t>(hash);
}

} // namespace

void NameIndex::clear(int size) {
    const auto places = static_cast<size_t>(std::max(size, 0));
    size_t wanted = LEAST_CELLS;
    while (wanted < places * 2) {
        wanted *= 2;
    }
    cells.assign(std::max(wanted, cells.size()), {-1, 0});
    nextSame.assign(std::max(places, nextSame.size()), -1);
}

size_t NameIndex::cellOf(std::string_view name, uint32_t hash) const {
    const size_t mask = cells.size() - 1;
    size_t cell = hash & mask;
    while (cells[cell].place >= 0) {
        if (cells[cell].hash == hash && name == nameOf(cells[cell].place)) {
            break;
        }
        cell = (cell + 1) & mask;
    }
    return cell;
}

void NameIndex::addBefore(int place) {
    const std::string_view name = nameOf(place);
    const uint32_t hash = hashOf(name);
    const size_t cell = cellOf(name, hash);
    nextSame[static_cast<size_t>(place)] = cells[cell].place;
    cells[cell] = {place, hash};
}

void NameIndex::addNew(int place) {
    const std::string_view name = nameOf(place);
    const uint32_t hash = hashOf(name);
    const size_t cell = cellOf(name, hash);
    if (cells[cell].place < 0) {
        cells[cell] = {place, hash};
    }
}

int NameIndex::find(std::string_view name) const {
    return cells.empty() ? -1 : cells[cellOf(name, hashOf(name))].place;
}

// A hash index over a table that it does not own: from a key to the place of the first entry with that key.
//
// Open addressing with linear probing, at most half full. The table's owner says which hash a key has and whether
// the entry at a place has the key looked for; a hash beside each place spares most searches that look.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace dravik {

// What the searches answer when no entry has the key.
constexpr uint32_t NO_PLACE = UINT32_MAX;

// One round of mixing: the multiplication carries each bit up, the folding brings it down again.
inline uint64_t mixHash(uint64_t hash) {
    hash *= 0x9E3779B97F4A7C15U;
    return hash ^ (hash >> 32);
}

// The hash of a text, eight characters at a time. Names are counted up in their last letters, so those must reach all
// bits: after one round alone the low bits of "dm-0" to "dm-32767" fall into few cells.
inline uint32_t hashText(std::string_view text) {
    uint64_t hash = text.size();
    while (!text.empty()) {
        const size_t length = std::min(text.size(), sizeof(uint64_t));
        uint64_t piece = 0;
        memcpy(&piece, text.data(), length);
        hash = mixHash(hash ^ piece);
        text.remove_prefix(length);
    }
    return static_cast<uint32_t>(mixHash(hash));
}

class HashIndex {
  public:
    // Empties the index and makes room for `entries` of them. Allocates only to grow; throws std::bad_alloc.
    void reset(size_t entries) {
        size_t wanted = FEWEST_CELLS;
        while (wanted < entries * 2) {
            wanted *= 2;
        }
        cells.assign(std::max(wanted, cells.size()), {NO_PLACE, 0});
    }

    // The place kept for the key with `hash`, for which `same(place)` is true; NO_PLACE when there is none.
    template <typename Same> uint32_t find(uint32_t hash, const Same &same) const {
        return cells.empty() ? NO_PLACE : cells[cellOf(hash, same)].place;
    }

    // Keeps `place` for its key, unless another place is kept for it already.
    template <typename Same> void addFirst(uint32_t hash, uint32_t place, const Same &same) {
        Cell &cell = cells[cellOf(hash, same)];
        if (cell.place == NO_PLACE) {
            cell = {place, hash};
        }
    }

    // Keeps `place` for its key; the place that was kept for it before, or NO_PLACE.
    template <typename Same> uint32_t replace(uint32_t hash, uint32_t place, const Same &same) {
        Cell &cell = cells[cellOf(hash, same)];
        const uint32_t before = cell.place;
        cell = {place, hash};
        return before;
    }

  private:
    static constexpr size_t FEWEST_CELLS = 64;

    struct Cell {
        uint32_t place; // NO_PLACE: free
        uint32_t hash;
    };

    // The cell of the key, or the free one where it belongs.
    template <typename Same> size_t cellOf(uint32_t hash, const Same &same) const {
        const size_t mask = cells.size() - 1;
        size_t cell = hash & mask;
        while (cells[cell].place != NO_PLACE && !(cells[cell].hash == hash && same(cells[cell].place))) {
            cell = (cell + 1) & mask;
        }
        return cell;
    }

    std::vector<Cell> cells; // their number is a power of two
};

} // namespace dravik

// Places by name: an index over the names of a table, rebuilt or added to in place, that gives the answers of a
// search from the first place on. Used by the modules of this folder.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "common/hash_index.h"

class NameIndex {
  public:
    // `name_of` gives the name at a place of the indexed table, terminated.
    explicit NameIndex(const char *(*name_of)(int place)) : nameOf(name_of) {}

    // Empties the index and makes room for the places 0 to `size` - 1. Allocates only to grow.
    void clear(int size);

    // Adds `place`, which is less than all places with the same name that are in the index.
    void addBefore(int place);

    // Adds `place` unless its name is in the index already.
    void addNew(int place);

    // The first place with this name, -1 when there is none.
    int find(std::string_view name) const;

    // The next place with the name of `place`, -1 when there is none. For places added by addBefore.
    int findNext(int place) const {
        return next_same[static_cast<size_t>(place)];
    }

  private:
    const char *(*nameOf)(int place);
    dravik::HashIndex index;
    std::vector<int> next_same; // the next place with the same name
};

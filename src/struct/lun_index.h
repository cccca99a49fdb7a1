// An index over a list of lun-path records, for look-ups that are made once per record.
//
// It gives exactly the answers of `findLunpathByLunId` and `findLunpathByDevName`: the first record in list
// order wins, the key is compared over the same number of characters, and empty keys match one another. It is
// rebuilt in place from one comparison to the next and allocates only when the list outgrows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "struct/s_lunPath.h"

// By which field records are found.
enum class LunKey { wwid, dev_name };

struct LunIndex {
    struct Slot {
        s_lunPath *record; // null: free
        uint64_t hash;
    };
    LunKey key = LunKey::wwid;
    std::vector<Slot> slots; // a power of two of them, at most half in use
};

// Makes `index` answer for the valid records of the list of the head `head`. The records must keep their
// place and their keys for as long as the index is asked. Throws std::bad_alloc when memory runs out.
void buildLunIndex(LunIndex *index, LunKey key, const s_lunPath *head);

// The first record whose key equals `text`, or null.
s_lunPath *findInLunIndex(const LunIndex *index, const char *text);

// An index over a list of lun-path records, for look-ups that are made once per record.
//
// It gives exactly the answers of `findLunpathByLunId` and `findLunpathByDevName`: the first record in list
// order wins, keys are compared over the same number of characters, and empty keys match one another. It is
// rebuilt in place from one comparison to the next and allocates only when the list outgrows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "struct/s_lunPath.h"

// The records of the list in list order, small enough to be walked without touching the records themselves,
// and two hash tables over them (open addressing, linear probing, at most half full) whose cells hold an
// entry's number plus one, 0 for a free cell.
struct LunIndex {
    struct Entry {
        s_lunPath *record;
        uint32_t name_hash;
        uint32_t wwid_hash;
        bool begins_run; // the record before it belongs to another volume
    };
    std::vector<Entry> entries;
    std::vector<uint32_t> by_name;
    std::vector<uint32_t> by_wwid;
};

// What the searches answer when there is no such record.
constexpr size_t NO_ENTRY = static_cast<size_t>(-1);

// Makes `index` answer for the valid records of the list of the head `head`. The records must keep their
// place and their keys for as long as the index is asked. Throws std::bad_alloc when memory runs out.
void buildLunIndex(LunIndex *index, const s_lunPath *head);

// The number of the first entry whose device name, or whose WWID, is that of `key`, an entry of another index
// (or of the same one).
size_t findSameName(const LunIndex *index, const LunIndex::Entry &key);
size_t findSameWwid(const LunIndex *index, const LunIndex::Entry &key);

// An index over a list of lun-path records, for look-ups that are made once per record.
//
// It gives exactly the answers of `findLunpathByLunId` and `findLunpathByDevName`: the first record in list
// order wins, keys are compared over the same number of characters, and empty keys match one another. It is
// rebuilt in place from one comparison to the next and allocates only when the list outgrows it.
#pragma once

#include <cstdint>
#include <vector>

#include "common/hash_index.h"
#include "struct/s_lunPath.h"

// The records of the list in list order, small enough to be walked without touching the records themselves, and
// the two indexes over them.
struct LunIndex {
    struct Entry {
        s_lunPath *record;
        uint32_t name_hash;
        uint32_t wwid_hash;
        bool begins_run; // the record before it belongs to another volume
    };
    std::vector<Entry> entries;
    dravik::HashIndex by_name;
    dravik::HashIndex by_wwid; // the first entry of each run alone
};

// What the searches answer when there is no such record.
constexpr uint32_t NO_ENTRY = dravik::NO_PLACE;

// Makes `index` answer for the valid records of the list of the head `head`. The records must keep their
// place and their keys for as long as the index is asked. Throws std::bad_alloc when memory runs out.
void buildLunIndex(LunIndex *index, const s_lunPath *head);

// The number of the first entry whose device name, or whose WWID, is that of `key`, an entry of another index
// (or of the same one).
uint32_t findSameName(const LunIndex *index, const LunIndex::Entry &key);
uint32_t findSameWwid(const LunIndex *index, const LunIndex::Entry &key);

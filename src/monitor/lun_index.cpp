// The index over lun-path records.
#include "monitor/lun_index.h"

#include <cstring>

namespace {

constexpr size_t FEWEST_CELLS = 64;

// FNV-1a over the characters that are compared, folded so that the low bits depend on all of them.
uint32_t hashText(const char *text, size_t length) {
    uint64_t hash = 14695981039346656037U;
    for (size_t i = 0; i < length && text[i] != '\0'; ++i) {
        hash = (hash ^ static_cast<unsigned char>(text[i])) * 1099511628211U;
    }
    return static_cast<uint32_t>(hash ^ (hash >> 32U));
}

bool sameName(const LunIndex::Entry &a, const LunIndex::Entry &b) {
    return a.name_hash == b.name_hash &&
           strncmp(a.record->path_dev_name, b.record->path_dev_name, LUN_TEXT_LENGTH) == 0;
}

bool sameWwid(const LunIndex::Entry &a, const LunIndex::Entry &b) {
    return a.wwid_hash == b.wwid_hash &&
           strncmp(a.record->lun_wwid, b.record->lun_wwid, LUN_WWID_LENGTH) == 0;
}

using same_key = bool (*)(const LunIndex::Entry &, const LunIndex::Entry &);

// The cell that holds the first entry with the key of `key`, or the free cell where it belongs.
template <same_key same>
size_t cellFor(const std::vector<LunIndex::Entry> &entries, const std::vector<uint32_t> &cells, uint32_t hash,
               const LunIndex::Entry &key) {
    const size_t mask = cells.size() - 1;
    size_t i = hash & mask;
    while (cells[i] != 0 && !same(entries[cells[i] - 1], key)) {
        i = (i + 1) & mask;
    }
    return i;
}

// Walks the list once and notes of each record what the tables need.
void noteRecords(LunIndex *index, const s_lunPath *head) {
    index->entries.clear();
    LunIndex::Entry entry = {};
    for (s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        entry.begins_run =
            entry.record == nullptr || strncmp(entry.record->lun_wwid, p->lun_wwid, LUN_WWID_LENGTH) != 0;
        if (entry.begins_run) {
            entry.wwid_hash = hashText(p->lun_wwid, LUN_WWID_LENGTH);
        }
        entry.name_hash = hashText(p->path_dev_name, LUN_TEXT_LENGTH);
        entry.record = p;
        index->entries.push_back(entry);
    }
}

void resetCells(std::vector<uint32_t> *cells, size_t records) {
    size_t size = FEWEST_CELLS;
    while (size < records * 2) {
        size *= 2;
    }
    cells->assign(size, 0);
}

size_t numberIn(uint32_t cell) {
    return cell == 0 ? NO_ENTRY : cell - 1;
}

} // namespace

void buildLunIndex(LunIndex *index, const s_lunPath *head) {
    noteRecords(index, head);
    resetCells(&index->by_name, index->entries.size());
    resetCells(&index->by_wwid, index->entries.size());
    uint32_t number = 0;
    for (const LunIndex::Entry &entry : index->entries) {
        ++number;
        uint32_t &name =
            index->by_name[cellFor<sameName>(index->entries, index->by_name, entry.name_hash, entry)];
        name = name == 0 ? number : name;
        if (entry.begins_run) {
            uint32_t &wwid =
                index->by_wwid[cellFor<sameWwid>(index->entries, index->by_wwid, entry.wwid_hash, entry)];
            wwid = wwid == 0 ? number : wwid;
        }
    }
}

size_t findSameName(const LunIndex *index, const LunIndex::Entry &key) {
    return numberIn(index->by_name[cellFor<sameName>(index->entries, index->by_name, key.name_hash, key)]);
}

size_t findSameWwid(const LunIndex *index, const LunIndex::Entry &key) {
    return numberIn(index->by_wwid[cellFor<sameWwid>(index->entries, index->by_wwid, key.wwid_hash, key)]);
}

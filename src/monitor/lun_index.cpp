// The index over lun-path records.
#include "monitor/lun_index.h"

#include <cstring>
#include <string_view>

namespace {

uint32_t hashOf(const char *text, size_t compared) {
    return dravik::hashText(std::string_view(text, strnlen(text, compared)));
}

// Whether the entry at a place has the name, or the WWID, of `key`.
auto sameName(const LunIndex *index, const LunIndex::Entry &key) {
    return [index, &key](uint32_t place) {
        return strncmp(index->entries[place].record->path_dev_name, key.record->path_dev_name,
                       LUN_TEXT_LENGTH) == 0;
    };
}

auto sameWwid(const LunIndex *index, const LunIndex::Entry &key) {
    return [index, &key](uint32_t place) {
        return strncmp(index->entries[place].record->lun_wwid, key.record->lun_wwid, LUN_WWID_LENGTH) == 0;
    };
}

// Walks the list once and notes of each record what the indexes need. The number of runs of one WWID.
size_t noteRecords(LunIndex *index, const s_lunPath *head) {
    index->entries.clear();
    size_t runs = 0;
    LunIndex::Entry entry = {};
    for (s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        entry.begins_run =
            entry.record == nullptr || strncmp(entry.record->lun_wwid, p->lun_wwid, LUN_WWID_LENGTH) != 0;
        if (entry.begins_run) {
            ++runs;
            entry.wwid_hash = hashOf(p->lun_wwid, LUN_WWID_LENGTH);
        }
        entry.name_hash = hashOf(p->path_dev_name, LUN_TEXT_LENGTH);
        entry.record = p;
        index->entries.push_back(entry);
    }
    return runs;
}

} // namespace

void buildLunIndex(LunIndex *index, const s_lunPath *head) {
    const size_t runs = noteRecords(index, head);
    index->by_name.reset(index->entries.size());
    index->by_wwid.reset(runs);
    uint32_t place = 0;
    for (const LunIndex::Entry &entry : index->entries) {
        index->by_name.addFirst(entry.name_hash, place, sameName(index, entry));
        if (entry.begins_run) {
            index->by_wwid.addFirst(entry.wwid_hash, place, sameWwid(index, entry));
        }
        ++place;
    }
}

uint32_t findSameName(const LunIndex *index, const LunIndex::Entry &key) {
    return index->by_name.find(key.name_hash, sameName(index, key));
}

uint32_t findSameWwid(const LunIndex *index, const LunIndex::Entry &key) {
    return index->by_wwid.find(key.wwid_hash, sameWwid(index, key));
}

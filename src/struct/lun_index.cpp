// The index over lun-path records: open addressing with linear probing.
#include "struct/lun_index.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t FEWEST_SLOTS = 64;

size_t keyLength(LunKey key) {
    return key == LunKey::wwid ? LUN_WWID_LENGTH : LUN_TEXT_LENGTH;
}

const char *keyOf(LunKey key, const s_lunPath *record) {
    return key == LunKey::wwid ? record->lun_wwid : record->path_dev_name;
}

// FNV-1a over the compared characters, folded once more so that the low bits depend on all of them.
uint64_t hashText(const char *text, size_t length) {
    uint64_t hash = 14695981039346656037U;
    for (size_t i = 0; i < length && text[i] != '\0'; ++i) {
        hash = (hash ^ static_cast<unsigned char>(text[i])) * 1099511628211U;
    }
    return hash ^ (hash >> 32U);
}

// The slot that holds the key `text`, or the free one where it belongs.
size_t slotFor(const LunIndex *index, const char *text, uint64_t hash) {
    const size_t mask = index->slots.size() - 1;
    size_t i = hash & mask;
    while (index->slots[i].record != nullptr &&
           (index->slots[i].hash != hash ||
            strncmp(keyOf(index->key, index->slots[i].record), text, keyLength(index->key)) != 0)) {
        i = (i + 1) & mask;
    }
    return i;
}

void resetSlots(LunIndex *index, size_t records) {
    size_t wanted = FEWEST_SLOTS;
    while (wanted < records * 2) {
        wanted *= 2;
    }
    const size_t size = std::max(wanted, index->slots.size());
    index->slots.assign(size, LunIndex::Slot{nullptr, 0});
}

} // namespace

void buildLunIndex(LunIndex *index, LunKey key, const s_lunPath *head) {
    size_t records = 0;
    for (const s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        ++records;
    }
    resetSlots(index, records);
    index->key = key;
    const char *previous = nullptr;
    for (s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        const char *text = keyOf(key, p);
        // The records of one volume follow one another: only the first of a run can be the first of its key.
        if (previous != nullptr && strncmp(previous, text, keyLength(key)) == 0) {
            continue;
        }
        previous = text;
        const uint64_t hash = hashText(text, keyLength(key));
        LunIndex::Slot &slot = index->slots[slotFor(index, text, hash)];
        if (slot.record == nullptr) {
            slot = {p, hash};
        }
    }
}

s_lunPath *findInLunIndex(const LunIndex *index, const char *text) {
    if (text == nullptr || index->slots.empty()) {
        return nullptr;
    }
    return index->slots[slotFor(index, text, hashText(text, keyLength(index->key)))].record;
}

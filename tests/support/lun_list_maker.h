// Lun-path lists made and read back field by field, for tests.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "struct/s_lunPath.h"

// One record as texts, in the order of its fields.
struct LunFields {
    std::string alias, wwid, id, name, status, group, online;
};

inline bool operator==(const LunFields &a, const LunFields &b) {
    return a.alias == b.alias && a.wwid == b.wwid && a.id == b.id && a.name == b.name &&
           a.status == b.status && a.group == b.group && a.online == b.online;
}

inline std::string lunText(const LunFields &fields) {
    return fields.alias + "|" + fields.wwid + "|" + fields.id + "|" + fields.name + "|" + fields.status +
           "|" + fields.group + "|" + fields.online + "\n";
}

inline std::string lunText(const std::vector<LunFields> &list) {
    std::string text;
    for (const LunFields &fields : list) {
        text += lunText(fields);
    }
    return text;
}

// Fills a field to its last byte if the text is that long: it then has no terminator of its own, as an over-long
// alias has none.
template <size_t SIZE> void fillWhole(char (&field)[SIZE], const std::string &text) {
    memset(field, 0, SIZE);
    memcpy(field, text.data(), text.size() < SIZE ? text.size() : SIZE);
}

// Makes `head` the list of these records, over the nodes it has.
inline void makeLunList(s_lunPath *head, const std::vector<LunFields> &list) {
    initLunpath(head);
    s_lunPath *cursor = head;
    for (const LunFields &fields : list) {
        s_lunPath *node = getOrMallocNextLunpath(cursor);
        fillWhole(node->lun_alias, fields.alias);
        fillWhole(node->lun_wwid, fields.wwid);
        fillWhole(node->path_dev_id, fields.id);
        fillWhole(node->path_dev_name, fields.name);
        fillWhole(node->path_status, fields.status);
        fillWhole(node->path_group_status, fields.group);
        fillWhole(node->dravik_status, fields.online);
        cursor->end = false;
        cursor = node;
    }
}

template <size_t SIZE> std::string fieldOf(const char (&field)[SIZE]) {
    return std::string(field, strnlen(field, SIZE));
}

// The valid records of the list; what a field holds, at most its whole width.
inline std::vector<LunFields> lunFields(const s_lunPath *head) {
    std::vector<LunFields> list;
    const s_lunPath *record = head->end ? nullptr : head->next;
    for (; record != nullptr; record = record->end ? nullptr : record->next) {
        list.push_back({fieldOf(record->lun_alias), fieldOf(record->lun_wwid), fieldOf(record->path_dev_id),
                        fieldOf(record->path_dev_name), fieldOf(record->path_status),
                        fieldOf(record->path_group_status), fieldOf(record->dravik_status)});
    }
    return list;
}

inline std::string lunListText(const s_lunPath *head) {
    return lunText(lunFields(head));
}

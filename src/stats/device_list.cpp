// The device list and its index.
#include "stats/device_list.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/exit_status.h"
#include "common/text.h"
#include "stats/name_index.h"

s_dev_list *st_dev_list = nullptr;
int dlist_idx = 0;

namespace {

constexpr int LEAST_NAME_WIDTH = 13;

int capacity = 0;
int indexed = 0; // the entries that the index knows

const char *nameAt(int place) {
    return st_dev_list[place].name;
}

NameIndex name_index(nameAt);

// A count that is not the one left by the last addition means another view of the list: read it anew.
void bringIndexUpTo(int count) {
    if (indexed == count) {
        return;
    }
    name_index.clear(capacity);
    for (int i = 0; i < count; i++) {
        name_index.addNew(i);
    }
    indexed = count;
}

bool isMultipathName(const char *name) {
    return find_str(name, "dm-") != nullptr;
}

} // namespace

void salloc_dev_list(int count) {
    sfree_dev_list();
    capacity = std::clamp(count, 0, INT_MAX - 1) + 1;
    st_dev_list = static_cast<s_dev_list *>(calloc(static_cast<size_t>(capacity), sizeof(s_dev_list)));
    if (st_dev_list == nullptr) {
        perror("malloc");
        exit(dravik::EXIT_NO_MEMORY);
    }
    name_index.clear(capacity);
}

void sfree_dev_list() {
    free(st_dev_list);
    st_dev_list = nullptr;
    dlist_idx = 0;
    capacity = 0;
    indexed = 0;
}

int update_dev_list(int *count, const char *name, const char *alias) {
    if (st_dev_list == nullptr || *count < 0 || *count > capacity) {
        return -1;
    }
    bringIndexUpTo(*count);
    const int known = name_index.find(name);
    if (known >= 0) {
        return known;
    }
    if (*count == capacity) {
        return -1;
    }
    const int added = *count;
    s_dev_list *entry = &st_dev_list[added];
    tessaline_strncpy(entry->name, name, sizeof(entry->name) - 1);
    if (isMultipathName(name) && alias != nullptr) {
        tessaline_strncpy(entry->alias, alias, sizeof(entry->alias) - 1);
    }
    name_index.addNew(added);
    *count = added + 1;
    indexed = *count;
    return added;
}

int get_max_dev_alias_name_len() {
    int width = LEAST_NAME_WIDTH;
    for (int i = 0; i < dlist_idx && st_dev_list != nullptr; i++) {
        if (isMultipathName(st_dev_list[i].name)) {
            width = std::max(width, static_cast<int>(strlen(st_dev_list[i].alias)));
        }
    }
    return width;
}

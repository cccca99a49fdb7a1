// The list of the devices to report: each multipath device followed by its paths.
#pragma once

#include <cstddef>

// The room of a device's name or alias, with the terminator.
constexpr size_t DEVICE_NAME_SIZE = 72;

struct s_dev_list {
    int disk_flag;                // the partitions of this disk are to be read too (sysfs source)
    char name[DEVICE_NAME_SIZE];  // dm-3, sdb, nvme0n1
    char alias[DEVICE_NAME_SIZE]; // of a "dm-" entry: the multipath device's alias; of a path: empty
};

// The list, null before salloc_dev_list, and the number of its entries in use. Entries are added by
// update_dev_list alone, which finds names through an index of its own; disk_flag may be set at any time.
extern s_dev_list *st_dev_list;
extern int dlist_idx;

// Allocates an empty list for `count` entries and the one that presave_device_list may add, releasing an older
// one. Allocation failure: perror("malloc"), EXIT_NO_MEMORY (common/exit_status.h).
void salloc_dev_list(int count);

// Releases the list.
void sfree_dev_list();

// Returns the index of the entry with the name `name` (exact comparison), which stays as it is; or appends an
// entry, increments `*count` and returns its index. The name is cut at 71 characters; only when it contains
// "dm-" the alias, cut at 71 characters too, is kept. -1 when there is no list or it is full.
int update_dev_list(int *count, const char *name, const char *alias);

// The width of the name column: 13, or the length of the longest alias of a "dm-" entry if that is more.
int get_max_dev_alias_name_len();

// Lun-path records: the topology flattened to one record per path, as the monitor compares and keeps it.
//
// A reusable list (reusable_list.h), with the same rules for heads, end flags and reuse as those of s_dravik.h.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

// The seven text fields lie back to back in this order: the reading of an over-long alias depends on it.
struct s_lunPath {
    char lun_alias[31]; // see lunAliasText: an alias of 31 characters or more has no terminator of its own
    char lun_wwid[66];
    char path_dev_id[31];       // major:minor
    char path_dev_name[31];     // sdb, nvme0n1
    char path_status[31];       // the path checker's state: ready, faulty (not the device mapper's)
    char path_group_status[31]; // active, enabled
    char dravik_status[31];     // the kernel's online state: running, offline
    bool end;
    s_lunPath *next;
    unsigned int position; // how far the node is from its head; see MAX_LIST_NODES
};

// The characters over which the fields are kept and compared.
constexpr unsigned int LUN_WWID_LENGTH = 65;
constexpr unsigned int LUN_TEXT_LENGTH = 30; // every other field

// A zeroed record with its end flag set, or null. Logs "Malloc struct s_lunPath." at level 2.
s_lunPath *mallocLunpath();

// Resets one node to an empty last one, keeping its place in the chain. Null is ignored.
void _initLunpath(s_lunPath *p);

// Empties the list of the head `p` in constant time. Null is ignored.
void initLunpath(s_lunPath *p);

// The node after `p`, reset: the spare one, or a new one linked behind `p`. Null when `p` is null or no node
// could be had. The end flag of `p` is not touched.
s_lunPath *getOrMallocNextLunpath(s_lunPath *p);

// Release one node, or a node and everything behind it. Null is ignored. The monitor never does.
void _freeLunpath(s_lunPath *p);
void freeLunpath(s_lunPath *p);

// The first valid record of the list of the head `p`, and the valid record after `p`; null when there is
// none.
s_lunPath *firstLunpath(const s_lunPath *p);
s_lunPath *nextLunpath(const s_lunPath *p);

// The alias as text. In a list made by `cvtDravikToLunpath` an alias of 31 characters or more reads as its
// first 31 followed by the WWID: the change log and the snapshot show it so. The text lies in the record.
const char *lunAliasText(const s_lunPath *p);

// Flattens the devices of the head `devices` into the list of the head `lunpaths`, which is emptied first:
// one record per path, in the order of the devices and of their paths. A device without paths repeats until
// no node can be had: kept so on purpose, it ends in EC_molloc_failed. Returns EC_ok; EC_invalid_input when a
// head is null; EC_molloc_failed, the list then holding the records so far.
s_ecItems *cvtDravikToLunpath(const s_dravik *devices, s_lunPath *lunpaths);

// Copies the list of the head `source` over that of the head `destination`; over-long aliases are cut to 30
// characters. Returns EC_ok; EC_invalid_input when a head is null; EC_molloc_failed, the destination then
// holding the records copied so far.
s_ecItems *cpyLunpath(const s_lunPath *source, s_lunPath *destination);

// The first valid record whose `lun_wwid` equals `wwid` over 65 characters, or whose `path_dev_name` equals
// `device_name` over 30; null when there is none or an argument is null.
s_lunPath *findLunpathByLunId(const s_lunPath *head, const char *wwid);
s_lunPath *findLunpathByDevName(const s_lunPath *head, const char *device_name);

// Prints the list of the head `head` to standard output between two banner lines, one line per record.
void printLunPath(const s_lunPath *head);

// The topology's records: multipath devices (volumes of the array as this host sees them) and their paths.
//
// Both are reusable lists (reusable_list.h) behind a head node that carries no data: a list is emptied by resetting
// its head, and refilled over the nodes it already has. The first record is the head's `next`; a list is empty when the head's `end` is set or its `next` is null.
// Valid nodes run up to and including the first one whose `end` is set, or to a null `next`. To append after
// a cursor: node = getOrMallocNext...(cursor); fill the node; cursor->end = false; cursor = node.
//
// All text is kept as the multipath tool printed it, NUL-terminated and cut to its field.
#pragma once

#include "struct/reusable_list.h"

// One path: a SCSI or NVMe block device that leads to the volume, with the settings of its path group.
struct s_path_dev {
    char dev_id[31];         // major:minor
    char dev_name[31];       // kernel name: sdb, nvme0n1
    char dev_node[31];       // host:channel:target:lun
    char group_policy[31];   // the group's path selector as listed: service-time 0
    char path_policy[31];    // the selector as shown to the user; filled by the display alone
    char group_priority[31]; // the group's priority, digits
    char group_status[31];   // active, enabled, failed
    char path_status[31];    // device-mapper state: active, failed
    char checker_state[31];  // path checker: ready, faulty
    char dravik_status[31];  // the kernel's online state: running, offline
    char host_interface[31]; // iscsi, fc, sas, fc-nvme, rdma-nvme, or empty
    char target_port[129];   // the array port the path reaches, or empty
    bool end;                // the last valid node; on a head: the list is empty
    s_path_dev *next;
    unsigned int position; // how far the node is from its head; bounds the list, see MAX_LIST_NODES
};

// One multipath device.
struct s_dravik {
    char path_alias[66];    // its name in the listing: the alias, or the WWID where it has none
    char wwid[66];          // without the listing's parentheses
    char device_number[31]; // the N of dm-N, digits
    char vendor[31];        // KORVEL, NVME, HUAWEI or HITACHI
    char product_type[31];  // QVX, KORVELQVX, XSG1 or DF
    char lun_size[31];      // as listed: 10G
    char vdisk_name[128];   // the array's own name for it; filled by the display alone
    s_path_dev *pdev;       // head of its path list, owned; null until first needed
    bool end;
    s_dravik *next;
    unsigned int position;
};

using dravik::MAX_LIST_NODES;

// ---- paths

// A zeroed record with its end flag set, or null. Logs "Malloc struct s_path_dev." at level 2.
s_path_dev *mallocPathDev();

// Resets one node to an empty last one, keeping its place in the chain. Null is ignored.
void _initPathDev(s_path_dev *p);

// Empties the list of the head `p` in constant time. Null is ignored.
void initPathDev(s_path_dev *p);

// The node after `p`, reset: the spare one, or a new one linked behind `p`. Null when `p` is null or no node
// could be had. The end flag of `p` is not touched.
s_path_dev *getOrMallocNextPathDev(s_path_dev *p);

// Release one node, or a node and everything behind it, spare nodes included. Null is ignored.
void _freePathDev(s_path_dev *p);
void freePathDev(s_path_dev *p);

// The first valid path of the list of the head `p`; null when the list is empty or `p` is null.
s_path_dev *firstPathDev(const s_path_dev *p);

// The valid path after `p`, or null after the last one.
s_path_dev *nextPathDev(const s_path_dev *p);

// ---- devices

// A zeroed record with its end flag set and no path list, or null. Logs "Malloc struct s_dravik." at level 2.
s_dravik *mallocDravik();

// Resets one node to an empty last one, keeping its place in the chain and its path nodes (their list is
// emptied). Null is ignored.
void _initDravik(s_dravik *p);

// Empties the list of the head `p` in constant time. Null is ignored.
void initDravik(s_dravik *p);

// As `getOrMallocNextPathDev`. A reused device keeps its path nodes.
s_dravik *getOrMallocNextDravik(s_dravik *p);

// Release one device with its paths, or a device and everything behind it. Null is ignored.
void _freeDravik(s_dravik *p);
void freeDravik(s_dravik *p);

// The first valid device of the list of the head `p`, and the valid device after `p`; null when there is
// none.
s_dravik *firstDravik(const s_dravik *p);
s_dravik *nextDravik(const s_dravik *p);

// ---- questions

// `*flag` = 1 when a valid path of `device` runs over exactly "fc-nvme" or "rdma-nvme", 0 otherwise.
void isNVMeDevice(const s_dravik *device, unsigned int *flag);

// `*flag` = 1 when no path of `device` works: it has none, or each is "faulty" to the checker, "failed" to
// the device mapper, "offline" to the kernel or in a "failed" group. A device with paths that is found failed
// is logged at level 0: "This device (%s) is a failed device.\n" with its WWID. Otherwise 0.
void isFailedDevice(const s_dravik *device, unsigned int *flag);

// The first valid device whose `path_alias` equals `alias` over 65 characters; null when there is none or an
// argument is null.
s_dravik *findDravikByPathAlias(const s_dravik *head, const char *alias);

// The same search for well-formed lists only: it ends on a match or at the node with the end flag and does
// not look for a missing successor. Kept beside the other on purpose.
s_dravik *findDravikByPathAlias_noMemoryLeak(const s_dravik *head, const char *alias);

// The first valid path of the device `alias` whose `dev_name` equals `device_name` over 30 characters; null
// when there is no such device or path or an argument is null.
s_path_dev *findDravikByDeviceName(const s_dravik *head, const char *alias, const char *device_name);

// The command `query`: the topology as the user sees it.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

// ---- commands

// Takes the topology, or the one device named by alias or WWID, and prints it. Returns the query's record
// (topology_query.h) or EC_molloc_failed; nothing is printed unless its code is 0.
s_ecItems *query();
s_ecItems *querySingleDevice(const char *device_name);

// ---- printing

// Prints `first` and the valid devices after it (none for null), an empty line between two, separators of 130
// "-" around them. The virtual-disk names that the array tells are remembered in the cache file in one writing
// at the end.
void printDravik(s_dravik *first);

// Prints one device:
//
//   path_alias: mpatha
//   wwid: 3600...01
//   device_number: 3
//   vendor: KORVEL
//   product_type: QVX
//   lun_size: 10G
//   vdisk_name: vol1
//   host_interface: fc
//   ======== ... (130)
//   dev_id dev_name dev_node path_policy        path_status dravik_status target_port
//   8:16   sdb      1:0:0:1  round-robin-extend active      running       0x500...01
//
// The name of the virtual disk comes from the array, for a failed device from the cache file; it is kept in
// `vdisk_name`. The line is left out when the name is not known. Without paths the device ends there. The
// interface is that of the first path; its line is left out when it is none of the known ones. The policies as
// shown are kept in `path_policy`.
// Logged at level 0, beside what the array's module logs:
//   "This device (%s) is a failed device.\n", see `isFailedDevice`
//   "This device (%s), the vdisk name we obtained is NULL.\n"
//   "This device (%s) is a failed device, we can not get the vdisk name.\n"
//   "This device (%s) is a failed device, we get the vdisk name from file is NULL.\n", all with the WWID
//   "the transport we obtained is not fc/iscsi/fc-nvme/rdma-nvme.\n"
void _printOneDravik(s_dravik *device);

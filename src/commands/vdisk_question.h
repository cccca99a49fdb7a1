// The name that the array has for a listed volume, for those who show the topology.
#pragma once

#include "struct/s_dravik.h"

namespace dravik {

// Puts the virtual-disk name of `device` into its `vdisk_name`: the array is asked, for a failed device the cache file.
// False where it is not known. Between holdVdiskWrites and releaseVdiskWrites (array/vdisk_cache.h) what the array tells
// is remembered in one writing.
// Logged at level 0 as `_printOneDravik`, beside what the array's module and `isFailedDevice` log:
//   "This device (%s), the vdisk name we obtained is NULL.\n"
//   "This device (%s) is a failed device, we can not get the vdisk name.\n"
//   "This device (%s) is a failed device, we get the vdisk name from file is NULL.\n", all with the WWID
bool findVdiskNameOf(s_dravik *device);

} // namespace dravik

// A volume's virtual-disk name, from the array while a path works, from the cache file otherwise.
#pragma once

// Asks the array for the name of the device `path`: 0 with a non-empty name in `name`, -1 otherwise.
using VdiskNameReader = int (*)(const char *path, char *name);

// Finds the name of the SCSI (or NVMe) multipath device at the node `path` with the WWID `wwid`. `name` holds
// 128 bytes.
//   the array answers      `*found` is 1; the name is remembered in the cache file under the WWID
//   the array does not     the name is looked up in the cache file (vdisk_cache.h); `*found` is 1 when the
//                          WWID has an entry, otherwise 0 and `name` is as the attempt left it
// Logged at level 0: what the readers and the cache log.
void displayVdiskname(const char *path, const char *wwid, char *name, unsigned int *found);
void displayNvmeVdiskname(const char *path, const char *wwid, char *name, unsigned int *found);

// Both of them, with the reader given. A reader that answers with an empty name is found, stored nowhere and
// not looked up: logged as "Devcie (%s), unable to get vdisk name using in-band channel, we try to get vdisk
// name from file.\n" with the WWID, though the file is not read. Kept so on purpose; the two readers of this
// module never answer so.
void findVdiskName(VdiskNameReader reader, const char *path, const char *wwid, char *name,
                   unsigned int *found);

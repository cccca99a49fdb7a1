// How a WWID and its name are merged into the cache's tree.
#pragma once

#include "array/vdisk_file.h"

namespace dravik {

// Merges the pair into `tree`: an entry of the WWID gets the name where it has another, otherwise one is appended to
// "disk". True when the file is to be written. False when nothing has changed: the entry has that name, or none that is a
// string; "disk" is no array; memory ran out. A root without "disk" stays as it is and is to be written all the same.
// Logged at level 0, where `logged` says so (a change is logged where it is first made, not where it is merged), as
// `update_wwid_vdiskname` logs it (array/vdisk_entry.h). Throws std::bad_alloc.
bool mergeIntoTree(VdiskTree *tree, const char *wwid, const char *name, bool logged);

} // namespace dravik

// Change detection: two lun-path lists compared, every difference a line of the change log.
#pragma once

// Compares `g_pOldLunPath` with `g_pLunPath` (cycle.h) and writes one line of level 4 per difference, in this
// order: volumes deleted, volumes created, paths deleted or changed, paths created. Volumes are matched by
// WWID, paths by the name of their block device; a name that shows up under another volume is a change.
// When at least one line was written, the current list goes to the snapshot file; a write that failed is repeated by
// the following calls until one succeeds. Neither list is changed. Throws std::bad_alloc before the first line.
void cmpAndLog();

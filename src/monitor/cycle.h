// The monitor's cycle: take the topology, compare it with the last one, remember it, sleep.
//
// Everything runs on one thread. The three lists are made once, never released, and reuse their nodes from
// cycle to cycle.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"
#include "struct/s_lunPath.h"

// The records of the current and of the previous cycle (at first: of the snapshot file), and the topology of
// the current cycle. Null before `initMonitor`.
extern s_lunPath *g_pLunPath;
extern s_lunPath *g_pOldLunPath;
extern s_dravik *g_pDravik;

// The snapshot file: its directory, its name, and both together once `initMonitor` has run.
extern char lunPathDir[8];
extern char lunPathFileName[12];
extern char lunPathFile[512];

// Makes the lists, builds the snapshot's path and reads the previous list from it. A snapshot that is missing
// or damaged leaves the list empty, or filled up to the damage.
void initMonitor();

// Cycles for ever, ten seconds from the start of one to the start of the next, in whole seconds; a cycle that
// took ten seconds or more is followed by a pause of one.
[[noreturn]] void start();

// The pause after a cycle of `elapsed` seconds: 10 - elapsed up to 9, otherwise 1. A clock that was set back
// during the cycle makes `elapsed` negative and the pause longer, which is kept.
unsigned int pauseAfterCycle(double elapsed);

// One cycle: query, comparison, copy of the current list over the previous one. A failed query or conversion, or memory
// that runs out before the comparison, is logged at level 0 ("Get lun and path information failed. Error message: %s.")
// and ends it, the previous list left as it was; so does a lack of memory for the copy, found out before anything is
// compared and logged as "Copy lun and path information failed. Error message: %s.".
void oneMonitor();

// Takes the topology into `g_pDravik` and flattens it into `g_pLunPath`. EC_ok, or the record of what failed,
// logged at level 0 as "Query Dravik infomation failed. Error message: %s." or "Convert data from Struct
// s_dravik to s_lunPath failed. Error message: %s.".
s_ecItems *getLunPath();

// A debugging routine that nothing calls: takes the topology, prints the current list, reads the snapshot file
// into the previous list and prints that.
void test();

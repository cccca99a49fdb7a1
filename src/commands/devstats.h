// The command `devstats`: registering devices and paths with the statistics engine, and starting its sampling.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

// Takes the topology, or the one device named by alias or WWID, and registers every device and path with the
// statistics engine, whose device list is sized for the number of lines of the listing. Returns the query's
// record (topology_query.h) or EC_molloc_failed. Prints nothing, samples nothing.
s_ecItems *queryDevStats();
s_ecItems *querySingleDevStats(const char *device_name);

// Registers `first` and the valid devices after it (none for null). The device list has been allocated.
void printDravikStats(const s_dravik *first);

// Registers one device: "dm-" and its number, which is shown under its alias, then each of its paths.
void _printOneDravikStats(const s_dravik *device);

// Starts the sampling of what has been registered: a report every `seconds` (1 to MAX_STAT_INTERVAL) until
// Ctrl+C ends the process with exit status 0.
[[noreturn]] void sampleDevStats(unsigned int seconds);

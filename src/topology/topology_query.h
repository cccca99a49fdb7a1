// The topology queries: run the multipath tool and parse its listing.
#pragma once

#include <memory>

#include "common/capture.h"
#include "common/result.h"
#include "struct/s_dravik.h"

// The head of a topology, freed with its list at the end of the scope:
//   DravikList head(mallocDravik(), freeDravik);
using DravikList = std::unique_ptr<s_dravik, decltype(&freeDravik)>;

namespace dravik {

// How the tool of the last query ended (common/capture.h).
const ChildEnd &lastToolEnd();

} // namespace dravik

// Takes the whole topology into the list of the head `head`.
// Returns the parser's record (listing.h), or EC_exe_cmd_failed when the tool could not be run, a missing
// tool included: logged at level 0 as "Execute command [%s] failed", the list left as it was.
s_ecItems *queryDravikInfo(s_dravik *head);

// The same, with the number of lines of the listing in `*lines`: an upper bound of the devices and paths.
s_ecItems *queryDravikStats(s_dravik *head, unsigned int *lines);

// Takes one device, named by alias or WWID, into the list of the head `head`.
// Returns also EC_no_this_device with the name, when the tool prints nothing or nothing of an accepted
// vendor. A name that is no plain word is never handed to the shell: EC_no_this_device.
s_ecItems *querySingleDravikInfo(s_dravik *head, const char *device_name);
s_ecItems *querySingleDravikStats(s_dravik *head, const char *device_name, unsigned int *lines);

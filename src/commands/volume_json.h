// A volume and its paths as structured data, the same in every command.
#pragma once

#include <string>

#include "ledger/records.h"
#include "output/json.h"

namespace dravik {

// A volume of the ledger as it is known at `now`; a ledger whose last observation is stale makes its state unknown.
// `vdisk_name` is the array's name for it, empty where that is not known.
Json knownVolumeJson(const KnownVolume &volume, const std::string &vdisk_name, VolumeState state,
                     Milliseconds now);

// A volume as it has just been listed: without what only the ledger knows.
Json seenVolumeJson(const SeenVolume &volume, const std::string &vdisk_name);

} // namespace dravik

// An event as structured data.
#pragma once

#include <string>

#include "ledger/records.h"
#include "output/json.h"

namespace dravik {

// `vdisk_name` is the array's name for the event's volume, empty where that is not known.
Json eventJson(const Event &event, const std::string &vdisk_name);

} // namespace dravik

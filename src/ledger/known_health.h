// What the ledger's volumes and paths are to those who judge them (health/volume_health.h).
#pragma once

#include <vector>

#include "health/volume_health.h"
#include "ledger/records.h"

namespace dravik {

// The health of a known volume's paths at `time`, whose texts are the volume's; and the survival of its baseline.
std::vector<PathHealth> healthOf(const KnownVolume &volume, Milliseconds time);
Survival baselineSurvival(const KnownVolume &volume);

} // namespace dravik

// The baseline that is learned: what a volume has had.
#pragma once

#include "ledger/records.h"

namespace dravik {

// Takes each path of the volume that is there into its baseline.
void learnBaseline(KnownVolume *volume);

// Takes the path of this key, the twin included, out of the baseline.
void forgetBaselinePath(const PathKey &key, KnownVolume *volume);

} // namespace dravik

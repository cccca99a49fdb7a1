// The topology as it has just been listed, in the ledger's own records; and a fingerprint that tells whether it is the
// same as the one before.
#pragma once

#include <cstdint>

#include "ledger/initiators.h"
#include "ledger/records.h"
#include "struct/s_dravik.h"

namespace dravik {

// Takes over the devices of the list of the head `head`. A WWID that is listed twice is one volume with the paths of both.
SeenTopology seeTopology(const s_dravik *head, Initiators *initiators);

// A number over everything that `seeTopology` takes over: the same number, the same topology.
uint64_t fingerprintOf(const s_dravik *head, Initiators *initiators);

} // namespace dravik

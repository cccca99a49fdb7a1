// What a path's changes between working and not working add up to: counters, times, flapping.
#pragma once

#include "ledger/records.h"

namespace dravik {

// Three failures within thirty minutes make a path flap, until thirty minutes have passed without one.
constexpr int FLAPPING_FAILURES = 3;
constexpr Milliseconds FLAPPING_WINDOW_MS = 30LL * 60 * 1000;

// Notes that the path works, or works no more, from `time` on. Nothing happens where that is not new.
void noteWorking(KnownPath *path, bool working, Milliseconds time);

// What the history makes of `flapping` at `time`; the path's own mark stays as it is.
bool isFlapping(const KnownPath &path, Milliseconds time);

} // namespace dravik

// What is to be said of a volume in words.
#pragma once

#include <string>

#include "ledger/records.h"

namespace dravik {

// The state as people read it: "last path", the others as stateWord.
std::string stateText(VolumeState state);

// Why the path carries nothing, or is not surely there: "missing", "unseen", "offline by USER", the checker's word, "offline",
// "failed", "in a failed group"; empty for one that works.
std::string troubleOf(const KnownPath &path);

// The paths in trouble, those of one kind and minute together, and what else is to be noted, within `width` characters as
// far as shorter lists of names, and then leaving out the times, can make it so: "sdb sdc sdd faulty since 03:12".
std::string noteOf(const KnownVolume &volume, Milliseconds now, size_t width);

// How the volume is reached: "1 of 4 work; lost: sdb sdc sdd; survives: nothing". What it survives is the loss of any one of
// each: "path, initiator, target port"; behind it stands what it did survive with the paths of its baseline.
std::string reachOf(const KnownVolume &volume, Milliseconds now);

// The losses in words: "path, initiator, target port", "nothing".
std::string survivalText(const Survival &survival);

} // namespace dravik

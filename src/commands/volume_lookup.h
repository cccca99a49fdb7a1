// Finding the volume that a word means.
#pragma once

#include <string>
#include <vector>

#include "commands/ledger_view.h"

namespace dravik {

// The volumes among `volumes` that `word` names, in this order of meanings, of which the first that any has counts: an
// alias, a WWID, the array's name of a volume, the kernel's name of a map (dm-3), the kernel's name of a path (sdb), that of
// a path that is missing.
// "/dev/mapper/" and "/dev/" before it are passed over. A volume that is gone is known by its alias, its WWID and the array's name, and
// comes only where none that is there has that meaning. Several only where the array's name is that of several volumes.
std::vector<const KnownVolume *> findVolumes(const KnownTopology &volumes, const VdiskNames &names,
                                             const std::string &word);

// The one volume that `word` names; null with a sentence in `*problem` when there is none or more than one.
const KnownVolume *findVolume(const KnownTopology &volumes, const VdiskNames &names, const std::string &word,
                              std::string *problem);

} // namespace dravik

// What has changed between the topology as it is known and as it has just been seen. Pure functions: what the kernel says
// of a missing thing is asked through `Kernel`.
//
// Nothing that is missing is taken for gone on the multipath tool's word alone: while the kernel still has it, it is
// "unseen", keeps its last known state, and is settled by an observation that lists it or by the kernel.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ledger/causes.h"
#include "ledger/kernel_view.h"
#include "ledger/known_health.h"
#include "ledger/records.h"

namespace dravik {

// What is asked about what is missing (kernel_view.h on a real host).
struct Kernel {
    std::function<KernelAnswer(const std::string &map, const std::string &name)> has_path;
    std::function<KernelAnswer(const std::string &map, const std::string &alias, const std::string &wwid)>
        has_volume;
};

struct Comparison {
    Quality quality = Quality::GOOD; // GOOD or DOUBTFUL
    std::string doubt;               // why it is doubtful, in words (doubt.h); empty for a good one
    std::vector<Event> events;       // in order; without number and incident
    bool needs_time = false; // something is unseen or flapping: the passing of time alone may change it
};

// Compares, and brings `known` up to date: what has changed in it is marked. Volumes and paths that were not known are
// added behind the others.
Comparison compareTopologies(const SeenTopology &seen, const Circumstances &circumstances,
                             const Kernel &kernel, KnownTopology *known);

} // namespace dravik

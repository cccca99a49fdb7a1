// From what the multipath tool printed to a judged observation: what is there, what has changed, how well it was seen.
#pragma once

#include <string>
#include <vector>

#include "common/capture.h"
#include "ledger/records.h"
#include "struct/s_dravik.h"

namespace dravik {

// What became of the multipath tool and its listing.
struct ToolOutcome {
    // Why there is no topology, in words; empty when there is one.
    std::string failure;
    int exit_status = 0;
    int signal_number = 0; // that ended the tool, 0 for none
    int64_t tool_ms = 0;
    int64_t duration_ms = 0; // of the whole observation, the tool included
    int64_t age_ms = 0;      // since it was begun
};

// The outcome of the tool that ended as `tool` says, without the durations of the observation. `failure` as there.
ToolOutcome outcomeOf(const ChildEnd &tool, std::string failure);

// How a tool that did not end well did end, in words; empty when it did.
std::string howToolEnded(const ToolOutcome &outcome);

struct Judgement {
    Observation observation;
    std::vector<Event> events; // in order; without number and incident
    bool needs_time = false;   // something is unseen or flapping: the passing of time alone may change it
};

// Judges the topology of the head `topology`, whose outcome has no failure. `begun` brings the observation's time, boot
// and durations, and as its reason how the tool ended; `last` is the observation before it, `operations` are ours since then.
// `known` is brought up to date, what has changed in it marked. Asks the kernel for the sizes of new volumes, and about
// what is missing.
Judgement judgeTopology(const s_dravik *topology, const ToolOutcome &outcome, const Observation &begun,
                        const Observation &last, std::vector<Operation> operations, KnownTopology *known);

} // namespace dravik

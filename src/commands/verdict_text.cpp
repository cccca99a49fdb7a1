// Putting the verdict into words and numbers.
#include "commands/verdict_text.h"

#include <algorithm>

#include "ledger/comparison.h"

namespace dravik {

namespace {

// From worst to best: the first that a volume has leads the line.
constexpr VolumeState BAD_STATES[] = {VolumeState::NONE, VolumeState::LAST_PATH, VolumeState::UNKNOWN,
                                      VolumeState::DEGRADED};

const char *statusWord(VolumeState verdict) {
    constexpr const char *WORDS[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return WORDS[verdictStatus(verdict)];
}

std::string phraseOf(VolumeState state, int64_t count) {
    switch (state) {
    case VolumeState::NONE:
        return "without a working path";
    case VolumeState::LAST_PATH:
        return count == 1 ? "on its last path" : "on their last path";
    default:
        return stateWord(state);
    }
}

std::string summary(const LedgerView &view, const VerdictCounts &counts) {
    if (isStale(view)) {
        return staleText(view);
    }
    const std::string of_all = " of " + std::to_string(counts.volumes) + " volumes ";
    std::string text;
    for (const VolumeState state : BAD_STATES) {
        const int64_t count = counts.of(state);
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + (text.empty() ? of_all : " ") +
                    phraseOf(state, count);
        }
    }
    if (!text.empty()) {
        return text;
    }
    return counts.volumes == 0 ? "there are no volumes" : std::to_string(counts.volumes) + of_all + "ok";
}

std::string field(const char *name, int64_t value) {
    return std::string(" ") + name + "=" + std::to_string(value);
}

std::string performance(const LedgerView &view, const VerdictCounts &counts) {
    std::string text = "|" + field("volumes", counts.volumes);
    for (const VolumeState state :
         {VolumeState::OK, VolumeState::DEGRADED, VolumeState::LAST_PATH, VolumeState::NONE}) {
        text += field(stateWord(state), counts.of(state));
    }
    text += field("paths", counts.paths) + field("paths_working", counts.paths_working);
    if (view.observation.seen != 0) {
        const Milliseconds age = std::max<Milliseconds>(view.now - view.observation.seen, 0);
        text += field("observation_age", age / 1000) + "s";
    }
    return text;
}

void count(VolumeState state, const std::vector<PathHealth> &health, VerdictCounts *counts) {
    ++counts->volumes;
    ++counts->states[static_cast<size_t>(state)];
    counts->paths += static_cast<int64_t>(health.size());
    counts->paths_working += countWorking(health);
}

} // namespace

Verdict verdictOver(const LedgerView &view, const VolumeList &volumes) {
    Verdict verdict;
    for (const KnownVolume *volume : volumes) {
        const std::vector<PathHealth> health = healthOf(*volume, view.now);
        const VolumeState state = stateOf(view, *volume, health);
        count(state, health, &verdict.counts);
        verdict.state = std::min(verdict.state, state);
        if (state != VolumeState::OK) {
            verdict.bad.push_back({volume, state});
        }
    }
    std::stable_sort(verdict.bad.begin(), verdict.bad.end(),
                     [](const JudgedVolume &a, const JudgedVolume &b) { return a.state < b.state; });
    verdict.state = isStale(view) ? VolumeState::UNKNOWN : verdict.state;
    return verdict;
}

int verdictStatus(VolumeState verdict) {
    switch (verdict) {
    case VolumeState::OK:
        return 0;
    case VolumeState::DEGRADED:
        return 1;
    case VolumeState::UNKNOWN:
        return 3;
    default:
        return 2;
    }
}

std::string verdictLine(const LedgerView &view, const Verdict &verdict) {
    return std::string(statusWord(verdict.state)) + " - " + summary(view, verdict.counts) + " " +
           performance(view, verdict.counts);
}

Json countsJson(const VerdictCounts &counts) {
    Json json = Json::object();
    json.set("volumes", counts.volumes);
    for (const VolumeState state : {VolumeState::OK, VolumeState::DEGRADED, VolumeState::LAST_PATH,
                                    VolumeState::NONE, VolumeState::UNKNOWN}) {
        json.set(stateWord(state), counts.of(state));
    }
    json.set("paths", counts.paths).set("paths_working", counts.paths_working);
    return json;
}

} // namespace dravik

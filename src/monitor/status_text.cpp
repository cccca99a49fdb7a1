// The monitor's state in words.
#include "monitor/status_text.h"

#include "common/log.h"
#include "output/local_time.h"
#include "output/table.h"
#include "output/well_formed.h"

namespace dravik {

namespace {

std::string countOf(int64_t count, const char *what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
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

// ", 1 on its last path, 2 degraded"
std::string statesText(const StateCounts &counts, int64_t volumes) {
    std::string text;
    for (const VolumeState state :
         {VolumeState::NONE, VolumeState::LAST_PATH, VolumeState::UNKNOWN, VolumeState::DEGRADED}) {
        const int64_t count = counts.of_state[static_cast<size_t>(state)];
        if (count > 0) {
            text += ", " + std::to_string(count) + " " + phraseOf(state, count);
        }
    }
    return text.empty() && volumes > 0 ? ", all ok" : text;
}

} // namespace

std::string statusText(const Observation *observation, const StateCounts &counts, long long age_ms) {
    if (age_ms < 0) {
        return "the first observation is under way";
    }
    const std::string age = "; last observation " + ageText(age_ms) + " ago";
    if (observation == nullptr) {
        return std::string("the ledger cannot be used, see ") + g_log_file_dir + g_log_file_name + age;
    }
    return harmless(
        wellFormed(countOf(observation->volumes, "volume") + ", " + countOf(observation->paths, "path") +
                   statesText(counts, observation->volumes) + age + ", " + qualityWord(observation->quality) +
                   (observation->reason.empty() ? "" : ": " + observation->reason)));
}

} // namespace dravik

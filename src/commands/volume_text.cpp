// Putting a volume's paths into words.
#include "commands/volume_text.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "ledger/comparison.h"
#include "output/local_time.h"
#include "output/table.h"

namespace dravik {

namespace {

// Paths with the same trouble since the same minute.
struct Trouble {
    std::string kind;
    std::string since; // empty where that is not known
    std::vector<std::string> names;
};

bool isCheckedWell(const std::string &checker_state) {
    return checker_state == "ready" || checker_state == "ghost" || checker_state.empty();
}

Milliseconds beganAt(const KnownPath &path) {
    return path.presence == Presence::UNSEEN ? path.unseen_since : path.last_failed;
}

std::vector<Trouble> troublesOf(const KnownVolume &volume, Milliseconds now) {
    std::vector<Trouble> troubles;
    for (const KnownPath &path : volume.paths) {
        const std::string kind = troubleOf(path);
        if (kind.empty()) {
            continue;
        }
        const std::string since = beganAt(path) == 0 ? "" : shortTime(beganAt(path), now);
        auto same = std::find_if(troubles.begin(), troubles.end(), [&](const Trouble &other) {
            return other.kind == kind && other.since == since;
        });
        if (same == troubles.end()) {
            same = troubles.insert(troubles.end(), {kind, since, {}});
        }
        same->names.push_back(path.attributes.name);
    }
    return troubles;
}

void append(std::string *list, const char *separator, const std::string &text) {
    *list += (list->empty() ? "" : separator) + text;
}

// At most `most` names, and how many more there are.
std::string namesText(const std::vector<std::string> &names, size_t most) {
    std::string text;
    for (size_t i = 0; i < std::min(most, names.size()); ++i) {
        append(&text, " ", names[i]);
    }
    if (names.size() > most) {
        append(&text, " ", "+" + std::to_string(names.size() - most));
    }
    return text;
}

std::string troublesText(const std::vector<Trouble> &troubles, size_t most_names, bool with_times) {
    std::string text;
    for (const Trouble &trouble : troubles) {
        append(&text, ", ",
               namesText(trouble.names, most_names) + " " + trouble.kind +
                   (with_times && !trouble.since.empty() ? " since " + trouble.since : ""));
    }
    return text;
}

std::string flappingText(const KnownVolume &volume) {
    std::vector<std::string> names;
    for (const KnownPath &path : volume.paths) {
        if (path.flapping) {
            names.push_back(path.attributes.name);
        }
    }
    return names.empty() ? "" : namesText(names, 3) + " flapping";
}

// The troubles and what else is to be noted: with fewer names, then without times, where all of it is too wide.
std::string fittingText(const std::vector<Trouble> &troubles, const std::string &more, size_t names,
                        size_t width) {
    std::string text;
    for (const bool with_times : {true, false}) {
        for (size_t most_names = names; most_names > 0; --most_names) {
            text = troublesText(troubles, most_names, with_times);
            if (!more.empty()) {
                append(&text, ", ", more);
            }
            if (characterCount(text) <= width) {
                return text;
            }
        }
    }
    return text;
}

// What the volume survived with the paths of its baseline and does not any more.
Survival lostSurvival(const KnownVolume &volume, const Survival &now) {
    const Survival before = baselineSurvival(volume);
    return {before.path && !now.path, before.initiator && !now.initiator,
            before.target_port && !now.target_port};
}

bool survivesAny(const Survival &survival) {
    return survival.path || survival.initiator || survival.target_port;
}

// The names of the paths that do not work, with who took them offline.
std::string lostText(const KnownVolume &volume) {
    std::string lost;
    for (const KnownPath &path : volume.paths) {
        if (!path.working || path.presence == Presence::MISSING) {
            append(&lost, " ",
                   path.attributes.name +
                       (path.offline_by.empty() ? "" : " (offline by " + path.offline_by + ")"));
        }
    }
    return lost;
}

std::string unseenText(const KnownVolume &volume, Milliseconds now) {
    if (volume.presence == Presence::UNSEEN) {
        return "not seen since " + shortTime(volume.unseen_since, now);
    }
    std::string unseen;
    for (const KnownPath &path : volume.paths) {
        if (path.presence == Presence::UNSEEN) {
            append(&unseen, " ", path.attributes.name);
        }
    }
    return unseen.empty() ? "" : "unseen: " + unseen;
}

} // namespace

std::string stateText(VolumeState state) {
    return state == VolumeState::LAST_PATH ? "last path" : stateWord(state);
}

std::string troubleOf(const KnownPath &path) {
    if (path.presence != Presence::PRESENT) {
        return presenceWord(path.presence);
    }
    if (path.working) {
        return "";
    }
    if (!path.offline_by.empty()) {
        return "offline by " + path.offline_by;
    }
    if (!isCheckedWell(path.attributes.checker_state)) {
        return path.attributes.checker_state;
    }
    if (path.attributes.online_state == "offline") {
        return "offline";
    }
    return path.attributes.dm_state == "failed" ? "failed" : "in a failed group";
}

std::string survivalText(const Survival &survival) {
    std::string text;
    for (const auto &[survives, what] :
         {std::pair(survival.path, "path"), std::pair(survival.initiator, "initiator"),
          std::pair(survival.target_port, "target port")}) {
        if (survives) {
            append(&text, ", ", what);
        }
    }
    return text.empty() ? "nothing" : text;
}

std::string noteOf(const KnownVolume &volume, Milliseconds now, size_t width) {
    if (volume.presence == Presence::UNSEEN) {
        return "unseen since " + shortTime(volume.unseen_since, now);
    }
    if (volume.paths.empty()) {
        return "no paths";
    }
    const std::vector<Trouble> troubles = troublesOf(volume, now);
    std::string more;
    if (troubles.empty()) {
        const Survival lost = lostSurvival(volume, survivalOf(healthOf(volume, now)));
        more = survivesAny(lost) ? "no spare " + survivalText(lost) : "";
    }
    const std::string flapping = flappingText(volume);
    if (!flapping.empty()) {
        append(&more, ", ", flapping);
    }
    return fittingText(troubles, more, volume.paths.size(), width);
}

std::string reachOf(const KnownVolume &volume, Milliseconds now) {
    const std::vector<PathHealth> health = healthOf(volume, now);
    const Survival survival = survivalOf(health);
    std::string text =
        std::to_string(countWorking(health)) + " of " + std::to_string(health.size()) + " work";
    const std::string lost = lostText(volume);
    const std::string unseen = unseenText(volume, now);
    text += lost.empty() ? "" : "; lost: " + lost;
    text += unseen.empty() ? "" : "; " + unseen;
    text += "; survives: " + survivalText(survival);
    const Survival no_longer = lostSurvival(volume, survival);
    if (survivesAny(survival) && survivesAny(no_longer)) {
        text += "; no longer: " + survivalText(no_longer);
    }
    return text;
}

} // namespace dravik

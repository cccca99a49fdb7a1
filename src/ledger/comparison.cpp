// Matching what is known with what is seen, and telling the difference.
#include "ledger/comparison.h"

#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "ledger/baseline_learning.h"
#include "ledger/change_events.h"
#include "ledger/doubt.h"
#include "ledger/event_kinds.h"
#include "ledger/path_history.h"
#include "ledger/path_matching.h"

namespace dravik {

namespace {

// One comparison under way.
class Comparer {
  public:
    Comparer(const SeenTopology &seen_topology, const Circumstances &observed, const Kernel &asked,
             KnownTopology *known_topology)
        : seen(seen_topology), at(observed), kernel(asked), known(*known_topology), events(observed),
          doubts(observed.tool_was_ended) {}

    Comparison run();

  private:
    void indexSeen();
    void missVolume(KnownVolume *volume);
    void meetVolume(const SeenVolume &now, KnownVolume *volume, bool returns);
    void addVolume(const SeenVolume &now);
    void takeAttributes(const SeenVolume &now, KnownVolume *volume, bool quiet);
    void meetPaths(const SeenVolume &now, KnownVolume *volume, Milliseconds last_seen, bool quiet);
    void meetPath(const SeenPath &now, KnownVolume *volume, KnownPath *path, bool quiet);
    void tellChanges(const PathAttributes &before, const KnownVolume &volume, const KnownPath &path,
                     bool quiet);
    void addPath(const SeenPath &now, KnownVolume *volume, PathKeySet *keys, bool quiet);
    void missPath(KnownVolume *volume, KnownPath *path, Milliseconds last_seen, bool quiet);
    void finishVolume(KnownVolume *volume, size_t first_event, bool judge);
    void watchFlapping(KnownVolume *volume, KnownPath *path, bool quiet);

    void changeKey(const PathKey &key, KnownVolume *volume, KnownPath *path);
    Milliseconds lastSeen() const;

    const SeenTopology &seen;
    const Circumstances &at;
    const Kernel &kernel;
    KnownTopology &known;
    Comparison result;
    ChangeEvents events;
    Doubts doubts;
    std::unordered_set<std::string> seen_maps;
    std::unordered_set<std::string> seen_devices;
};

void Comparer::indexSeen() {
    for (const SeenVolume &volume : seen) {
        seen_maps.insert(volume.attributes.map);
        for (const SeenPath &path : volume.paths) {
            seen_devices.insert(path.attributes.name);
        }
    }
}

// ---- paths

// A key that has become known later names the same path, in the baseline too.
void Comparer::changeKey(const PathKey &key, KnownVolume *volume, KnownPath *path) {
    forgetBaselinePath(path->key, volume);
    path->key = key;
    path->key.twin = keysOf(*volume).freeTwin(key);
    path->changed = true;
}

void Comparer::watchFlapping(KnownVolume *volume, KnownPath *path, bool quiet) {
    const bool flapping = isFlapping(*path, at.time);
    if (flapping != path->flapping) {
        path->flapping = flapping;
        path->changed = true;
        if (!quiet) {
            events.tellPath(flapping ? PATH_FLAPPING : PATH_STEADY, *volume, *path, "", "");
        }
    }
    result.needs_time = result.needs_time || flapping;
}

void Comparer::addPath(const SeenPath &now, KnownVolume *volume, PathKeySet *keys, bool quiet) {
    KnownPath path;
    path.key = now.key;
    path.key.twin = keys->freeTwin(now.key);
    keys->add(path.key);
    path.attributes = now.attributes;
    path.working = now.working;
    path.changed = true;
    volume->paths.push_back(path);
    if (!quiet) {
        events.tellPath(PATH_APPEARED, *volume, path, "", now.attributes.checker_state);
    }
}

// Tells what has changed in a path that was there before.
void Comparer::tellChanges(const PathAttributes &before, const KnownVolume &volume, const KnownPath &path,
                           bool quiet) {
    const PathAttributes &after = path.attributes;
    const std::tuple<const char *, const std::string &, const std::string &> changes[] = {
        {PATH_MOVED, before.name, after.name},
        {PATH_CHECKER_STATE, before.checker_state, after.checker_state},
        {PATH_DM_STATE, before.dm_state, after.dm_state},
        {PATH_ONLINE_STATE, before.online_state, after.online_state},
        {PATH_GROUP_STATE, before.group_status, after.group_status},
    };
    for (const auto &[kind, from, to] : changes) {
        if (!quiet && from != to) {
            events.tellPath(kind, volume, path, from, to);
        }
    }
}

void Comparer::meetPath(const SeenPath &now, KnownVolume *volume, KnownPath *path, bool quiet) {
    const PathAttributes before = path->attributes;
    const Presence presence = path->presence;
    if (!sameKey(path->key, now.key)) {
        changeKey(now.key, volume, path);
    }
    const PathAttributes &after = now.attributes;
    path->changed = path->changed || presence != Presence::PRESENT ||
                    std::tie(before.name, before.address, before.device_id, before.transport,
                             before.group_policy, before.group_priority, before.group_status, before.dm_state,
                             before.checker_state, before.online_state) !=
                        std::tie(after.name, after.address, after.device_id, after.transport,
                                 after.group_policy, after.group_priority, after.group_status, after.dm_state,
                                 after.checker_state, after.online_state);
    path->attributes = after;
    path->presence = Presence::PRESENT;
    path->unseen_since = 0;
    if (presence == Presence::MISSING) {
        if (!quiet) {
            events.tellPath(PATH_APPEARED, *volume, *path, "", after.checker_state);
        }
    } else {
        if (presence == Presence::UNSEEN && !quiet) {
            events.tellPath(PATH_SEEN_AGAIN, *volume, *path, "", "");
        }
        tellChanges(before, *volume, *path, quiet);
    }
    noteWorking(path, now.working, at.time);
    if (!now.working) {
        noteOfflineBy(at, *volume, path);
    }
    watchFlapping(volume, path, quiet);
}

// When what was present so far was last seen, however long ago that is. A clock that was set back is not believed: nothing
// was seen in the future.
Milliseconds Comparer::lastSeen() const {
    return at.last_seen == 0 ? at.time : std::min(at.last_seen, at.time);
}

void Comparer::missPath(KnownVolume *volume, KnownPath *path, Milliseconds last_seen, bool quiet) {
    if (path->presence == Presence::MISSING) {
        watchFlapping(volume, path, quiet);
        return;
    }
    const std::string &name = path->attributes.name;
    // A device that the listing gives to another path is no proof that the missing one is still there.
    const bool given_away = seen_devices.count(name) != 0;
    const KernelAnswer answer =
        given_away ? KernelAnswer::HAS_IT_NOT : kernel.has_path(volume->attributes.map, name);
    if (doubts.isStillThere(answer)) {
        doubts.add(name + " of " + volume->attributes.alias, answer);
        if (path->presence == Presence::PRESENT) {
            path->presence = Presence::UNSEEN;
            path->unseen_since = last_seen;
            path->changed = true;
            if (!quiet) {
                events.tellPath(PATH_UNSEEN, *volume, *path, "", "");
            }
        }
        watchFlapping(volume, path, quiet);
        return;
    }
    const std::string before = path->attributes.checker_state;
    path->presence = Presence::MISSING;
    path->unseen_since = 0;
    path->changed = true;
    noteWorking(path, false, at.time);
    if (!quiet) {
        events.tellPath(PATH_GONE, *volume, *path, before, "");
    }
    watchFlapping(volume, path, quiet);
}

void Comparer::meetPaths(const SeenVolume &now, KnownVolume *volume, Milliseconds last_seen, bool quiet) {
    const size_t known_before = volume->paths.size();
    const std::vector<size_t> matches = matchPaths(now.paths, volume->paths);
    std::vector<const SeenPath *> met(known_before, nullptr);
    for (size_t i = 0; i < matches.size(); ++i) {
        if (matches[i] != NO_PATH) {
            met[matches[i]] = &now.paths[i];
        }
    }
    for (size_t k = 0; k < known_before; ++k) {
        if (met[k] != nullptr) {
            meetPath(*met[k], volume, &volume->paths[k], quiet);
        } else {
            missPath(volume, &volume->paths[k], last_seen, quiet);
        }
    }
    PathKeySet keys = keysOf(*volume);
    for (size_t i = 0; i < matches.size(); ++i) {
        if (matches[i] == NO_PATH) {
            addPath(now.paths[i], volume, &keys, quiet);
        }
    }
    learnBaseline(volume);
}

// ---- volumes

void Comparer::takeAttributes(const SeenVolume &now, KnownVolume *volume, bool quiet) {
    const VolumeAttributes before = volume->attributes;
    const VolumeAttributes &after = now.attributes;
    volume->changed = volume->changed || std::tie(before.alias, before.map, before.vendor, before.product,
                                                  before.size, before.size_bytes, before.transport) !=
                                             std::tie(after.alias, after.map, after.vendor, after.product,
                                                      after.size, after.size_bytes, after.transport);
    volume->attributes = after;
    if (!quiet && before.alias != after.alias) {
        events.tell(VOLUME_RENAMED, *volume, before.alias, after.alias);
    }
    if (!quiet && before.size != after.size) {
        events.tell(VOLUME_RESIZED, *volume, before.size, after.size);
    }
}

// Fills in what the events since `first_event` say of the volume, and adds that of its state.
void Comparer::finishVolume(KnownVolume *volume, size_t first_event, bool judge) {
    const std::vector<PathHealth> health = healthOf(*volume, at.time);
    const VolumeState state = verdictOf(health, baselineSurvival(*volume));
    if (state != volume->state) {
        if (judge) {
            events.tellOutcome(first_event, VOLUME_STATE, *volume, stateWord(volume->state),
                               stateWord(state));
        }
        volume->state = state;
        volume->changed = true;
    }
    events.setPaths(first_event, countWorking(health), static_cast<int64_t>(health.size()));
}

void Comparer::missVolume(KnownVolume *volume) {
    const size_t first_event = events.count();
    const VolumeAttributes &attributes = volume->attributes;
    // Nor is a map that it gives to another volume.
    const bool given_away = seen_maps.count(attributes.map) != 0;
    const KernelAnswer answer = given_away
                                    ? KernelAnswer::HAS_IT_NOT
                                    : kernel.has_volume(attributes.map, attributes.alias, volume->wwid);
    if (doubts.isStillThere(answer)) {
        doubts.add(attributes.alias, answer);
        if (volume->presence == Presence::PRESENT) {
            volume->presence = Presence::UNSEEN;
            volume->unseen_since = lastSeen();
            volume->changed = true;
            events.tell(VOLUME_UNSEEN, *volume, "", "");
        } else {
            for (KnownPath &path : volume->paths) {
                watchFlapping(volume, &path, false);
            }
        }
        finishVolume(volume, first_event, true);
        return;
    }
    events.tell(VOLUME_GONE, *volume, stateWord(volume->state), "");
    volume->gone = true;
    volume->presence = Presence::PRESENT;
    volume->unseen_since = 0;
    volume->changed = true;
    for (KnownPath &path : volume->paths) {
        path.presence = Presence::MISSING;
        path.unseen_since = 0;
        path.changed = true;
        noteWorking(&path, false, at.time);
        path.flapping = false;
    }
    const std::vector<PathHealth> none = healthOf(*volume, at.time);
    events.setPaths(first_event, 0, static_cast<int64_t>(none.size()));
}

void Comparer::addVolume(const SeenVolume &now) {
    const size_t first_event = events.count();
    KnownVolume volume;
    volume.wwid = now.wwid;
    volume.attributes = now.attributes;
    volume.changed = true;
    PathKeySet keys;
    for (const SeenPath &path : now.paths) {
        addPath(path, &volume, &keys, true);
    }
    learnBaseline(&volume);
    known.push_back(volume);
    events.tell(VOLUME_APPEARED, known.back(), "", "");
    finishVolume(&known.back(), first_event, false);
}

void Comparer::meetVolume(const SeenVolume &now, KnownVolume *volume, bool returns) {
    const size_t first_event = events.count();
    const bool was_unseen = volume->presence == Presence::UNSEEN;
    const bool had_paths = std::any_of(volume->paths.begin(), volume->paths.end(), [](const KnownPath &path) {
        return path.presence == Presence::PRESENT;
    });
    const bool quiet = returns || was_unseen;
    const Milliseconds last_seen = was_unseen ? volume->unseen_since : lastSeen(); // its paths with it
    if (quiet) {
        volume->gone = false;
        volume->presence = Presence::PRESENT;
        volume->unseen_since = 0;
        volume->changed = true;
    }
    takeAttributes(now, volume, quiet);
    if (quiet) {
        events.tell(returns ? VOLUME_APPEARED : VOLUME_SEEN_AGAIN, *volume, "", "");
    }
    if (!quiet && had_paths && now.paths.empty()) {
        events.tell(VOLUME_WITHOUT_PATHS, *volume, "", "");
    }
    meetPaths(now, volume, last_seen, quiet);
    finishVolume(volume, first_event, !returns);
}

Comparison Comparer::run() {
    indexSeen();
    std::unordered_map<std::string, size_t> by_wwid;
    for (size_t i = 0; i < known.size(); ++i) {
        by_wwid[known[i].wwid] = i;
    }
    std::vector<bool> is_seen(known.size(), false);
    for (const SeenVolume &volume : seen) {
        const auto place = by_wwid.find(volume.wwid);
        if (place != by_wwid.end()) {
            is_seen[place->second] = true;
        }
    }
    for (size_t i = 0; i < is_seen.size(); ++i) {
        if (!is_seen[i] && !known[i].gone) {
            missVolume(&known[i]);
        }
    }
    for (const SeenVolume &volume : seen) {
        const auto place = by_wwid.find(volume.wwid);
        if (place == by_wwid.end()) {
            addVolume(volume);
        } else {
            meetVolume(volume, &known[place->second], known[place->second].gone);
        }
    }
    result.quality = doubts.quality();
    result.doubt = doubts.reason();
    // What is unseen is unknown after a while, whatever is listed.
    result.needs_time = result.needs_time || result.quality == Quality::DOUBTFUL;
    result.events = events.take(result.quality);
    return result;
}

} // namespace

Comparison compareTopologies(const SeenTopology &seen, const Circumstances &circumstances,
                             const Kernel &kernel, KnownTopology *known) {
    return Comparer(seen, circumstances, kernel, known).run();
}

} // namespace dravik

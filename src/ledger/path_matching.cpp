// Matching by keys, through hash tables.
#include "ledger/path_matching.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>

namespace dravik {

namespace {

// One text of several; their ends cannot be confused.
std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
        text += '\0';
    }
    return text;
}

std::string keyText(const PathKey &key) {
    return joined({key.initiator, key.target_port, key.lun});
}

// Places by a text, in the order in which they were put in; each is taken once.
class Places {
  public:
    void put(const std::string &text, size_t place) {
        queues[text].places.push_back(place);
    }
    // The first place of `text` that nobody has taken, NO_PATH for none.
    size_t take(const std::string &text, std::vector<bool> *taken) {
        const auto found = queues.find(text);
        if (found == queues.end()) {
            return NO_PATH;
        }
        Queue &queue = found->second;
        while (queue.next < queue.places.size()) {
            const size_t place = queue.places[queue.next++];
            if (!(*taken)[place]) {
                (*taken)[place] = true;
                return place;
            }
        }
        return NO_PATH;
    }

  private:
    struct Queue {
        std::vector<size_t> places;
        size_t next = 0;
    };
    std::unordered_map<std::string, Queue> queues;
};

bool isPartial(const PathKey &key) {
    return key.target_port.empty() || key.initiator.empty() || key.initiator.rfind("host", 0) == 0;
}

// Gives each seen path that has none yet the known one that `text_of` leads to.
template <typename TextOf>
void matchBy(Places *places, const std::vector<SeenPath> &seen, const TextOf &text_of,
             std::vector<bool> *taken, std::vector<size_t> *matches) {
    for (size_t i = 0; i < seen.size(); ++i) {
        if ((*matches)[i] == NO_PATH) {
            (*matches)[i] = places->take(text_of(seen[i]), taken);
        }
    }
}

} // namespace

bool sameKey(const PathKey &a, const PathKey &b) {
    return a.initiator == b.initiator && a.target_port == b.target_port && a.lun == b.lun;
}

std::vector<size_t> matchPaths(const std::vector<SeenPath> &seen, const std::vector<KnownPath> &known) {
    Places by_key_and_name;
    Places by_key;
    Places by_device;
    Places partial_by_device;
    for (const bool missing : {false, true}) {
        for (size_t i = 0; i < known.size(); ++i) {
            const KnownPath &path = known[i];
            if ((path.presence == Presence::MISSING) == missing) {
                const std::string key = keyText(path.key);
                by_key_and_name.put(key + path.attributes.name, i);
                by_key.put(key, i);
                const std::string device = joined({path.attributes.name, path.attributes.address});
                by_device.put(device, i);
                if (isPartial(path.key)) {
                    partial_by_device.put(device, i);
                }
            }
        }
    }
    std::vector<bool> taken(known.size(), false);
    std::vector<size_t> matches(seen.size(), NO_PATH);
    matchBy(
        &by_key_and_name, seen, [](const SeenPath &path) { return keyText(path.key) + path.attributes.name; },
        &taken, &matches);
    matchBy(
        &by_key, seen, [](const SeenPath &path) { return keyText(path.key); }, &taken, &matches);
    for (size_t i = 0; i < seen.size(); ++i) {
        if (matches[i] == NO_PATH) {
            const PathAttributes &is = seen[i].attributes;
            Places &places = isPartial(seen[i].key) ? by_device : partial_by_device;
            matches[i] = places.take(joined({is.name, is.address}), &taken);
        }
    }
    return matches;
}

bool PathKeySet::add(const PathKey &key) {
    const std::string text = keyText(key);
    int &next = next_twins[text];
    next = std::max(next, key.twin + 1);
    return members.insert(text + std::to_string(key.twin)).second;
}

bool PathKeySet::has(const PathKey &key) const {
    return members.count(keyText(key) + std::to_string(key.twin)) != 0;
}

int PathKeySet::freeTwin(const PathKey &key) const {
    const auto next = next_twins.find(keyText(key));
    return next == next_twins.end() ? 0 : next->second;
}

PathKeySet keysOf(const KnownVolume &volume) {
    PathKeySet keys;
    for (const KnownPath &path : volume.paths) {
        keys.add(path.key);
    }
    return keys;
}

} // namespace dravik

// Looking up volumes by what they are called.
#include "commands/volume_lookup.h"

#include <algorithm>
#include <functional>

namespace dravik {

namespace {

using Meaning = std::function<bool(const KnownVolume &)>;

std::string withoutFolder(const std::string &word) {
    for (const std::string &folder : {std::string("/dev/mapper/"), std::string("/dev/")}) {
        if (word.compare(0, folder.size(), folder) == 0) {
            return word.substr(folder.size());
        }
    }
    return word;
}

bool hasPath(const KnownVolume &volume, const std::string &name) {
    return std::any_of(volume.paths.begin(), volume.paths.end(), [&name](const KnownPath &path) {
        return path.presence != Presence::MISSING && path.attributes.name == name;
    });
}

bool hasLostPath(const KnownVolume &volume, const std::string &name) {
    return std::any_of(volume.paths.begin(), volume.paths.end(),
                       [&name](const KnownPath &path) { return path.attributes.name == name; });
}

std::vector<const KnownVolume *> having(const KnownTopology &volumes, bool gone, const Meaning &meaning) {
    std::vector<const KnownVolume *> found;
    for (const KnownVolume &volume : volumes) {
        if (volume.gone == gone && meaning(volume)) {
            found.push_back(&volume);
        }
    }
    return found;
}

} // namespace

std::vector<const KnownVolume *> findVolumes(const KnownTopology &volumes, const VdiskNames &names,
                                             const std::string &word) {
    const std::string name = withoutFolder(word);
    const Meaning is_alias = [&](const KnownVolume &volume) { return volume.attributes.alias == name; };
    const Meaning is_wwid = [&](const KnownVolume &volume) { return volume.wwid == name; };
    const Meaning is_vdisk = [&](const KnownVolume &volume) { return names.of(volume.wwid) == name; };
    const Meaning is_map = [&](const KnownVolume &volume) { return volume.attributes.map == name; };
    const Meaning is_path = [&](const KnownVolume &volume) { return hasPath(volume, name); };
    const Meaning was_path = [&](const KnownVolume &volume) { return hasLostPath(volume, name); };
    if (name.empty()) {
        return {};
    }
    for (const Meaning &meaning : {is_alias, is_wwid, is_vdisk, is_map, is_path, was_path}) {
        auto found = having(volumes, false, meaning);
        if (!found.empty()) {
            return found;
        }
    }
    for (const Meaning &meaning : {is_alias, is_wwid, is_vdisk}) {
        auto found = having(volumes, true, meaning);
        if (!found.empty()) {
            return found;
        }
    }
    return {};
}

const KnownVolume *findVolume(const KnownTopology &volumes, const VdiskNames &names, const std::string &word,
                              std::string *problem) {
    const auto found = findVolumes(volumes, names, word);
    if (found.size() == 1) {
        return found.front();
    }
    if (found.empty()) {
        *problem = "the ledger knows no volume \"" + word + "\"";
        return nullptr;
    }
    *problem = "\"" + word + "\" is the name of several volumes:";
    for (const KnownVolume *volume : found) {
        *problem += " " + volume->attributes.alias;
    }
    return nullptr;
}

} // namespace dravik

// Volumes and paths as JSON.
#include "commands/volume_json.h"

#include <cstdlib>

#include "ledger/comparison.h"

namespace dravik {

namespace {

// A number of the listing's, null for a text that is none.
Json numberOrNull(const std::string &text) {
    char *end = nullptr;
    const long long value = strtoll(text.c_str(), &end, 10);
    return text.empty() || *end != '\0' ? Json::null() : Json::number(value);
}

Json timeOrNull(Milliseconds time) {
    return time == 0 ? Json::null() : Json::text(isoTime(time));
}

Json attributesJson(const std::string &wwid, const VolumeAttributes &is, const std::string &vdisk_name) {
    Json volume = Json::object();
    volume.set("alias", is.alias)
        .set("wwid", wwid)
        .setKnown("vdisk_name", vdisk_name)
        .set("map", is.map)
        .set("vendor", is.vendor)
        .set("product", is.product)
        .setKnown("size", is.size)
        .set("size_bytes", is.size_bytes == 0 ? Json::null() : Json::number(is.size_bytes))
        .setKnown("transport", is.transport);
    return volume;
}

Json pathJson(const PathKey &key, const PathAttributes &is) {
    Json group = Json::object();
    group.setKnown("policy", is.group_policy)
        .set("priority", numberOrNull(is.group_priority))
        .setKnown("status", is.group_status);
    Json path = Json::object();
    path.set("name", is.name)
        .set("address", is.address)
        .set("device_id", is.device_id)
        .set("lun", numberOrNull(key.lun))
        .setKnown("initiator", key.initiator)
        .setKnown("target_port", key.target_port)
        .setKnown("transport", is.transport)
        .set("group", std::move(group))
        .setKnown("dm_state", is.dm_state)
        .setKnown("checker_state", is.checker_state)
        .setKnown("online_state", is.online_state);
    return path;
}

Json knownPathJson(const KnownPath &path) {
    Json json = pathJson(path.key, path.attributes);
    json.set("working", path.working)
        .set("presence", presenceWord(path.presence))
        .set("flapping", path.flapping)
        .set("transitions", path.transitions)
        .set("last_failed", timeOrNull(path.last_failed))
        .set("last_returned", timeOrNull(path.last_returned))
        .setKnown("offline_by", path.offline_by);
    return json;
}

} // namespace

Json knownVolumeJson(const KnownVolume &volume, const std::string &vdisk_name, VolumeState state,
                     Milliseconds now) {
    const std::vector<PathHealth> health = healthOf(volume, now);
    const Survival survival = survivalOf(health);
    Json survives = Json::object();
    survives.set("path", survival.path)
        .set("initiator", survival.initiator)
        .set("target_port", survival.target_port);
    Json paths = Json::array();
    for (const KnownPath &path : volume.paths) {
        paths.add(knownPathJson(path));
    }
    Json json = attributesJson(volume.wwid, volume.attributes, vdisk_name);
    json.set("presence", presenceWord(volume.presence))
        .set("state", stateWord(state))
        .set("paths_known", static_cast<int64_t>(health.size()))
        .set("paths_working", countWorking(health))
        .set("survives", std::move(survives))
        .set("paths", std::move(paths));
    return json;
}

Json seenVolumeJson(const SeenVolume &volume, const std::string &vdisk_name) {
    Json paths = Json::array();
    for (const SeenPath &path : volume.paths) {
        paths.add(pathJson(path.key, path.attributes));
    }
    Json json = attributesJson(volume.wwid, volume.attributes, vdisk_name);
    json.set("paths", std::move(paths));
    return json;
}

} // namespace dravik

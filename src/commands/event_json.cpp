// Writing events.
#include "commands/event_json.h"

#include <utility>

namespace dravik {

namespace {

Json volumeJson(const Event &event, const std::string &vdisk_name) {
    if (event.wwid.empty() && event.alias.empty()) {
        return Json::null();
    }
    Json volume = Json::object();
    volume.setKnown("alias", event.alias).setKnown("wwid", event.wwid).setKnown("vdisk_name", vdisk_name);
    return volume;
}

Json pathJson(const Event &event) {
    if (!event.has_path) {
        return Json::null();
    }
    Json path = Json::object();
    path.setKnown("name", event.path_name)
        .setKnown("address", event.path_address)
        .setKnown("initiator", event.initiator)
        .setKnown("target_port", event.target_port);
    return path;
}

Json operatorJson(const Event &event) {
    if (event.cause != "operator") {
        return Json::null();
    }
    Json who = Json::object();
    who.set("user", event.user).set("command", event.command);
    return who;
}

} // namespace

Json eventJson(const Event &event, const std::string &vdisk_name) {
    const bool counts = !event.wwid.empty() && event.paths_known > 0;
    Json json = Json::object();
    json.set("number", event.number)
        .set("incident", event.incident)
        .set("time", isoTime(event.time))
        .setKnown("boot_id", event.boot_id)
        .set("quality", qualityWord(event.quality))
        .set("kind", event.kind)
        .set("volume", volumeJson(event, vdisk_name))
        .set("path", pathJson(event))
        .setKnown("from", event.from)
        .setKnown("to", event.to)
        .set("paths_working", counts ? Json::number(event.paths_working) : Json::null())
        .set("paths_known", counts ? Json::number(event.paths_known) : Json::null())
        .setKnown("cause", event.cause)
        .set("operator", operatorJson(event));
    return json;
}

} // namespace dravik

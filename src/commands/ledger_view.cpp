// Reading the ledger for people and machines.
#include "commands/ledger_view.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "array/vdisk_cache.h"
#include "array/vdisk_entry.h"
#include "array/vdisk_file.h"
#include "ledger/comparison.h"
#include "ledger/known_store.h"

namespace dravik {

namespace {

Milliseconds nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

} // namespace

bool readLedger(LedgerView *view, std::string *problem) {
    LedgerOpening opening = openLedger(LedgerUse::READ);
    if (opening.status != LedgerStatus::OPEN) {
        *problem = opening.problem;
        return false;
    }
    try {
        opening.database->run("BEGIN"); // one view of all the tables
        view->observation = loadObservation(opening.database.get());
        view->volumes = loadKnown(opening.database.get());
    } catch (const SqliteError &error) {
        *problem = std::string(LEDGER_FILE) + " cannot be read: " + error.what();
        return false;
    }
    view->volumes.erase(std::remove_if(view->volumes.begin(), view->volumes.end(),
                                       [](const KnownVolume &volume) { return volume.gone; }),
                        view->volumes.end());
    view->now = nowMs();
    view->age = std::max<Milliseconds>(view->now - view->observation.time, 0);
    return true;
}

bool isStale(const LedgerView &view) {
    return view.now - view.observation.seen > STALE_AFTER_MS;
}

VolumeState stateOf(const LedgerView &view, const KnownVolume &volume) {
    return isStale(view) ? VolumeState::UNKNOWN
                         : verdictOf(healthOf(volume, view.now), baselineSurvival(volume));
}

Json observationJson(const LedgerView &view) {
    const Observation &last = view.observation;
    const bool never = last.quality == Quality::NEVER;
    Json json = Json::object();
    json.set("quality", qualityWord(last.quality))
        .setKnown("reason", last.reason)
        .set("time", never ? Json::null() : Json::text(isoTime(last.time)))
        .set("age_s", never ? Json::null() : Json::decimal(static_cast<double>(view.age) / 1000, 3))
        .set("tool_ms", never ? Json::null() : Json::number(last.tool_ms))
        .set("duration_ms", never ? Json::null() : Json::number(last.duration_ms))
        .set("volumes", never ? Json::null() : Json::number(last.volumes))
        .set("paths", never ? Json::null() : Json::number(last.paths));
    return json;
}

int failOwnCommand(const char *command, const std::string &problem, bool json, int status) {
    fprintf(stderr, "dravik %s: %s\n", command, problem.c_str());
    if (json) {
        puts(beginDocument(command).set("error", problem).line().c_str());
    }
    return status;
}

std::string
VdiskNames::of(const std::string &wwid) const { // NOLINT(readability-convert-member-functions-to-static)
    VdiskTree *tree = nullptr;
    std::string error;
    if (loadVdiskTree(VDISK_CACHE_FILE, true, &tree, &error) != TreeState::READY) {
        return "";
    }
    const cJSON *entry = entryForLookup(tree, wwid.c_str());
    const cJSON *name = entry == nullptr ? nullptr : cJSON_GetObjectItem(entry, "vdisk_name");
    return isJsonString(name) ? name->valuestring : "";
}

} // namespace dravik

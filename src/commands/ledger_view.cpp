// Reading the ledger for people and machines.
#include "commands/ledger_view.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "common/visible_text.h"
#include "ledger/event_store.h"
#include "ledger/known_health.h"
#include "ledger/known_store.h"
#include "output/local_time.h"

namespace dravik {

Milliseconds nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

void dropGone(KnownTopology *volumes) {
    volumes->erase(std::remove_if(volumes->begin(), volumes->end(),
                                  [](const KnownVolume &volume) { return volume.gone; }),
                   volumes->end());
}

bool readInOneView(const std::function<void(Database *)> &read, std::string *problem) {
    LedgerOpening opening = openLedger(LedgerUse::READ);
    if (opening.status != LedgerStatus::OPEN) {
        *problem = opening.problem;
        return false;
    }
    try {
        opening.database->run("BEGIN"); // one view of all the tables
        read(opening.database.get());
    } catch (const SqliteError &error) {
        *problem = std::string(LEDGER_FILE) + " cannot be read: " + error.what();
        return false;
    }
    return true;
}

bool readWholeLedger(LedgerView *view, std::string *problem) {
    const auto read = [view](Database *database) {
        view->observation = loadObservation(database);
        view->volumes = loadKnown(database);
        view->now = nowMs();
        view->operations = loadOperations(database, view->observation.time, view->now);
    };
    const bool is_read = readInOneView(read, problem);
    view->age = std::max<Milliseconds>(view->now - view->observation.time, 0);
    return is_read;
}

bool readLedger(LedgerView *view, std::string *problem) {
    const bool is_read = readWholeLedger(view, problem);
    dropGone(&view->volumes);
    return is_read;
}

bool isStale(const LedgerView &view) {
    return view.now - view.observation.seen > STALE_AFTER_MS;
}

VolumeState stateOf(const LedgerView &view, const KnownVolume &volume) {
    return stateOf(view, volume, healthOf(volume, view.now));
}

VolumeState stateOf(const LedgerView &view, const KnownVolume &volume,
                    const std::vector<PathHealth> &health) {
    return isStale(view) ? VolumeState::UNKNOWN : verdictOf(health, baselineSurvival(volume));
}

std::string staleText(const LedgerView &view) {
    const Observation &last = view.observation;
    const bool still_looks = last.quality == Quality::FAILED && view.age <= STALE_AFTER_MS;
    const std::string reason =
        still_looks ? last.reason : "dravik-monitor has written nothing since then; is it running?";
    if (last.seen == 0) {
        return "nothing has been observed yet" + (still_looks ? ": " + last.reason : "");
    }
    return "nothing observed since " + localTime(last.seen) + ", " + ageText(view.now - last.seen) +
           " ago: " + reason;
}

std::string qualityText(const LedgerView &view) {
    const Observation &last = view.observation;
    return last.quality == Quality::GOOD
               ? ""
               : std::string("the last observation ") +
                     (last.quality == Quality::FAILED ? "failed: " : "is doubtful: ") + last.reason;
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
    fprintf(stderr, "dravik %s: %s\n", command, VisibleText(problem.c_str()).text());
    if (json) {
        puts(beginDocument(command).set("error", problem).line().c_str());
    }
    return status;
}

} // namespace dravik

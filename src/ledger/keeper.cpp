// Judging and writing observations.
#include "ledger/keeper.h"

#include <algorithm>
#include <ctime>
#include <new>

#include "common/log.h"
#include "ledger/event_kinds.h"
#include "ledger/event_store.h"
#include "ledger/initiators.h"
#include "ledger/kernel_view.h"
#include "ledger/known_store.h"
#include "ledger/seen.h"

namespace dravik {

namespace {

constexpr Milliseconds COMPLAIN_EVERY_MS = 60000;

Milliseconds nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

Event observationEvent(const Observation &observation, const char *kind, const std::string &from,
                       const std::string &to) {
    Event event;
    event.time = observation.time;
    event.boot_id = observation.boot_id;
    event.quality = observation.quality;
    event.kind = kind;
    event.from = from;
    event.to = to;
    return event;
}

} // namespace

void LedgerKeeper::complain(const std::string &problem) {
    const Milliseconds now = nowMs();
    if (complained == 0 || now - complained >= COMPLAIN_EVERY_MS || now < complained) {
        complained = now;
        DRAVIK_LOG_AS("observe", LOG_ERROR, "Ledger: %s.", problem.c_str());
    }
}

void LedgerKeeper::close() {
    database.reset();
    has_fingerprint = false;
}

bool LedgerKeeper::open() {
    if (database != nullptr && isLedgerFile(file)) {
        return true;
    }
    close();
    LedgerOpening opening = openLedger(LedgerUse::OBSERVE);
    if (opening.status != LedgerStatus::OPEN) {
        complain(opening.problem);
        return false;
    }
    database = std::move(opening.database);
    file = opening.file;
    boot_id = bootId();
    last = loadObservation(database.get());
    has_fingerprint = false;
    return true;
}

// Whether anything may have to be told: the topology is another, time alone may change something, or somebody else has
// written (an operation, an accepted baseline).
bool LedgerKeeper::hasChanged(const s_dravik *topology) {
    Initiators initiators;
    const uint64_t now = fingerprintOf(topology, &initiators);
    const int64_t version = database->number("PRAGMA data_version");
    const bool same = has_fingerprint && fingerprint == now && data_version == version && !needs_time &&
                      last.quality == Quality::GOOD;
    fingerprint = now;
    data_version = version;
    return !same;
}

// Writes what has been found out, in one step.
void LedgerKeeper::finish(Observation observation, std::vector<Event> told, KnownTopology *known) {
    const bool first = last.quality == Quality::NEVER;
    const bool quality_changed = last.quality != observation.quality;
    if (quality_changed && !first) {
        told.insert(told.begin(),
                    observationEvent(observation, OBSERVATION_QUALITY, qualityWord(last.quality),
                                     qualityWord(observation.quality)));
    }
    if (!is_announced) {
        told.insert(told.begin(), observationEvent(observation, MONITOR_STARTED, "", ""));
        const bool restarted = !first && last.boot_id != observation.boot_id;
        told.front().cause = restarted ? "host_restart" : "";
    }
    Transaction transaction(database.get());
    if (known != nullptr) {
        saveKnown(database.get(), known, observation.time);
    }
    saveEvents(database.get(), &told);
    trimEvents(database.get(), MAX_EVENTS);
    trimOperations(database.get(), MAX_OPERATIONS);
    if (observation.quality == Quality::FAILED) {
        observation.boot_id = last.boot_id; // what changes with the host's restart has not been seen yet
    }
    observation.seen = observation.quality == Quality::FAILED ? last.seen : observation.time;
    saveObservation(database.get(), observation, quality_changed);
    transaction.commit();
    is_announced = true;
    last_begun = observation.quality == Quality::FAILED ? last_begun : begun;
    last = observation;
    events = std::move(told);
}

void LedgerKeeper::writeFailure(const ToolOutcome &outcome, Observation observation) {
    observation.quality = Quality::FAILED;
    observation.reason = outcome.failure;
    observation.volumes = last.volumes;
    observation.paths = last.paths;
    has_fingerprint = false;
    finish(observation, {}, nullptr);
}

void LedgerKeeper::writeUnchanged(Observation observation) {
    observation.volumes = last.volumes;
    observation.paths = last.paths;
    finish(observation, {}, nullptr);
}

void LedgerKeeper::writeComparison(const ToolOutcome &outcome, const s_dravik *topology,
                                   const Observation &observation) {
    has_fingerprint = false; // until this one is written
    KnownTopology known = loadKnown(database.get());
    // What ran while the last topology was being listed may show only now.
    const Milliseconds since =
        last_begun != 0 ? last_begun : std::max<Milliseconds>(last.seen - last.duration_ms, 1);
    Judgement judgement = judgeTopology(topology, outcome, observation, last,
                                        loadOperations(database.get(), since, observation.time), &known);
    finish(judgement.observation, std::move(judgement.events), &known);
    needs_time = judgement.needs_time;
    has_fingerprint = true;
}

void LedgerKeeper::write(const ToolOutcome &outcome, const s_dravik *topology) {
    forgetEvents();
    if (!open()) {
        return;
    }
    Observation observation;
    observation.quality = Quality::GOOD;
    observation.reason = howToolEnded(outcome);
    observation.time = nowMs();
    observation.tool_ms = outcome.tool_ms;
    observation.duration_ms = outcome.duration_ms;
    observation.boot_id = boot_id;
    begun = observation.time - outcome.age_ms;
    if (!outcome.failure.empty()) {
        writeFailure(outcome, observation);
    } else if (hasChanged(topology)) {
        writeComparison(outcome, topology, observation);
    } else {
        writeUnchanged(observation);
    }
}

// Runs `work`, and whatever it throws makes the ledger be opened anew the next time.
template <typename Work> void LedgerKeeper::guard(const Work &work) {
    try {
        work();
    } catch (const SqliteError &error) {
        close();
        if (error.isDamage()) {
            putLedgerAside(error.what());
        } else {
            complain(error.what());
        }
    } catch (const std::bad_alloc &) {
        close();
        complain("memory ran out");
    }
}

void LedgerKeeper::observe(const ToolOutcome &outcome, const s_dravik *topology) {
    guard([&] { write(outcome, topology); });
}

void LedgerKeeper::use(const std::function<void(Database *)> &work) {
    if (database != nullptr) {
        guard([&] { work(database.get()); });
    }
}

void LedgerKeeper::forgetEvents() {
    std::vector<Event>().swap(events); // an assignment would keep the memory
}

} // namespace dravik

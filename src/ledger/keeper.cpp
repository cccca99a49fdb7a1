// Judging and writing observations.
#include "ledger/keeper.h"

#include <ctime>
#include <new>
#include <unordered_map>

#include "common/log.h"
#include "ledger/comparison.h"
#include "ledger/event_kinds.h"
#include "ledger/event_store.h"
#include "ledger/initiators.h"
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

// How a tool that did not end well did end, in words; empty when it did.
std::string endOf(const ToolOutcome &outcome) {
    if (outcome.signal_number != 0) {
        return "the multipath tool was ended by signal " + std::to_string(outcome.signal_number);
    }
    return outcome.exit_status == 0
               ? ""
               : "the multipath tool exited with status " + std::to_string(outcome.exit_status);
}

const Kernel &realKernel() {
    static const Kernel kernel = {kernelHasPath, kernelHasVolume};
    return kernel;
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

// The sizes of the maps, asked from the kernel where a volume is new or its listed size has changed.
void addSizes(const KnownTopology &known, SeenTopology *seen) {
    std::unordered_map<std::string, const KnownVolume *> by_wwid;
    for (const KnownVolume &volume : known) {
        by_wwid[volume.wwid] = &volume;
    }
    for (SeenVolume &volume : *seen) {
        const auto before = by_wwid.find(volume.wwid);
        const bool same = before != by_wwid.end() &&
                          before->second->attributes.size == volume.attributes.size &&
                          before->second->attributes.map == volume.attributes.map &&
                          before->second->attributes.size_bytes != 0;
        volume.attributes.size_bytes =
            same ? before->second->attributes.size_bytes : mapSizeBytes(volume.attributes.map);
    }
}

void countSeen(const SeenTopology &seen, Observation *observation) {
    observation->volumes = static_cast<int64_t>(seen.size());
    observation->paths = 0;
    for (const SeenVolume &volume : seen) {
        observation->paths += static_cast<int64_t>(volume.paths.size());
    }
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
                                   Observation observation) {
    has_fingerprint = false; // until this one is written
    Initiators initiators;
    SeenTopology seen = seeTopology(topology, &initiators);
    KnownTopology known = loadKnown(database.get());
    addSizes(known, &seen);
    Circumstances circumstances;
    circumstances.time = observation.time;
    circumstances.boot_id = observation.boot_id;
    circumstances.is_first = last.quality == Quality::NEVER;
    circumstances.same_boot = last.boot_id.empty() || last.boot_id == observation.boot_id;
    circumstances.tool_was_ended = outcome.exit_status != 0 || outcome.signal_number != 0;
    // What ran while the last observation was made may not have been in its listing.
    const Milliseconds since = last_begun != 0 ? last_begun : last.time - last.duration_ms;
    circumstances.operations = loadOperations(database.get(), since, observation.time);
    Comparison comparison = compareTopologies(seen, circumstances, realKernel(), &known);

    countSeen(seen, &observation);
    observation.quality = comparison.quality;
    if (comparison.quality == Quality::DOUBTFUL) {
        observation.reason = (comparison.kernel_is_mute ? "not listed, and the kernel cannot be asked: "
                                                        : "not listed, though the kernel has it: ") +
                             comparison.missing +
                             (observation.reason.empty() ? "" : "; " + observation.reason);
    }
    finish(observation, std::move(comparison.events), &known);
    needs_time = comparison.needs_time;
    has_fingerprint = true;
}

void LedgerKeeper::write(const ToolOutcome &outcome, const s_dravik *topology) {
    events.clear();
    if (!open()) {
        return;
    }
    Observation observation;
    observation.quality = Quality::GOOD;
    observation.reason = endOf(outcome);
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

void LedgerKeeper::observe(const ToolOutcome &outcome, const s_dravik *topology) {
    try {
        write(outcome, topology);
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

} // namespace dravik

// From the ledger to samples.
#include "commands/metric_families.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "commands/version.h"
#include "ledger/event_kinds.h"
#include "ledger/known_health.h"
#include "output/metrics_text.h"

namespace dravik {

namespace {

constexpr MetricType GAUGE = MetricType::GAUGE;
constexpr MetricType COUNTER = MetricType::COUNTER;
constexpr VolumeState STATES[] = {VolumeState::OK, VolumeState::DEGRADED, VolumeState::LAST_PATH,
                                  VolumeState::NONE, VolumeState::UNKNOWN};
constexpr Quality QUALITIES[] = {Quality::GOOD, Quality::DOUBTFUL, Quality::FAILED, Quality::NEVER};

Labels label(std::string_view name, std::string_view value) {
    Labels labels;
    labels.add(name, value);
    return labels;
}

struct PathSamples {
    const KnownPath *path; // the view's
    Labels labels;
};

struct VolumeSamples {
    const KnownVolume *volume; // the view's
    Labels labels;
    VolumeState state;
    int64_t known;
    int64_t working;
    Survival survives;
    std::vector<PathSamples> paths;
};

using Volumes = std::vector<VolumeSamples>;

// ---- what has samples

bool isMissing(const PathSamples &is) {
    return is.path->presence == Presence::MISSING;
}
bool isMissing(const VolumeSamples & /*is*/) {
    return false;
}

// Takes out all but the first of those whose labels are the same; the others stay in their order.
template <typename Samples> void dropTwins(std::vector<Samples> *all) {
    std::vector<size_t> order(all->size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::sort(order.begin(), order.end(), [all](size_t a, size_t b) {
        const Samples &one = (*all)[a];
        const Samples &other = (*all)[b];
        const int difference = one.labels.text().compare(other.labels.text());
        if (difference != 0) {
            return difference < 0;
        }
        return isMissing(one) != isMissing(other) ? isMissing(other) : a < b;
    });
    std::vector<bool> is_twin(all->size());
    for (size_t i = 1; i < order.size(); ++i) {
        is_twin[order[i]] = (*all)[order[i]].labels.text() == (*all)[order[i - 1]].labels.text();
    }
    size_t kept = 0;
    for (size_t i = 0; i < all->size(); ++i) {
        if (!is_twin[i] && kept++ != i) {
            (*all)[kept - 1] = std::move((*all)[i]);
        }
    }
    all->resize(kept);
}

std::vector<PathSamples> pathSamples(const KnownVolume &volume, const Labels &of_volume) {
    std::vector<PathSamples> paths;
    paths.reserve(volume.paths.size());
    for (const KnownPath &path : volume.paths) {
        Labels labels = of_volume;
        labels.add("path", path.attributes.name)
            .add("initiator", path.key.initiator)
            .add("target_port", path.key.target_port)
            .add("transport", path.attributes.transport);
        paths.push_back({&path, std::move(labels)});
    }
    dropTwins(&paths);
    return paths;
}

VolumeSamples volumeSamples(const LedgerView &view, const KnownVolume &volume, PathFamilies with_paths) {
    const std::vector<PathHealth> health = healthOf(volume, view.now);
    Labels labels;
    labels.add("volume", volume.attributes.alias).add("wwid", volume.wwid);
    std::vector<PathSamples> paths;
    if (with_paths == PathFamilies::WITH) {
        paths = pathSamples(volume, labels);
    }
    return {&volume,
            std::move(labels),
            stateOf(view, volume, health),
            static_cast<int64_t>(health.size()),
            countWorking(health),
            survivalOf(health),
            std::move(paths)};
}

// ---- the observation

// The families of an observation that there has been.
void writeObservation(const LedgerView &view, MetricsText *out) {
    const Observation &last = view.observation;
    if (last.seen != 0) {
        out->family("dravik_observation_age_seconds", GAUGE,
                    "How old the last observation with a topology is, at the time of writing.");
        out->sampleThousandths({}, std::max<Milliseconds>(view.now - last.seen, 0));
        out->family("dravik_observation_timestamp_seconds", GAUGE,
                    "When the last observation with a topology was made, in seconds since 1970-01-01 UTC.");
        out->sampleThousandths({}, last.seen);
    }
    out->family("dravik_observation_quality", GAUGE,
                "1 for the quality of the last observation, 0 for the others.");
    for (const Quality quality : QUALITIES) {
        out->sample(label("quality", qualityWord(quality)), last.quality == quality ? 1 : 0);
    }
    if (last.quality != Quality::NEVER) {
        out->family("dravik_observation_duration_seconds", GAUGE, "How long the last observation took.");
        out->sampleThousandths({}, last.duration_ms);
        out->family("dravik_tool_duration_seconds", GAUGE,
                    "How long the multipath tool took in the last observation.");
        out->sampleThousandths({}, last.tool_ms);
    }
}

void writeObservationCounts(const LedgerCounts &counts, MetricsText *out) {
    out->family("dravik_observations_total", COUNTER,
                "Observations since the ledger was begun, by their quality.");
    for (const Quality quality : {Quality::GOOD, Quality::DOUBTFUL, Quality::FAILED}) {
        out->sample(label("quality", qualityWord(quality)), counts.observationsOf(quality));
    }
}

// ---- the volumes

void writeStateCounts(const Volumes &volumes, MetricsText *out) {
    out->family("dravik_volumes", GAUGE, "Volumes by their state, as \"dravik check\" judges it.");
    for (const VolumeState state : STATES) {
        const auto has = [state](const VolumeSamples &is) { return is.state == state; };
        out->sample(label("state", stateWord(state)), std::count_if(volumes.begin(), volumes.end(), has));
    }
}

void writeInfo(const Volumes &volumes, const VdiskNames &names, MetricsText *out) {
    out->family("dravik_volume_info", GAUGE, "What the volume is; always 1.");
    for (const VolumeSamples &is : volumes) {
        const VolumeAttributes &attributes = is.volume->attributes;
        Labels more;
        more.add("vdisk_name", names.of(is.volume->wwid))
            .add("vendor", attributes.vendor)
            .add("product", attributes.product)
            .add("transport", attributes.transport);
        out->sample(is.labels, more, 1);
    }
}

void writeStates(const Volumes &volumes, MetricsText *out) {
    std::vector<Labels> states;
    for (const VolumeState state : STATES) {
        states.push_back(label("state", stateWord(state)));
    }
    out->family("dravik_volume_state", GAUGE, "1 for the volume's state, 0 for the others.");
    for (const VolumeSamples &is : volumes) {
        for (size_t i = 0; i < states.size(); ++i) {
            out->sample(is.labels, states[i], is.state == STATES[i] ? 1 : 0);
        }
    }
}

void writeNumbers(const Volumes &volumes, MetricsText *out) {
    out->family("dravik_volume_paths", GAUGE, "Paths of the volume that are known, missing ones included.");
    for (const VolumeSamples &is : volumes) {
        out->sample(is.labels, is.known);
    }
    out->family("dravik_volume_paths_working", GAUGE, "Paths of the volume that work.");
    for (const VolumeSamples &is : volumes) {
        out->sample(is.labels, is.working);
    }
    out->family("dravik_volume_size_bytes", GAUGE, "Size of the volume, by the kernel's map.");
    for (const VolumeSamples &is : volumes) {
        if (is.volume->attributes.size_bytes != 0) {
            out->sample(is.labels, is.volume->attributes.size_bytes);
        }
    }
}

void writeSurvival(const Volumes &volumes, MetricsText *out) {
    const Labels path = label("loss", "path");
    const Labels initiator = label("loss", "initiator");
    const Labels target_port = label("loss", "target_port");
    out->family("dravik_volume_survives", GAUGE,
                "1 where the volume keeps a working path after the loss of any one of these.");
    for (const VolumeSamples &is : volumes) {
        out->sample(is.labels, path, is.survives.path ? 1 : 0);
        out->sample(is.labels, initiator, is.survives.initiator ? 1 : 0);
        out->sample(is.labels, target_port, is.survives.target_port ? 1 : 0);
    }
}

// ---- the paths

template <typename Write> void forEachPath(const Volumes &volumes, Write write) {
    for (const VolumeSamples &is : volumes) {
        for (const PathSamples &each : is.paths) {
            write(each.labels, *each.path);
        }
    }
}

void writePathStates(const Volumes &volumes, MetricsText *out) {
    out->family("dravik_path_working", GAUGE, "1 where the path works.");
    forEachPath(volumes, [out](const Labels &labels, const KnownPath &path) {
        out->sample(labels, path.working && path.presence != Presence::MISSING ? 1 : 0);
    });
    out->family("dravik_path_flapping", GAUGE, "1 while the path fails again and again.");
    forEachPath(volumes, [out](const Labels &labels, const KnownPath &path) {
        out->sample(labels, path.flapping ? 1 : 0);
    });
    out->family("dravik_path_checker_state", GAUGE,
                "The path checker's present state of the path; always 1.");
    forEachPath(volumes, [out](const Labels &labels, const KnownPath &path) {
        if (path.presence != Presence::MISSING && !path.attributes.checker_state.empty()) {
            out->sample(labels, label("state", path.attributes.checker_state), 1);
        }
    });
}

void writePathHistory(const Volumes &volumes, MetricsText *out) {
    out->family("dravik_path_transitions_total", COUNTER, "How often the path has failed or returned.");
    forEachPath(volumes, [out](const Labels &labels, const KnownPath &path) {
        out->sample(labels, path.transitions);
    });
    out->family("dravik_path_last_failure_timestamp_seconds", GAUGE,
                "When the path failed last, in seconds since 1970-01-01 UTC.");
    forEachPath(volumes, [out](const Labels &labels, const KnownPath &path) {
        if (path.last_failed != 0) {
            out->sampleThousandths(labels, path.last_failed);
        }
    });
    out->family("dravik_path_last_return_timestamp_seconds", GAUGE,
                "When the path returned last, in seconds since 1970-01-01 UTC.");
    forEachPath(volumes, [out](const Labels &labels, const KnownPath &path) {
        if (path.last_returned != 0) {
            out->sampleThousandths(labels, path.last_returned);
        }
    });
}

// ---- what was counted

void writeCounts(const LedgerCounts &counts, MetricsText *out) {
    out->family("dravik_events_total", COUNTER, "Events since the ledger was begun, by their kind.");
    for (const char *kind : EVENT_KINDS) {
        out->sample(label("kind", kind), counts.eventsOf(kind));
    }
    out->family("dravik_operations_total", COUNTER,
                "Commands that were run to change something, by their name and the code of their result.");
    for (const OperationCount &is : counts.operations) {
        Labels labels = label("command", is.command);
        out->sample(labels.add("code", std::to_string(is.code)), is.count);
    }
}

// About as much as the samples will take: what a sample has beside its labels, and how many there are of each.
size_t expectedSize(const Volumes &volumes) {
    constexpr size_t BESIDE = 60;
    size_t size = 8192;
    for (const VolumeSamples &is : volumes) {
        size += 12 * (is.labels.text().size() + BESIDE);
        for (const PathSamples &path : is.paths) {
            size += 4 * (path.labels.text().size() + BESIDE);
        }
    }
    return size;
}

} // namespace

std::string metricFamilies(const LedgerView &view, const LedgerCounts &counts, const VdiskNames &names,
                           PathFamilies paths) {
    Volumes volumes;
    volumes.reserve(view.volumes.size());
    for (const KnownVolume &volume : view.volumes) {
        volumes.push_back(volumeSamples(view, volume, paths));
    }
    MetricsText out;
    out.reserve(expectedSize(volumes));
    out.family("dravik_build_info", GAUGE, "The version of Dravik that wrote this; always 1.");
    out.sample(label("version", DRAVIK_VERSION), 1);
    writeObservation(view, &out);
    writeObservationCounts(counts, &out);
    writeStateCounts(volumes, &out);
    dropTwins(&volumes); // only behind the counts
    writeInfo(volumes, names, &out);
    writeStates(volumes, &out);
    writeNumbers(volumes, &out);
    writeSurvival(volumes, &out);
    writePathStates(volumes, &out);
    writePathHistory(volumes, &out);
    writeCounts(counts, &out);
    return out.take();
}

} // namespace dravik

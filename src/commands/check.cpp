// The verdict.
#include "commands/check.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "commands/own_options.h"
#include "commands/verdict_text.h"
#include "commands/volume_json.h"
#include "commands/volume_lookup.h"
#include "commands/volume_text.h"
#include "output/table.h"

namespace dravik {

namespace {

constexpr int EXIT_UNKNOWN = 3;

// The volumes that are asked for; none, with a sentence in `*problem`, for a name that is nobody's.
VolumeList chosen(const LedgerView &view, const VdiskNames &names, const std::vector<std::string> &words,
                  std::string *problem) {
    VolumeList volumes;
    if (!words.empty()) {
        const KnownVolume *volume = findVolume(view.volumes, names, words.front(), problem);
        return volume == nullptr ? volumes : VolumeList{volume};
    }
    for (const KnownVolume &volume : view.volumes) {
        volumes.push_back(&volume);
    }
    return volumes;
}

// Those that are not ok, the worst first.
VolumeList badOnes(const LedgerView &view, const VolumeList &volumes) {
    VolumeList bad;
    std::copy_if(volumes.begin(), volumes.end(), std::back_inserter(bad),
                 [&view](const KnownVolume *volume) { return stateOf(view, *volume) != VolumeState::OK; });
    std::stable_sort(bad.begin(), bad.end(), [&view](const KnownVolume *a, const KnownVolume *b) {
        return stateOf(view, *a) < stateOf(view, *b);
    });
    return bad;
}

void printVolumes(const LedgerView &view, const VolumeList &volumes) {
    size_t width = 0;
    for (const KnownVolume *volume : volumes) {
        width = std::max(width, characterCount(harmless(volume->attributes.alias)));
    }
    for (const KnownVolume *volume : volumes) {
        const std::string alias = harmless(volume->attributes.alias);
        const std::string blanks(width - characterCount(alias), ' ');
        printf("%s%s  %-9s   %s\n", alias.c_str(), blanks.c_str(), stateText(stateOf(view, *volume)).c_str(),
               harmless(reachOf(*volume, view.now)).c_str());
    }
}

void printText(const LedgerView &view, const VolumeList &volumes, bool is_one) {
    puts(harmless(verdictLine(view, volumes)).c_str());
    const std::string quality = isStale(view) ? "" : qualityText(view);
    if (!quality.empty()) {
        puts(harmless(quality).c_str());
    }
    if (is_one) {
        printVolumes(view, volumes);
    } else if (!isStale(view)) {
        printVolumes(view, badOnes(view, volumes));
    }
}

void printJson(const LedgerView &view, const VdiskNames &names, const VolumeList &volumes) {
    const VolumeState verdict = verdictOver(view, volumes);
    Json list = Json::array();
    for (const KnownVolume *volume : badOnes(view, volumes)) {
        list.add(knownVolumeJson(*volume, names.of(volume->wwid), stateOf(view, *volume), view.now));
    }
    Json document = beginDocument("check");
    document.set("verdict", stateWord(verdict))
        .set("exit_status", verdictStatus(verdict))
        .set("observation", observationJson(view))
        .set("counts", countsJson(countVerdict(view, volumes)))
        .set("volumes", std::move(list));
    puts(document.line().c_str());
}

} // namespace

int check(const OwnCall &call) {
    const OwnWords words = readOwnWords(call, {}, 1);
    const bool json = words.has("json");
    LedgerView view;
    std::string problem = words.problem;
    if (!problem.empty() || !readLedger(&view, &problem)) {
        return failOwnCommand("check", problem, json, EXIT_UNKNOWN);
    }
    const VdiskNames names;
    const VolumeList volumes = chosen(view, names, words.words, &problem);
    if (!problem.empty()) {
        return failOwnCommand("check", problem, json, EXIT_UNKNOWN);
    }
    if (json) {
        printJson(view, names, volumes);
    } else {
        printText(view, volumes, !words.words.empty());
    }
    return verdictStatus(verdictOver(view, volumes));
}

} // namespace dravik

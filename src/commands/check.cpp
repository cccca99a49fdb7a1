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
constexpr size_t STATE_WIDTH = 9;

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

std::string volumesText(const LedgerView &view, const std::vector<JudgedVolume> &volumes) {
    std::string text;
    size_t width = 0;
    for (const JudgedVolume &judged : volumes) {
        width = std::max(width, characterCount(harmless(judged.volume->attributes.alias)));
    }
    for (const JudgedVolume &judged : volumes) {
        const std::string alias = harmless(judged.volume->attributes.alias);
        std::string state = stateText(judged.state);
        state.resize(std::max(state.size(), STATE_WIDTH), ' ');
        text += alias;
        text.append(width - characterCount(alias), ' ');
        text.append("  ").append(state).append("   ");
        text.append(harmless(reachOf(*judged.volume, view.now))).append("\n");
    }
    return text;
}

void printJson(const LedgerView &view, const VdiskNames &names, const Verdict &verdict) {
    Json list = Json::array();
    for (const JudgedVolume &judged : verdict.bad) {
        list.add(knownVolumeJson(*judged.volume, names.of(judged.volume->wwid), judged.state, view.now));
    }
    Json document = beginDocument("check");
    document.set("verdict", stateWord(verdict.state))
        .set("exit_status", verdictStatus(verdict.state))
        .set("observation", observationJson(view))
        .set("counts", countsJson(verdict.counts))
        .set("volumes", std::move(list));
    puts(document.line().c_str());
}

} // namespace

std::string checkText(const LedgerView &view, const Verdict &verdict, const KnownVolume *one) {
    std::string text = harmless(verdictLine(view, verdict)) + "\n";
    const std::string quality = isStale(view) ? "" : qualityText(view);
    text += quality.empty() ? "" : harmless(quality) + "\n";
    if (one != nullptr) {
        text += volumesText(view, {{one, stateOf(view, *one)}});
    } else if (!isStale(view)) {
        text += volumesText(view, verdict.bad);
    }
    return text;
}

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
    const Verdict verdict = verdictOver(view, volumes);
    if (json) {
        printJson(view, names, verdict);
    } else {
        const KnownVolume *one = words.words.empty() ? nullptr : volumes.front();
        fputs(checkText(view, verdict, one).c_str(), stdout);
    }
    return verdictStatus(verdict.state);
}

} // namespace dravik

// The table of volumes.
#include "commands/list.h"

#include <cctype>
#include <cstdio>
#include <unistd.h>
#include <utility>

#include "commands/own_observation.h"
#include "commands/own_options.h"
#include "commands/volume_json.h"
#include "commands/volume_text.h"
#include "common/exit_status.h"
#include "ledger/comparison.h"
#include "output/colour.h"
#include "output/table.h"

namespace dravik {

namespace {

constexpr long long LONGEST_PAUSE_S = 86400;

struct Listing {
    LedgerView view;
    std::string remark; // what is said above the table, lines with their newlines
};

std::string asSentence(std::string text) {
    text[0] = static_cast<char>(toupper(static_cast<unsigned char>(text[0])));
    return text + "\n";
}

// The ledger's view, or an observation of our own in place of a stale one. False with a sentence in `*problem`.
bool takeListing(Listing *listing, std::string *problem) {
    LedgerView &view = listing->view;
    if (!readWholeLedger(&view, problem)) {
        return false;
    }
    if (isStale(view)) {
        listing->remark = asSentence(staleText(view));
        if (isatty(STDERR_FILENO) != 0) {
            fprintf(stderr, "dravik list: %s; looking now\n", harmless(staleText(view)).c_str());
        }
        observeNow(&view);
        listing->remark += isStale(view) ? "Looking now has failed: " + view.observation.reason + "\n"
                                         : "This is what is seen now; nothing of it is in the ledger.\n";
    }
    if (!isStale(view) && !qualityText(view).empty()) {
        listing->remark += asSentence(qualityText(view));
    }
    dropGone(&view.volumes);
    return true;
}

std::vector<const KnownVolume *> shownVolumes(const LedgerView &view, bool only_bad) {
    std::vector<const KnownVolume *> shown;
    for (const KnownVolume &volume : view.volumes) {
        if (!only_bad || stateOf(view, volume) != VolumeState::OK) {
            shown.push_back(&volume);
        }
    }
    return shown;
}

Table tableOf(const LedgerView &view, const std::vector<const KnownVolume *> &volumes) {
    Table table({{"VOLUME", Align::LEFT, 16, 36},
                 {"SIZE", Align::RIGHT, 4, 8},
                 {"OVER", Align::LEFT, 5, 9},
                 {"PATHS", Align::LEFT, 5, 9},
                 {"STATE", Align::LEFT, 9, 9},
                 {"NOTE", Align::LEFT, 0, 0}});
    for (const KnownVolume *volume : volumes) {
        const std::vector<PathHealth> health = healthOf(*volume, view.now);
        table.addRow({volume->attributes.alias, volume->attributes.size, volume->attributes.transport,
                      std::to_string(countWorking(health)) + "/" + std::to_string(health.size()),
                      stateText(stateOf(view, *volume)), noteOf(*volume, view.now, TABLE_WIDTH)});
    }
    const size_t width = table.lastWidth(); // where a note is too long, it names fewer paths
    for (size_t i = 0; i < volumes.size(); ++i) {
        table.setLast(i, noteOf(*volumes[i], view.now, width));
    }
    return table;
}

Colour colourOf(VolumeState state) {
    switch (state) {
    case VolumeState::NONE:
    case VolumeState::LAST_PATH:
        return Colour::RED;
    case VolumeState::OK:
        return Colour::NONE;
    default:
        return Colour::YELLOW;
    }
}

void printRemark(const std::string &remark) {
    if (!remark.empty()) {
        puts(wrapLines(harmlessLines(remark), TABLE_WIDTH).c_str());
    }
}

void printText(const Listing &listing, bool only_bad) {
    const LedgerView &view = listing.view;
    const auto volumes = shownVolumes(view, only_bad);
    printRemark(listing.remark);
    if (volumes.empty()) {
        puts(view.volumes.empty() ? "There are no volumes." : "All volumes are ok.");
        return;
    }
    const std::vector<std::string> lines = tableOf(view, volumes).lines();
    puts(lines.front().c_str());
    for (size_t i = 0; i < volumes.size(); ++i) {
        puts(coloured(lines[i + 1], colourOf(stateOf(view, *volumes[i]))).c_str());
    }
}

void printJson(const Listing &listing, bool only_bad) {
    const LedgerView &view = listing.view;
    const VdiskNames names;
    Json volumes = Json::array();
    for (const KnownVolume *volume : shownVolumes(view, only_bad)) {
        volumes.add(knownVolumeJson(*volume, names.of(volume->wwid), stateOf(view, *volume), view.now));
    }
    Json document = beginDocument("list");
    document.set("observation", observationJson(view)).set("volumes", std::move(volumes));
    puts(document.line().c_str());
}

int listOnce(const OwnWords &words) {
    Listing listing;
    std::string problem;
    if (!takeListing(&listing, &problem)) {
        return failOwnCommand("list", problem, words.has("json"), EXIT_FAILED);
    }
    if (words.has("json")) {
        printJson(listing, words.has("bad"));
    } else {
        printText(listing, words.has("bad"));
    }
    return isStale(listing.view) ? EXIT_FAILED : EXIT_DONE;
}

// Again and again: on a terminal in the place of what was there, elsewhere one behind the other.
int watch(const OwnWords &words, unsigned int seconds) {
    const bool clears = isatty(STDOUT_FILENO) != 0 && !words.has("json");
    for (bool again = false;; again = true) {
        if (clears) {
            fputs("\033[H\033[2J", stdout);
        } else if (again && !words.has("json")) {
            putchar('\n');
        }
        listOnce(words);
        if (fflush(stdout) != 0) {
            return EXIT_FAILED;
        }
        sleep(seconds);
    }
}

} // namespace

int list(const OwnCall &call) {
    const OwnWords words = readOwnWords(call, {{"bad", false}, {"watch", true}}, 0);
    const long long seconds = positiveNumber(words.value("watch"));
    std::string problem = words.problem;
    if (problem.empty() && words.has("watch") && (seconds == 0 || seconds > LONGEST_PAUSE_S)) {
        problem = "--watch takes whole seconds, 1 to " + std::to_string(LONGEST_PAUSE_S) + ", not \"" +
                  words.value("watch") + "\"";
    }
    if (!problem.empty()) {
        return failOwnCommand("list", problem, words.has("json"), EXIT_FAILED);
    }
    return words.has("watch") ? watch(words, static_cast<unsigned int>(seconds)) : listOnce(words);
}

} // namespace dravik

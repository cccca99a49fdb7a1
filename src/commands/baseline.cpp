// Showing and accepting baselines.
#include "commands/baseline.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <unordered_map>
#include <utility>

#include "commands/ledger_view.h"
#include "commands/own_options.h"
#include "commands/volume_lookup.h"
#include "commands/volume_text.h"
#include "common/exit_status.h"
#include "host/interruption.h"
#include "ledger/baseline_store.h"
#include "ledger/comparison.h"
#include "ledger/event_store.h"
#include "ledger/kernel_view.h"
#include "ledger/known_store.h"
#include "ledger/path_matching.h"
#include "output/local_time.h"
#include "output/table.h"

namespace dravik {

namespace {

using Baselines = std::unordered_map<int64_t, std::vector<AcceptedPath>>;
using VolumeList = std::vector<const KnownVolume *>;

// What the command works on.
struct Subject {
    LedgerView view;
    Baselines baselines;
    VolumeList volumes; // those that were asked for
    bool is_one = false;
};

// Reads the ledger and finds the volume that was named, if one was. A sentence for people when that fails.
std::string readSubject(const std::vector<std::string> &words, Subject *subject) {
    std::string problem;
    if (!readLedger(&subject->view, &problem)) {
        return problem;
    }
    const LedgerOpening opening = openLedger(LedgerUse::READ);
    if (opening.status != LedgerStatus::OPEN) {
        return opening.problem;
    }
    subject->baselines = loadBaselines(opening.database.get());
    subject->is_one = words.size() == 2;
    if (subject->is_one) {
        subject->volumes = {findVolume(subject->view.volumes, VdiskNames(), words[1], &problem)};
        return problem;
    }
    for (const KnownVolume &volume : subject->view.volumes) {
        subject->volumes.push_back(&volume);
    }
    return "";
}

// ---- showing

const std::vector<AcceptedPath> &pathsOf(const Subject &subject, const KnownVolume &volume) {
    static const std::vector<AcceptedPath> none;
    const auto found = subject.baselines.find(volume.id);
    return found == subject.baselines.end() ? none : found->second;
}

// The path that was taken in last says when and by whom the baseline became what it is.
AcceptedPath newestOf(const std::vector<AcceptedPath> &paths) {
    const auto newest =
        std::max_element(paths.begin(), paths.end(), [](const AcceptedPath &a, const AcceptedPath &b) {
            return a.accepted < b.accepted;
        });
    return newest == paths.end() ? AcceptedPath() : *newest;
}

void printPaths(const std::vector<AcceptedPath> &paths) {
    Table table({{"PATH", Align::LEFT, 8, 12},
                 {"INITIATOR", Align::LEFT, 18, 30},
                 {"TARGET PORT", Align::LEFT, 18, 25},
                 {"LUN", Align::LEFT, 0, 0}});
    for (const AcceptedPath &path : paths) {
        table.addRow({path.path.name, path.path.key.initiator, path.path.key.target_port, path.path.key.lun});
    }
    putchar('\n');
    for (const std::string &line : table.lines()) {
        puts(line.c_str());
    }
}

void printText(const Subject &subject) {
    Table table({{"VOLUME", Align::LEFT, 16, 36},
                 {"PATHS", Align::LEFT, 5, 6},
                 {"SINCE", Align::LEFT, 16, 16},
                 {"BY", Align::LEFT, 7, 10},
                 {"SURVIVES THE LOSS OF", Align::LEFT, 0, 0}});
    for (const KnownVolume *volume : subject.volumes) {
        const std::vector<AcceptedPath> &paths = pathsOf(subject, *volume);
        const AcceptedPath newest = newestOf(paths);
        table.addRow({volume->attributes.alias, std::to_string(paths.size()),
                      newest.accepted == 0 ? "" : localTime(newest.accepted).substr(0, 16),
                      newest.accepted_by, survivalText(baselineSurvival(*volume))});
    }
    for (const std::string &line : table.lines()) {
        puts(line.c_str());
    }
    if (subject.is_one) {
        printPaths(pathsOf(subject, *subject.volumes.front()));
    }
}

Json pathJson(const AcceptedPath &path) {
    Json json = Json::object();
    const std::string &lun = path.path.key.lun;
    const bool is_number =
        !lun.empty() && lun.size() < 18 && lun.find_first_not_of("0123456789") == std::string::npos;
    json.setKnown("initiator", path.path.key.initiator)
        .setKnown("target_port", path.path.key.target_port)
        .set("lun", is_number ? Json::number(std::stoll(lun)) : Json::null())
        .setKnown("name", path.path.name);
    return json;
}

void printJson(const Subject &subject) {
    Json volumes = Json::array();
    for (const KnownVolume *volume : subject.volumes) {
        const std::vector<AcceptedPath> &paths = pathsOf(subject, *volume);
        const AcceptedPath newest = newestOf(paths);
        Json list = Json::array();
        for (const AcceptedPath &path : paths) {
            list.add(pathJson(path));
        }
        Json json = Json::object();
        json.set("alias", volume->attributes.alias)
            .set("wwid", volume->wwid)
            .set("accepted", newest.accepted == 0 ? Json::null() : Json::text(isoTime(newest.accepted)))
            .setKnown("accepted_by", newest.accepted_by)
            .set("paths", std::move(list));
        volumes.add(std::move(json));
    }
    puts(beginDocument("baseline").set("volumes", std::move(volumes)).line().c_str());
}

void print(const Subject &subject, bool json) {
    if (json) {
        printJson(subject);
    } else {
        printText(subject);
    }
}

// ---- accepting

int presentPaths(const KnownVolume &volume) {
    return static_cast<int>(
        std::count_if(volume.paths.begin(), volume.paths.end(),
                      [](const KnownPath &path) { return path.presence != Presence::MISSING; }));
}

// Whether today's paths are other ones than those of the baseline, or some are missing.
bool differs(const KnownVolume &volume) {
    PathKeySet wanted;
    for (const BaselinePath &path : volume.baseline) {
        wanted.add(path.key);
    }
    return presentPaths(volume) != static_cast<int>(volume.paths.size()) ||
           volume.paths.size() != volume.baseline.size() ||
           std::any_of(volume.paths.begin(), volume.paths.end(),
                       [&wanted](const KnownPath &path) { return !wanted.has(path.key); });
}

std::string missingNames(const KnownVolume &volume) {
    std::string names;
    for (const KnownPath &path : volume.paths) {
        names += path.presence == Presence::MISSING ? " " + path.attributes.name : "";
    }
    return names;
}

// What is said of one volume whose baseline has been replaced.
std::string acceptedText(const KnownVolume &volume) {
    const std::string missing = missingNames(volume);
    return volume.attributes.alias + ": the baseline is " + std::to_string(presentPaths(volume)) +
           " paths now, was " + std::to_string(volume.baseline.size()) +
           (missing.empty() ? "" : "; no longer missed:" + missing);
}

std::string writeBaselines(Database *database, const VolumeList &volumes, const std::string &user) {
    const Milliseconds now = nowMs();
    Transaction transaction(database);
    std::unordered_map<int64_t, KnownVolume> today;
    for (KnownVolume &volume : loadKnown(database)) {
        today.emplace(volume.id, std::move(volume));
    }
    std::string said;
    for (const KnownVolume *asked : volumes) {
        const KnownVolume &volume = today[asked->id];
        if (!volume.gone && presentPaths(volume) > 0 && differs(volume)) {
            acceptBaseline(database, volume, user, now);
            said += acceptedText(volume) + "\n";
        }
    }
    transaction.commit();
    return said;
}

Operation operationOf(const OwnCall &call, const Subject &subject) {
    Operation operation;
    operation.begun = nowMs();
    operation.user = call.audit->user();
    operation.command = "baseline";
    operation.line = call.audit->line();
    operation.volume = subject.is_one ? subject.volumes.front()->attributes.alias : "";
    return operation;
}

// Writes the baselines and the operation; `*said` is what came of it. A sentence for people when that fails.
std::string write(const OwnCall &call, const Subject &subject, std::string *said) {
    const LedgerOpening opening = openLedger(LedgerUse::OPERATE);
    if (opening.status != LedgerStatus::OPEN) {
        return opening.problem;
    }
    try {
        Operation operation = operationOf(call, subject);
        beginOperation(opening.database.get(), &operation);
        *said = writeBaselines(opening.database.get(), subject.volumes, operation.user);
        operation.ended = nowMs();
        endOperation(opening.database.get(), operation, bootId(),
                     subject.is_one ? subject.volumes.front()->wwid : "");
    } catch (const SqliteError &error) {
        return std::string(LEDGER_FILE) + " cannot be written: " + error.what();
    }
    return "";
}

// Why today's paths are no baseline; empty where they are one.
std::string refusal(const Subject &subject) {
    if (isStale(subject.view)) {
        return staleText(subject.view);
    }
    if (subject.is_one && presentPaths(*subject.volumes.front()) == 0) {
        return subject.volumes.front()->attributes.alias + " has no paths today that could be its baseline";
    }
    return "";
}

std::string accept(const OwnCall &call, const std::vector<std::string> &words, Subject *subject,
                   std::string *said) {
    std::string problem = readSubject(words, subject);
    if (problem.empty()) {
        problem = refusal(*subject);
    }
    return problem.empty() ? write(call, *subject, said) : problem;
}

int acceptAndTell(const OwnCall &call, const std::vector<std::string> &words, bool json) {
    if (geteuid() != 0) {
        return failOwnCommand("baseline", "accepting a baseline changes the ledger: run it as root", json,
                              EXIT_FAILED);
    }
    Subject subject;
    std::string said;
    call.audit->begin();
    std::string problem = accept(call, words, &subject, &said);
    call.audit->end(problem.empty() ? "Command executed successfully." : problem.c_str());
    if (problem.empty() && json) {
        subject = Subject();
        problem = readSubject(words, &subject);
    }
    if (!problem.empty()) {
        const int status = failOwnCommand("baseline", problem, json, EXIT_FAILED);
        endByPendingSignal();
        return status;
    }
    if (json) {
        printJson(subject);
    } else {
        fputs(said.empty() ? "Nothing to accept: today's paths are the baseline.\n"
                           : harmlessLines(said).c_str(),
              stdout);
    }
    fflush(stdout);
    endByPendingSignal();
    return EXIT_DONE;
}

int show(const std::vector<std::string> &words, bool json) {
    Subject subject;
    const std::string problem = readSubject(words, &subject);
    if (!problem.empty()) {
        return failOwnCommand("baseline", problem, json, EXIT_FAILED);
    }
    print(subject, json);
    return EXIT_DONE;
}

} // namespace

int baseline(const OwnCall &call) {
    const OwnWords words = readOwnWords(call, {}, 2);
    const bool json = words.has("json");
    const std::string what = words.words.empty() ? "" : words.words.front();
    if (words.problem.empty() && what == "show") {
        return show(words.words, json);
    }
    if (words.problem.empty() && what == "accept") {
        return acceptAndTell(call, words.words, json);
    }
    const std::string problem =
        what.empty() ? "say \"show\" or \"accept\"" : "\"" + what + "\" is neither \"show\" nor \"accept\"";
    return failOwnCommand("baseline", words.problem.empty() ? problem : words.problem, json, EXIT_FAILED);
}

} // namespace dravik

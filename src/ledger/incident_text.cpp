// Summing up incidents.
#include "ledger/incident_text.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <set>

#include "ledger/event_kinds.h"

namespace dravik {

namespace {

// What a kind is in words; "%" stands for the states from and to. In the order of what tells most of a thing.
struct KindText {
    const char *kind;
    const char *words;
};

constexpr KindText KIND_TEXTS[] = {
    {VOLUME_GONE, "gone"},
    {VOLUME_UNSEEN, "no longer listed, though the kernel has it"},
    {VOLUME_APPEARED, "appeared"},
    {VOLUME_SEEN_AGAIN, "listed again"},
    {VOLUME_WITHOUT_PATHS, "has no paths any more"},
    {PATH_GONE, "gone"},
    {PATH_UNSEEN, "no longer listed, though the kernel has it"},
    {PATH_APPEARED, "appeared"},
    {PATH_CHECKER_STATE, "%"},
    {PATH_ONLINE_STATE, "online state %"},
    {PATH_DM_STATE, "dm state %"},
    {PATH_SEEN_AGAIN, "listed again"},
    {PATH_MOVED, "renamed %"},
    {PATH_FLAPPING, "flapping"},
    {PATH_STEADY, "steady again"},
    {VOLUME_RENAMED, "renamed %"},
    {VOLUME_RESIZED, "resized %"},
    {PATH_GROUP_STATE, "group %"},
    {VOLUME_STATE, "%"},
    {OPERATION, ""},
    {MONITOR_STARTED, "dravik-monitor started"},
    {OBSERVATION_QUALITY, "observation %"},
};

size_t rankOf(const std::string &kind) {
    const auto *found = std::find_if(std::begin(KIND_TEXTS), std::end(KIND_TEXTS),
                                     [&kind](const KindText &text) { return kind == text.kind; });
    return static_cast<size_t>(found - std::begin(KIND_TEXTS));
}

std::string stateOr(const std::string &state) {
    return state.empty() ? "-" : state;
}

std::string operationText(const Event &event) {
    const bool done = event.to == "0";
    return event.user + " ran " + event.command + (done ? "" : ": failed with code " + event.to);
}

// The verdict's words, as people read them.
std::string asRead(const Event &event, const std::string &state) {
    return event.kind == VOLUME_STATE && state == "last_path" ? "last path" : stateOr(state);
}

std::string wordsOf(const Event &event) {
    if (event.kind == OPERATION) {
        return operationText(event);
    }
    const size_t rank = rankOf(event.kind);
    std::string words = rank < std::size(KIND_TEXTS) ? KIND_TEXTS[rank].words : event.kind.c_str();
    const size_t place = words.find('%');
    return place == std::string::npos
               ? words
               : words.replace(place, 1, asRead(event, event.from) + " -> " + asRead(event, event.to));
}

std::string pathOf(const Event &event) {
    return event.wwid + "\n" + event.initiator + "\n" + event.target_port + "\n" + event.path_address + "\n" +
           event.path_name;
}

using Told = std::vector<const Event *>;

bool isConsequence(const Event &event) {
    return event.kind == PATH_GROUP_STATE || event.kind == VOLUME_STATE;
}

bool standsAlone(const Event &event) {
    return !event.has_path || event.kind == PATH_FLAPPING || event.kind == PATH_STEADY;
}

// Of each path the event that tells most, and the others that stand alone; consequences only where there is nothing else.
Told choose(const std::vector<Event> &events) {
    const bool only_consequences = std::all_of(events.begin(), events.end(), isConsequence);
    const bool has_group = std::any_of(events.begin(), events.end(),
                                       [](const Event &event) { return event.kind == PATH_GROUP_STATE; });
    std::map<std::string, size_t> places;
    Told told;
    for (const Event &event : events) {
        if (isConsequence(event) && (!only_consequences || (has_group && event.kind == VOLUME_STATE))) {
            continue;
        }
        const auto [place, is_new] = places.emplace(pathOf(event), told.size());
        if (standsAlone(event)) {
            told.push_back(&event);
            if (is_new) {
                places.erase(place);
            }
        } else if (is_new) {
            told.push_back(&event);
        } else if (rankOf(event.kind) < rankOf(told[place->second]->kind)) {
            told[place->second] = &event;
        }
    }
    return told;
}

// What all have in common, empty where they differ or have none.
template <typename Get> std::string common(const Told &told, const Get &get) {
    const std::string first = get(*told.front());
    const bool same =
        std::all_of(told.begin(), told.end(), [&](const Event *event) { return get(*event) == first; });
    return same ? first : "";
}

std::set<std::string> volumesOf(const Told &told) {
    std::set<std::string> volumes;
    for (const Event *event : told) {
        if (!event->wwid.empty()) {
            volumes.insert(event->wwid);
        }
    }
    return volumes;
}

std::set<std::string> pathsOf(const Told &told) {
    std::set<std::string> paths;
    for (const Event *event : told) {
        if (event->has_path) {
            paths.insert(pathOf(*event));
        }
    }
    return paths;
}

bool allOfPaths(const Told &told) {
    return std::all_of(told.begin(), told.end(), [](const Event *event) { return event->has_path; });
}

std::string countOf(size_t count, const std::string &what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// What the line is about, with a colon; empty for what is about the host.
std::string subjectOf(const Told &told) {
    const size_t volumes = volumesOf(told).size();
    const bool is_operation =
        told.front()->kind == OPERATION; // it is its own incident, and its words name what it was about
    if (volumes == 0 || is_operation) {
        return "";
    }
    if (volumes == 1) {
        const bool one_path = allOfPaths(told) && pathsOf(told).size() == 1;
        return told.back()->alias + (one_path ? " " + told.back()->path_name : "") + ": ";
    }
    const bool paths = allOfPaths(told);
    const std::string port = common(told, [](const Event &event) { return event.target_port; });
    if (paths && !port.empty()) {
        return "port " + port + ": ";
    }
    const std::string initiator = common(told, [](const Event &event) { return event.initiator; });
    return paths && !initiator.empty() ? "initiator " + initiator + ": " : "";
}

constexpr size_t MOST_NAMES = 6;

// What all events that are told are about.
struct Scope {
    bool several_volumes;
    bool one_path;
};

// The paths or volumes of one clause, where the subject does not name them.
std::string membersOf(const Told &clause, const Scope &scope) {
    const size_t volumes = volumesOf(clause).size();
    if (!clause.front()->has_path) {
        return !scope.several_volumes ? ""
               : volumes == 1         ? clause.front()->alias + " "
                                      : countOf(volumes, "volume") + " ";
    }
    const size_t paths = pathsOf(clause).size();
    if (scope.several_volumes) {
        return paths == 1 ? clause.front()->alias + " " + clause.front()->path_name + " "
                          : countOf(paths, "path") + " of " + countOf(volumes, "volume") + " ";
    }
    if (scope.one_path) {
        return "";
    }
    if (paths > MOST_NAMES) {
        return countOf(paths, "path") + " ";
    }
    std::string names;
    for (const Event *event : clause) {
        names += event->path_name + " ";
    }
    return names;
}

// Kinds whose words differ from one path or volume to the next: many of them are only counted.
bool hasOwnWords(const std::string &kind) {
    return kind == PATH_MOVED || kind == VOLUME_RENAMED || kind == VOLUME_RESIZED;
}

std::string countedWords(const std::string &kind) {
    return kind == VOLUME_RESIZED ? "resized" : "renamed";
}

struct Clause {
    std::string words;
    Told members; // all of paths, or all of volumes
};

// The same that happened to several is one clause; they stand in the order of what tells most.
std::vector<Clause> clausesIn(const Told &told) {
    std::map<std::string, size_t> counts;
    for (const Event *event : told) {
        ++counts[event->kind];
    }
    std::map<std::pair<std::string, bool>, size_t> places;
    std::vector<Clause> clauses;
    for (const Event *event : told) {
        const bool only_counted = hasOwnWords(event->kind) && counts[event->kind] > MOST_NAMES;
        const std::string words = only_counted ? countedWords(event->kind) : wordsOf(*event);
        const auto [place, is_new] = places.emplace(std::pair(words, event->has_path), clauses.size());
        if (is_new) {
            clauses.push_back({words, {}});
        }
        clauses[place->second].members.push_back(event);
    }
    std::stable_sort(clauses.begin(), clauses.end(), [](const Clause &a, const Clause &b) {
        return rankOf(a.members.front()->kind) < rankOf(b.members.front()->kind);
    });
    return clauses;
}

// What happened, and to how many.
std::string clausesOf(const Told &told) {
    const Scope scope = {volumesOf(told).size() > 1, allOfPaths(told) && pathsOf(told).size() == 1};
    std::string text;
    for (const Clause &clause : clausesIn(told)) {
        text += (text.empty() ? "" : ", ") + membersOf(clause.members, scope) + clause.words;
    }
    return text;
}

// " a b c", the first six of them, and how many more there are.
std::string namesOf(const std::vector<std::string> &names) {
    std::string text;
    for (size_t i = 0; i < std::min(names.size(), MOST_NAMES); ++i) {
        text += " " + names[i];
    }
    return names.size() > MOST_NAMES ? text + " and " + std::to_string(names.size() - MOST_NAMES) + " more"
                                     : text;
}

// What of the volumes works after it.
std::string remainderOf(const std::vector<Event> &events, const Told &told) {
    std::map<std::string, const Event *> last;
    for (const Event &event : events) {
        if (!event.wwid.empty() && event.kind != VOLUME_GONE && event.kind != OPERATION) {
            last[event.wwid] = &event;
        }
    }
    if (last.empty()) {
        return "";
    }
    if (last.size() == 1 && volumesOf(told).size() == 1) {
        const Event &event = *last.begin()->second;
        return ", " + std::to_string(event.paths_working) + " of " + std::to_string(event.paths_known) +
               " paths work";
    }
    std::vector<std::string> lost;
    for (const Event &event : events) {
        const auto place = last.find(event.wwid);
        if (place != last.end() && place->second == &event && event.paths_working == 0) {
            lost.push_back(event.alias);
        }
    }
    return lost.empty() ? ", all volumes keep working" : ", no path works of:" + namesOf(lost);
}

std::string causeOf(const Told &told) {
    const auto by_operator =
        std::find_if(told.begin(), told.end(), [](const Event *event) { return event->cause == "operator"; });
    const Event &event = by_operator == told.end() ? *told.front() : **by_operator;
    if (event.kind == OPERATION || event.cause.empty()) {
        return "";
    }
    if (event.cause == "operator") {
        return " (operator " + event.user + ": " + event.command + ")";
    }
    return event.cause == "host_restart" ? " (host restart)" : " (" + event.cause + ")";
}

std::string textOf(const std::vector<Event> &events, const Told &told) {
    return subjectOf(told) + clausesOf(told) + remainderOf(events, told) + causeOf(told);
}

} // namespace

std::string incidentText(const std::vector<Event> &events) {
    return textOf(events, choose(events));
}

std::string eventText(const Event &event) {
    return textOf({event}, {&event});
}

} // namespace dravik

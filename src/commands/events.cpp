// Printing events as they are read, so that no number of them needs memory.
#include "commands/events.h"

#include <cstdio>
#include <map>
#include <memory>
#include <unistd.h>
#include <utility>

#include "commands/event_json.h"
#include "commands/incident_line.h"
#include "commands/ledger_view.h"
#include "commands/own_options.h"
#include "commands/time_word.h"
#include "commands/volume_lookup.h"
#include "common/exit_status.h"
#include "ledger/event_store.h"
#include "ledger/known_store.h"

namespace dravik {

namespace {

constexpr int EXIT_NONE_FOUND = 2;
constexpr unsigned int LOOK_EVERY_SECONDS = 1;

// Takes events in their order and prints them.
class Printer {
  public:
    virtual ~Printer() = default;
    virtual void take(Event &&event) = 0;
    // What has been taken is all that there is for now.
    virtual void flush() = 0;
};

// The events of one incident have one time; those of several incidents of one observation stand mixed.
class LinePrinter : public Printer {
  public:
    explicit LinePrinter(bool each_event) : all(each_event) {}

    void take(Event &&event) override {
        if (all) {
            puts(eventLine(event).c_str());
            return;
        }
        if (!incidents.empty() && incidents.begin()->second.front().time != event.time) {
            flush();
        }
        incidents[event.incident].push_back(std::move(event));
    }
    void flush() override {
        for (const auto &[number, members] : incidents) {
            puts(incidentLine(members).c_str());
        }
        incidents.clear();
    }

  private:
    bool all;
    std::map<int64_t, std::vector<Event>> incidents;
};

// One document, written piece by piece.
class DocumentPrinter : public Printer {
  public:
    DocumentPrinter() {
        std::string head = beginDocument("events").set("events", Json::array()).line();
        head.resize(head.size() - 2); // the ends of the array and of the document come last
        fputs(head.c_str(), stdout);
    }
    void take(Event &&event) override {
        printf("%s%s", is_first ? "" : ",", eventJson(event, names.of(event.wwid)).line().c_str());
        is_first = false;
    }
    void flush() override {
        puts("]}");
    }

  private:
    VdiskNames names;
    bool is_first = true;
};

// A document for the events that were written together.
class StreamPrinter : public Printer {
  public:
    void take(Event &&event) override {
        if (time != event.time) {
            flush();
        }
        time = event.time;
        members.add(eventJson(event, names.of(event.wwid)));
        is_empty = false;
    }
    void flush() override {
        if (!is_empty) {
            puts(beginDocument("events").set("events", std::move(members)).line().c_str());
        }
        members = Json::array();
        is_empty = true;
        names.readAgain(); // others may have been told meanwhile
    }

  private:
    VdiskNames names;
    Json members = Json::array();
    bool is_empty = true;
    Milliseconds time = 0;
};

std::unique_ptr<Printer> printerFor(const OwnWords &words) {
    if (!words.has("json")) {
        return std::make_unique<LinePrinter>(words.has("all"));
    }
    if (words.has("follow")) {
        return std::make_unique<StreamPrinter>();
    }
    return std::make_unique<DocumentPrinter>();
}

// What can be said of the filter without the ledger; a sentence for people where it is none.
std::string readFilter(const OwnWords &words, EventFilter *filter) {
    if (words.has("since")) {
        const auto since = parseTimeWord(words.value("since"), nowMs());
        if (!since) {
            return "\"" + words.value("since") +
                   "\" is no time: 2026-11-21T03:12, 03:12, or an age such as 90m or 2d";
        }
        filter->since = *since;
    }
    if (words.has("incident")) {
        filter->incident = positiveNumber(words.value("incident"));
        if (filter->incident == 0) {
            return "\"" + words.value("incident") + "\" is no number of an incident";
        }
    }
    if (words.has("path")) {
        const std::string path = words.value("path");
        constexpr std::string_view DEVICES = "/dev/";
        filter->path_names = {path.compare(0, DEVICES.size(), DEVICES) == 0 ? path.substr(DEVICES.size())
                                                                            : path};
    }
    return "";
}

// Prints what has come behind filter->after_number, which moves on. A sentence for people when the ledger fails.
std::string printNew(EventFilter *filter, Printer *printer, bool *found) {
    const LedgerOpening opening = openLedger(LedgerUse::READ);
    if (opening.status != LedgerStatus::OPEN) {
        return opening.problem;
    }
    try {
        // A ledger that was put aside has a successor, which counts anew.
        const int64_t last = opening.database->number("SELECT coalesce(max(number), 0) FROM events");
        filter->after_number = last < filter->after_number ? 0 : filter->after_number;
        forEachEvent(opening.database.get(), *filter, [&](Event &&event) {
            filter->after_number = event.number;
            *found = true;
            printer->take(std::move(event));
        });
    } catch (const SqliteError &error) {
        return std::string(LEDGER_FILE) + " cannot be read: " + error.what();
    }
    printer->flush();
    return "";
}

// For ever; a ledger that cannot be read for a while is waited for.
int follow(EventFilter filter, Printer *printer) {
    std::string said;
    bool found = false;
    while (fflush(stdout) == 0) {
        sleep(LOOK_EVERY_SECONDS);
        const std::string problem = printNew(&filter, printer, &found);
        if (!problem.empty() && problem != said) {
            failOwnCommand("events", problem, false, EXIT_FAILED);
        }
        said = problem;
    }
    return EXIT_FAILED;
}

// The volume's WWID goes into the filter.
std::string readVolume(const OwnWords &words, EventFilter *filter) {
    LedgerView view;
    std::string problem;
    if (words.has("volume") && readWholeLedger(&view, &problem)) {
        const KnownVolume *volume = findVolume(view.volumes, VdiskNames(), words.value("volume"), &problem);
        filter->wwid = volume == nullptr ? "" : volume->wwid;
    }
    return problem;
}

} // namespace

int events(const OwnCall &call) {
    const OwnWords words = readOwnWords(call,
                                        {{"since", true},
                                         {"volume", true},
                                         {"path", true},
                                         {"incident", true},
                                         {"all", false},
                                         {"follow", false}},
                                        0);
    const bool json = words.has("json");
    EventFilter filter;
    std::string problem = words.problem.empty() ? readFilter(words, &filter) : words.problem;
    if (problem.empty()) {
        problem = readVolume(words, &filter);
    }
    // What is there is read once before anything is printed: a document that has begun cannot say that there is no ledger.
    if (problem.empty()) {
        const LedgerOpening opening = openLedger(LedgerUse::READ);
        problem = opening.problem;
    }
    if (!problem.empty()) {
        return failOwnCommand("events", problem, json, EXIT_FAILED);
    }
    const std::unique_ptr<Printer> printer = printerFor(words);
    bool found = false;
    problem = printNew(&filter, printer.get(), &found);
    if (!problem.empty()) {
        return failOwnCommand("events", problem, false, EXIT_FAILED);
    }
    if (words.has("follow")) {
        return follow(filter, printer.get());
    }
    return found ? EXIT_DONE : EXIT_NONE_FOUND;
}

} // namespace dravik

// Making journal entries.
#include "monitor/journal_entry.h"

#include "ledger/incident_text.h"
#include "ledger/message_ids.h"
#include "monitor/journal_priority.h"
#include "output/table.h"
#include "output/well_formed.h"

namespace dravik {

namespace {

// At most LONGEST_MESSAGE bytes, no character in pieces.
std::string bounded(std::string text) {
    if (text.size() <= LONGEST_MESSAGE) {
        return text;
    }
    constexpr char MORE[] = "...";
    size_t length = LONGEST_MESSAGE - (sizeof(MORE) - 1);
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xc0) == 0x80) {
        --length;
    }
    text.resize(length);
    return text + MORE;
}

JournalEntry beginEntry(int priority, const std::string &words, const char *message_id) {
    JournalEntry entry;
    entry.priority = priority;
    entry.message = bounded(harmless(wellFormed(words)));
    entry.fields = {"MESSAGE=" + entry.message, "PRIORITY=" + std::to_string(priority),
                    std::string("SYSLOG_IDENTIFIER=") + JOURNAL_IDENTIFIER};
    if (*message_id != '\0') {
        entry.fields.push_back(std::string("MESSAGE_ID=") + message_id);
    }
    return entry;
}

void add(JournalEntry *entry, const char *name, const std::string &value) {
    if (!value.empty()) {
        entry->fields.push_back(std::string("DRAVIK_") + name + "=" + value);
    }
}

void addEvent(JournalEntry *entry, const Event &event, const std::string &vdisk_name) {
    const bool counts = !event.wwid.empty() && event.paths_known > 0;
    add(entry, "EVENT", event.kind);
    add(entry, "NUMBER", std::to_string(event.number));
    add(entry, "INCIDENT", std::to_string(event.incident));
    add(entry, "VOLUME", event.alias);
    add(entry, "WWID", event.wwid);
    add(entry, "VDISK_NAME", vdisk_name);
    add(entry, "PATH", event.path_name);
    add(entry, "INITIATOR", event.initiator);
    add(entry, "TARGET_PORT", event.target_port);
    add(entry, "FROM", event.from);
    add(entry, "TO", event.to);
    add(entry, "PATHS_WORKING", counts ? std::to_string(event.paths_working) : "");
    add(entry, "PATHS_KNOWN", counts ? std::to_string(event.paths_known) : "");
    add(entry, "CAUSE", event.cause);
    add(entry, "USER", event.user);
}

} // namespace

JournalEntry entryOfIncident(const std::vector<Event> &events, const std::string &vdisk_name) {
    const Event &first = events.front();
    JournalEntry entry = beginEntry(priorityOf(events), incidentText(events), messageIdOf(first.kind));
    addEvent(&entry, first, vdisk_name);
    add(&entry, "EVENTS", events.size() > 1 ? std::to_string(events.size()) : "");
    return entry;
}

JournalEntry entryOfLeftOut(size_t incidents) {
    return beginEntry(PRIORITY_WARNING,
                      std::to_string(incidents) +
                          (incidents == 1 ? " older incident is" : " older incidents are") +
                          " left out here, too many at once: see dravik events",
                      LEFT_OUT_MESSAGE_ID);
}

} // namespace dravik

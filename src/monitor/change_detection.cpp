// Change detection and the lines of the change log.
//
// The wording of the lines, the missing blank after "dravik_status:" included, is what people's scripts
// search for.
#include "monitor/change_detection.h"

#include <cstring>
#include <vector>

#include "common/log.h"
#include "monitor/cycle.h"
#include "monitor/lun_index.h"
#include "monitor/snapshot.h"

namespace {

// The change log carries no position: a line is a time stamp and a message.
#define LOG_CHANGE(...)                                                                                      \
    do {                                                                                                     \
        dravik_log(LOG_MONITOR, "", 0, "", __VA_ARGS__);                                                     \
        DRAVIK_TRACE(__VA_ARGS__);                                                                           \
    } while (false)

bool sameWwid(const s_lunPath *a, const s_lunPath *b) {
    return strncmp(a->lun_wwid, b->lun_wwid, LUN_WWID_LENGTH) == 0;
}

bool sameText(const char *a, const char *b) {
    return strncmp(a, b, LUN_TEXT_LENGTH) == 0;
}

void logLunDeleted(const s_lunPath *p) {
    LOG_CHANGE("The lun is deleted, the properties are [ path_alias: %s, wwid: %s ].", lunAliasText(p),
               p->lun_wwid);
}

void logLunCreated(const s_lunPath *p) {
    LOG_CHANGE("The lun is created, the properties are [ path_alias: %s, wwid: %s ].", lunAliasText(p),
               p->lun_wwid);
}

void logPathDeleted(const s_lunPath *p) {
    LOG_CHANGE(
        "The path is deleted, the properties are [ path_alias: %s, wwid: %s, dev_name: %s, path_status: %s, "
        "path_group_status: %s, dravik_status:%s ].",
        lunAliasText(p), p->lun_wwid, p->path_dev_name, p->path_status, p->path_group_status,
        p->dravik_status);
}

void logPathCreated(const s_lunPath *p) {
    LOG_CHANGE(
        "The path is created, the properties are [ path_alias: %s, wwid: %s, dev_name: %s, path_status: %s, "
        "path_group_status: %s, dravik_status:%s ].",
        lunAliasText(p), p->lun_wwid, p->path_dev_name, p->path_status, p->path_group_status,
        p->dravik_status);
}

// Logs, by `log`, every volume of `list` that `other` does not know. A volume's records follow one another, so only
// the first of a run is looked up; a WWID that comes again later is looked up, and logged, again.
bool logMissingLuns(const LunIndex *list, const LunIndex *other, void (*log)(const s_lunPath *)) {
    bool changed = false;
    for (const LunIndex::Entry &entry : list->entries) {
        if (entry.begins_run && findSameWwid(other, entry) == NO_ENTRY) {
            log(entry.record);
            changed = true;
        }
    }
    return changed;
}

bool logPathChanges(const s_lunPath *before, const s_lunPath *now) {
    const char *name = before->path_dev_name;
    bool changed = false;
    if (!sameText(before->lun_alias, now->lun_alias)) {
        LOG_CHANGE("The path alias is changed from [%s] to [%s] for the path [ dev_name: %s ].",
                   lunAliasText(before), lunAliasText(now), name);
        changed = true;
    }
    if (!sameWwid(before, now)) {
        LOG_CHANGE("The lun wwid is changed from [%s] to [%s] for the path [ dev_name: %s ].",
                   before->lun_wwid, now->lun_wwid, name);
        changed = true;
    }
    if (!sameText(before->path_status, now->path_status)) {
        LOG_CHANGE("The path status is changed from [%s] to [%s] for the path [ dev_name: %s ].",
                   before->path_status, now->path_status, name);
        changed = true;
    }
    if (!sameText(before->path_group_status, now->path_group_status)) {
        LOG_CHANGE("The group status is changed from [%s] to [%s] for the path [ dev_name: %s ].",
                   before->path_group_status, now->path_group_status, name);
        changed = true;
    }
    if (!sameText(before->dravik_status, now->dravik_status)) {
        LOG_CHANGE("The dravik status is changed from [%s] to [%s] for the path [ dev_name: %s ].",
                   before->dravik_status, now->dravik_status, name);
        changed = true;
    }
    return changed;
}

// `known` receives, for each record of `now`, whether a record of `before` was found to bear its name.
bool logLostAndChangedPaths(const LunIndex *before, const LunIndex *now, std::vector<char> *known) {
    bool changed = false;
    for (const LunIndex::Entry &entry : before->entries) {
        const uint32_t found = findSameName(now, entry);
        if (found == NO_ENTRY) {
            logPathDeleted(entry.record);
            changed = true;
            continue;
        }
        (*known)[found] = 1;
        if (logPathChanges(entry.record, now->entries[found].record)) {
            changed = true;
        }
    }
    return changed;
}

bool logNewPaths(const LunIndex *now, const LunIndex *before, const std::vector<char> &known) {
    bool changed = false;
    for (size_t i = 0; i < now->entries.size(); ++i) {
        if (known[i] == 0 && findSameName(before, now->entries[i]) == NO_ENTRY) {
            logPathCreated(now->entries[i].record);
            changed = true;
        }
    }
    return changed;
}

} // namespace

void cmpAndLog() {
    // Rebuilt in place from cycle to cycle; the monitor runs until it is killed.
    static LunIndex before;
    static LunIndex now;
    static std::vector<char> known;

    buildLunIndex(&before, g_pOldLunPath);
    buildLunIndex(&now, g_pLunPath);
    known.assign(now.entries.size(), 0);
    // From here on nothing asks for memory: what has been logged once must not be logged again.
    bool changed = logMissingLuns(&before, &now, logLunDeleted);
    changed = logMissingLuns(&now, &before, logLunCreated) || changed;
    changed = logLostAndChangedPaths(&before, &now, &known) || changed;
    changed = logNewPaths(&now, &before, known) || changed;

    // A disk that was full must not cost the next start a volume: what could not be written is written later.
    static bool behind = false;
    if (changed || behind) {
        behind = writeLunPathToFile(g_pLunPath, lunPathFile) != 1;
    }
}

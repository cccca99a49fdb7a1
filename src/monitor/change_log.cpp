// Change detection and the lines of the change log.
//
// The wording of the lines, the missing blank after "dravik_status:" included, is what people's scripts
// search for.
#include "monitor/change_log.h"

#include <cstring>

#include "common/log.h"
#include "monitor/cycle.h"
#include "monitor/snapshot.h"
#include "struct/lun_index.h"

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

void logLun(const char *event, const s_lunPath *p) {
    LOG_CHANGE("The lun is %s, the properties are [ path_alias: %s, wwid: %s ].", event, lunAliasText(p),
               p->lun_wwid);
}

void logPath(const char *event, const s_lunPath *p) {
    LOG_CHANGE(
        "The path is %s, the properties are [ path_alias: %s, wwid: %s, dev_name: %s, path_status: %s, "
        "path_group_status: %s, dravik_status:%s ].",
        event, lunAliasText(p), p->lun_wwid, p->path_dev_name, p->path_status, p->path_group_status,
        p->dravik_status);
}

// Logs every volume of `list` that `other` does not know. A volume's records follow one another, so only the
// first of a run is looked up; a WWID that comes again later is looked up, and logged, again.
bool logMissingLuns(const s_lunPath *list, const LunIndex *other, const char *event) {
    bool changed = false;
    const s_lunPath *previous = nullptr;
    for (const s_lunPath *p = firstLunpath(list); p != nullptr; previous = p, p = nextLunpath(p)) {
        if (previous != nullptr && sameWwid(previous, p)) {
            continue;
        }
        if (findInLunIndex(other, p->lun_wwid) == nullptr) {
            logLun(event, p);
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

bool logLostAndChangedPaths(const s_lunPath *before, const LunIndex *now) {
    bool changed = false;
    for (const s_lunPath *p = firstLunpath(before); p != nullptr; p = nextLunpath(p)) {
        const s_lunPath *found = findInLunIndex(now, p->path_dev_name);
        if (found == nullptr) {
            logPath("deleted", p);
            changed = true;
        } else if (logPathChanges(p, found)) {
            changed = true;
        }
    }
    return changed;
}

bool logNewPaths(const s_lunPath *now, const LunIndex *before) {
    bool changed = false;
    for (const s_lunPath *p = firstLunpath(now); p != nullptr; p = nextLunpath(p)) {
        if (findInLunIndex(before, p->path_dev_name) == nullptr) {
            logPath("created", p);
            changed = true;
        }
    }
    return changed;
}

} // namespace

void cmpAndLog() {
    // One index for each list and key, rebuilt in place from cycle to cycle. Never destroyed: the monitor runs
    // until it is killed.
    static LunIndex before;
    static LunIndex now;

    buildLunIndex(&before, LunKey::wwid, g_pOldLunPath);
    buildLunIndex(&now, LunKey::wwid, g_pLunPath);
    bool changed = logMissingLuns(g_pOldLunPath, &now, "deleted");
    changed = logMissingLuns(g_pLunPath, &before, "created") || changed;

    buildLunIndex(&before, LunKey::dev_name, g_pOldLunPath);
    buildLunIndex(&now, LunKey::dev_name, g_pLunPath);
    changed = logLostAndChangedPaths(g_pOldLunPath, &now) || changed;
    changed = logNewPaths(g_pLunPath, &before) || changed;

    if (changed) {
        writeLunPathToFile(g_pLunPath, lunPathFile);
    }
}

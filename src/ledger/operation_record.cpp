// Writing operations.
#include "ledger/operation_record.h"

#include <ctime>
#include <memory>
#include <new>
#include <utility>

#include "common/log.h"
#include "ledger/event_store.h"
#include "ledger/kernel_view.h"
#include "ledger/ledger_file.h"

namespace dravik {

namespace {

Milliseconds nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

void complain(const char *problem) {
    DRAVIK_LOG_AS("operation", LOG_ERROR, "Ledger: %s.", problem);
}

// Runs `write` on the ledger. False when that could not be done, which is logged but for a ledger that is not there.
template <typename Write> bool writeLedger(const Write &write) {
    try {
        const LedgerOpening opening = openLedger(LedgerUse::OPERATE);
        if (opening.status == LedgerStatus::OPEN) {
            write(opening.database.get());
            return true;
        }
        if (opening.status != LedgerStatus::MISSING) {
            complain(opening.problem.c_str());
        }
    } catch (const SqliteError &error) {
        complain(error.what());
    } catch (const std::bad_alloc &) {
        complain("memory ran out");
    }
    return false;
}

// A volume as the ledger knows it, under one of its names.
struct NamedVolume {
    std::string wwid;
    std::string alias;
};

// The volume with the alias or WWID that was typed, one that is there before one that is gone; the typed name alone where
// the ledger has none.
NamedVolume findVolume(Database *database, const std::string &typed) {
    Statement row(database,
                  "SELECT wwid, alias FROM volumes WHERE alias = ?1 OR wwid = ?1 ORDER BY gone, id LIMIT 1");
    row.bind(1, typed);
    return !typed.empty() && row.step() ? NamedVolume{row.text(0), row.text(1)} : NamedVolume{"", typed};
}

} // namespace

void OperationRecord::begin(Operation begun_operation) {
    operation = std::move(begun_operation);
    operation.begun = nowMs();
    is_written = writeLedger([this](Database *database) { beginOperation(database, &operation); });
}

void OperationRecord::end(int code) {
    if (!is_written) {
        return;
    }
    is_written = false;
    writeLedger([this, code](Database *database) {
        const NamedVolume volume = findVolume(database, operation.volume);
        operation.volume = volume.alias;
        operation.ended = nowMs();
        operation.code = code;
        endOperation(database, operation, bootId(), volume.wwid);
    });
}

} // namespace dravik

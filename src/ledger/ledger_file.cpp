// Opening the ledger.
#include "ledger/ledger_file.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/dumps_folder.h"
#include "common/log.h"
#include "ledger/schema.h"

namespace dravik {

namespace {

// How long each waits for the others. The monitor's cycle has other work, and comes again.
constexpr int OBSERVER_PATIENCE_MS = 1000;
constexpr int COMMAND_PATIENCE_MS = 5000;

LedgerOpening refuse(LedgerStatus status, const std::string &problem) {
    LedgerOpening opening;
    opening.status = status;
    opening.problem = problem;
    return opening;
}

LedgerOpening refuseByErrno() {
    const int error = errno;
    if (error == ENOENT) {
        return refuse(LedgerStatus::MISSING, std::string("there is no ledger ") + LEDGER_FILE +
                                                 ": dravik-monitor has not run on this host yet");
    }
    if (error == EACCES || error == EPERM) {
        return refuse(LedgerStatus::NOT_PERMITTED,
                      std::string(LEDGER_FILE) + " is root's alone: run it as root");
    }
    return refuse(LedgerStatus::FAILED, std::string(LEDGER_FILE) + " cannot be opened: " + strerror(error));
}

// Whether the file may be used, as every file below /dumps; the monitor makes a missing one.
bool isUsableFile(LedgerUse use) {
    const int flags = use == LedgerUse::OBSERVE ? O_RDWR | O_CREAT : O_RDONLY;
    return openDataFile(LEDGER_FILE, flags, 0600).isOpen();
}

FileIdentity identify() {
    struct stat attributes = {};
    return stat(LEDGER_FILE, &attributes) == 0 ? FileIdentity{attributes.st_dev, attributes.st_ino}
                                               : FileIdentity{};
}

LedgerOpening checkVersion(LedgerUse use, std::unique_ptr<Database> database) {
    const int version = versionOf(database.get());
    if (version > ledgerVersion()) {
        return refuse(LedgerStatus::NEWER, std::string(LEDGER_FILE) +
                                               " has been written by a newer dravik (its version " +
                                               std::to_string(version) + ", this one knows " +
                                               std::to_string(ledgerVersion()) + "): use that one");
    }
    if (version < ledgerVersion() && use != LedgerUse::OBSERVE) {
        return version == 0
                   ? refuse(LedgerStatus::MISSING,
                            std::string(LEDGER_FILE) + " is empty: dravik-monitor has not run yet")
                   : refuse(LedgerStatus::OLDER, std::string(LEDGER_FILE) +
                                                     " is an older dravik's: restart dravik-monitor, which "
                                                     "brings it up to date");
    }
    LedgerOpening opening;
    opening.status = LedgerStatus::OPEN;
    opening.file = identify();
    opening.database = std::move(database);
    return opening;
}

LedgerOpening openDatabase(LedgerUse use) {
    const bool reads = use == LedgerUse::READ;
    auto database =
        std::make_unique<Database>(LEDGER_FILE, reads ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE,
                                   use == LedgerUse::OBSERVE ? OBSERVER_PATIENCE_MS : COMMAND_PATIENCE_MS);
    if (use == LedgerUse::OBSERVE && versionOf(database.get()) <= ledgerVersion()) {
        database->run("PRAGMA journal_mode = WAL");
        migrate(database.get());
    }
    if (!reads) {
        // A power cut may cost the last observations, never the file; what they would have told is told by the next.
        database->run("PRAGMA synchronous = NORMAL");
        database->run("PRAGMA journal_size_limit = 8388608");
    }
    return checkVersion(use, std::move(database));
}

} // namespace

LedgerOpening openLedger(LedgerUse use) {
    if (use != LedgerUse::OBSERVE && access(LEDGER_FILE, F_OK) != 0) {
        return refuseByErrno();
    }
    if (!isUsableFile(use)) {
        return refuseByErrno();
    }
    try {
        return openDatabase(use);
    } catch (const SqliteError &error) {
        if (error.isDamage() && use == LedgerUse::OBSERVE) {
            putLedgerAside(error.what());
            return isUsableFile(use) ? openDatabase(use) : refuseByErrno();
        }
        return refuse(LedgerStatus::FAILED, std::string(LEDGER_FILE) + " cannot be used: " + error.what());
    }
}

bool isLedgerFile(const FileIdentity &file) {
    const FileIdentity now = identify();
    return now.inode != 0 && now.inode == file.inode && now.device == file.device;
}

void putLedgerAside(const char *reason) {
    char stamp[32] = "";
    const time_t now = time(nullptr);
    tm utc = {};
    gmtime_r(&now, &utc);
    strftime(stamp, sizeof(stamp), ".damaged-%Y%m%dT%H%M%SZ", &utc);
    const std::string aside = std::string(LEDGER_FILE) + stamp;
    for (const char *suffix : {"", "-wal", "-shm"}) {
        if (rename((std::string(LEDGER_FILE) + suffix).c_str(), (aside + suffix).c_str()) != 0 &&
            errno != ENOENT) {
            DRAVIK_LOG(LOG_ERROR, "Ledger %s is damaged (%s) and cannot be put aside: %s.", LEDGER_FILE,
                       reason, strerror(errno));
            return;
        }
    }
    DRAVIK_LOG(LOG_ERROR, "Ledger %s is damaged (%s): put aside as %s.", LEDGER_FILE, reason, aside.c_str());
}

} // namespace dravik

// Backing up, changing and restoring the multipath configuration file.
#include "commands/conf_backup.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <unistd.h>

#include "common/log.h"
#include "host/file_state.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::FileState;
using dravik::own;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

constexpr char BACKUP_FILE[] = "/etc/velomux.conf.bk";
constexpr char OLD_BACKUP_FILE[] = "/etc/velomux.conf.bk.old";
constexpr mode_t BACKUP_MODE = 0600;

// The file as this process found it, once its backup has been made.
bool backup_made = false;
FileState found;

// Asks for no memory, as everything does on the way to a roll-back.
bool holdsWhatWasFound(const char *path) {
    return dravik::holdsText(path, found.text);
}

// The backup holds passwords for all that a backup's reader may know.
bool keepBackup() {
    const FileState attributes = {true, "", BACKUP_MODE, geteuid(), getegid()};
    return holdsWhatWasFound(BACKUP_FILE) && dravik::setFileAttributes(BACKUP_FILE, attributes) &&
           dravik::syncFile(BACKUP_FILE);
}

s_ecItems *runBackup() {
    return runTask("backupConfFile",
                   ShellCommand(own<CMD_cp>(), " "_sh, CONF_FILE, " "_sh, CONF_FILE, ".bk"_sh));
}

// Puts the generation before back in place of what has become of the new one.
void giveUpBackup() {
    if (!dravik::moveFile(OLD_BACKUP_FILE, BACKUP_FILE)) {
        dravik::removeFile(BACKUP_FILE);
    }
}

// Where the copy of the backup came up short, the backup takes the file's place: that needs no space.
bool putBackupInPlace() {
    return dravik::moveFile(BACKUP_FILE, CONF_FILE);
}

// Memory that runs out in the middle of a change is a failed change.
s_ecItems *attempt(s_ecItems *(*change)()) {
    try {
        return change();
    } catch (const std::bad_alloc &) {
        return &EC_molloc_failed;
    }
}

} // namespace

s_ecItems *backupConfFile() {
    backup_made = false;
    const bool read = dravik::readFileState(CONF_FILE, &found);
    if (read && !found.exists) {
        return runBackup(); // it says in the log that there is no such file
    }
    dravik::moveFile(BACKUP_FILE, OLD_BACKUP_FILE);
    s_ecItems *result = runBackup();
    backup_made = read && !isFailure(result) && keepBackup();
    if (backup_made) {
        dravik::removeFile(OLD_BACKUP_FILE);
        return result;
    }
    giveUpBackup();
    DRAVIK_LOG(LOG_ERROR, "No whole backup of %s could be made in %s: nothing is changed.", CONF_FILE,
               BACKUP_FILE);
    return &EC_exe_cmd_failed;
}

void rollBackConfFile() {
    if (!backup_made) {
        DRAVIK_LOG(LOG_ERROR, "Not rolled back: this command has made no backup of %s, which stays as it is.",
                   CONF_FILE);
        return;
    }
    runTask(__func__, ShellCommand(own<CMD_cp>(), " "_sh, CONF_FILE, ".bk "_sh, CONF_FILE));
    const bool copied = holdsWhatWasFound(CONF_FILE);
    const bool restored = copied || (putBackupInPlace() && holdsWhatWasFound(CONF_FILE));
    if (!restored || !dravik::setFileAttributes(CONF_FILE, found)) {
        DRAVIK_LOG(LOG_ERROR, "Not rolled back: %s could not be restored (%s), what it held is in %s.",
                   CONF_FILE, strerror(errno), BACKUP_FILE);
    } else if (copied) {
        DRAVIK_LOG(LOG_INFO, "Rolled back: %s is as it was before this command.", CONF_FILE);
    } else {
        DRAVIK_LOG(LOG_ERROR,
                   "Rolled back: %s is as it was before this command, and it is the backup itself, which a "
                   "copy had no "
                   "space for.",
                   CONF_FILE);
    }
}

bool dravik::isConfFileAsFound() {
    return found.exists ? holdsWhatWasFound(CONF_FILE) : access(CONF_FILE, F_OK) != 0;
}

s_ecItems *dravik::changeConfFile(s_ecItems *(*change)()) {
    s_ecItems *result = backupConfFile();
    if (isFailure(result)) {
        return result;
    }
    if (dravik::pendingSignal() != 0) {
        return &EC_exe_cmd_failed; // nothing is changed yet
    }
    dravik::setUnfinished("/etc/velomux.conf may be half changed, its backup is /etc/velomux.conf.bk");
    result = attempt(change);
    if (isFailure(result)) {
        rollBackConfFile();
    }
    dravik::setUnfinished(nullptr);
    return result;
}

// The log call, rotation, console trace.
#include "common/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "common/owned.h"
#include "common/text_filter.h"

bool log_started = true;
bool debug_started = false;

char g_log_file_dir[8] = "/dumps/";
char g_log_file_name[15] = "dravik_cli.log";
char g_log_bk_file_name[18] = "dravik_cli_bk.log";
char g_monitor_file_dir[8] = "/dumps/";
char g_monitor_file_name[19] = "dravik_monitor.log";
char g_monitor_bk_file_name[22] = "dravik_monitor_bk.log";
const char *g_file_dir = nullptr;
const char *g_file_name = nullptr;
const char *g_bk_file_name = nullptr;

namespace {

// The only directory that is ever created, and the only two logs that are ever rotated.
constexpr char DUMPS_DIR[] = "/dumps/";
constexpr char COMMAND_LOG[] = "/dumps/dravik_cli.log";
constexpr char CHANGE_LOG[] = "/dumps/dravik_monitor.log";

constexpr int64_t ROTATE_ABOVE_BYTES = 10485760; // 10 MiB; a file of exactly this size stays

constexpr size_t TEXT_SIZE = 1024; // escaped format, message and line, each with its terminator
constexpr size_t PATH_SIZE = 200;
constexpr size_t STAMP_SIZE = 120;

void chooseFiles(unsigned int level) {
    const bool monitor = level == LOG_MONITOR;
    g_file_dir = monitor ? g_monitor_file_dir : g_log_file_dir;
    g_file_name = monitor ? g_monitor_file_name : g_log_file_name;
    g_bk_file_name = monitor ? g_monitor_bk_file_name : g_log_bk_file_name;
}

void levelWord(unsigned int level, char (&word)[20]) {
    if (level == LOG_ERROR) {
        snprintf(word, sizeof(word), "ERROR");
    } else if (level == LOG_INFO) {
        snprintf(word, sizeof(word), "INFO ");
    } else if (level == LOG_DEBUG) {
        snprintf(word, sizeof(word), "DEBUG");
    } else {
        snprintf(word, sizeof(word), "LEVEL[%u]", level);
    }
}

// The seconds and the milliseconds come from two readings of the clock and are not reconciled.
void timeStamp(char (&stamp)[STAMP_SIZE]) {
    char seconds[100] = "";
    const time_t now = time(nullptr);
    tm local = {};
    if (localtime_r(&now, &local) != nullptr) {
        strftime(seconds, sizeof(seconds), "%Y-%m-%d %T.", &local);
    }
    timeval precise = {};
    gettimeofday(&precise, nullptr);
    snprintf(stamp, sizeof(stamp), "[%s%03d]", seconds, static_cast<int>(precise.tv_usec / 1000));
}

// The logs' own way to open: append, create, private to the owner.
int open_file(const char *path) {
    return path == nullptr ? -1 : open(path, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

// One write of the whole line: in append mode and under the lock it never mixes with another process's.
void writeLine(int fd, const char *line) {
    flock(fd, LOCK_EX);
    if (write(fd, line, strlen(line)) < 0) {
        // A line that cannot be written is lost: there is nobody left to tell.
    }
    flock(fd, LOCK_UN);
}

// Another writer may have seen the oversize file too: the second rename then fails or moves a fresh small
// file, which is accepted.
void rotate(const char *path) {
    if (get_file_size(path) <= ROTATE_ABOVE_BYTES) {
        return;
    }
    if (strcmp(path, COMMAND_LOG) == 0 || strcmp(path, CHANGE_LOG) == 0) {
        backup_log_file(path);
    }
}

bool isDirectory(const char *path) {
    struct stat attributes = {};
    return stat(path, &attributes) == 0 && S_ISDIR(attributes.st_mode);
}

} // namespace

void dravik_log(unsigned int level, const char * /*source_file*/, unsigned int line, const char *function,
                const char *format, ...) {
    chooseFiles(level);
    if (level == LOG_DEBUG && !is_debug()) {
        return;
    }
    if (!log_started || format == nullptr || !mk_log_dir()) {
        return;
    }
    char word[20] = "";
    levelWord(level, word);
    char stamp[STAMP_SIZE] = "";
    timeStamp(stamp);

    char escaped[TEXT_SIZE] = "";
    escapeStringBounded(escaped, sizeof(escaped), format);
    char message[TEXT_SIZE] = "";
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message, sizeof(message), escaped, arguments);
    va_end(arguments);

    char text[TEXT_SIZE] = "";
    if (level == LOG_MONITOR) {
        snprintf(text, sizeof(text), "%s %s\n", stamp, message);
    } else {
        snprintf(text, sizeof(text), "%s %s %s %u %s\n", stamp, word, function, line, message);
    }
    char path[PATH_SIZE] = "";
    snprintf(path, sizeof(path), "%s%s", g_file_dir, g_file_name);
    {
        const dravik::Descriptor file(open_file(path));
        if (!file.isOpen()) {
            return;
        }
        writeLine(file.get(), text);
    }
    rotate(path);
}

bool is_debug() {
    const char *value = getenv("DRAVIK_CLI_DEBUG");
    return value != nullptr && atoi(value) >= 1; // NOLINT(cert-err34-c): anything but digits reads as 0
}

bool mk_log_dir() {
    const char *dir = g_file_dir;
    if (dir == nullptr) {
        return false;
    }
    if (isDirectory(dir)) {
        return true;
    }
    if (strcmp(dir, DUMPS_DIR) != 0) {
        return false;
    }
    // Two first callers may race: the one that comes second finds the directory there.
    return mkdir(DUMPS_DIR, 0700) == 0 || (errno == EEXIST && isDirectory(DUMPS_DIR));
}

int64_t get_file_size(const char *path) {
    struct stat attributes = {};
    return path != nullptr && stat(path, &attributes) == 0 ? static_cast<int64_t>(attributes.st_size) : -1;
}

void backup_log_file(const char *path) {
    if (path == nullptr || g_file_dir == nullptr) {
        return;
    }
    char backup[PATH_SIZE] = "";
    snprintf(backup, sizeof(backup), "%s%s", g_file_dir, g_bk_file_name);
    if (rename(path, backup) != 0) {
        // The log goes on growing and the next line tries again.
    }
}

void inDebug(const char *format, ...) {
    if (!debug_started || format == nullptr) {
        return;
    }
    char escaped[TEXT_SIZE] = "";
    escapeStringBounded(escaped, sizeof(escaped), format);
    va_list arguments;
    va_start(arguments, format);
    vprintf(escaped, arguments);
    va_end(arguments);
    putchar('\n');
}

void print__() {
    // The separator is the same 130 columns everywhere, whatever the terminal.
    char line[131];
    memset(line, '-', sizeof(line) - 1);
    line[sizeof(line) - 1] = '\0';
    puts(line);
}

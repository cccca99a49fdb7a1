// The log call, rotation, console trace.
#include "common/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "common/dumps_folder.h"
#include "common/own_file.h"
#include "common/owned.h"
#include "common/text_filter.h"
#include "common/visible_text.h"

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

// The only two logs that are ever rotated.
constexpr char COMMAND_LOG[] = "/dumps/dravik_cli.log";
constexpr char CHANGE_LOG[] = "/dumps/dravik_monitor.log";

constexpr int64_t ROTATE_ABOVE_BYTES = 10485760; // 10 MiB; a file of exactly this size stays

constexpr int LOCK_PAUSE_MS = 1;
constexpr int LOCK_PAUSES = 2000; // two seconds
constexpr int OPEN_TRIES =
    8; // a log that is rotated away faster than it can be opened is a log of somebody else's

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
dravik::Descriptor open_file(const char *path) {
    return path == nullptr ? dravik::Descriptor()
                           : dravik::openDataFile(path, O_RDWR | O_CREAT | O_APPEND, 0600);
}

// Takes the lock of the open file, waiting a bounded time: whoever may read the log can hold it. A holder who has been
// waited for in vain is not waited for again until the lock has been free once.
bool lockLog(int fd) {
    static bool holder_is_stuck = false;
    for (int pause = 0; flock(fd, LOCK_EX | LOCK_NB) != 0; ++pause) {
        if (holder_is_stuck || pause == LOCK_PAUSES || errno != EWOULDBLOCK) {
            holder_is_stuck = errno == EWOULDBLOCK;
            return false;
        }
        poll(nullptr, 0, LOCK_PAUSE_MS);
    }
    holder_is_stuck = false;
    return true;
}

// Opens the log and takes its lock. A file that another process has rotated away meanwhile is opened anew; without the
// lock, which only means that nobody waits for this line, it is taken as it is.
dravik::Descriptor openLocked(const char *path) {
    dravik::Descriptor file = open_file(path);
    for (int tries = 0; tries < OPEN_TRIES && file.isOpen() && lockLog(file.get()); ++tries) {
        if (dravik::isStillNamed(file.get(), path)) {
            break;
        }
        file = open_file(path);
    }
    return file;
}

// One write of the whole line: in append mode it never mixes with another process's. On a full disk half a line may
// get through, which is taken back, so that the next line stands on its own.
void writeLine(int fd, const char *line) {
    const auto length = static_cast<ssize_t>(strlen(line));
    const ssize_t written = write(fd, line, static_cast<size_t>(length));
    const off_t end = lseek(fd, 0, SEEK_CUR);
    struct stat attributes = {};
    if (written <= 0 || written == length || fstat(fd, &attributes) != 0 || attributes.st_size != end) {
        return; // a line that cannot be written is lost: there is nobody left to tell
    }
    if (ftruncate(fd, end - written) != 0) {
        // The half line stays.
    }
}

// Under the lock, and only while the file is still the log: of several writers who see it too large, one renames it.
void rotate(int fd, const char *path) {
    struct stat attributes = {};
    if (fstat(fd, &attributes) != 0 || attributes.st_size <= ROTATE_ABOVE_BYTES ||
        !dravik::isStillNamed(fd, path)) {
        return;
    }
    if (strcmp(path, COMMAND_LOG) == 0 || strcmp(path, CHANGE_LOG) == 0) {
        backup_log_file(path);
    }
}

// Makes the message harmless. What a tool has printed may be of several lines, and stays so; but no line of it may
// pass for one of the log's own: a newline before what looks like a time stamp becomes visible too.
void makeHarmless(char (&out)[TEXT_SIZE], const char *message, dravik::Newlines newlines) {
    std::string_view rest = message;
    size_t length = 0;
    while (!rest.empty()) {
        const size_t forged = rest.find("\n[");
        const std::string_view piece = rest.substr(0, forged);
        dravik::makeVisible(out + length, TEXT_SIZE - length, piece, newlines);
        length += strlen(out + length);
        rest.remove_prefix(piece.size());
        if (!rest.empty()) {
            dravik::makeVisible(out + length, TEXT_SIZE - length, rest.substr(0, 1), dravik::Newlines::SHOWN);
            length += strlen(out + length);
            rest.remove_prefix(1);
        }
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
    const bool monitor = level == LOG_MONITOR;
    char harmless[TEXT_SIZE] = "";
    makeHarmless(harmless, message, monitor ? dravik::Newlines::SHOWN : dravik::Newlines::KEPT);

    char text[TEXT_SIZE] = "";
    if (monitor) {
        snprintf(text, sizeof(text), "%s %s\n", stamp, harmless);
    } else {
        snprintf(text, sizeof(text), "%s %s %s %u %s\n", stamp, word, function, line, harmless);
    }
    char path[PATH_SIZE] = "";
    snprintf(path, sizeof(path), "%s%s", g_file_dir, g_file_name);
    const dravik::Descriptor file = openLocked(path); // closing it lets the lock go
    if (file.isOpen()) {
        writeLine(file.get(), text);
        rotate(file.get(), path);
    }
}

bool is_debug() {
    const char *value = getenv("DRAVIK_CLI_DEBUG");
    return value != nullptr && atoi(value) >= 1; // NOLINT(cert-err34-c): anything but digits reads as 0
}

bool mk_log_dir() {
    if (g_file_dir == nullptr) {
        return false;
    }
    return strcmp(g_file_dir, dravik::DUMPS_FOLDER) == 0 ? dravik::haveDumpsFolder()
                                                         : isDirectory(g_file_dir);
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

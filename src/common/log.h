// The system's one logging call, its files and their rotation; the console trace; the report's separator.
//
// Every line is one write under an exclusive lock of its file, so that the lines of the monitor and of any
// number of commands never interleave. A lock that somebody holds for two seconds is passed over: the write is an
// append, whole as it is. Each call opens and closes its file: a log may be moved or deleted at any time, the next line
// makes it anew. Logging never fails towards its caller; a line that cannot be written is dropped, whole.
//
//   /dumps/dravik_cli.log       levels 0 to 3     past 10 MiB renamed to dravik_cli_bk.log
//   /dumps/dravik_monitor.log   level 4           past 10 MiB renamed to dravik_monitor_bk.log
#pragma once

#include <cstdint>

// Levels. Any other number is written to the command log with the level word "LEVEL[n]".
constexpr unsigned int LOG_ERROR = 0;
constexpr unsigned int LOG_INFO = 2;
constexpr unsigned int LOG_DEBUG = 3;   // only while `is_debug` holds
constexpr unsigned int LOG_MONITOR = 4; // the change log: time stamp and message, nothing else

// Whether logging is on; nothing in the system changes it.
extern bool log_started;
// Whether the console trace `inDebug` prints; nothing in the system sets it.
extern bool debug_started;

// The two sets of directory, log name and backup name.
extern char g_log_file_dir[8];
extern char g_log_file_name[15];
extern char g_log_bk_file_name[18];
extern char g_monitor_file_dir[8];
extern char g_monitor_file_name[19];
extern char g_monitor_bk_file_name[22];
// The set chosen by the current call of `dravik_log`; null before the first one.
extern const char *g_file_dir;
extern const char *g_file_name;
extern const char *g_bk_file_name;

// Appends one line to the log that `level` chooses:
//   level 4     [2021-12-06 10:15:02.047] MESSAGE
//   otherwise   [2021-12-06 10:15:02.047] LEVELWORD FUNCTION LINE MESSAGE
// `source_file` is never written. `format` and what follows are a printf-style message; a ";" of the format
// (not of an argument) is written with a backslash before it. The message and the line are cut silently at
// 1023 characters each; a cut line has lost its newline. Control bytes of the message are made visible
// (visible_text.h); newlines stay in the command log, except where what follows could pass for a line of its own.
void dravik_log(unsigned int level, const char *source_file, unsigned int line, const char *function,
                const char *format, ...) __attribute__((format(printf, 5, 6)));

// A line of the command log at `level`, with the caller's position; or in the name of another function, the one
// that those who read the log know.
#define DRAVIK_LOG(level, ...) DRAVIK_LOG_AS(__func__, level, __VA_ARGS__)
#define DRAVIK_LOG_AS(function, level, ...) dravik_log(level, __FILE__, __LINE__, function, __VA_ARGS__)

// Whether the environment variable DRAVIK_CLI_DEBUG, read as `atoi` reads, is at least 1.
bool is_debug();

// True when the chosen directory exists, or when it is exactly "/dumps/" and could be created with mode 0700
// (by this process or, at the same moment, by another). False in every other case, and for a "/dumps/" that is
// somebody else's (dumps_folder.h).
bool mk_log_dir();

// The size of the file in bytes, -1 when it cannot be examined.
int64_t get_file_size(const char *path);

// Renames `path` to the chosen directory and backup name, replacing an older backup. The result is ignored.
void backup_log_file(const char *path);

// The console trace: prints the formatted text and a newline to standard output while `debug_started` holds.
// The macro spares a silent trace the evaluation of its arguments.
void inDebug(const char *format, ...) __attribute__((format(printf, 1, 2)));
#define DRAVIK_TRACE(...)                                                                                    \
    do {                                                                                                     \
        if (debug_started) {                                                                                 \
            inDebug(__VA_ARGS__);                                                                            \
        }                                                                                                    \
    } while (false)

// Prints the separator of console reports to standard output: 130 "-" characters and a newline.
void print__();

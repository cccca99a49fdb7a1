// The way into /proc and /sys, and reading a text file there line by line.
#pragma once

#include <cstddef>
#include <string_view>

#include "common/owned.h"

// What every path of this module into the system tree begins with; empty on a real host. A test or a dump of
// a customer's host stands in another place.
extern const char *st_system_root;

constexpr char DISKSTATS_FILE[] = "/proc/diskstats";
constexpr char STAT_FILE[] = "/proc/stat";
constexpr char UPTIME_FILE[] = "/proc/uptime";
constexpr char SYSFS_BLOCK[] = "/sys/block";

constexpr size_t SYSTEM_PATH_SIZE = 1024;

// The longest line that is read, in characters; the rest of a longer one is passed over.
constexpr size_t COUNTER_LINE_LENGTH = 256;

// Where `path`, which begins with "/", stands: behind st_system_root, cut at SYSTEM_PATH_SIZE - 1 characters.
void systemPath(char (&out)[SYSTEM_PATH_SIZE], const char *path);

// A text file, read in large pieces. Its lines are handed out without their newline and cut at
// COUNTER_LINE_LENGTH characters; a last line without a newline is a line. A read that fails ends the file.
class LineReader {
  public:
    // Opens `path`, which is taken as it stands.
    explicit LineReader(const char *path);

    bool isOpen() const {
        return file.isOpen();
    }
    // The next line, good until the call after; false at the end of the file.
    bool next(std::string_view *line);

  private:
    bool fill();

    static constexpr size_t PIECE = 65536;
    dravik::Descriptor file;
    size_t from = 0; // the unread part of `piece`
    size_t to = 0;
    bool ended = false;
    bool skipping = false; // in the rest of a line that did not fit into a piece
    char piece[PIECE];
};

// The number of lines of `path`, 0 when it cannot be read.
int countLines(const char *path);

// Paths into the system tree, lines of its files.
#include "stats/system_files.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

const char *st_system_root = "";

void systemPath(char (&out)[SYSTEM_PATH_SIZE], const char *path) {
    snprintf(out, sizeof(out), "%s%s", st_system_root, path);
}

LineReader::LineReader(const char *path) : file(open(path, O_RDONLY | O_CLOEXEC)) {}

bool LineReader::next(std::string_view *line) {
    for (;;) {
        const char *begin = piece + from;
        const auto *newline = static_cast<const char *>(memchr(begin, '\n', to - from));
        if (newline == nullptr && !ended) {
            if (to - from == PIECE) {
                // A line as long as the piece: hand out its beginning, pass over the rest.
                from = to;
                if (!skipping) {
                    skipping = true;
                    *line = {piece, COUNTER_LINE_LENGTH};
                    return true;
                }
            }
            ended = !fill();
            continue;
        }
        if (newline == nullptr && from == to) {
            return false;
        }
        const size_t length = newline == nullptr ? to - from : static_cast<size_t>(newline - begin);
        from += newline == nullptr ? length : length + 1;
        if (skipping) {
            skipping = false;
            continue;
        }
        *line = {begin, std::min(length, COUNTER_LINE_LENGTH)};
        return true;
    }
}

// Moves the unread part to the front and reads behind it; false at the end of the file.
bool LineReader::fill() {
    memmove(piece, piece + from, to - from);
    to -= from;
    from = 0;
    ssize_t got = -1;
    do {
        got = !file.isOpen() ? 0 : read(file.get(), piece + to, PIECE - to);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        return false;
    }
    to += static_cast<size_t>(got);
    return true;
}

int countLines(const char *path) {
    LineReader reader(path);
    std::string_view line;
    int count = 0;
    while (count < INT_MAX && reader.next(&line)) {
        count++;
    }
    return count;
}

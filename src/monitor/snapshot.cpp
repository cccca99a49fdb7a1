// Writing and reading the snapshot file.
#include "monitor/snapshot.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "common/dumps_folder.h"
#include "common/log.h"
#include "common/owned.h"
#include "common/text.h"

namespace {

constexpr size_t LINE_SIZE = 512;
constexpr size_t SHORTEST_LINE = 3;
constexpr int FIELDS = 7;
// A line as text: seven fields, their commas, a newline. Nothing in a record can make it longer.
constexpr size_t LONGEST_LINE = sizeof(s_lunPath);
// How much of the file is put together before it is written.
constexpr size_t CHUNK_SIZE = 65536;

// The snapshot's own way to open: truncating, private to the owner.
dravik::Descriptor open_file(const char *path) {
    return path == nullptr ? dravik::Descriptor()
                           : dravik::openDataFile(path, O_RDWR | O_CREAT | O_TRUNC, 0600);
}

// What is put together before it is written. It is there from the start: once the file is truncated, no lack of memory
// may end the writing.
struct Chunk {
    char text[CHUNK_SIZE + LONGEST_LINE];
    size_t length;
};
Chunk chunk;

void fieldsOf(const s_lunPath *record, const char *(&fields)[FIELDS]) {
    fields[0] = lunAliasText(record);
    fields[1] = record->lun_wwid;
    fields[2] = record->path_dev_id;
    fields[3] = record->path_dev_name;
    fields[4] = record->path_status;
    fields[5] = record->path_group_status;
    fields[6] = record->dravik_status;
}

void append(const char *text) {
    const size_t length = strlen(text);
    memcpy(chunk.text + chunk.length, text, length);
    chunk.length += length;
}

void appendLine(const s_lunPath *record) {
    const char *fields[FIELDS];
    fieldsOf(record, fields);
    for (const char *field : fields) {
        append(field);
        append(",");
    }
    append("\n");
}

void logShortWrite(const char *function, const char *text, int length, int written) {
    DRAVIK_LOG_AS(function, LOG_ERROR,
                  "Write data [%s] to file failed. Expected write %d bytes, but only write %d bytes.", text,
                  length, written);
}

// Finds the field, comma or newline in which a write that began with the record `first` broke off after
// `written` bytes, and reports it as the write of that piece alone would have.
void reportBreak(const s_lunPath *first, size_t written) {
    for (const s_lunPath *p = first; p != nullptr; p = nextLunpath(p)) {
        const char *fields[FIELDS];
        fieldsOf(p, fields);
        for (int i = 0; i < 2 * FIELDS + 1; ++i) {
            const char *piece = i == 2 * FIELDS ? "\n" : i % 2 == 1 ? "," : fields[i / 2];
            const size_t length = strlen(piece);
            if (written < length) {
                // Broken off between two pieces, this one would have been refused whole.
                logShortWrite("writeStrToFile", piece, static_cast<int>(length),
                              written == 0 ? -1 : static_cast<int>(written));
                return;
            }
            written -= length;
        }
    }
}

// Writes the chunk, which begins with the record `first`.
bool writeChunk(int fd, const s_lunPath *first) {
    size_t done = 0;
    while (done < chunk.length) {
        const int written = write_to_file(fd, chunk.text + done, static_cast<int>(chunk.length - done));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            reportBreak(first, done);
            return false;
        }
        done += static_cast<size_t>(written);
    }
    return true;
}

// A field a call would cost half a million calls on a large host, so whole lines are put together; what is
// reported when the disk is full stays the same.
bool writeRecords(int fd, const s_lunPath *list) {
    chunk.length = 0;
    const s_lunPath *first = firstLunpath(list);
    for (const s_lunPath *p = first; p != nullptr; p = nextLunpath(p)) {
        appendLine(p);
        const s_lunPath *next = nextLunpath(p);
        if (chunk.length >= CHUNK_SIZE || next == nullptr) {
            if (!writeChunk(fd, first)) {
                return false;
            }
            chunk.length = 0;
            first = next;
        }
    }
    return true;
}

} // namespace

int writeLunPathToFile(const s_lunPath *list, const char *path) {
    if (firstLunpath(list) == nullptr || path == nullptr) {
        return 1;
    }
    dravik::Descriptor file = open_file(path);
    if (!file.isOpen()) {
        DRAVIK_LOG(LOG_ERROR, "Open file failed. file: %s.", path);
        return 0;
    }
    flock(file.get(), LOCK_EX);
    const bool written = writeRecords(file.get(), list);
    flock(file.get(), LOCK_UN);
    file.reset();
    // Also after a short write: the line says that the write is over, and readers of the log know it so.
    DRAVIK_LOG(LOG_INFO, "Write lun path infomation to file successfully.");
    return written ? 1 : 0;
}

int readLunPathToFile(s_lunPath *list, const char *path) {
    if (list == nullptr || path == nullptr) {
        return 0;
    }
    dravik::Descriptor descriptor = dravik::openDataFile(path, O_RDONLY);
    const dravik::Stream file(descriptor.isOpen() ? fdopen(descriptor.get(), "r") : nullptr);
    if (file == nullptr) {
        DRAVIK_LOG(LOG_ERROR, "Open file failed. file: %s.", path);
        DRAVIK_TRACE("== Open file failed. file: %s.", path);
        return 0;
    }
    descriptor.release(); // the stream's now
    s_lunPath *cursor = list;
    for (;;) {
        char line[LINE_SIZE] = "";
        const bool at_end = fgets(line, sizeof(line), file.get()) == nullptr;
        DRAVIK_TRACE("== Read line from file, data: [%s].", line);
        if (at_end || strlen(line) < SHORTEST_LINE) {
            return 1;
        }
        s_lunPath *node = getOrMallocNextLunpath(cursor);
        if (node == nullptr) {
            return 0;
        }
        if (readLunpathFromStr(line, node) != 1) {
            initLunpath(node);
            return 0;
        }
        cursor->end = false;
        cursor = node;
    }
}

int write_to_file(int fd, const char *data, int length) {
    if (fd < 0 || data == nullptr || length < 1) {
        return 0;
    }
    return static_cast<int>(write(fd, data, static_cast<size_t>(length)));
}

int read_from_file(int fd, char *buffer, int length) {
    if (fd < 0 || buffer == nullptr || length < 1) {
        return 0;
    }
    return static_cast<int>(read(fd, buffer, static_cast<size_t>(length)));
}

int writeStrToFile(int fd, const char *text, int length) {
    const int written = write_to_file(fd, text, length);
    if (written == length) {
        return 1;
    }
    logShortWrite(__func__, text, length, written);
    return 0;
}

int writeFieldToFile(int fd, const char *text) {
    return writeStrToFile(fd, text, static_cast<int>(safe_strlen(text))) == 1 &&
                   writeStrToFile(fd, ",", 1) == 1
               ? 1
               : 0;
}

char *readFieldFromStr1(char *text, char *destination, unsigned int bound) {
    if (text == nullptr) {
        return nullptr;
    }
    char *comma = find_char(text, ',');
    if (comma == nullptr) {
        DRAVIK_LOG(LOG_ERROR, "Read lunpath field failed form string [%s].", text);
        DRAVIK_TRACE("== Read lunpath field failed form string [%s].", text);
        return nullptr;
    }
    *comma = '\0';
    tessaline_strncpy(destination, text, bound);
    return comma + 1;
}

char *readFieldFromStr(char *text, char *destination) {
    return readFieldFromStr1(text, destination, LUN_TEXT_LENGTH);
}

int readLunpathFromStr(char *line, s_lunPath *record) {
    char *rest = readFieldFromStr(line, record->lun_alias);
    rest = readFieldFromStr1(rest, record->lun_wwid, LUN_WWID_LENGTH);
    rest = readFieldFromStr(rest, record->path_dev_id);
    rest = readFieldFromStr(rest, record->path_dev_name);
    rest = readFieldFromStr(rest, record->path_status);
    rest = readFieldFromStr(rest, record->path_group_status);
    rest = readFieldFromStr(rest, record->dravik_status);
    return rest != nullptr ? 1 : 0;
}

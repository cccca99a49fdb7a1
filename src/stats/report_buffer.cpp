// Gathering a report.
#include "stats/report_buffer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "stats/two_decimals.h"

namespace {

char gathered[65536];
size_t length = 0;

} // namespace

void ReportText::add(std::string_view text) {
    while (!text.empty()) {
        if (length == sizeof(gathered)) {
            flush();
        }
        const size_t part = std::min(text.size(), sizeof(gathered) - length);
        memcpy(gathered + length, text.data(), part);
        length += part;
        text.remove_prefix(part);
    }
}

void ReportText::repeat(size_t count, char c) {
    while (count > 0) {
        if (length == sizeof(gathered)) {
            flush();
        }
        const size_t part = std::min(count, sizeof(gathered) - length);
        memset(gathered + length, c, part);
        length += part;
        count -= part;
    }
}

void ReportText::addPadded(std::string_view text, size_t width) {
    add(text);
    repeat(width > text.size() ? width - text.size() : 0, ' ');
}

void ReportText::addNumber(int width, double value) {
    if (sizeof(gathered) - length < 1 + NUMBER_TEXT_SIZE) {
        flush();
    }
    gathered[length++] = ' ';
    length += writeNumber(gathered + length, width, value);
}

void ReportText::flush() {
    // What the reader does not take is lost; a closed pipe ends the program by its signal.
    fwrite(gathered, 1, length, stdout);
    length = 0;
}

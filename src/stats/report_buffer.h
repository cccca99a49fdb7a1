// A report on its way to standard output: gathered in memory and written in large pieces, the bytes being
// those of as many small writes. Used inside this module.
#pragma once

#include <cstddef>
#include <string_view>

// Writes what is left when it goes. One at a time.
class ReportText {
  public:
    ReportText() = default;
    ~ReportText() {
        flush();
    }
    ReportText(const ReportText &) = delete;
    ReportText &operator=(const ReportText &) = delete;

    void add(std::string_view text);
    void repeat(size_t count, char c);
    // The text, and blanks behind it up to `width` columns.
    void addPadded(std::string_view text, size_t width);
    // " %*.2f": a blank and the number.
    void addNumber(int width, double value);
    void flush();
};

// Tables for people: columns as wide as they must be, lines within a width, nothing that could reach a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dravik {

// What a line of a table keeps to.
constexpr size_t TABLE_WIDTH = 80;

enum class Align { LEFT, RIGHT };

struct Column {
    const char *heading;
    Align align;
    size_t least; // its width at least, in characters, and at most; longer texts are cut in their middle
    size_t most;
};

class Table {
  public:
    // The last column's cells are cut at their end, to what is left of the width; the first column gives way to them, down to
    // its `least`. The last one's own `least` and `most` mean nothing.
    explicit Table(std::vector<Column> wanted) : columns(std::move(wanted)) {}

    // A cell for each column; control bytes in them are made visible.
    void addRow(const std::vector<std::string> &cells);

    // What is left for the last column, for the rows that have been added.
    size_t lastWidth() const;

    // Puts the text into the last column of the row, counted from 0.
    void setLast(size_t row, const std::string &text);

    // The heading and the rows, without newlines and without blanks at their ends.
    std::vector<std::string> lines() const;

  private:
    size_t longestLast() const;
    std::vector<size_t> widths() const;
    std::string line(const std::vector<std::string> &cells, const std::vector<size_t> &wide) const;

    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

// How many characters a UTF-8 text has.
size_t characterCount(std::string_view text);

// The text with "..." in place of what is too much, in its middle or at its end. The ends of long names tell them apart.
std::string cutMiddle(const std::string &text, size_t width);
std::string cutEnd(const std::string &text, size_t width);

// The text with its control bytes made visible; newlines too, or not.
std::string harmless(const std::string &text);
std::string harmlessLines(const std::string &text);

// The lines of the text, broken at blanks where they are wider.
std::string wrapLines(const std::string &text, size_t width);

} // namespace dravik

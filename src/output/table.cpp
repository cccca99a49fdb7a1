// Laying out tables.
#include "output/table.h"

#include <algorithm>

#include "common/visible_text.h"

namespace dravik {

namespace {

constexpr size_t GAP = 2;
constexpr std::string_view ELLIPSIS = "...";

bool beginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80;
}

// The bytes that the first `count` characters take.
size_t bytesOf(std::string_view text, size_t count) {
    size_t place = 0;
    while (place < text.size() && (count > 0 || !beginsCharacter(text[place]))) {
        count -= beginsCharacter(text[place]) ? size_t{1} : size_t{0};
        ++place;
    }
    return place;
}

std::string padded(const std::string &text, size_t width, Align align) {
    const size_t count = characterCount(text);
    const std::string blanks(width > count ? width - count : 0, ' ');
    return align == Align::LEFT ? text + blanks : blanks + text;
}

} // namespace

size_t characterCount(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

std::string cutEnd(const std::string &text, size_t width) {
    if (characterCount(text) <= width) {
        return text;
    }
    if (width <= ELLIPSIS.size()) {
        return text.substr(0, bytesOf(text, width));
    }
    return text.substr(0, bytesOf(text, width - ELLIPSIS.size())) + std::string(ELLIPSIS);
}

std::string cutMiddle(const std::string &text, size_t width) {
    const size_t count = characterCount(text);
    if (count <= width || width <= ELLIPSIS.size()) {
        return cutEnd(text, width);
    }
    const size_t kept = width - ELLIPSIS.size();
    const size_t head = kept / 2;
    return text.substr(0, bytesOf(text, head)) + std::string(ELLIPSIS) +
           text.substr(bytesOf(text, count - (kept - head)));
}

std::string harmless(const std::string &text) {
    return VisibleText(text.c_str()).text();
}

std::string harmlessLines(const std::string &text) {
    return VisibleText(text.c_str(), Newlines::KEPT).text();
}

std::string wrapLines(const std::string &text, size_t width) {
    std::string wrapped;
    size_t taken = 0; // of the line
    size_t place = 0;
    while (place < text.size()) {
        const size_t end = std::min(text.find_first_of(" \n", place), text.size());
        const std::string word = text.substr(place, end - place);
        const size_t count = characterCount(word);
        if (taken > 0 && taken + 1 + count > width) {
            wrapped += '\n';
            taken = 0;
        }
        wrapped += (taken > 0 ? " " : "") + word;
        taken += count + (taken > 0 ? 1 : 0);
        if (end < text.size() && text[end] == '\n') {
            wrapped += '\n';
            taken = 0;
        }
        place = end + 1;
    }
    return wrapped;
}

void Table::addRow(const std::vector<std::string> &cells) {
    std::vector<std::string> row;
    row.reserve(cells.size());
    std::transform(cells.begin(), cells.end(), std::back_inserter(row), harmless);
    rows.push_back(std::move(row));
}

void Table::setLast(size_t row, const std::string &text) {
    rows[row].back() = harmless(text);
}

size_t Table::longestLast() const {
    size_t longest = characterCount(columns.back().heading);
    for (const auto &row : rows) {
        longest = std::max(longest, characterCount(row.back()));
    }
    return longest;
}

// The widths of all columns; that of the last is what is left.
std::vector<size_t> Table::widths() const {
    std::vector<size_t> wide;
    size_t taken = 0;
    for (size_t i = 0; i + 1 < columns.size(); ++i) {
        size_t width = std::max(columns[i].least, characterCount(columns[i].heading));
        for (const auto &row : rows) {
            width = std::max(width, characterCount(row[i]));
        }
        wide.push_back(std::min(width, columns[i].most));
        taken += wide.back() + GAP;
    }
    size_t left = taken < TABLE_WIDTH ? TABLE_WIDTH - taken : 0;
    const size_t wanted = longestLast();
    while (left < wanted && wide.front() > columns.front().least) {
        --wide.front();
        ++left;
    }
    wide.push_back(left);
    return wide;
}

size_t Table::lastWidth() const {
    return widths().back();
}

std::string Table::line(const std::vector<std::string> &cells, const std::vector<size_t> &wide) const {
    std::string text;
    for (size_t i = 0; i + 1 < cells.size(); ++i) {
        text += padded(cutMiddle(cells[i], wide[i]), wide[i], columns[i].align) + std::string(GAP, ' ');
    }
    text += cutEnd(cells.back(), wide.back());
    text.resize(text.find_last_not_of(' ') + 1);
    return text;
}

std::vector<std::string> Table::lines() const {
    const std::vector<size_t> wide = widths();
    std::vector<std::string> heading;
    std::transform(columns.begin(), columns.end(), std::back_inserter(heading),
                   [](const Column &column) { return column.heading; });
    std::vector<std::string> lines = {line(heading, wide)};
    for (const auto &row : rows) {
        lines.push_back(line(row, wide));
    }
    return lines;
}

} // namespace dravik

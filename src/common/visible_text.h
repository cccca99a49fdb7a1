// Foreign text made harmless for whoever reads it: a terminal, a log, a person.
//
// A control byte (below 0x20, 0x7f, and the C1 controls in their UTF-8 form) becomes "\xHH"; everything else stays,
// UTF-8 included.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace dravik {

// What becomes of newlines.
enum class Newlines {
    SHOWN, // they become visible like any other control byte: a text that is part of a line
    KEPT,  // they stay: a text of several lines
};

// Writes `text` made visible into `out` of `size` bytes, cut at size - 1 characters but never inside a "\xHH", and
// terminates. Allocates nothing. `out` is not part of `text`.
void makeVisible(char *out, size_t size, std::string_view text, Newlines newlines);

// A text for one printf argument, made visible where it needs to be, for as long as the object lives:
//   printf("wwid: %s\n", VisibleText(device->wwid).text());
// `text` stays the caller's and is not null.
class VisibleText {
  public:
    explicit VisibleText(const char *text, Newlines newlines = Newlines::SHOWN);

    const char *text() const {
        return made.empty() ? given : made.c_str();
    }

  private:
    const char *given;
    std::string made; // empty where the text needs no change
};

} // namespace dravik

// Making control bytes visible.
#include "common/visible_text.h"

#include <cstdio>
#include <cstring>

namespace dravik {

namespace {

constexpr size_t SHOWN_BYTE = 4; // \xHH

// How many bytes at the start of `text`, which is not empty, are one control character: 0 for any other.
size_t controlLength(std::string_view text, Newlines newlines) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == 0x7f) {
        return first == '\n' && newlines == Newlines::KEPT ? 0 : 1;
    }
    // U+0080 to U+009F: some terminals obey them as they obey ESC.
    const bool c1 = first == 0xc2 && text.size() > 1 && static_cast<unsigned char>(text[1]) >= 0x80 &&
                    static_cast<unsigned char>(text[1]) <= 0x9f;
    return c1 ? 2 : 0;
}

bool needsChange(std::string_view text, Newlines newlines) {
    for (; !text.empty(); text.remove_prefix(1)) {
        if (controlLength(text, newlines) > 0) {
            return true;
        }
    }
    return false;
}

} // namespace

void makeVisible(char *out, size_t size, std::string_view text, Newlines newlines) {
    size_t length = 0;
    while (!text.empty()) {
        const size_t control = controlLength(text, newlines);
        const size_t taken = control == 0 ? 1 : control;
        if (length + (control == 0 ? 1 : control * SHOWN_BYTE) >= size) {
            break;
        }
        for (size_t i = 0; i < control; ++i) {
            snprintf(out + length, SHOWN_BYTE + 1, "\\x%02x", static_cast<unsigned char>(text[i]));
            length += SHOWN_BYTE;
        }
        if (control == 0) {
            out[length++] = text[0];
        }
        text.remove_prefix(taken);
    }
    out[length] = '\0';
}

VisibleText::VisibleText(const char *text, Newlines newlines) : given(text) {
    if (needsChange(text, newlines)) {
        made.resize(strlen(text) * SHOWN_BYTE + 1);
        makeVisible(made.data(), made.size(), text, newlines);
        made.resize(strlen(made.c_str()));
    }
}

} // namespace dravik

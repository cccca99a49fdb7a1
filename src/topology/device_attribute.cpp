// Reading attributes.
#include "topology/device_attribute.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owned.h"

namespace dravik {

namespace {

// Hands the bytes of the file `path` to `take`, piece by piece, until there are no more or it answers false.
template <typename Take> AttributeState readPieces(const char *path, const Take &take) {
    const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat attributes = {};
    if (!file.isOpen() || fstat(file.get(), &attributes) != 0) {
        return errno == ENOENT ? AttributeState::MISSING : AttributeState::UNSURE;
    }
    if (!S_ISREG(attributes.st_mode)) {
        return S_ISDIR(attributes.st_mode) ? AttributeState::UNSURE : AttributeState::READ;
    }
    char piece[4096];
    for (;;) {
        const ssize_t got = read(file.get(), piece, sizeof(piece));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 || memchr(piece, '\0', static_cast<size_t>(got < 0 ? 0 : got)) != nullptr) {
            return AttributeState::UNSURE;
        }
        if (got == 0 || !take(piece, static_cast<size_t>(got))) {
            return AttributeState::READ;
        }
    }
}

// A text that grows up to its size.
class Text {
  public:
    Text(char *text, size_t text_size) : out(text), size(text_size) {
        out[0] = '\0';
    }
    // False when there is no more space.
    bool add(char c) {
        if (length + 1 >= size) {
            return false;
        }
        out[length++] = c;
        out[length] = '\0';
        return length + 1 < size;
    }

  private:
    char *out;
    size_t size;
    size_t length = 0;
};

} // namespace

AttributeState readAttribute(const char *path, char *out, size_t size) {
    Text text(out, size);
    return readPieces(path, [&](const char *piece, size_t length) {
        for (size_t i = 0; i < length; ++i) {
            if (!text.add(piece[i])) {
                return false;
            }
        }
        return true;
    });
}

AttributeState readAttributeHeads(const char *path, char *out, size_t size) {
    Text text(out, size);
    bool in_head = true;
    bool in_line = false;
    const AttributeState state = readPieces(path, [&](const char *piece, size_t length) {
        for (size_t i = 0; i < length; ++i) {
            const char c = piece[i];
            in_line = c != '\n';
            in_head = (in_head && c != ',') || c == '\n';
            if (in_head && !text.add(c)) {
                return false;
            }
        }
        return true;
    });
    if (in_line) {
        text.add('\n');
    }
    return state;
}

} // namespace dravik

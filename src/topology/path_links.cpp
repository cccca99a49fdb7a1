// Reading the folder of links and answering from it.
#include "topology/path_links.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <numeric>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owned.h"

namespace dravik {

namespace {

bool holdsControlByte(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Compares two texts from their last characters on.
bool endsBefore(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

// The ninth word of the line: of a name of blanks alone, the arrow behind it.
std::string_view firstWord(std::string_view name) {
    const size_t begin = name.find_first_not_of(' ');
    if (begin == std::string_view::npos) {
        return "->";
    }
    name.remove_prefix(begin);
    return name.substr(0, name.find(' '));
}

// Writes `word` and a newline, as much as fits into `size` bytes beside a terminator; how much that was.
size_t appendLine(char *out, size_t size, std::string_view word) {
    const size_t copied = word.copy(out, size - 1);
    if (copied + 1 < size) {
        out[copied] = '\n';
        return copied + 1;
    }
    return copied;
}

} // namespace

std::string_view PathLinks::nameOf(const Link &link) const {
    return {texts.data() + link.name, link.name_length};
}

std::string_view PathLinks::textOf(const Link &link) const {
    return {texts.data() + link.text, link.text_length};
}

// Adds the entry `name`; one that is gone meanwhile is passed over. False for an entry that only the commands can judge.
bool PathLinks::add(int folder_fd, const char *name) {
    struct stat attributes = {};
    if (fstatat(folder_fd, name, &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT;
    }
    // Another owner's name may hold blanks, and then the ninth word is not the link's name.
    if (!S_ISLNK(attributes.st_mode) || attributes.st_uid != 0 || attributes.st_gid != 0) {
        return false;
    }
    char text[PATH_MAX];
    const ssize_t length = readlinkat(folder_fd, name, text, sizeof(text));
    if (length < 0) {
        return errno == ENOENT;
    }
    const std::string_view link_text(text, static_cast<size_t>(length));
    const std::string_view link_name(name);
    if (holdsControlByte(link_text) || holdsControlByte(link_name)) {
        return false;
    }
    Link link = {};
    link.name = static_cast<uint32_t>(texts.size());
    link.name_length = static_cast<uint16_t>(link_name.size());
    texts += link_name;
    link.text = static_cast<uint32_t>(texts.size());
    link.text_length = static_cast<uint16_t>(link_text.size());
    texts += link_text;
    links.push_back(link);
    return true;
}

void PathLinks::sort() {
    std::sort(links.begin(), links.end(),
              [this](const Link &a, const Link &b) { return nameOf(a) < nameOf(b); });
    by_text.resize(links.size());
    std::iota(by_text.begin(), by_text.end(), 0U);
    std::sort(by_text.begin(), by_text.end(), [this](uint32_t a, uint32_t b) {
        const std::string_view left = textOf(links[a]);
        const std::string_view right = textOf(links[b]);
        return left == right ? a < b : endsBefore(left, right);
    });
}

bool PathLinks::read(const char *folder) {
    texts.clear();
    texts.reserve(usual_texts);
    links.clear();
    links.reserve(usual_links);
    by_text.clear();
    const Folder opened(opendir(folder));
    if (opened == nullptr) {
        return errno == ENOENT;
    }
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(opened.get()); // NOLINT(concurrency-mt-unsafe)
        if (entry == nullptr) {
            break;
        }
        if (entry->d_name[0] != '.' && !add(dirfd(opened.get()), entry->d_name)) {
            return false;
        }
    }
    if (errno != 0) {
        return false;
    }
    sort();
    return true;
}

void PathLinks::list(std::string_view device, char *out, size_t size) {
    // All texts that end in the device's name stand side by side, the shortest of them first.
    auto place =
        std::lower_bound(by_text.begin(), by_text.end(), device, [this](uint32_t at, std::string_view name) {
            return endsBefore(textOf(links[at]), name);
        });
    listed.clear();
    for (; place != by_text.end() && endsWith(textOf(links[*place]), device); ++place) {
        listed.push_back(*place);
    }
    std::sort(listed.begin(), listed.end());
    size_t length = 0;
    for (const uint32_t at : listed) {
        length += appendLine(out + length, size - length, firstWord(nameOf(links[at])));
    }
    out[length] = '\0';
}

void PathLinks::forget() {
    usual_texts = texts.size();
    usual_links = links.size();
    texts = std::string();
    links = std::vector<Link>();
    by_text = std::vector<uint32_t>();
    listed = std::vector<uint32_t>();
}

} // namespace dravik

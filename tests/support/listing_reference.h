// A second reader of the multipath tool's listing, for tests and fuzzing alone: slow, over strings, written from
// the listing's rules and not from the parser. Its answers and the parser's are compared as texts.
#pragma once

#include <regex.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "struct/s_dravik.h"
#include "topology/listing.h"

// ---- lists as text

// The text of a field; what is not terminated inside the field shows as such.
template <size_t SIZE> std::string fieldText(const char (&field)[SIZE]) {
    const void *terminator = memchr(field, '\0', SIZE);
    return terminator == nullptr ? "NOT TERMINATED" : std::string(field);
}

inline std::string pathText(const s_path_dev &path) {
    return "  path node=[" + fieldText(path.dev_node) + "] name=[" + fieldText(path.dev_name) + "] id=[" +
           fieldText(path.dev_id) + "] policy=[" + fieldText(path.group_policy) + "] prio=[" +
           fieldText(path.group_priority) + "] group=[" + fieldText(path.group_status) + "] status=[" +
           fieldText(path.path_status) + "] checker=[" + fieldText(path.checker_state) + "] online=[" +
           fieldText(path.dravik_status) + "] interface=[" + fieldText(path.host_interface) + "] port=[" +
           fieldText(path.target_port) + "] shown=[" + fieldText(path.path_policy) + "]\n";
}

inline std::string pathListText(const s_path_dev *head) {
    std::string text;
    const s_path_dev *path = head == nullptr || head->end ? nullptr : head->next;
    for (; path != nullptr; path = path->end ? nullptr : path->next) {
        text += pathText(*path);
    }
    return text;
}

// Every valid device of the list with its valid paths, all fields, one line each.
inline std::string deviceListText(const s_dravik *head) {
    std::string text;
    const s_dravik *device = head->end ? nullptr : head->next;
    for (; device != nullptr; device = device->end ? nullptr : device->next) {
        text += "device alias=[" + fieldText(device->path_alias) + "] wwid=[" + fieldText(device->wwid) +
                "] dm=[" + fieldText(device->device_number) + "] vendor=[" + fieldText(device->vendor) +
                "] product=[" + fieldText(device->product_type) + "] size=[" + fieldText(device->lun_size) +
                "] vdisk=[" + fieldText(device->vdisk_name) + "]\n";
        text += device->pdev == nullptr ? "  no path list\n" : pathListText(device->pdev);
    }
    return text;
}

// ---- the second reader

// What a listing yields: the number of its lines, the devices as `deviceListText` shows them, and the index of
// the malformed line that ended the reading, if there was one.
struct ListingOutcome {
    unsigned int lines = 0;
    std::string devices;
    std::optional<size_t> malformed;
};

inline std::string outcomeText(const ListingOutcome &outcome) {
    return "lines " + std::to_string(outcome.lines) + ", " +
           (outcome.malformed ? "line " + std::to_string(*outcome.malformed) + " malformed"
                              : std::string("good")) +
           "\n" + outcome.devices;
}

namespace listing_reference {

using Lines = std::vector<std::string>;

// Compiled once: a test asks a million times.
struct Pattern {
    explicit Pattern(const char *pattern) {
        usable = regcomp(&compiled, pattern, REG_EXTENDED) == 0;
    }
    bool matches(const std::string &line) const {
        return usable && regexec(&compiled, line.c_str(), 0, nullptr, 0) == 0;
    }
    regex_t compiled = {};
    bool usable;
};

// Every run of blanks made one: the patterns cannot tell the difference, and the regular expression, which looks
// from every blank again, takes hours for a megabyte of them.
inline std::string squeezed(const std::string &line) {
    std::string text;
    for (const char c : line) {
        if (c != ' ' || text.empty() || text.back() != ' ') {
            text.push_back(c);
        }
    }
    return text;
}

inline bool isHeader(const std::string &whole_line) {
    const std::string line = squeezed(whole_line);
    static const Pattern patterns[] = {
        Pattern("[ ]+KORVEL[ ]*,(QVX[ ]*)$"), Pattern("[ ]+NVME[ ]*,(KORVELQVX[ ]*)$"),
        Pattern("[ ]+HITACHI[ ]*,(.*[ ]*)$"), Pattern("[ ]+HUAWEI[ ]*,(.*[ ]*)$")};
    for (const Pattern &pattern : patterns) {
        if (pattern.matches(line)) {
            return true;
        }
    }
    return false;
}

inline bool holds(const std::string &text, const char *word) {
    return text.find(word) != std::string::npos;
}

// The text from `from` to the next `end`, or to the end of the line.
inline std::string upTo(const std::string &line, size_t from, char end) {
    return line.substr(from, line.find(end, from) - from);
}

inline Lines linesOf(const std::string &text, bool keep_empty) {
    Lines lines;
    for (size_t from = 0;;) {
        const size_t newline = text.find('\n', from);
        const std::string line = text.substr(from, newline - from);
        if (keep_empty || !line.empty()) {
            lines.push_back(line);
        }
        if (newline == std::string::npos) {
            return lines;
        }
        from = newline + 1;
    }
}

// A copy without one "(" at the front and one ")" at the end.
inline std::string withoutParentheses(std::string text) {
    if (!text.empty() && text.front() == '(') {
        text.erase(0, 1);
    }
    if (!text.empty() && text.back() == ')') {
        text.pop_back();
    }
    return text;
}

struct Device {
    std::string alias, wwid, number, vendor, product, size, paths;
};

inline void readVendor(const std::string &line, bool older, Device *device) {
    if (holds(line, "NVME")) {
        device->vendor = "NVME";
        device->product = "KORVELQVX";
    } else if (!older && holds(line, "HUAWEI")) {
        device->vendor = "HUAWEI";
        device->product = "XSG1";
    } else if (!older && holds(line, "HITACHI")) {
        device->vendor = "HITACHI";
        device->product = "DF";
    } else {
        device->vendor = "KORVEL";
        device->product = "QVX";
    }
}

// False for a malformed header.
inline bool readHeader(const std::string &header, bool older, Device *device) {
    std::string line = header;
    readVendor(line, older, device);
    const size_t dm = line.find(" dm-");
    if (dm != std::string::npos) {
        const size_t number = dm + 4;
        if (line.find(' ', number) == std::string::npos) {
            return false;
        }
        device->number = upTo(line, number, ' ');
        line.resize(dm);
    }
    Lines tokens;
    for (size_t at = line.find_first_not_of(' '); at != std::string::npos && tokens.size() < 2;) {
        tokens.push_back(upTo(line, at, ' '));
        at = line.find_first_not_of(' ', at + tokens.back().size());
    }
    if (tokens.empty()) {
        return false;
    }
    const std::string second = withoutParentheses(tokens.back());
    device->alias = tokens.size() == 2 ? tokens.front() : second;
    device->wwid = withoutParentheses(second);
    return true;
}

struct Group {
    std::string policy, priority, status;
};

// False for a malformed group line; `line` begins behind the tree.
inline bool readGroup(const std::string &line, Group *group) {
    const size_t word = line.find("policy=");
    if (word == std::string::npos || word + 8 > line.size()) {
        return false;
    }
    const size_t quote = line.find('\'', word + 8);
    if (quote == std::string::npos) {
        return false;
    }
    *group = Group();
    group->policy = line.substr(word + 8, quote - (word + 8));
    size_t rest = quote + 1;
    const size_t prio = line.find("prio=", rest);
    if (prio != std::string::npos) {
        const size_t blank = line.find(' ', prio);
        if (blank == std::string::npos) {
            return false;
        }
        group->priority = upTo(line, prio + 5, ' ');
        rest = blank + 1;
    }
    const size_t status = line.find("status=", rest);
    if (status != std::string::npos) {
        group->status = upTo(line, status + 7, ' ');
    }
    return true;
}

// False for a path line of fewer than six tokens.
inline bool readPath(const std::string &line, const Group &group, std::string *paths) {
    Lines tokens;
    for (size_t at = line.find_first_not_of(' '); at != std::string::npos && tokens.size() < 6;) {
        tokens.push_back(tokens.size() == 5 ? line.substr(at) : upTo(line, at, ' '));
        at = line.find_first_not_of(' ', at + tokens.back().size());
    }
    if (tokens.size() < 6) {
        return false;
    }
    const auto cut = [](const std::string &text) { return text.substr(0, 30); };
    *paths += "  path node=[" + cut(tokens[0]) + "] name=[" + cut(tokens[1]) + "] id=[" + cut(tokens[2]) +
              "] policy=[" + cut(group.policy) + "] prio=[" + cut(group.priority) + "] group=[" +
              cut(group.status) + "] status=[" + cut(tokens[3]) + "] checker=[" + cut(tokens[4]) +
              "] online=[" + cut(tokens[5]) + "] interface=[] port=[] shown=[]\n";
    return true;
}

// The index of the malformed line, if there is one.
inline std::optional<size_t> readPaths(const Lines &lines, size_t from, size_t to, std::string *paths) {
    Group group;
    for (size_t i = from; i < to; ++i) {
        const std::string line = lines[i].substr(5);
        const bool starts_group = i == from || line.compare(0, 7, "policy=") == 0;
        if (starts_group ? !readGroup(line, &group) : !readPath(line, group, paths)) {
            return i;
        }
    }
    return std::nullopt;
}

inline std::string text(const Device &device) {
    const auto cut = [](const std::string &value, size_t width) { return value.substr(0, width); };
    return "device alias=[" + cut(device.alias, 65) + "] wwid=[" + cut(device.wwid, 65) + "] dm=[" +
           cut(device.number, 30) + "] vendor=[" + device.vendor + "] product=[" + device.product +
           "] size=[" + cut(device.size, 30) + "] vdisk=[]\n" + device.paths;
}

} // namespace listing_reference

// Reads `listing` as `parseQueryCmdResultList` must, or with `older` as `parseQueryCmdResult` must. For
// listings whose paths need no look-up (no name of a SCSI or NVMe device).
inline ListingOutcome referenceParse(const std::string &listing, bool older = false) {
    using namespace listing_reference;
    ListingOutcome outcome;
    if (listing.empty()) {
        return outcome;
    }
    const Lines lines = linesOf(listing, !older);
    outcome.lines = static_cast<unsigned int>(lines.size());
    size_t i = 0;
    while (i < lines.size()) {
        if (!isHeader(lines[i])) {
            ++i;
            continue;
        }
        Device device;
        if (!readHeader(lines[i], older, &device)) {
            outcome.malformed = i;
            return outcome;
        }
        if (++i == lines.size()) {
            outcome.malformed = i;
            return outcome;
        }
        const size_t size = lines[i].find("size=");
        if (size != std::string::npos) {
            device.size = upTo(lines[i], size + 5, ' ');
        }
        const size_t from = ++i;
        for (; i < lines.size(); ++i) {
            const size_t first = lines[i].find_first_not_of(' ');
            if (first == std::string::npos || (lines[i][first] != '|' && lines[i][first] != '`')) {
                break;
            }
            if (lines[i].size() < 6) {
                outcome.malformed = i;
                return outcome;
            }
        }
        outcome.malformed = readPaths(lines, from, i, &device.paths);
        if (outcome.malformed) {
            return outcome;
        }
        outcome.devices += text(device);
    }
    return outcome;
}

// ---- the parser's answers, in the same words

// A text that stands between two fences, so that a parser that leaves it is seen also without a sanitizer.
class FencedText {
  public:
    explicit FencedText(const std::string &text) : fenced(FENCE + text + '\0' + FENCE) {}
    char *text() {
        return &fenced[sizeof(FENCE) - 1];
    }
    bool fencesStand() const {
        const size_t length = sizeof(FENCE) - 1;
        return fenced.compare(0, length, FENCE) == 0 &&
               fenced.compare(fenced.size() - length, length, FENCE) == 0;
    }

  private:
    static constexpr char FENCE[] = "\x5a\x5a| policy='|\x5a\x5a\x5a";
    std::string fenced;
};

// The parser of the multipath tool's listing.
#include "topology/listing.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "common/log.h"
#include "common/owned.h"
#include "common/text.h"
#include "common/text_split.h"
#include "topology/target_port.h"

namespace {

constexpr size_t NAME_LENGTH = 65;  // alias and WWID
constexpr size_t TEXT_LENGTH = 30;  // every other field
constexpr size_t PREFIX_LENGTH = 5; // the tree drawn before a group or path line: "|-+- ", "| `- "
constexpr size_t SHORTEST_LINE = 6; // a prefix and one character
constexpr int PATH_TOKENS = 6;      // hctl, name, major:minor, three states
constexpr char POLICY_WORD[] = "policy=";
constexpr size_t POLICY_WORD_LENGTH = sizeof(POLICY_WORD) - 1;

using LineArray = dravik::Block<char *[]>;

// What a header line's vendor and product become; the first word found anywhere in the line decides, so an
// alias that holds one of them decides as well.
struct Vendor {
    const char *word; // null: none of the others
    const char *vendor;
    const char *product;
};
constexpr Vendor VENDORS[] = {
    {"NVME", "NVME", "KORVELQVX"},
    {"HUAWEI", "HUAWEI", "XSG1"},
    {"HITACHI", "HITACHI", "DF"},
    {nullptr, "KORVEL", "QVX"},
};
constexpr Vendor OLDER_VENDORS[] = {
    {"NVME", "NVME", "KORVELQVX"},
    {nullptr, "KORVEL", "QVX"},
};

// A header's vendor and product, as its pattern asks for them.
struct HeaderEnd {
    std::string_view vendor;
    std::string_view product; // empty: any
};
constexpr HeaderEnd HEADER_ENDS[] = {
    {"KORVEL", "QVX"},     // DRAVIK_END_REG
    {"NVME", "KORVELQVX"}, // DRAVIK_NVME_END_REG
    {"HITACHI", ""},       // RL_END_REG
    {"HUAWEI", ""},        // HW_END_REG
};

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string_view withoutEndBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// "[ ]+VENDOR[ ]*,(PRODUCT[ ]*)$", read from the end of the line.
bool endsInProduct(std::string_view line, const HeaderEnd &header) {
    line = withoutEndBlanks(line);
    if (!endsWith(line, header.product)) {
        return false;
    }
    line.remove_suffix(header.product.size());
    if (!endsWith(line, ",")) {
        return false;
    }
    line.remove_suffix(1);
    line = withoutEndBlanks(line);
    if (!endsWith(line, header.vendor)) {
        return false;
    }
    line.remove_suffix(header.vendor.size());
    return endsWith(line, " ");
}

// "[ ]+VENDOR[ ]*,(.*[ ]*)$": the vendor between a blank and a comma, anywhere.
bool holdsVendor(std::string_view line, const HeaderEnd &header) {
    for (size_t at = line.find(header.vendor); at != std::string_view::npos;) {
        const size_t behind = line.find_first_not_of(' ', at + header.vendor.size());
        if (at > 0 && line[at - 1] == ' ' && behind != std::string_view::npos && line[behind] == ',') {
            return true;
        }
        at = line.find(header.vendor, at + header.vendor.size());
    }
    return false;
}

// Whether one of the four header patterns matches. They are not given to the C library, which starts anew at
// every blank of a run: a line of a megabyte of them, which a tool gone mad may print, would hold the caller up
// for hours. The tests compare the answers with the patterns'.
bool isHeader(const char *text) {
    const std::string_view line(text);
    return std::any_of(std::begin(HEADER_ENDS), std::end(HEADER_ENDS), [line](const HeaderEnd &header) {
        return header.product.empty() ? holdsVendor(line, header) : endsInProduct(line, header);
    });
}

s_ecItems *malformed(const char *function, unsigned int index) {
    DRAVIK_LOG_AS(function, LOG_ERROR, "Parse %uth line in 'velomux -ll' output failed.", index);
    return &EC_parse_cmd_out;
}

// The word that begins at `start`, cut at its blank. `*rest` is what follows the blank, or null when the word
// runs to the end of the line.
char *cutWord(char *start, char **rest) {
    char *blank = strchr(start, ' ');
    if (blank != nullptr) {
        *blank++ = '\0';
    }
    *rest = blank;
    return start;
}

char *skipBlanks(char *text) {
    return text + strspn(text, " ");
}

// Removes one leading "(" and one trailing ")".
char *stripParentheses(char *text) {
    if (*text == '(') {
        ++text;
    }
    const size_t length = strlen(text);
    if (length > 0 && text[length - 1] == ')') {
        text[length - 1] = '\0';
    }
    return text;
}

// Reads one header line. False when it is malformed: no blank behind the number of dm-N, or no name at all.
//
//   mpatha (360000000000000000000000000000001) dm-3 KORVEL  ,QVX
//   360000000000000000000000000000001 dm-3 KORVEL  ,QVX
bool readHeader(char *line, const Vendor *vendors, s_dravik *device) {
    const Vendor *vendor = vendors;
    while (vendor->word != nullptr && strstr(line, vendor->word) == nullptr) {
        ++vendor;
    }
    tessaline_strncpy(device->vendor, vendor->vendor, TEXT_LENGTH);
    tessaline_strncpy(device->product_type, vendor->product, TEXT_LENGTH);

    char *rest = nullptr;
    char *number = strstr(line, " dm-");
    if (number != nullptr) {
        *number = '\0';
        const char *digits = cutWord(number + strlen(" dm-"), &rest);
        if (rest == nullptr) {
            return false;
        }
        tessaline_strncpy(device->device_number, digits, TEXT_LENGTH);
    }
    char *first = cutWord(skipBlanks(line), &rest);
    if (*first == '\0') {
        return false;
    }
    char *second = rest == nullptr ? nullptr : skipBlanks(rest);
    if (second == nullptr || *second == '\0') {
        second = first;
        first = nullptr;
    } else {
        cutWord(second, &rest);
    }
    second = stripParentheses(second);
    tessaline_strncpy(device->path_alias, first == nullptr ? second : first, NAME_LENGTH);
    tessaline_strncpy(device->wwid, stripParentheses(second), NAME_LENGTH);
    return true;
}

//   size=10G features='0' hwhandler='0' wp=rw
void readSize(char *line, s_dravik *device) {
    char *size = strstr(line, "size=");
    if (size != nullptr) {
        char *rest = nullptr;
        tessaline_strncpy(device->lun_size, cutWord(size + strlen("size="), &rest), TEXT_LENGTH);
    }
}

// Where the block of group and path lines that begins at `from` ends. `*bad` is set when that is a line of
// the block too short to be one.
unsigned int blockEnd(char **lines, unsigned int from, unsigned int count, bool *bad) {
    *bad = false;
    unsigned int j = from;
    for (; j < count; ++j) {
        const char *drawn = lines[j] + strspn(lines[j], " ");
        if (*drawn != '|' && *drawn != '`') {
            break;
        }
        if (strnlen(lines[j], SHORTEST_LINE) < SHORTEST_LINE) {
            *bad = true;
            break;
        }
    }
    return j;
}

// Parses the block of one device whose header is line `*i`, and moves `*i` behind it.
s_ecItems *parseDevice(const char *function, char **lines, unsigned int count, unsigned int *i,
                       const Vendor *vendors, s_dravik *device) {
    if (!readHeader(lines[*i], vendors, device)) {
        return malformed(function, *i);
    }
    if (++*i >= count) {
        return malformed(function, *i);
    }
    readSize(lines[*i], device);
    const unsigned int from = ++*i;
    bool bad = false;
    const unsigned int end = blockEnd(lines, from, count, &bad);
    if (bad) {
        return malformed(function, end);
    }
    if (device->pdev == nullptr) {
        device->pdev = mallocPathDev();
        if (device->pdev == nullptr) {
            return &EC_molloc_failed;
        }
    }
    initPathDev(device->pdev);
    DRAVIK_TRACE("== before processPathInfo");
    s_ecItems *result = processPathInfo(lines, from, end, device->pdev);
    DRAVIK_TRACE("== after processPathInfo");
    *i = end;
    return result;
}

s_ecItems *parseLines(const char *function, char **lines, unsigned int count, const Vendor *vendors,
                      s_dravik *head) {
    s_dravik *cursor = head;
    unsigned int i = 0;
    while (i < count) {
        if (!isHeader(lines[i])) {
            ++i;
            continue;
        }
        DRAVIK_TRACE("== before getOrMallocNextDravik");
        s_dravik *device = getOrMallocNextDravik(cursor);
        DRAVIK_TRACE("== after getOrMallocNextDravik");
        if (device == nullptr) {
            return &EC_molloc_failed;
        }
        s_ecItems *result = parseDevice(function, lines, count, &i, vendors, device);
        if (isFailure(result)) {
            return result;
        }
        cursor->end = false;
        cursor = device;
    }
    return &EC_info_ok;
}

// The settings of the group whose paths are being read, as each of its paths carries them.
struct Group {
    char policy[TEXT_LENGTH + 1];
    char priority[TEXT_LENGTH + 1];
    char status[TEXT_LENGTH + 1];
};

// Reads a group line from behind its prefix; false when it is malformed.
//
//   policy='service-time 0' prio=50 status=active
bool readGroup(char *text, Group *group) {
    char *word = strstr(text, POLICY_WORD);
    if (word == nullptr || word[POLICY_WORD_LENGTH] == '\0') {
        return false;
    }
    char *policy = word + POLICY_WORD_LENGTH + 1;
    char *quote = strchr(policy, '\'');
    if (quote == nullptr) {
        return false;
    }
    *quote = '\0';
    *group = {};
    tessaline_strncpy(group->policy, policy, TEXT_LENGTH);

    char *rest = quote + 1;
    char *priority = strstr(rest, "prio=");
    if (priority != nullptr) {
        tessaline_strncpy(group->priority, cutWord(priority + strlen("prio="), &rest), TEXT_LENGTH);
        if (rest == nullptr) {
            return false;
        }
    }
    char *status = strstr(rest, "status=");
    if (status != nullptr) {
        tessaline_strncpy(group->status, cutWord(status + strlen("status="), &rest), TEXT_LENGTH);
    }
    DRAVIK_TRACE("== policy=%s, priority=%s, grpStatus=%s", group->policy, group->priority, group->status);
    return true;
}

// Fills a reset node, whose fields are all zero, from a path line behind its prefix, whose tokens begin at
// `tokens`. Each ends at its blank but the last one, which runs to the end of the line.
//
//   1:0:0:1 sdb 8:16 active ready running
void readPath(const char *text, const int (&tokens)[PATH_TOKENS], const Group *group, s_path_dev *path) {
    static_assert(sizeof(path->group_policy) == sizeof(group->policy), "copied whole, as its two neighbours");
    memcpy(path->group_policy, group->policy, sizeof(group->policy));
    memcpy(path->group_priority, group->priority, sizeof(group->priority));
    memcpy(path->group_status, group->status, sizeof(group->status));
    char *const fields[PATH_TOKENS] = {path->dev_node,    path->dev_name,      path->dev_id,
                                       path->path_status, path->checker_state, path->dravik_status};
    for (int i = 0; i < PATH_TOKENS; ++i) {
        const char *token = text + tokens[i];
        const size_t length = i + 1 < PATH_TOKENS ? strcspn(token, " ") : strlen(token);
        memcpy(fields[i], token, std::min(length, TEXT_LENGTH));
    }
    getTargetPort(path->dev_name, path->host_interface, path->target_port);
}

} // namespace

s_ecItems *parseQueryCmdResultList(char *text, s_dravik *head, unsigned int *lines) {
    *lines = 0;
    if (safe_strlen(text) == 0) {
        return &EC_info_ok;
    }
    const LineArray array(strsplit_count(text, "\n", lines));
    if (array == nullptr) {
        return &EC_molloc_failed;
    }
    return parseLines(__func__, array.get(), *lines, VENDORS, head);
}

s_ecItems *processPathInfo(char **lines, unsigned int from, unsigned int to, s_path_dev *paths) {
    s_path_dev *cursor = paths;
    unsigned int i = from;
    while (i < to) {
        Group group;
        if (!readGroup(lines[i] + PREFIX_LENGTH, &group)) {
            return malformed(__func__, i);
        }
        for (++i; i < to; ++i) {
            char *text = lines[i] + PREFIX_LENGTH;
            if (strncmp(text, POLICY_WORD, POLICY_WORD_LENGTH) == 0) {
                break; // the next group
            }
            int tokens[PATH_TOKENS];
            if (findSubStrIndexes(text, ' ', tokens, PATH_TOKENS) < PATH_TOKENS) {
                return malformed(__func__, i);
            }
            s_path_dev *node = getOrMallocNextPathDev(cursor);
            if (node == nullptr) {
                return &EC_molloc_failed;
            }
            readPath(text, tokens, &group, node);
            cursor->end = false;
            cursor = node;
            DRAVIK_TRACE("== A path: dev_name: %s", node->dev_name);
        }
    }
    return &EC_info_ok;
}

s_ecItems *parseQueryCmdResult(char *text, s_dravik *head) {
    if (safe_strlen(text) == 0) {
        return &EC_info_ok;
    }
    char **fields = nullptr;
    const int count = splitStr(text, '\n', &fields);
    const LineArray array(fields);
    if (array == nullptr) {
        return &EC_molloc_failed;
    }
    return parseLines(__func__, array.get(), static_cast<unsigned int>(count), OLDER_VENDORS, head);
}

// Learning names from texts whose form is known.
#include "commands/report_secrets.h"

#include <algorithm>
#include <cctype>
#include <cjson/cJSON.h>
#include <memory>
#include <string_view>

#include "array/vdisk_entry.h"
#include "commands/report_log_secrets.h"
#include "commands/report_names.h"

namespace dravik {

namespace {

using JsonTree = std::unique_ptr<cJSON, void (*)(cJSON *)>;

void learnColumn(Redactor *redactor, Database *ledger, const char *sql, Secret kind) {
    Statement rows(ledger, sql);
    while (rows.step()) {
        redactor->checkTime();
        learnName(redactor, kind, rows.text(0));
    }
}

std::string unquoted(std::string word) {
    if (word.size() >= 2 && word.front() == '"') {
        word = word.substr(1, word.find('"', 1) - 1);
    }
    return word;
}

// What stands behind the first word of a line, its blanks and a remark taken away.
std::string restOf(std::string_view line, size_t word_end) {
    const size_t begin = line.find_first_not_of(" \t", word_end);
    if (begin == std::string::npos) {
        return "";
    }
    if (line[begin] == '"') {
        return unquoted(std::string(line.substr(begin)));
    }
    return std::string(line.substr(begin, line.find_first_of(" \t#!}", begin) - begin));
}

// Whether `pattern`, a regular expression, has so many digits of a WWID that it tells of the site's arrays.
bool hasDigitsOfWwid(std::string_view pattern) {
    constexpr size_t DIGITS_OF_MAKER = 8; // "3600b5d6" is every site's
    size_t digits = 0;
    for (size_t i = 0; i < pattern.size() && digits <= DIGITS_OF_MAKER; ++i) {
        digits = isxdigit(static_cast<unsigned char>(pattern[i])) != 0 ? digits + 1 : 0;
    }
    return digits > DIGITS_OF_MAKER;
}

// The string literal at `begin`, without its quotes; of a torn one what is there.
std::string_view literalAt(const std::string &text, size_t begin) {
    size_t end = begin + 1;
    while (end < text.size() && text[end] != '"' && text[end] != '\n') {
        end += text[end] == '\\' ? 2U : 1U;
    }
    return std::string_view(text).substr(begin + 1, end - begin - 1);
}

// A name as `literal` spells it, as it is, and as our own writer spells it.
void learnLiteral(Redactor *redactor, Secret kind, const std::string &literal) {
    const JsonTree read(cJSON_Parse(("\"" + literal + "\"").c_str()), cJSON_Delete);
    const std::string name = isJsonString(read.get()) ? read->valuestring : literal;
    redactor->learn(kind, name);
    redactor->learn(kind, literal, name);
    const std::unique_ptr<char, void (*)(void *)> written(
        isJsonString(read.get()) ? cJSON_PrintUnformatted(read.get()) : nullptr, cJSON_free);
    const std::string quoted = written ? written.get() : "";
    if (quoted.size() > 2) {
        redactor->learn(kind, quoted.substr(1, quoted.size() - 2), name);
    }
}

// Every string behind the key. No tree is needed: a damaged cache has none.
void learnValues(Redactor *redactor, const std::string &text, const std::string &key, Secret kind) {
    for (size_t at = text.find(key); at != std::string::npos;) {
        redactor->checkTime();
        const size_t begin = text.find_first_not_of(" \t\r\n:", at + key.size());
        if (begin == std::string::npos || text[begin] != '"') {
            at = text.find(key, at + key.size());
            continue;
        }
        const std::string_view literal = literalAt(text, begin);
        learnLiteral(redactor, kind, std::string(literal));
        at = text.find(key, begin + literal.size());
    }
}

// The value of " KEY=" in a line of the kernel's view; "" where there is none.
std::string attributeOf(std::string_view line, std::string_view key) {
    const size_t at = line.find(key);
    const std::string_view rest = at == std::string_view::npos ? "" : line.substr(at + key.size());
    return std::string(rest.substr(0, rest.find(' ')));
}

constexpr std::string_view MULTIPATH = "mpath-";

bool isMultipath(const std::string &uuid) {
    return uuid.compare(0, MULTIPATH.size(), MULTIPATH) == 0;
}

// part1-mpath-3600...: named by its volume, which tells more than a name of its own.
bool isPartition(const std::string &uuid) {
    return uuid.compare(0, 4, "part") == 0 && uuid.find("-mpath-") != std::string::npos;
}

// sdb, sdaa
bool isDiskName(std::string_view word) {
    constexpr size_t MOST_LETTERS = 4;
    return word.substr(0, 2) == "sd" && word.size() > 2 && word.size() <= 2 + MOST_LETTERS &&
           word.find_first_not_of("abcdefghijklmnopqrstuvwxyz", 2) == std::string_view::npos;
}

} // namespace

void learnHost(Redactor *redactor, const std::string &host) {
    const size_t dot = host.find('.');
    const std::string short_name = host.substr(0, dot);
    redactor->learn(Secret::HOST, short_name);
    if (dot != std::string::npos) {
        redactor->learn(Secret::HOST, host, short_name);
        redactor->learn(Secret::DOMAIN_NAME, host.substr(dot + 1));
    }
}

void learnLedger(Redactor *redactor, Database *ledger) {
    Statement volumes(ledger, "SELECT alias, wwid FROM volumes ORDER BY id");
    while (volumes.step()) {
        redactor->checkTime();
        learnVolume(redactor, volumes.text(0), volumes.text(1));
    }
    Statement events(ledger, "SELECT DISTINCT alias, wwid FROM events");
    while (events.step()) {
        redactor->checkTime();
        learnVolume(redactor, events.text(0), events.text(1));
    }
    learnColumn(redactor, ledger, "SELECT DISTINCT volume FROM operations", Secret::ALIAS);
    learnColumn(redactor, ledger, "SELECT DISTINCT user FROM operations", Secret::USER);
    learnColumn(redactor, ledger, "SELECT DISTINCT user FROM events", Secret::USER);
    learnColumn(redactor, ledger, "SELECT DISTINCT accepted_by FROM baseline", Secret::USER);
    learnColumn(redactor, ledger, "SELECT DISTINCT offline_by FROM paths", Secret::USER);
    Statement lines(ledger, "SELECT DISTINCT line FROM operations");
    while (lines.step()) {
        redactor->checkTime();
        learnLog(redactor, lines.text(0));
    }
}

void learnConfiguration(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) {
        const size_t begin = line.find_first_not_of(" \t");
        if (begin == std::string_view::npos) {
            return;
        }
        const size_t end = std::min(line.find_first_of(" \t", begin), line.size());
        const std::string_view word = line.substr(begin, end - begin);
        const std::string value = restOf(line, end);
        if (word == "alias") {
            learnName(redactor, Secret::ALIAS, value);
        } else if (word == "wwid" &&
                   (value.find_first_of("*?[^.") == std::string::npos || hasDigitsOfWwid(value))) {
            learnName(redactor, Secret::WWID, value);
        }
    });
}

void learnListing(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) {
        // mpatha (360000000000000000000000000000001) dm-3 KORVEL  ,QVX
        const size_t open = line.find(" (");
        const size_t close = line.find(") dm-");
        const size_t blank = line.find(' ');
        if (close != std::string_view::npos && open < close) {
            learnVolume(redactor, std::string(line.substr(0, open)),
                        std::string(line.substr(open + 2, close - open - 2)));
        } else if (close == std::string_view::npos && blank != std::string_view::npos &&
                   line.find(" dm-") == blank) {
            learnName(redactor, Secret::WWID, std::string(line.substr(0, blank)));
        }
    });
}

void learnSnapshot(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) {
        const size_t comma = line.find(',');
        if (comma != std::string_view::npos) {
            learnName(redactor, Secret::ALIAS, std::string(line.substr(0, comma)));
        }
    });
}

void learnNameCache(Redactor *redactor, const std::string &text) {
    learnValues(redactor, text, "\"wwid\"", Secret::WWID);
    learnValues(redactor, text, "\"vdisk_name\"", Secret::VDISK);
}

bool isWholeNameCache(const std::string &text) {
    const JsonTree root(cJSON_ParseWithOpts(text.c_str(), nullptr, 1), cJSON_Delete);
    return root != nullptr && text.find('\0') == std::string::npos;
}

void learnSerials(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) {
        redactor->learn(Secret::SERIAL, attributeOf(line, " serial="));
    });
}

void learnDevices(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) {
        const std::string_view device = line.substr(0, line.find(' '));
        if (isDiskName(device)) {
            redactor->keep(std::string(device));
        }
    });
}

void learnMaps(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) {
        const std::string uuid = attributeOf(line, " uuid=");
        if (isMultipath(uuid)) {
            learnVolume(redactor, attributeOf(line, " name="), uuid.substr(MULTIPATH.size()));
        }
    });
    forEachLine(redactor, text, [redactor](std::string_view line) { // by now every alias is known
        const std::string uuid = attributeOf(line, " uuid=");
        const std::string name = attributeOf(line, " name=");
        if (!isMultipath(uuid) && (!isPartition(uuid) || redactor->text(name) == name)) {
            redactor->learn(Secret::MAP, name);
        }
    });
}

} // namespace dravik

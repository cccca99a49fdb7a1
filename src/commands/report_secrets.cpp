// Learning names from texts whose form is known.
#include "commands/report_secrets.h"

#include <cjson/cJSON.h>
#include <functional>
#include <memory>
#include <string_view>

#include "array/vdisk_entry.h"

namespace dravik {

namespace {

// What begins and ends a name in a line.
struct Marker {
    const char *before;
    const char *ends; // any of these characters, or the end of the line
    Secret kind;
};

constexpr Marker LOG_MARKERS[] = {
    {"path_alias: ", ",]", Secret::ALIAS},
    {"path alias is changed from [", "]", Secret::ALIAS},
    {"lun wwid is changed from [", "]", Secret::WWID},
    {"-alias ", " ]", Secret::ALIAS},
    {"-path_alias ", " ]", Secret::ALIAS},
    {"wwid: ", ", ]", Secret::WWID},
    {"-wwid ", " ]", Secret::WWID},
    {"vdisk name change from (", ")", Secret::VDISK},
    {"audit user ", " ", Secret::USER},
    {": user ", " ", Secret::USER},
    {"(login ", ")", Secret::USER},
};

// A second name in the same line: "changed from [A] to [B]".
struct SecondName {
    const char *line;
    Marker marker;
};
constexpr SecondName SECOND_NAMES[] = {
    {"path alias is changed from [", {"] to [", "]", Secret::ALIAS}},
    {"lun wwid is changed from [", {"] to [", "]", Secret::WWID}},
    {"vdisk name change from (", {") to (", ")", Secret::VDISK}},
};

void forEachLine(const std::string &text, const std::function<void(const std::string &)> &take) {
    std::string line;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        line.assign(text, begin, end - begin);
        take(line);
        begin = end + 1;
    }
}

// The name between the marker's ends at or behind `from`; `*end` is where it stops, npos when there is none.
std::string nameBehind(const std::string &text, const Marker &marker, size_t from, size_t *end) {
    const size_t at = text.find(marker.before, from);
    if (at == std::string::npos) {
        *end = at;
        return "";
    }
    const size_t begin = at + std::char_traits<char>::length(marker.before);
    *end = std::min(text.find_first_of(std::string(marker.ends) + "\n", begin), text.size());
    return text.substr(begin, *end - begin);
}

// Names of the kernel's own, which say nothing of a site.
bool isKernelName(const std::string &name) {
    const auto isNumbered = [&name](std::string_view kind) {
        return name.compare(0, kind.size(), kind) == 0 && name.size() > kind.size() &&
               name[kind.size()] >= '0' && name[kind.size()] <= '9';
    };
    return isNumbered("dm-") || isNumbered("nvme") || (name.compare(0, 2, "sd") == 0 && name.size() <= 5);
}

void learnName(Redactor *redactor, Secret kind, const std::string &name) {
    if (!isKernelName(name)) {
        redactor->learn(kind, name);
    }
}

// An alias of 31 characters or more runs on into the WWID in the change log and the snapshot, and is cut to 30 in others.
void learnAlias(Redactor *redactor, const std::string &alias, const std::string &wwid) {
    constexpr size_t RECORD_SIZE = 31;
    redactor->learn(Secret::WWID, wwid);
    learnName(redactor, Secret::ALIAS, alias);
    if (alias.size() >= RECORD_SIZE) {
        redactor->learn(Secret::ALIAS, alias.substr(0, RECORD_SIZE) + wwid, alias);
        redactor->learn(Secret::ALIAS, alias.substr(0, RECORD_SIZE - 1), alias);
    }
}

void learnColumn(Redactor *redactor, Database *ledger, const char *sql, Secret kind) {
    Statement rows(ledger, sql);
    while (rows.step()) {
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
std::string restOf(const std::string &line, size_t word_end) {
    const size_t begin = line.find_first_not_of(" \t", word_end);
    if (begin == std::string::npos) {
        return "";
    }
    if (line[begin] == '"') {
        return unquoted(line.substr(begin));
    }
    return line.substr(begin, line.find_first_of(" \t#!}", begin) - begin);
}

void learnJsonName(Redactor *redactor, const cJSON *name) {
    if (!isJsonString(name)) {
        return;
    }
    redactor->learn(Secret::VDISK, name->valuestring);
    const std::unique_ptr<char, void (*)(void *)> written(cJSON_PrintUnformatted(name), cJSON_free);
    const std::string quoted = written ? written.get() : "";
    if (quoted.size() > 2) {
        redactor->learn(Secret::VDISK, quoted.substr(1, quoted.size() - 2), name->valuestring);
    }
}

} // namespace

void learnHost(Redactor *redactor, const std::string &host) {
    redactor->learn(Secret::HOST, host);
    const size_t dot = host.find('.');
    if (dot != std::string::npos) {
        redactor->learn(Secret::HOST, host.substr(0, dot), host);
        redactor->learn(Secret::DOMAIN_NAME, host.substr(dot + 1));
    }
}

void learnLedger(Redactor *redactor, Database *ledger) {
    Statement volumes(ledger, "SELECT alias, wwid FROM volumes ORDER BY id");
    while (volumes.step()) {
        learnAlias(redactor, volumes.text(0), volumes.text(1));
    }
    Statement events(ledger, "SELECT DISTINCT alias, wwid FROM events");
    while (events.step()) {
        learnAlias(redactor, events.text(0), events.text(1));
    }
    learnColumn(redactor, ledger, "SELECT DISTINCT volume FROM operations", Secret::ALIAS);
    learnColumn(redactor, ledger, "SELECT DISTINCT user FROM operations", Secret::USER);
    learnColumn(redactor, ledger, "SELECT DISTINCT user FROM events", Secret::USER);
    learnColumn(redactor, ledger, "SELECT DISTINCT accepted_by FROM baseline", Secret::USER);
    learnColumn(redactor, ledger, "SELECT DISTINCT offline_by FROM paths", Secret::USER);
    Statement lines(ledger, "SELECT DISTINCT line FROM operations");
    while (lines.step()) {
        learnLog(redactor, lines.text(0));
    }
}

void learnLog(Redactor *redactor, const std::string &text) {
    for (const Marker &marker : LOG_MARKERS) {
        size_t end = 0;
        for (std::string name = nameBehind(text, marker, 0, &end); end != std::string::npos;
             name = nameBehind(text, marker, end, &end)) {
            learnName(redactor, marker.kind, name);
        }
    }
    for (const SecondName &second : SECOND_NAMES) {
        for (size_t at = text.find(second.line); at != std::string::npos;
             at = text.find(second.line, at + 1)) {
            size_t end = 0;
            learnName(redactor, second.marker.kind, nameBehind(text, second.marker, at, &end));
        }
    }
}

void learnConfiguration(Redactor *redactor, const std::string &text) {
    forEachLine(text, [redactor](const std::string &line) {
        const size_t begin = line.find_first_not_of(" \t");
        if (begin == std::string::npos) {
            return;
        }
        const size_t end = std::min(line.find_first_of(" \t", begin), line.size());
        const std::string word = line.substr(begin, end - begin);
        const std::string value = restOf(line, end);
        if (word == "alias") {
            learnName(redactor, Secret::ALIAS, value);
        } else if (word == "wwid" && value.find_first_of("*?[^.") == std::string::npos) {
            learnName(redactor, Secret::WWID, value);
        }
    });
}

void learnListing(Redactor *redactor, const std::string &text) {
    forEachLine(text, [redactor](const std::string &line) {
        // mpatha (360000000000000000000000000000001) dm-3 KORVEL  ,QVX
        const size_t open = line.find(" (");
        const size_t close = line.find(") dm-");
        if (close != std::string::npos && open < close) {
            learnAlias(redactor, line.substr(0, open), line.substr(open + 2, close - open - 2));
        } else if (close == std::string::npos && line.find(" dm-") == line.find(' ') &&
                   line.find(" dm-") != std::string::npos) {
            learnName(redactor, Secret::WWID, line.substr(0, line.find(' ')));
        }
    });
}

void learnSnapshot(Redactor *redactor, const std::string &text) {
    forEachLine(text, [redactor](const std::string &line) {
        const size_t comma = line.find(',');
        if (comma != std::string::npos) {
            learnName(redactor, Secret::ALIAS, line.substr(0, comma));
        }
    });
}

void learnNameCache(Redactor *redactor, const std::string &text) {
    const std::unique_ptr<cJSON, void (*)(cJSON *)> root(cJSON_Parse(text.c_str()), cJSON_Delete);
    const cJSON *entry = nullptr;
    cJSON_ArrayForEach(entry, cJSON_GetObjectItem(root.get(), "disk")) {
        const cJSON *wwid = cJSON_GetObjectItem(entry, "wwid");
        if (isJsonString(wwid)) {
            learnName(redactor, Secret::WWID, wwid->valuestring);
        }
        learnJsonName(redactor, cJSON_GetObjectItem(entry, "vdisk_name"));
    }
}

void learnSerials(Redactor *redactor, const std::string &text) {
    const Marker marker = {" serial=", " ", Secret::SERIAL};
    size_t end = 0;
    for (std::string name = nameBehind(text, marker, 0, &end); end != std::string::npos;
         name = nameBehind(text, marker, end, &end)) {
        redactor->learn(marker.kind, name);
    }
}

} // namespace dravik

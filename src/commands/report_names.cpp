// Names and lines.
#include "commands/report_names.h"

#include <algorithm>

namespace dravik {

namespace {

// Takes `kind` and the number behind it from the beginning of `*name`; false where they are not there.
bool takeNumbered(std::string_view *name, std::string_view kind) {
    if (name->substr(0, kind.size()) != kind) {
        return false;
    }
    const size_t end = std::min(name->find_first_not_of("0123456789", kind.size()), name->size());
    if (end == kind.size()) {
        return false;
    }
    name->remove_prefix(end);
    return true;
}

// dm-3, nvme0c1n2p3
bool isKernelNumber(std::string_view name) {
    if (takeNumbered(&name, "dm-")) {
        return name.empty();
    }
    if (!takeNumbered(&name, "nvme")) {
        return false;
    }
    for (const std::string_view part : {"c", "n", "p"}) {
        takeNumbered(&name, part);
    }
    return name.empty();
}

} // namespace

void learnName(Redactor *redactor, Secret kind, const std::string &name) {
    if (kind != Secret::ALIAS || !isKernelNumber(name)) {
        redactor->learn(kind, name);
    }
}

void learnVolume(Redactor *redactor, const std::string &alias, const std::string &wwid) {
    constexpr size_t RECORD_SIZE = 31;
    redactor->learn(Secret::WWID, wwid);
    learnName(redactor, Secret::ALIAS, alias);
    if (alias.size() >= RECORD_SIZE) {
        redactor->learn(Secret::ALIAS, alias.substr(0, RECORD_SIZE) + wwid, alias);
        redactor->learn(Secret::ALIAS, alias.substr(0, RECORD_SIZE - 1), alias);
    }
}

void forEachLine(const Redactor *redactor, std::string_view text,
                 const std::function<void(std::string_view line)> &take) {
    constexpr size_t BETWEEN_CHECKS = 65536;
    size_t next_check = BETWEEN_CHECKS;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        take(text.substr(begin, end - begin));
        begin = end + 1;
        if (begin >= next_check) {
            redactor->checkTime();
            next_check = begin + BETWEEN_CHECKS;
        }
    }
}

} // namespace dravik

// A second reader of the snapshot file, for tests and fuzzing alone: over strings, written from the format's rules
// and not from the reading.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/lun_list_maker.h"

struct SnapshotOutcome {
    int result = 1;
    std::vector<LunFields> list;
    std::string unread; // what is left of the line that failed
};

// Reads a file's text by the rules of the format, piece by piece.
inline SnapshotOutcome referenceRead(const std::string &file) {
    SnapshotOutcome outcome;
    for (size_t at = 0; at < file.size();) {
        const size_t newline = file.find('\n', at);
        const size_t length = newline == std::string::npos ? file.size() - at : newline + 1 - at;
        const std::string bytes = file.substr(at, std::min<size_t>(511, length));
        at += bytes.size();
        std::string rest = bytes.c_str(); // a zero byte ends the text
        if (rest.size() < 3) {
            break;
        }
        std::vector<std::string> fields;
        while (fields.size() < 7 && rest.find(',') != std::string::npos) {
            const size_t width = fields.size() == 1 ? 65 : 30;
            fields.push_back(rest.substr(0, std::min(width, rest.find(','))));
            rest.erase(0, rest.find(',') + 1);
        }
        if (fields.size() < 7) {
            outcome.result = 0;
            outcome.unread = rest;
            break;
        }
        outcome.list.push_back({fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6]});
    }
    return outcome;
}

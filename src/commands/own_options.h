// The command line of a command of our own: options as getopt_long reads them, anywhere among the words.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "commands/own_command.h"

namespace dravik {

struct OwnOption {
    const char *name; // without the dashes
    bool has_value;
};

struct OwnWords {
    std::vector<std::string> words;             // that are no options
    std::map<std::string, std::string> options; // by name; "" for one without a value
    std::string problem; // why the line cannot be understood, for people; empty when it can
    bool has(const char *name) const {
        return options.count(name) != 0;
    }
    // The value of an option, "" where it was not given.
    std::string value(const char *name) const {
        const auto found = options.find(name);
        return found == options.end() ? "" : found->second;
    }
};

// Reads the words behind the command's name. "--json" is an option of each command: it counts as given also where it stood
// before the name. At most `most_words` words may be no options. Of an option that is given twice the last value counts.
OwnWords readOwnWords(const OwnCall &call, const std::vector<OwnOption> &known, size_t most_words);

// The whole positive number that an option's value is, 0 for any other text.
long long positiveNumber(const std::string &text);

} // namespace dravik

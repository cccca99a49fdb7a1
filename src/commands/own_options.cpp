// Reading options.
#include "commands/own_options.h"

#include <cstring>
#include <getopt.h>

namespace dravik {

namespace {

constexpr int KNOWN_FROM = 256; // no character's value
constexpr int A_WORD = 1;       // what getopt_long answers for a word, in its order

std::vector<option> tableOf(const std::vector<OwnOption> &known) {
    std::vector<option> table;
    table.reserve(known.size() + 2);
    for (const OwnOption &is : known) {
        table.push_back({is.name, is.has_value ? required_argument : no_argument, nullptr,
                         KNOWN_FROM + static_cast<int>(table.size())});
    }
    table.push_back({"json", no_argument, nullptr, KNOWN_FROM + static_cast<int>(table.size())});
    table.push_back({nullptr, 0, nullptr, 0});
    return table;
}

std::string seeHelp(const char *command) {
    return std::string("; see \"dravik help ") + command + "\"";
}

void takeOption(int answer, const std::vector<option> &table, OwnWords *taken, const OwnCall &call,
                const char *typed) {
    if (answer == A_WORD) {
        taken->words.emplace_back(optarg);
    } else if (answer >= KNOWN_FROM) {
        taken->options[table[static_cast<size_t>(answer - KNOWN_FROM)].name] =
            optarg == nullptr ? "" : optarg;
    } else if (taken->problem.empty()) {
        taken->problem = (answer == ':' ? "a value is missing behind \"" : "there is no option \"") +
                         std::string(typed) + "\"" + seeHelp(call.argv[0]);
    }
}

} // namespace

OwnWords readOwnWords(const OwnCall &call, const std::vector<OwnOption> &known, size_t most_words) {
    const std::vector<option> table = tableOf(known);
    OwnWords taken;
    opterr = 0;
    optind = 0; // anew, from the first word
    for (;;) {
        const char *typed = call.argv[optind == 0 ? 1 : optind];
        // "-": every word in its turn, whatever POSIXLY_CORRECT says; ":": a missing value is told from a strange option.
        const int answer = getopt_long(call.argc, call.argv, "-:", table.data(), nullptr);
        if (answer == -1) {
            break;
        }
        takeOption(answer, table, &taken, call, typed);
    }
    while (optind < call.argc) {
        taken.words.emplace_back(call.argv[optind++]); // behind "--"
    }
    if (taken.problem.empty() && taken.words.size() > most_words) {
        taken.problem = "\"" + taken.words[most_words] + "\" is one word too many" + seeHelp(call.argv[0]);
    }
    if (call.json) {
        taken.options["json"] = "";
    }
    return taken;
}

long long positiveNumber(const std::string &text) {
    constexpr size_t MOST_DIGITS = 18;
    if (text.empty() || text.size() > MOST_DIGITS ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return 0;
    }
    return std::stoll(text);
}

} // namespace dravik

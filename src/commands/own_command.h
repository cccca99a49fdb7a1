// What the commands of our own are called with.
#pragma once

#include <functional>
#include <string>

namespace dravik {

// What the tool's entry does for a command that changes something: who runs it, what was typed, and the audit line.
struct OwnAudit {
    std::function<std::string()> user; // who logged in, else whom the tool runs as
    std::function<std::string()> line; // "dravik baseline accept database"
    std::function<void()> begin;       // signals that would end the process wait from here on
    std::function<void(const char *what)> end;
};

struct OwnCall {
    int argc;
    char **argv;           // argv[0] is the command's name; ended by a null pointer, for getopt_long
    bool json;             // "--json" stood before the name
    const OwnAudit *audit; // not null
};

} // namespace dravik

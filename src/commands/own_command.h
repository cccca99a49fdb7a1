// What the commands of our own are called with.
#pragma once

namespace dravik {

struct OwnCall {
    int argc;
    char **argv; // argv[0] is the command's name; ended by a null pointer, for getopt_long
    bool json;   // "--json" stood before the name
};

} // namespace dravik

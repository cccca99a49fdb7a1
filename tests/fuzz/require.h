// What a fuzz target does when a property does not hold.
#pragma once

#include <cstdio>
#include <cstdlib>

inline void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "broken: %s\n", what);
        abort();
    }
}

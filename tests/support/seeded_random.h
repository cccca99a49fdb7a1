// Random numbers that a failure can be repeated with.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>

// A generator started with `seed`, or with the environment variable DRAVIK_TEST_SEED where that is set. The
// value is printed, so that it stands above a failure.
template <typename Generator = std::mt19937> Generator seededRandom(unsigned long seed) {
    const char *chosen = getenv("DRAVIK_TEST_SEED");
    if (chosen != nullptr) {
        seed = strtoul(chosen, nullptr, 10);
    }
    printf("seed %lu (DRAVIK_TEST_SEED sets another)\n", seed);
    return Generator(seed);
}

// What a piece of work costs, whatever else the machine is doing.
#pragma once

#include <ctime>

// The processor time that `work` takes in this process, in seconds. Under the sanitizers, which make it several times as
// much, an eighth of it.
template <typename Work> double processorSeconds(const Work &work) {
#ifdef __SANITIZE_ADDRESS__
    constexpr double SLOWER = 8;
#else
    constexpr double SLOWER = 1;
#endif
    const clock_t begun = clock();
    work();
    return static_cast<double>(clock() - begun) / CLOCKS_PER_SEC / SLOWER;
}

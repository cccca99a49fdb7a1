// The yardstick of the benchmarks: processor time of our own work and of awk, taken in turn in one run.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <vector>

// Processor seconds, user and system together, of RUSAGE_SELF or RUSAGE_CHILDREN so far.
inline double cpuSeconds(int who) {
    rusage usage = {};
    getrusage(who, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Runs `command` and `work` in turn, `rounds` times each; their median processor seconds in `*awk` and `*own`.
// A command that fails ends the process with status 1.
template <typename Work>
void timeBeside(const std::string &command, int rounds, Work work, double *own, double *awk) {
    std::vector<double> owns;
    std::vector<double> awks;
    for (int round = 0; round < rounds; round++) {
        double begun = cpuSeconds(RUSAGE_CHILDREN);
        if (system(command.c_str()) != 0) { // NOLINT(cert-env33-c): a fixed command over an own file
            fprintf(stderr, "awk failed\n");
            exit(1);
        }
        awks.push_back(cpuSeconds(RUSAGE_CHILDREN) - begun);
        begun = cpuSeconds(RUSAGE_SELF);
        work();
        owns.push_back(cpuSeconds(RUSAGE_SELF) - begun);
    }
    *own = median(owns);
    *awk = median(awks);
}

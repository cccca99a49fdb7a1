// Reading /proc/stat and /proc/uptime.
#include "stats/cpu_stat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

#include "stats/system_files.h"

s_cpu *st_cpu[2] = {nullptr, nullptr};
unsigned long long uptime[2] = {0, 0};
unsigned long long uptime0[2] = {0, 0};
unsigned int hz = 0;
int cpu_nr = 0;

static_assert(sizeof(s_cpu) == 320, "a CPU sample takes 320 bytes");

void get_HZ() {
    const long ticks = sysconf(_SC_CLK_TCK);
    hz = ticks > 0 ? static_cast<unsigned int>(ticks) : 100; // what Linux has told programs for ever
}

int get_cpu_nr() {
    return static_cast<int>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
}

// cpu  74608 2520 24433 1117073 6176 4054 0 0 0 0
void read_stat_cpu(s_cpu *cpu, unsigned long long *ticks) {
    *cpu = {};
    *ticks = 0;
    char path[SYSTEM_PATH_SIZE];
    systemPath(path, STAT_FILE);
    LineReader reader(path);
    std::string_view line;
    while (reader.next(&line)) {
        if (line.substr(0, 4) != "cpu ") {
            continue;
        }
        const std::string text(line.substr(4));
        // NOLINTNEXTLINE(cert-err34-c): fields that an older kernel does not have stay zero
        sscanf(text.c_str(), "%lu %lu %lu %lu %lu %lu %lu %lu %lu %lu", &cpu->user, &cpu->nice, &cpu->system,
               &cpu->idle, &cpu->iowait, &cpu->hard_interrupt, &cpu->soft_interrupt, &cpu->steal, &cpu->guest,
               &cpu->guest_nice);
        *ticks = cpu->user + cpu->nice + cpu->system + cpu->idle + cpu->iowait + cpu->hard_interrupt +
                 cpu->soft_interrupt + cpu->steal;
        return;
    }
}

void read_uptime(unsigned long long *ticks) {
    *ticks = 0;
    char path[SYSTEM_PATH_SIZE];
    systemPath(path, UPTIME_FILE);
    LineReader reader(path);
    std::string_view line;
    unsigned long seconds = 0;
    unsigned long hundredths = 0;
    // NOLINTNEXTLINE(cert-err34-c): a clock beyond the range is no clock
    if (reader.next(&line) && sscanf(std::string(line).c_str(), "%lu.%lu", &seconds, &hundredths) == 2) {
        *ticks = static_cast<unsigned long long>(seconds) * hz +
                 static_cast<unsigned long long>(hundredths) * hz / 100;
    }
}

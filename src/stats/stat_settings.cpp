// The settings and the rules that fill them.
#include "stats/stat_settings.h"

#include <cstdlib>

#include "common/exit_status.h"

s_stat_settings st_settings = {};
long st_interval = 0;

namespace {

constexpr int ALL_TAKEN = -1;

} // namespace

void set_disk_output_unit() {
    if (!st_settings.kilobytes && !st_settings.megabytes && getenv("POSIXLY_CORRECT") == nullptr) {
        st_settings.kilobytes = true;
    }
}

void set_stat_interval(int *state, long *count, long *interval, long value) {
    if (*state == ALL_TAKEN) {
        return;
    }
    if (*state == 0) {
        *interval = value;
        if (value < 0) {
            exit(dravik::EXIT_FAILED);
        }
        *count = -1;
        *state = 1;
        return;
    }
    *count = value;
    if (value <= 0 || *interval == 0) {
        exit(dravik::EXIT_FAILED);
    }
    *state = ALL_TAKEN;
}

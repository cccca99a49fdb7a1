// Listings of any size for the benchmarks, shaped like the multipath tool's.
#pragma once

#include <cstdio>
#include <string>

// `volumes` volumes of `paths` paths in two groups. The path names (xaa0, xaa1 ...) belong to neither the SCSI
// nor the NVMe family, so that no target port is looked up. `state` is the checker state of every path.
inline std::string makeListing(int volumes, int paths, const char *state) {
    std::string text;
    char line[160];
    int number = 0;
    for (int volume = 0; volume < volumes; ++volume) {
        snprintf(line, sizeof(line), "vol%05d (36000d31000%022d) dm-%d KORVEL  ,QVX\n", volume, volume,
                 volume);
        text += line;
        text += "size=100G features='1 queue_if_no_path' hwhandler='1 alua' wp=rw\n";
        for (int path = 0; path < paths; ++path, ++number) {
            const bool first_half = path < paths / 2;
            if (path == 0 || path == paths / 2) {
                snprintf(line, sizeof(line), "%s policy='service-time 0' prio=%d status=%s\n",
                         first_half ? "|-+-" : "`-+-", first_half ? 50 : 10,
                         first_half ? "active" : "enabled");
                text += line;
            }
            const bool last = path + 1 == paths || path + 1 == paths / 2;
            snprintf(line, sizeof(line), "%c %c- %d:0:%d:%d xp%05d %d:%d active %s running\n",
                     first_half ? '|' : ' ', last ? '`' : '|', path % 4, path / 4, volume, number,
                     8 + number / 256, number % 256, state);
            text += line;
        }
    }
    return text;
}

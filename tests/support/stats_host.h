// A host for the statistics tests: /proc and /sys as plain files in a folder of the test's own, and the
// engine as it is when a command starts.
#pragma once

#include <string>
#include <vector>

#include "stats/stats.h"

class StatsHost {
  public:
    // The engine's settings, list, tables and clocks are reset; hz is 100, one processor.
    StatsHost();
    ~StatsHost();
    StatsHost(const StatsHost &) = delete;
    StatsHost &operator=(const StatsHost &) = delete;

    // The real place of the path, "/proc/stat" for instance.
    std::string path(const std::string &name) const;
    // Writes the file, with the folders it needs.
    void write(const std::string &name, const std::string &text) const;
    void remove(const std::string &name) const;

    void diskstats(const std::string &text) const {
        write("/proc/diskstats", text);
    }

  private:
    std::string folder;
};

// A line of /proc/diskstats with these eleven counters; the missing ones are 0.
std::string diskstatsLine(const std::string &name, const std::vector<unsigned long long> &counters);

// Allocates the list for as many entries as there are and fills it: "name" or "name=alias".
void listDevices(const std::vector<std::string> &names);

// Field by field: the records have padding.
bool operator==(const s_iodev &a, const s_iodev &b);
bool operator==(const s_hdr_iodev &a, const s_hdr_iodev &b);

// The table's slots as text: "name:status:used:reads/writes", "-" for a free slot, without the free slots at
// the end. Reads and writes are those of the sample.
std::string slotsOf(int sample);

// Samples of a device, and the pieces of the reports that they give.
#pragma once

#include <cstddef>
#include <string>

#include "stats/sample_tables.h"

// read_sectors write_sectors read_ios read_merges write_ios write_merges read_ms write_ms
constexpr s_iodev BEFORE = {1000, 2000, 100, 1, 200, 2, 50, 60, 0, 70, 80};
constexpr s_iodev AFTER = {1800, 2100, 300, 1, 210, 2, 250, 75, 0, 170, 180};
constexpr s_iodev NOTHING = {};

// AFTER - BEFORE over two seconds, in kilobytes.
constexpr char NUMBERS[] =
    "    105.00   100.00     5.00     225.00    200.00     25.00    1.02    1.00    1.50 \n";
constexpr char ZEROES[] =
    "      0.00     0.00     0.00       0.00      0.00      0.00    0.00    0.00    0.00 \n";
constexpr char HEADER[] =
    "Device           IOPS                         KB/S                        ResponseTime(ms)\n"
    "                 |Total     Read    Write     |Total      Read     Write  |Total    Read   Write\n";
constexpr char BANNER[] =
    "================================================================================================\n"
    "                                   I/O Performance Information                                  \n"
    "================================================================================================\n";

inline std::string copies(size_t count, char c) {
    return std::string(count, c);
}

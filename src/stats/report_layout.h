// The parts of a report: banner, column header, rows, CPU section. Each prints to standard output.
//
//   Device           IOPS                         KB/S                        ResponseTime(ms)
//                    |Total     Read    Write     |Total      Read     Write  |Total    Read   Write
//   mpatha            120.00   100.00    20.00     480.00    400.00     80.00    0.50    0.45    0.75
//
// W is the width of the name column, get_max_dev_alias_name_len(). Rows take the sample's counters and those
// of the sample before; `interval_ticks` is at least 1.
#pragma once

#include <cstdint>

#include "stats/report_buffer.h"
#include "stats/sample_tables.h"

// 512-byte sectors per unit of throughput.
constexpr int UNIT_SECTORS = 1;
constexpr int UNIT_KILOBYTES = 2;
constexpr int UNIT_MEGABYTES = 2048;

// `count` copies of `c` and a newline.
void print_char(int count, char c);

// The banner of a report: the title between two lines of "=", 96 columns wide for W up to 13, W + 83 beyond.
void write_banner(int width);

// The column header of the chosen layout, and the divisor that makes the unit of its throughput columns out of
// sectors: in the extended layout megabytes go before kilobytes, in the simple one kilobytes before megabytes.
void write_disk_stat_header(int *unit_divisor, int width);

// One row of the extended layout: the alias for a "dm-" device, the slot's name for others; or, human-readable,
// the slot's name on a line of its own. Requests, throughput and mean response times in milliseconds, each in
// total, of reads, of writes; a response time is 0.00 when no request of its kind completed.
void write_ext_stat(int slot_of_sample, unsigned long long interval_ticks, int unit_divisor,
                    const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous, int width,
                    const char *alias);

// One row of the simple layout: the slot's name, transfers a second, units read and written a second and in
// the whole interval.
void write_basic_stat(int slot_of_sample, unsigned long long interval_ticks, int unit_divisor,
                      const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous);

// The CPU section of the sample `slot_of_sample` against the other: percentages of the interval.
void write_cpu_stat(int slot_of_sample, unsigned long long interval_ticks);

// The same three into a report that is being gathered.
void addHeader(ReportText *text, int *unit_divisor, int width);
void addExtendedRow(ReportText *text, unsigned long long interval_ticks, int unit_divisor,
                    const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous, int width,
                    const char *alias);
void addBasicRow(ReportText *text, unsigned long long interval_ticks, int unit_divisor,
                 const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous);
void addCpuSection(ReportText *text, int slot_of_sample, unsigned long long interval_ticks);

// Rates between two samples.
#pragma once

#include <cstdint>

#include "stats/sample_tables.h"

// The interval in clock ticks between two readings of a clock; 1 when they are equal.
unsigned long long get_interval(unsigned long long previous, unsigned long long current);

// The difference of a counter: modulo 2^32 when it went back from a value of 32 bits (a 32-bit counter that
// wrapped), otherwise the plain 64-bit one.
uint64_t counterDifference(uint64_t previous, uint64_t current);

// The difference per second, and in percent of the interval. `interval_ticks` is at least 1.
double ll_s_value(uint64_t previous, uint64_t current, unsigned long long interval_ticks);
double ll_sp_value(uint64_t previous, uint64_t current, unsigned long long interval_ticks);

// What a device did in an interval. Of the first four only the mean response time is printed.
struct s_ext_disk_stats {
    double busy_share;    // milliseconds of work per second
    double response_time; // mean, in milliseconds a request; 0 when none completed
    double service_time;  // the busy share divided by the rate of requests; 0 when that is 0
    double request_size;  // mean, in sectors; 0 when none completed
    double read_response_time;
    double write_response_time;
};

// Differences of milliseconds are taken modulo 2^32, of requests as plain 64-bit ones.
void compute_ext_disk_stats(const s_iodev *current, const s_iodev *previous,
                            unsigned long long interval_ticks, s_ext_disk_stats *out);

// Requests per second out of two counts, as plain 64-bit difference.
double requestRate(unsigned long previous, unsigned long current, unsigned long long interval_ticks);

namespace dravik {

// One kind of number in total, of reads and of writes.
struct ReadWriteRates {
    double total;
    double read;
    double write;
};

// What a report of the extended layout shows of a device.
struct DeviceRates {
    ReadWriteRates requests;    // a second
    ReadWriteRates throughput;  // in units of `unit_divisor` sectors a second
    ReadWriteRates response_ms; // mean, 0 where no request of the kind completed
};

DeviceRates deviceRates(const s_iodev &current, const s_iodev &previous, unsigned long long interval_ticks,
                        int unit_divisor);

} // namespace dravik

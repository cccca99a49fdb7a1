// Differences and what they mean per second and per request.
#include "stats/rates.h"

#include "stats/cpu_stat.h"

namespace {

double perSecond(uint64_t difference, unsigned long long interval_ticks) {
    return static_cast<double>(difference) / static_cast<double>(interval_ticks) * hz;
}

double perRequest(double amount, unsigned long requests) {
    return requests == 0 ? 0.0 : amount / static_cast<double>(requests);
}

} // namespace

unsigned long long get_interval(unsigned long long previous, unsigned long long current) {
    return current == previous ? 1 : current - previous;
}

uint64_t counterDifference(uint64_t previous, uint64_t current) {
    if (current < previous && previous <= UINT32_MAX) {
        return static_cast<uint32_t>(current - previous);
    }
    return current - previous;
}

double ll_s_value(uint64_t previous, uint64_t current, unsigned long long interval_ticks) {
    return perSecond(counterDifference(previous, current), interval_ticks);
}

double ll_sp_value(uint64_t previous, uint64_t current, unsigned long long interval_ticks) {
    return static_cast<double>(counterDifference(previous, current)) / static_cast<double>(interval_ticks) *
           100;
}

double requestRate(unsigned long previous, unsigned long current, unsigned long long interval_ticks) {
    return perSecond(current - previous, interval_ticks);
}

void compute_ext_disk_stats(const s_iodev *current, const s_iodev *previous,
                            unsigned long long interval_ticks, s_ext_disk_stats *out) {
    const unsigned long reads = current->read_ios - previous->read_ios;
    const unsigned long writes = current->write_ios - previous->write_ios;
    const unsigned long requests = reads + writes;
    // In 32 bits: these counters wrap after 49 days of work.
    const uint32_t read_ms = current->read_ms - previous->read_ms;
    const uint32_t write_ms = current->write_ms - previous->write_ms;
    const uint32_t io_ms = current->io_ms - previous->io_ms;
    const uint64_t sectors =
        current->read_sectors - previous->read_sectors + current->write_sectors - previous->write_sectors;

    const double rate = perSecond(requests, interval_ticks);
    out->busy_share = perSecond(io_ms, interval_ticks);
    out->response_time = perRequest(static_cast<double>(uint64_t{read_ms} + write_ms), requests);
    out->service_time = requests == 0 ? 0.0 : out->busy_share / rate;
    out->request_size = perRequest(static_cast<double>(sectors), requests);
    out->read_response_time = perRequest(read_ms, reads);
    out->write_response_time = perRequest(write_ms, writes);
}

dravik::DeviceRates dravik::deviceRates(const s_iodev &current, const s_iodev &previous,
                                        unsigned long long interval_ticks, int unit_divisor) {
    const auto requests = [&](unsigned long before, unsigned long now) {
        return requestRate(before, now, interval_ticks);
    };
    const auto throughput = [&](uint64_t before, uint64_t now) {
        return ll_s_value(before, now, interval_ticks) / unit_divisor;
    };
    s_ext_disk_stats stats;
    compute_ext_disk_stats(&current, &previous, interval_ticks, &stats);
    return {{requests(previous.read_ios + previous.write_ios, current.read_ios + current.write_ios),
             requests(previous.read_ios, current.read_ios), requests(previous.write_ios, current.write_ios)},
            {throughput(previous.read_sectors + previous.write_sectors,
                        current.read_sectors + current.write_sectors),
             throughput(previous.read_sectors, current.read_sectors),
             throughput(previous.write_sectors, current.write_sectors)},
            {stats.response_time, stats.read_response_time, stats.write_response_time}};
}

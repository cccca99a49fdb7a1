// One sample and report of `devstats`: read the counters, find the slots, compute, print.
//
// Measured on counter files in which every device has worked since the sample before, against what awk takes to
// add up one column of the same file in the same run (median processor time of both, taken in turn; the
// report goes to /dev/null). At the end the ratios, which must stay below 6 and 12, and the peak memory:
//
//   cmake --preset release && cmake --build build/release --target bench_stats && build/release/bench_stats
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "bench/beside_awk.h"
#include "stats/stats.h"

namespace {

constexpr int PATHS = 8;
constexpr int ROUNDS = 31;
constexpr int NAME_WIDTH = 13; // the loop asks for it once, before the first sample

// Two states of one host, three seconds apart, in folders of their own.
class Host {
  public:
    explicit Host(int volumes) : folder("/tmp/dravik-bench-stats-XXXXXX") {
        if (mkdtemp(folder.data()) == nullptr) {
            perror(folder.c_str());
            exit(1);
        }
        counters.resize(static_cast<size_t>(volumes) * (PATHS + 1));
        for (int state = 0; state < 2; state++) {
            roots[state] = folder + (state == 0 ? "/before" : "/after");
            std::filesystem::create_directories(roots[state] + "/proc");
            writeDiskstats(volumes, state);
            std::ofstream(roots[state] + "/proc/stat")
                << "cpu  " << 4000000 + state * 300 << " 0 0 0 0 0 0 0 0 0\n";
            std::ofstream(roots[state] + "/proc/uptime") << 500000 + state * 3 << ".25 1.00\n";
        }
    }
    ~Host() {
        std::filesystem::remove_all(folder);
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    // The root of the tree in state 0 or 1.
    const std::string &root(int state) const {
        return roots[state];
    }

  private:
    void writeDiskstats(int volumes, int state) {
        std::ofstream file(roots[state] + "/proc/diskstats");
        size_t device = 0;
        for (int volume = 0; volume < volumes; volume++) {
            for (int path = 0; path < PATHS; path++) {
                const int number = volume * PATHS + path;
                writeLine(file, 8 + number / 256, number % 256, "xp" + std::to_string(number),
                          &counters[device++]);
            }
        }
        for (int volume = 0; volume < volumes; volume++) {
            writeLine(file, 253, volume, "dm-" + std::to_string(volume), &counters[device++]);
        }
    }
    void writeLine(std::ofstream &file, int major, int minor, const std::string &name, s_iodev *c) {
        c->read_ios += 1000 + random() % 5000;
        c->read_merges += random() % 100;
        c->read_sectors += 8000 + random() % 500000;
        c->read_ms += static_cast<uint32_t>(500 + random() % 9000);
        c->write_ios += 100 + random() % 5000;
        c->write_merges += random() % 100;
        c->write_sectors += 800 + random() % 500000;
        c->write_ms += static_cast<uint32_t>(500 + random() % 9000);
        c->io_ms += static_cast<uint32_t>(random() % 3000);
        c->weighted_io_ms += static_cast<uint32_t>(random() % 30000);
        char line[256];
        snprintf(line, sizeof(line), "%4d %7d %s %lu %lu %lu %u %lu %lu %lu %u %u %u %u 0 0 0 0 0 0\n", major,
                 minor, name.c_str(), c->read_ios, c->read_merges, c->read_sectors, c->read_ms, c->write_ios,
                 c->write_merges, c->write_sectors, c->write_ms, 3U, c->io_ms, c->weighted_io_ms);
        file << line;
    }

    std::string folder;
    std::string roots[2];
    std::vector<s_iodev> counters;
    std::mt19937 random{1}; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same load in every run
};

// The engine as the command leaves it before its loop.
void start(const Host &host, int volumes) {
    st_system_root = host.root(0).c_str();
    st_settings = {};
    st_settings.disk_report = true;
    st_settings.extended_layout = true;
    st_settings.kilobytes = true;
    salloc_dev_list(volumes * (PATHS + 1));
    for (int volume = 0; volume < volumes; volume++) {
        const std::string alias = "vol" + std::to_string(volume);
        update_dev_list(&dlist_idx, ("dm-" + std::to_string(volume)).c_str(), alias.c_str());
        for (int path = 0; path < PATHS; path++) {
            const std::string name = "xp" + std::to_string(volume * PATHS + path);
            update_dev_list(&dlist_idx, name.c_str(), name.c_str());
        }
    }
    get_HZ();
    io_sys_init();
    presave_device_list();
    cur_slot = 1;
}

void sampleAndReport(const Host &host, struct tm *now) {
    cur_slot ^= 1;
    st_system_root = host.root(cur_slot).c_str();
    write_banner(NAME_WIDTH);
    read_uptime(&uptime0[cur_slot]);
    read_stat_cpu(st_cpu[cur_slot], &uptime[cur_slot]);
    read_diskstats_stat(cur_slot);
    write_stats(cur_slot, now, NAME_WIDTH);
}

// Standard output leads to /dev/null while this object lives.
class SilentOutput {
  public:
    SilentOutput() : saved(dup(STDOUT_FILENO)) {
        fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~SilentOutput() {
        fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(saved);
    }
    SilentOutput(const SilentOutput &) = delete;
    SilentOutput &operator=(const SilentOutput &) = delete;

  private:
    int saved;
};

void sampleOfVolumes(benchmark::State &state) {
    const auto volumes = static_cast<int>(state.range(0));
    const Host host(volumes);
    start(host, volumes);
    struct tm now = {};
    const SilentOutput silent;
    sampleAndReport(host, &now);
    while (state.KeepRunning()) {
        sampleAndReport(host, &now);
    }
}

void readingAlone(benchmark::State &state) {
    const auto volumes = static_cast<int>(state.range(0));
    const Host host(volumes);
    start(host, volumes);
    while (state.KeepRunning()) {
        cur_slot ^= 1;
        st_system_root = host.root(cur_slot).c_str();
        read_diskstats_stat(cur_slot);
    }
}

void listFilling(benchmark::State &state) {
    const auto volumes = static_cast<int>(state.range(0));
    const Host host(1);
    while (state.KeepRunning()) {
        start(host, volumes);
    }
}

BENCHMARK(sampleOfVolumes)->Arg(512)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(readingAlone)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(listFilling)->Arg(512)->Arg(4096)->Unit(benchmark::kMillisecond);

// ---- beside awk, in the same run

void besideAwk(int volumes, double *own, double *awk) {
    const Host host(volumes);
    start(host, volumes);
    const std::string command = "awk '{s+=$6} END{print s}' " + host.root(1) + "/proc/diskstats";
    struct tm now = {};
    const SilentOutput silent;
    sampleAndReport(host, &now);
    timeBeside(
        command, ROUNDS, [&] { sampleAndReport(host, &now); }, own, awk);
}

// The peak memory of this process in MiB. The benchmark's own texts are a part of it.
double peakMemory() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    double small = 0;
    double large = 0;
    double awk = 0;
    besideAwk(512, &small, &awk);
    besideAwk(4096, &large, &awk);
    printf("\nsample and report, 4096 volumes of %d paths: %.1f ms; awk over the same file: %.1f ms; ratio "
           "%.2f\n",
           PATHS, large * 1e3, awk * 1e3, large / awk);
    printf("sample and report, 4096 volumes against 512: %.1f times\n", large / small);
    printf("peak memory of this process: %.1f MiB\n", peakMemory());
    return 0;
}

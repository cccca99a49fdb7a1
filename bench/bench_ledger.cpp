// The ledger at 4,096 volumes of 8 paths: what an observation costs the monitor, and what a reader waits.
//
// Measured are a first filling, a cycle in which nothing changes, a target port of the array that takes one path of every
// volume along, and what "dravik check" does: opening, reading, judging every volume. The ledger lies in a folder of its
// own, on the disk of $TMPDIR; the kernel's files are stand-ins, so that every path has an initiator and a port.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "bench/listing_maker.h"
#include "cli/cli_exe.h"
#include "commands/ledger_view.h"
#include "commands/verdict_text.h"
#include "common/comm_util.h"
#include "ledger/event_store.h"
#include "ledger/keeper.h"
#include "ledger/ledger_file.h"
#include "monitor/monitor.h"
#include "struct/s_dravik.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/kernel_folder.h"

using namespace dravik;

namespace {

constexpr int VOLUMES = 4096;
constexpr int PATHS = 8;

// A folder for "/dumps" (see dumps_redirect.h).
class LedgerFolder {
  public:
    LedgerFolder() {
        const char *top = getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe): one thread
        snprintf(dumps_place, sizeof(dumps_place), "%s/dravik-bench-XXXXXX", top == nullptr ? "/tmp" : top);
        if (mkdtemp(dumps_place) == nullptr) {
            perror(dumps_place);
            exit(1);
        }
        log_started = false;
    }
    ~LedgerFolder() {
        std::filesystem::remove_all(dumps_place);
    }
    LedgerFolder(const LedgerFolder &) = delete;
    LedgerFolder &operator=(const LedgerFolder &) = delete;

    static void empty() {
        for (const char *suffix : {"", "-wal", "-shm"}) {
            remove((std::string("/dumps/dravik.db") + suffix).c_str());
        }
    }
    static double mebibytes(const char *suffix) {
        std::error_code none;
        const auto bytes = std::filesystem::file_size(std::string(dumps_place) + "/dravik.db" + suffix, none);
        return none ? 0 : static_cast<double>(bytes) / (1 << 20);
    }
};

// The host's own side of the paths: four adapters, and a map a volume.
void makeKernel(const KernelFolder &kernel) {
    for (int i = 0; i < 4; ++i) {
        const std::string host = std::to_string(i);
        kernel.write("/sys/class/fc_host/host" + host + "/port_name", "0x10000090fa00000" + host + "\n");
    }
    for (int i = 0; i < VOLUMES; ++i) {
        char name[32];
        snprintf(name, sizeof(name), "vol%05d", i);
        kernel.map("dm-" + std::to_string(i), name, 209715200);
    }
    kernel.bootId("3f0c2a9e-0000-4000-8000-000000000001");
}

// The topology, taken from a listing; each of a volume's paths leads to a port of its own.
class Topology {
  public:
    Topology() : head(mallocDravik()) {
        std::string text = makeListing(VOLUMES, PATHS, "ready");
        unsigned int lines = 0;
        initDravik(head);
        parseQueryCmdResultList(text.data(), head, &lines);
        for (s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
            int port = 0;
            for (s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
                snprintf(path->target_port, sizeof(path->target_port), "0x20d0000b5d6a%04x", 0x1010 + port++);
                snprintf(path->host_interface, sizeof(path->host_interface), "fc");
            }
        }
    }
    ~Topology() {
        freeDravik(head);
    }
    Topology(const Topology &) = delete;
    Topology &operator=(const Topology &) = delete;

    void setPort(int number, bool works) {
        for (s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
            s_path_dev *path = firstPathDev(device->pdev);
            for (int i = 0; i < number; ++i) {
                path = nextPathDev(path);
            }
            snprintf(path->path_status, sizeof(path->path_status), "%s", works ? "active" : "failed");
            snprintf(path->checker_state, sizeof(path->checker_state), "%s", works ? "ready" : "faulty");
        }
    }

    s_dravik *head;
};

Topology &topology() {
    static Topology all;
    return all;
}

ToolOutcome goodOutcome() {
    ToolOutcome outcome;
    outcome.tool_ms = 12;
    outcome.duration_ms = 31;
    return outcome;
}

// Ends the benchmark when the monitor has not written what it was to write.
void expectEvents(benchmark::State &state, const LedgerKeeper &keeper, size_t at_least) {
    if (keeper.lastEvents().size() < at_least) {
        state.SkipWithError("the ledger has not been written");
    }
}

void firstFilling(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        LedgerFolder::empty();
        state.ResumeTiming();
        LedgerKeeper keeper;
        keeper.observe(goodOutcome(), topology().head);
        expectEvents(state, keeper, VOLUMES);
    }
}

void unchangedCycle(benchmark::State &state) {
    LedgerFolder::empty();
    LedgerKeeper keeper;
    keeper.observe(goodOutcome(), topology().head);
    expectEvents(state, keeper, VOLUMES);
    for (auto _ : state) {
        keeper.observe(goodOutcome(), topology().head);
    }
}

void portThatTakesPathsAlong(benchmark::State &state) {
    LedgerFolder::empty();
    LedgerKeeper keeper;
    keeper.observe(goodOutcome(), topology().head);
    bool works = true;
    for (auto _ : state) {
        works = !works;
        state.PauseTiming();
        topology().setPort(3, works);
        state.ResumeTiming();
        keeper.observe(goodOutcome(), topology().head);
        expectEvents(state, keeper, VOLUMES);
    }
    topology().setPort(3, true);
    state.counters["events"] = static_cast<double>(keeper.lastEvents().size());
}

void checkOfEverything(benchmark::State &state) {
    LedgerFolder::empty();
    LedgerKeeper keeper;
    keeper.observe(goodOutcome(), topology().head);
    for (auto _ : state) {
        LedgerView view;
        std::string problem;
        if (!readLedger(&view, &problem) || view.volumes.size() != VOLUMES) {
            state.SkipWithError(problem.empty() ? "volumes are missing" : problem.c_str());
            break;
        }
        VolumeList volumes;
        for (const KnownVolume &volume : view.volumes) {
            volumes.push_back(&volume);
        }
        if (verdictOver(view, volumes).state != VolumeState::OK) {
            state.SkipWithError("the verdict is wrong");
        }
    }
}

BENCHMARK(firstFilling)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(unchangedCycle)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(portThatTakesPathsAlong)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(checkOfEverything)->Unit(benchmark::kMillisecond)->UseRealTime();

// The file with so many events, as a port that comes and goes leaves it.
void printFileSize(int64_t events) {
    LedgerFolder::empty();
    LedgerKeeper keeper;
    keeper.observe(goodOutcome(), topology().head);
    const double at_first = LedgerFolder::mebibytes("") + LedgerFolder::mebibytes("-wal");
    int64_t written = 0;
    for (bool works = false; written < events; works = !works) {
        topology().setPort(5, works);
        keeper.observe(goodOutcome(), topology().head);
        if (keeper.lastEvents().empty()) {
            fprintf(stderr, "the ledger has not been written\n");
            exit(1);
        }
        written = keeper.lastEvents().back().number;
    }
    printf("\nthe ledger of %d volumes of %d paths: %.1f MiB after the first filling, its log included; with "
           "%lld "
           "events %.1f MiB, its log %.1f MiB\n",
           VOLUMES, PATHS, at_first, static_cast<long long>(written), LedgerFolder::mebibytes(""),
           LedgerFolder::mebibytes("-wal"));
}

} // namespace

int main(int argc, char **argv) {
    const LedgerFolder folder;
    const KernelFolder kernel;
    makeKernel(kernel);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    printFileSize(100000);
    return 0;
}

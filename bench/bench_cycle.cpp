// One monitor cycle without its child process: parse, flatten, compare, copy.
//
// Measured for a list that is unchanged, wholly new and wholly changed, against what awk takes to count the
// words of the same text in the same run, and with the heap allocations of a steady cycle counted. The log is
// switched off: a change line costs what the disk and the lock cost, which is the log benchmark's subject.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <unistd.h>

#include "bench/beside_awk.h"
#include "bench/listing_maker.h"
#include "cli/cli_exe.h"
#include "common/comm_util.h"
#include "monitor/monitor.h"

// ---- every allocation of this process, counted

static std::atomic<long> allocations{0};

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

void *malloc(size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
void *realloc(void *block, size_t size) {
    ++allocations;
    return __libc_realloc(block, size);
}
}

namespace {

constexpr int PATHS = 8;
const char *const SNAPSHOT = "/tmp/dravik-bench-snapshot";

void makeLists() {
    if (g_pDravik != nullptr) {
        freeDravik(g_pDravik);
        freeLunpath(g_pLunPath);
        freeLunpath(g_pOldLunPath);
    }
    log_started = false;
    snprintf(lunPathFile, sizeof(lunPathFile), "%s", SNAPSHOT);
    g_pLunPath = mallocLunpath();
    g_pOldLunPath = mallocLunpath();
    g_pDravik = mallocDravik();
}

void cycle(std::string *text) {
    unsigned int lines = 0;
    initDravik(g_pDravik);
    parseQueryCmdResultList(text->data(), g_pDravik, &lines);
    cvtDravikToLunpath(g_pDravik, g_pLunPath);
    cmpAndLog();
    cpyLunpath(g_pLunPath, g_pOldLunPath);
}

void unchanged(benchmark::State &state) {
    const auto volumes = static_cast<int>(state.range(0));
    std::string text = makeListing(volumes, PATHS, "ready");
    makeLists();
    cycle(&text);
    for (auto _ : state) {
        cycle(&text);
    }
    const long before = allocations;
    cycle(&text);
    state.counters["allocations"] = static_cast<double>(allocations - before);
    state.SetComplexityN(volumes);
}

void whollyNew(benchmark::State &state) {
    std::string text = makeListing(static_cast<int>(state.range(0)), PATHS, "ready");
    makeLists();
    cycle(&text);
    for (auto _ : state) {
        initLunpath(g_pOldLunPath);
        cycle(&text);
    }
}

void whollyChanged(benchmark::State &state) {
    std::string texts[] = {makeListing(static_cast<int>(state.range(0)), PATHS, "ready"),
                           makeListing(static_cast<int>(state.range(0)), PATHS, "faulty")};
    makeLists();
    cycle(texts);
    int turn = 0;
    for (auto _ : state) {
        turn = 1 - turn;
        cycle(&texts[turn]);
    }
}

BENCHMARK(unchanged)->Arg(512)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(whollyNew)->Arg(512)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(whollyChanged)->Arg(512)->Arg(4096)->Unit(benchmark::kMillisecond);

// ---- beside awk, in the same run

// The median processor time of a cycle with `volumes` volumes, and of awk over the same text, taken in turn.
void besideAwk(int volumes, double *own, double *awk) {
    std::string text = makeListing(volumes, PATHS, "ready");
    char file[] = "/tmp/dravik-bench-XXXXXX";
    const int fd = mkstemp(file);
    std::ofstream(file) << text;
    const std::string command = std::string("awk '{n+=NF} END{print n}' ") + file + " > /dev/null";
    makeLists();
    cycle(&text);
    timeBeside(
        command, 21, [&text] { cycle(&text); }, own, awk);
    close(fd);
    unlink(file);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    unlink(SNAPSHOT);
    double small = 0;
    double large = 0;
    double awk = 0;
    besideAwk(512, &small, &awk);
    besideAwk(4096, &large, &awk);
    printf("\nsteady cycle, 4096 volumes of %d paths: %.1f ms; awk over the same text: %.1f ms; ratio %.2f\n",
           PATHS, large * 1e3, awk * 1e3, large / awk);
    printf("steady cycle, 4096 volumes against 512: %.1f times\n", large / small);
    return 0;
}

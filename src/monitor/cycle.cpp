// The monitor's lists and its cycle.
#include "monitor/cycle.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <malloc.h>
#include <new>
#include <unistd.h>

#include "common/capture.h"
#include "common/log.h"
#include "monitor/change_detection.h"
#include "monitor/observing.h"
#include "monitor/service_state.h"
#include "monitor/snapshot.h"
#include "topology/topology_query.h"

s_lunPath *g_pLunPath = nullptr;
s_lunPath *g_pOldLunPath = nullptr;
s_dravik *g_pDravik = nullptr;

char lunPathDir[8] = "/dumps/";
char lunPathFileName[12] = "data.dravik";
char lunPathFile[512] = "";

namespace {

constexpr long PERIOD_SECONDS = 10;
constexpr size_t ERROR_TEXT_SIZE = 256;

// Logs a failure of the cycle with the formatted record, which brings its own full stop: these lines end in two.
#define LOG_FAILURE(level, what, result)                                                                     \
    do {                                                                                                     \
        char text[ERROR_TEXT_SIZE] = "";                                                                     \
        getErrorMsg(result, text, sizeof(text));                                                             \
        DRAVIK_LOG(level, what " Error message: %s.", text);                                                 \
        DRAVIK_TRACE(what " Error message: %s.", text);                                                      \
    } while (false)

// The last query of the topology, for the ledger: whatever became of the records behind it.
struct Query {
    const s_ecItems *record;
    timespec begun;
    long long duration_ms;
};
Query last_query = {&EC_exe_cmd_failed, {}, 0};

long long millisecondsSince(const timespec &then) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - then.tv_sec) * 1000LL + (now.tv_nsec - then.tv_nsec) / 1000000;
}

// The most records that a good cycle has had, and whether the cycle before this one failed.
unsigned int largest_topology = 0;
bool has_failed = false;

// A failed cycle may have grown the lists out of all proportion, over a volume without paths or a tool gone mad. Its
// nodes serve the next failed one, so that they are asked for and logged once; the first good cycle gives them back.
void giveBackExcess() {
    largest_topology = std::max(largest_topology, dravik::countNodes(g_pLunPath));
    if (!has_failed) {
        return;
    }
    has_failed = false;
    const unsigned int kept = 2 * largest_topology;
    dravik::giveBackNodes(g_pLunPath, kept, freeLunpath);
    dravik::giveBackNodes(g_pOldLunPath, kept, freeLunpath);
    dravik::giveBackNodes(g_pDravik, kept, freeDravik);
    for (s_dravik *device = g_pDravik->next; device != nullptr; device = device->next) {
        if (device->pdev != nullptr) {
            dravik::giveBackNodes(device->pdev, kept, freePathDev);
        }
    }
    malloc_trim(0);
}

// A head, as soon as there is memory for one: without its lists the monitor would report everything as new for ever.
template <typename Node> Node *makeHead(Node *(*make)()) {
    Node *head = make();
    while (head == nullptr) {
        sleep(1);
        head = make();
    }
    return head;
}

// Whether the copy that follows the comparison will need no memory: a copy that failed half-way would make volumes, which
// have been there all the time, new in the next cycle.
bool canBeCopied() {
    return dravik::haveNodes(g_pOldLunPath, dravik::countNodes(g_pLunPath), mallocLunpath);
}

// Compares and logs. False when memory ran out before anything was logged.
bool compare() {
    try {
        cmpAndLog();
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

// The monitor is ready, alive, and this is how it is. What a full queue did not take is told again in a second, and that it is
// ready until it has been taken: the service manager would wait for it until it gives up. That is before the first cycle and
// not behind it: the multipath tool may take longer than a service manager waits.
void tellState() {
    static bool has_told_ready = false;
    if (!dravik::hasServiceManager()) {
        return;
    }
    has_told_ready = has_told_ready || dravik::tellServiceManager("READY=1");
    if (dravik::isWatched()) {
        dravik::tellServiceManager("WATCHDOG=1");
    }
    try {
        dravik::tellServiceManager(("STATUS=" + dravik::presentStatus()).c_str());
    } catch (const std::bad_alloc &) {
        // The state is told again in a second.
    }
}

// Sleeps for so many seconds: at a stretch, or second by second where somebody is told how old the observation is.
void pauseFor(unsigned int seconds) {
    if (!dravik::hasServiceManager()) {
        sleep(seconds);
        return;
    }
    for (; seconds > 0; --seconds) {
        tellState();
        sleep(1);
    }
}

} // namespace

void initMonitor() {
    g_pLunPath = makeHead(mallocLunpath);
    g_pOldLunPath = makeHead(mallocLunpath);
    g_pDravik = makeHead(mallocDravik);
    snprintf(lunPathFile, sizeof(lunPathFile), "%s%s", lunPathDir, lunPathFileName);
    readLunPathToFile(g_pOldLunPath, lunPathFile);
}

[[noreturn]] void start() {
    DRAVIK_TRACE("Start velomux monitor...");
    dravik::setChildDeadline(dravik::TOOL_DEADLINE_SECONDS, tellState);
    for (;;) {
        DRAVIK_TRACE("One monitor...");
        const time_t begun = time(nullptr);
        tellState();
        oneMonitor();
        dravik::observeCycle(last_query.record, last_query.duration_ms, millisecondsSince(last_query.begun));
        // What lived for this cycle alone, the listing and the links and the ledger's comparison, is as large as the lists.
        malloc_trim(0);
        pauseFor(pauseAfterCycle(difftime(time(nullptr), begun)));
    }
}

unsigned int pauseAfterCycle(double elapsed) {
    const long seconds = static_cast<long>(elapsed);
    return seconds < PERIOD_SECONDS ? static_cast<unsigned int>(PERIOD_SECONDS - seconds) : 1;
}

void oneMonitor() {
    const s_ecItems *result = getLunPath();
    if (!isFailure(result) && !canBeCopied()) {
        LOG_FAILURE(LOG_ERROR, "Copy lun and path information failed.", &EC_molloc_failed);
        has_failed = true;
        return;
    }
    if (!isFailure(result) && !compare()) {
        result = &EC_molloc_failed;
    }
    if (isFailure(result)) {
        LOG_FAILURE(LOG_ERROR, "Get lun and path information failed.", result);
        has_failed = true;
        return;
    }
    cpyLunpath(g_pLunPath, g_pOldLunPath);
    giveBackExcess();
}

s_ecItems *getLunPath() {
    initDravik(g_pDravik);
    initLunpath(g_pLunPath);
    timespec begun = {};
    clock_gettime(CLOCK_MONOTONIC, &begun);
    s_ecItems *result = queryDravikInfo(g_pDravik);
    last_query = {result, begun, millisecondsSince(begun)};
    if (isFailure(result)) {
        LOG_FAILURE(LOG_ERROR, "Query Dravik infomation failed.", result);
        return result;
    }
    result = cvtDravikToLunpath(g_pDravik, g_pLunPath);
    if (isFailure(result)) {
        LOG_FAILURE(LOG_ERROR, "Convert data from Struct s_dravik to s_lunPath failed.", result);
        return result;
    }
    return &EC_ok;
}

void test() {
    DRAVIK_TRACE("== Start velomux monitor test...");
    const s_ecItems *result = getLunPath();
    if (isFailure(result)) {
        constexpr unsigned int LEVEL_ONE = 1; // no named level: its word is "LEVEL[1]"
        LOG_FAILURE(LOG_ERROR, "Get lun and path information failed.", result);
        char text[ERROR_TEXT_SIZE] = "";
        getErrorMsg(result, text, sizeof(text));
        DRAVIK_LOG(LEVEL_ONE, "Get lun and path information failed. Error message: %s.", text);
        return;
    }
    printLunPath(g_pLunPath);
    DRAVIK_TRACE("== Start writeLunPathToFile...");
    DRAVIK_TRACE("== Start readLunPathToFile...");
    readLunPathToFile(g_pOldLunPath, lunPathFile);
    DRAVIK_TRACE("== End readLunPathToFile");
    printLunPath(g_pOldLunPath);
}

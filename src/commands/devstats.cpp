// The command `devstats`: from the topology to the statistics engine.
#include "commands/devstats.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>
#include <unistd.h>

#include "common/exit_status.h"
#include "common/visible_text.h"
#include "stats/cpu_stat.h"
#include "stats/device_list.h"
#include "stats/device_names.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"
#include "topology/topology_query.h"

namespace {

// The statistics' own end when memory runs out, here as in the engine.
[[noreturn]] void endWithoutMemory() {
    errno = ENOMEM;
    perror("malloc");
    exit(dravik::EXIT_NO_MEMORY);
}

// Takes a topology with `ask`, which also tells the number of lines of the listing, and registers it.
template <typename Ask> s_ecItems *registerTopology(Ask ask) {
    const DravikList head(mallocDravik(), freeDravik);
    if (head == nullptr) {
        return &EC_molloc_failed;
    }
    unsigned int lines = 0;
    s_ecItems *result = ask(head.get(), &lines);
    if (!isFailure(result)) {
        salloc_dev_list(static_cast<int>(lines));
        try {
            printDravikStats(firstDravik(head.get()));
        } catch (const std::bad_alloc &) {
            endWithoutMemory();
        }
    }
    return result;
}

// The name that the engine shows a device by.
const char *shownName(const char *name) {
    const char *shown = device_name(name);
    const char *persistent = st_settings.persistent_names ? get_pretty_name_from_persistent(shown) : nullptr;
    return persistent != nullptr ? persistent : shown;
}

// Gets the engine ready for what has been registered, and the alarm that paces it, and has `take` take the samples.
template <typename Take> [[noreturn]] void sampleRegistered(unsigned int seconds, const Take &take) {
    get_HZ();
    set_disk_output_unit();
    st_settings.disk_report = true;
    st_settings.extended_layout = true;
    int state = 0;
    long count = 0;
    set_stat_interval(&state, &count, &st_interval, static_cast<long>(seconds));
    io_sys_init();
    presave_device_list();
    initSignal();

    struct sigaction action = {};
    action.sa_handler = alarm_handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART; // the wait ends all the same
    sigaction(SIGALRM, &action, nullptr);
    alarm(seconds);

    struct tm now = {};
    try {
        take(count, &now);
    } catch (const std::bad_alloc &) {
        endWithoutMemory();
    }
    exit(0);
}

} // namespace

s_ecItems *queryDevStats() {
    return registerTopology(queryDravikStats);
}

s_ecItems *querySingleDevStats(const char *device_name) {
    return registerTopology([device_name](s_dravik *head, unsigned int *lines) {
        return querySingleDravikStats(head, device_name, lines);
    });
}

void printDravikStats(const s_dravik *first) {
    for (const s_dravik *device = first; device != nullptr; device = nextDravik(device)) {
        _printOneDravikStats(device);
    }
}

void _printOneDravikStats(const s_dravik *device) {
    char name[DEVICE_NAME_SIZE] = "";
    snprintf(name, sizeof(name), "dm-%s", device->device_number);
    update_dev_list(&dlist_idx, shownName(name), dravik::VisibleText(device->path_alias).text());
    for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        update_dev_list(&dlist_idx, shownName(path->dev_name), path->dev_name);
    }
}

void sampleDevStats(unsigned int seconds) {
    sampleRegistered(seconds, [](long count, struct tm *now) { rw_io_stat_loop(count, now); });
}

void dravik::sampleDevStatsInto(unsigned int seconds, const SampleUse &use) {
    sampleRegistered(seconds, [&use](long count, struct tm *now) { sampleOverAndOver(count, now, use); });
}

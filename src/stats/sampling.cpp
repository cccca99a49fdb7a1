// Sample, report, wait.
#include "stats/sampling.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "stats/cpu_stat.h"
#include "stats/device_groups.h"
#include "stats/device_list.h"
#include "stats/diskstats.h"
#include "stats/report.h"
#include "stats/report_layout.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"
#include "stats/sysfs_stat.h"

namespace {

sigset_t loopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGALRM);
    return signals;
}

void readClocks() {
    if (cpu_nr > 1) {
        read_uptime(&uptime0[cur_slot]);
    }
    read_stat_cpu(st_cpu[cur_slot], &uptime[cur_slot]);
}

void readCounters() {
    const bool listed = dlist_idx > 0;
    if (st_settings.has_diskstats && !(listed && st_settings.partitions)) {
        read_diskstats_stat(cur_slot);
    } else if (st_settings.has_sysfs && listed) {
        read_sysfs_dlist_stat(cur_slot);
    } else if (st_settings.has_sysfs) {
        read_sysfs_stat(cur_slot);
    }
}

void takeSample(struct tm *tm) {
    readClocks();
    readCounters();
    if (group_nr > 0) {
        compute_device_groups_stats(cur_slot);
    }
    const time_t now = time(nullptr);
    localtime_r(&now, tm);
}

} // namespace

void exitHandler(int sig) {
    if (sig != SIGINT) {
        return;
    }
    io_sys_free();
    sfree_dev_list();
    printf("\n");
    exit(0);
}

void initSignal() {
    fflush(stdout);
    const sigset_t signals = loopSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    struct sigaction action = {};
    action.sa_handler = exitHandler;
    if (sigaction(SIGINT, &action, nullptr) != 0) {
        printf("set signal ctrl+c failure!");
    }
}

void alarm_handler(int /*sig*/) {
    alarm(static_cast<unsigned int>(st_interval));
}

void rw_io_stat_loop(long count, struct tm *tm) {
    const int width = get_max_dev_alias_name_len();
    dravik::sampleOverAndOver(count, tm,
                              {[width] { write_banner(width); },
                               [width, tm](int slot_of_sample) { write_stats(slot_of_sample, tm, width); }});
}

void dravik::sampleOverAndOver(long count, struct tm *tm, const SampleUse &use) {
    const sigset_t signals = loopSignals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &signals, &before);
    sigset_t waiting = before;
    sigdelset(&waiting, SIGINT);
    sigdelset(&waiting, SIGALRM);

    cur_slot = 1;
    bool skip = st_settings.omit_first_report && st_interval > 0;
    setvbuf(stdout, nullptr, _IONBF, 0);
    do {
        if (!skip) {
            use.before();
        }
        takeSample(tm);
        if (skip) {
            skip = false;
        } else {
            use.after(cur_slot);
            count -= count > 0 ? 1 : 0;
        }
        if (count != 0) {
            cur_slot ^= 1;
            sigsuspend(&waiting);
        }
    } while (count != 0);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

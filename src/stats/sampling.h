// The sampling loop and its signals.
//
// SIGALRM paces the loop and SIGINT ends it. From initSignal on both are held back and let in only while the
// loop waits, so neither can interrupt an allocation or a line half written; an alarm that fires during a long
// sample is taken as soon as the loop waits. SIGTERM and all others do what they do.
#pragma once

#include <ctime>
#include <functional>

// The handler of SIGINT: releases the tables and the device list, prints a newline and exits with status 0.
// Other signals are ignored by it.
void exitHandler(int sig);

// Flushes standard output, holds SIGINT and SIGALRM back and installs exitHandler for SIGINT. When that fails:
// "set signal ctrl+c failure!" on standard output, and the command goes on.
void initSignal();

// The handler of SIGALRM: alarm(st_interval), which must be 1 to UINT_MAX.
void alarm_handler(int sig);

// Takes a sample, prints its report, waits for the next signal, over and over, `count` times; with -1 it never
// ends. `tm` receives the local time of each sample. The tables are initialised and the list is presaved.
// A report is the banner and what write_stats prints. With omit_first_report and a positive interval the first
// sample (counts since boot) is taken but not printed and not counted. Standard output becomes unbuffered.
void rw_io_stat_loop(long count, struct tm *tm);

namespace dravik {

// What becomes of each sample: `before` is called before it is taken, `after` behind it with the sample's slot.
struct SampleUse {
    std::function<void()> before;
    std::function<void(int slot_of_sample)> after;
};

// The loop alone: takes a sample, hands it to `use`, waits for the next signal, over and over, `count` times; with -1 it
// never ends. The rest is as in rw_io_stat_loop.
void sampleOverAndOver(long count, struct tm *tm, const SampleUse &use);

} // namespace dravik

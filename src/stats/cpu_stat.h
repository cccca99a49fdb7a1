// Processor time and uptime: the clocks that rates are measured against.
#pragma once

#include <cstdint>

// The "cpu" line of /proc/stat in clock ticks (the kernel's admin guide, "/proc/stat"). One sample takes 320
// bytes.
struct s_cpu {
    uint64_t user;
    uint64_t nice;
    uint64_t system;
    uint64_t idle;
    uint64_t iowait;
    uint64_t hard_interrupt;
    uint64_t soft_interrupt;
    uint64_t steal;
    uint64_t guest;      // part of user
    uint64_t guest_nice; // part of nice
    unsigned char reserved[240];
};

extern s_cpu *st_cpu[2]; // allocated by io_sys_init, zero at start

// Of each sample: the ticks of all processors together, and the ticks since boot.
extern unsigned long long uptime[2];
extern unsigned long long uptime0[2];

extern unsigned int hz; // clock ticks a second; set by get_HZ
extern int cpu_nr;      // processors; set by io_sys_init

// Sets `hz` from sysconf(_SC_CLK_TCK).
void get_HZ();

// The number of processors online, at least 1.
int get_cpu_nr();

// Reads the "cpu" line of /proc/stat into `*cpu` and the sum of its fields into `*ticks`, the guest fields
// apart, which the kernel counts in user and nice as well. Both are zero when there is no such line.
void read_stat_cpu(s_cpu *cpu, unsigned long long *ticks);

// Reads /proc/uptime ("351735.47 234388.90") into `*ticks`: seconds x hz + hundredths x hz / 100. 0 when it
// cannot be read.
void read_uptime(unsigned long long *ticks);

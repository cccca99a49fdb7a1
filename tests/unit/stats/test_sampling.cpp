// The loop: what it prints sample by sample, and what the signals do to it.
#include "stats/sampling.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "stats/stats.h"
#include "tests/support/report_texts.h"
#include "tests/support/stats_host.h"

namespace {

// A command's child process: the loop with its output in a pipe whose every write arrives by itself.
class Command {
  public:
    explicit Command(const std::function<void()> &run) {
        int ends[2];
        if (pipe2(ends, O_DIRECT | O_CLOEXEC) != 0) {
            ADD_FAILURE() << "pipe2: " << strerror(errno);
            return;
        }
        pid = fork();
        if (pid == 0) {
            dup2(ends[1], STDOUT_FILENO);
            run();
            fflush(stdout);
            _exit(77);
        }
        close(ends[1]);
        output = ends[0];
    }
    ~Command() {
        if (!ended) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        close(output);
    }
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;

    // The next write of the child; empty when there is none for long, or at the end.
    std::string nextWrite(int patience_ms = 30000) const {
        static char packet[65536];
        pollfd ready = {output, POLLIN, 0};
        if (poll(&ready, 1, patience_ms) <= 0) {
            return "";
        }
        const ssize_t got = read(output, packet, sizeof(packet));
        return {packet, got > 0 ? static_cast<size_t>(got) : 0};
    }
    // So many bytes, in as many writes as it takes.
    std::string nextBytes(size_t count) const {
        std::string text;
        while (text.size() < count) {
            const std::string piece = nextWrite();
            if (piece.empty()) {
                break;
            }
            text += piece;
        }
        return text;
    }
    void signal(int number) const {
        kill(pid, number);
    }
    // Everything until the end, and the wait status.
    std::string rest() {
        std::string text;
        for (;;) {
            const std::string piece = nextWrite();
            if (piece.empty()) {
                break;
            }
            text += piece;
        }
        waitpid(pid, &status, 0);
        ended = true;
        return text;
    }
    // Whether the child sleeps in its wait for a signal.
    bool isWaiting() const {
        char path[64];
        snprintf(path, sizeof(path), "/proc/%d/syscall", static_cast<int>(pid));
        for (int i = 0; i < 3000; i++) {
            FILE *file = fopen(path, "re");
            char text[64] = "";
            const bool known = file != nullptr && fgets(text, sizeof(text), file) != nullptr;
            if (file != nullptr) {
                fclose(file);
            }
            if (!known) {
                usleep(300000); // no such file in this kernel: time must do
                return true;
            }
            if (strncmp(text, "130 ", 4) == 0 ||
                strncmp(text, "133 ", 4) == 0) { // rt_sigsuspend: x86-64, arm64
                return true;
            }
            usleep(10000);
        }
        return false;
    }

    int status = 0;

  private:
    pid_t pid = -1;
    int output = -1;
    bool ended = false;
};

class Sampling : public testing::Test {
  protected:
    StatsHost host;
    tm local = {};

    // The engine as the command leaves it before the loop.
    void start(const std::vector<std::string> &names, const std::string &counters) {
        host.diskstats(counters);
        host.write("/proc/stat", "cpu  100 0 0 100 0 0 0 0 0 0\n");
        host.write("/proc/uptime", "2.00 1.00\n");
        listDevices(names);
        get_HZ();
        hz = 100;
        set_disk_output_unit();
        st_settings.kilobytes = true;
        st_settings.disk_report = true;
        st_settings.extended_layout = true;
        int state = 0;
        long count = 0;
        set_stat_interval(&state, &count, &st_interval, 3600);
        io_sys_init();
        cpu_nr = 1;
        presave_device_list();
    }
    std::string loop(long count) {
        testing::internal::CaptureStdout();
        rw_io_stat_loop(count, &local);
        return testing::internal::GetCapturedStdout();
    }
    void installAlarm() {
        struct sigaction action = {};
        action.sa_handler = alarm_handler;
        sigaction(SIGALRM, &action, nullptr);
    }
};

const std::string COUNTERS =
    diskstatsLine("dm-3", {4, 0, 80, 8, 2, 0, 40, 1}) + diskstatsLine("sdb", {4, 0, 80, 8});
// Since boot, two seconds ago.
const std::string REPORT =
    std::string(HEADER) +
    "mpatha             3.00     2.00     1.00      30.00     20.00     10.00    1.50    2.00    0.50 \n"
    "Path:\n"
    "sdb                2.00     2.00     0.00      20.00     20.00      0.00    2.00    2.00    0.00 \n"
    "\n";

TEST_F(Sampling, OneReportIsTheBannerAndTheCountsSinceBoot) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    EXPECT_EQ(loop(1), BANNER + REPORT);
    EXPECT_EQ(cur_slot, 1);
    const time_t now = time(nullptr);
    EXPECT_LE(std::abs(difftime(now, mktime(&local))), 60.0);
}

TEST_F(Sampling, TheSecondReportIsOfTheInterval) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    installAlarm();
    Command command([this] { rw_io_stat_loop(2, &local); });
    EXPECT_EQ(command.nextBytes(strlen(BANNER) + REPORT.size()), BANNER + REPORT);
    ASSERT_TRUE(command.isWaiting());
    host.diskstats(diskstatsLine("dm-3", {304, 0, 1080, 308, 2, 0, 40, 1}) +
                   diskstatsLine("sdb", {4, 0, 80, 8}));
    host.write("/proc/stat", "cpu  200 0 0 300 0 0 0 0 0 0\n"); // three seconds later
    command.signal(SIGALRM);
    EXPECT_EQ(command.rest(), std::string(BANNER) + HEADER +
                                  "mpatha           100.00   100.00     0.00     166.67    166.67      0.00  "
                                  "  1.00    1.00    0.00 \n"
                                  "Path:\n"
                                  "sdb                0.00     0.00     0.00       0.00      0.00      0.00  "
                                  "  0.00    0.00    0.00 \n"
                                  "\n");
    EXPECT_TRUE(WIFEXITED(command.status));
    EXPECT_EQ(WEXITSTATUS(command.status), 77);
}

TEST_F(Sampling, ABannerAndAReportAreOneWriteEach) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    Command command([this] { rw_io_stat_loop(-1, &local); });
    EXPECT_EQ(command.nextWrite(), BANNER);
    std::string report = command.nextWrite();
    // A pipe may take fewer bytes at a time than were written.
    if (report.size() == 4096) {
        report += command.nextWrite();
    }
    EXPECT_EQ(report, REPORT);
}

TEST_F(Sampling, ADeviceThatAppearsLaterIsMeasuredFromZeroAndOneThatVanishesLeavesTheReport) {
    start({"dm-3=mpatha", "sdb"}, diskstatsLine("sdb", {4, 0, 80, 8}));
    installAlarm();
    Command command([this] { rw_io_stat_loop(3, &local); });
    const std::string sdb =
        "sdb                2.00     2.00     0.00      20.00     20.00      0.00    2.00    2.00    0.00 \n";
    EXPECT_EQ(command.nextBytes(strlen(BANNER) + strlen(HEADER) + sdb.size() + 1),
              std::string(BANNER) + HEADER + sdb + "\n");
    ASSERT_TRUE(command.isWaiting());
    host.diskstats(diskstatsLine("dm-3", {500, 0, 1000, 250}));
    host.write("/proc/stat", "cpu  200 0 0 200 0 0 0 0 0 0\n");
    command.signal(SIGALRM);
    const std::string second =
        std::string(BANNER) + HEADER +
        "mpatha           250.00   250.00     0.00     250.00    250.00      0.00    0.50    0.50    0.00 \n"
        "Path:\n\n";
    EXPECT_EQ(command.nextBytes(second.size()), second);
    ASSERT_TRUE(command.isWaiting());
    host.remove("/proc/diskstats");
    command.signal(SIGALRM);
    EXPECT_EQ(command.rest(), std::string(BANNER) + HEADER + "\n");
}

TEST_F(Sampling, RowsComeBackWithTheCounterFile) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    installAlarm();
    host.diskstats("");
    Command command([this] { rw_io_stat_loop(2, &local); });
    const std::string none = std::string(BANNER) + HEADER + "\n";
    EXPECT_EQ(command.nextBytes(none.size()), none);
    ASSERT_TRUE(command.isWaiting());
    host.diskstats(COUNTERS);
    host.write("/proc/stat", "cpu  200 0 0 200 0 0 0 0 0 0\n");
    command.signal(SIGALRM);
    EXPECT_EQ(command.rest(), BANNER + REPORT);
}

TEST_F(Sampling, AnOmittedFirstReportIsTakenButNeitherPrintedNorCounted) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    installAlarm();
    st_settings.omit_first_report = true;
    Command command([this] { rw_io_stat_loop(1, &local); });
    ASSERT_TRUE(command.isWaiting());
    EXPECT_EQ(command.nextWrite(0), "");
    host.diskstats(diskstatsLine("dm-3", {304, 0, 1080, 308, 2, 0, 40, 1}));
    host.write("/proc/stat", "cpu  200 0 0 300 0 0 0 0 0 0\n");
    command.signal(SIGALRM);
    EXPECT_EQ(command.rest(), std::string(BANNER) + HEADER +
                                  "mpatha           100.00   100.00     0.00     166.67    166.67      0.00  "
                                  "  1.00    1.00    0.00 \n"
                                  "Path:\n\n");
}

TEST_F(Sampling, WithoutAnIntervalTheFirstReportIsNotOmitted) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    st_settings.omit_first_report = true;
    st_interval = 0;
    EXPECT_EQ(loop(1), BANNER + REPORT);
}

TEST_F(Sampling, WithSeveralProcessorsTheHostsClockIsRead) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    cpu_nr = 8;
    host.write("/proc/stat", "cpu  1600 0 0 0 0 0 0 0 0 0\n");
    EXPECT_EQ(loop(1), BANNER + REPORT);
    EXPECT_EQ(uptime0[1], 200U);
    EXPECT_EQ(uptime[1], 1600U);
}

TEST_F(Sampling, TheCounterSourceFollowsListAndSettings) {
    const std::string disk_file = "7 0 0 0 0 0 0 0 0 0 0\n";
    host.write("/sys/block/sdb/stat", disk_file);
    host.write("/sys/block/sdz/stat", disk_file);
    const std::string from_file = "sdb:1:1:4/0 ";
    const std::string listed_sysfs = "sdb:1:1:7/0 ";
    const auto sample = [&](bool diskstats, bool sysfs, bool partitions, bool list) {
        io_sys_free();
        sfree_dev_list();
        start({"sdb"}, diskstatsLine("sdb", {4}));
        if (!list) {
            sfree_dev_list();
        }
        st_settings.has_diskstats = diskstats;
        st_settings.has_sysfs = sysfs;
        st_settings.partitions = partitions;
        loop(1);
        return slotsOf(1);
    };
    EXPECT_EQ(sample(true, false, false, true), from_file);
    EXPECT_EQ(sample(true, true, false, true), from_file);
    EXPECT_EQ(sample(true, true, true, true), listed_sysfs);
    EXPECT_EQ(sample(true, false, true, true), "sdb:1:1:0/0 :1:1:0/0 "); // nothing is read
    EXPECT_EQ(sample(false, true, false, true), listed_sysfs);
    EXPECT_EQ(sample(false, true, true, true), listed_sysfs);
    EXPECT_EQ(sample(false, false, false, true), "sdb:1:1:0/0 :1:1:0/0 ");
    EXPECT_EQ(sample(true, true, true, false), from_file);
    const std::string all = sample(false, true, false, false);
    EXPECT_TRUE(all.find("sdb:1:1:7/0") != std::string::npos && all.find("sdz:1:1:7/0") != std::string::npos)
        << all;
}

TEST_F(Sampling, GroupsAreAddedUpWhenThereAreAny) {
    group_nr = 1;
    strcpy(st_group_name, " all");
    start({"sdb", "sdc"}, diskstatsLine("sdb", {4, 0, 0, 0, 1}) + diskstatsLine("sdc", {5}));
    loop(1);
    EXPECT_EQ(slotsOf(1), "sdb:1:1:4/1 sdc:1:1:5/0  all:2:2:9/1 ");
}

// ---- signals

TEST_F(Sampling, CtrlCPrintsANewlineAndExitsWithZero) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    Command command([this] {
        initSignal();
        rw_io_stat_loop(-1, &local);
    });
    EXPECT_EQ(command.nextBytes(strlen(BANNER) + REPORT.size()), BANNER + REPORT);
    ASSERT_TRUE(command.isWaiting());
    command.signal(SIGINT);
    EXPECT_EQ(command.rest(), "\n");
    EXPECT_TRUE(WIFEXITED(command.status));
    EXPECT_EQ(WEXITSTATUS(command.status), 0);
}

TEST_F(Sampling, CtrlCAndTheAlarmDuringASampleWaitForTheWholeReport) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    host.remove("/proc/diskstats");
    ASSERT_EQ(mkfifo(host.path("/proc/diskstats").c_str(), 0600), 0);
    installAlarm();
    Command command([this] {
        initSignal();
        rw_io_stat_loop(-1, &local);
    });
    EXPECT_EQ(command.nextWrite(), BANNER);
    // The command hangs in opening the counters: the sample is half taken.
    command.signal(SIGALRM);
    command.signal(SIGINT);
    EXPECT_EQ(command.nextWrite(200), "");
    host.diskstats(COUNTERS);
    EXPECT_EQ(command.rest(), REPORT + "\n");
    EXPECT_TRUE(WIFEXITED(command.status));
    EXPECT_EQ(WEXITSTATUS(command.status), 0);
}

TEST_F(Sampling, AnAlarmThatFiresDuringASampleIsNotLost) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    host.remove("/proc/diskstats");
    ASSERT_EQ(mkfifo(host.path("/proc/diskstats").c_str(), 0600), 0);
    installAlarm();
    Command command([this] { rw_io_stat_loop(2, &local); });
    EXPECT_EQ(command.nextWrite(), BANNER);
    command.signal(SIGALRM);
    host.diskstats(COUNTERS);
    EXPECT_EQ(command.nextBytes(REPORT.size() + strlen(BANNER)),
              REPORT + BANNER); // the second sample has begun
    host.diskstats(COUNTERS);
    command.rest();
    EXPECT_EQ(WEXITSTATUS(command.status), 77);
}

TEST_F(Sampling, TerminationEndsItAsTheSystemDoesAlsoDuringASample) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    host.remove("/proc/diskstats");
    ASSERT_EQ(mkfifo(host.path("/proc/diskstats").c_str(), 0600), 0);
    Command command([this] {
        initSignal();
        rw_io_stat_loop(-1, &local);
    });
    EXPECT_EQ(command.nextWrite(), BANNER);
    command.signal(SIGTERM);
    EXPECT_EQ(command.rest(), "");
    EXPECT_TRUE(WIFSIGNALED(command.status));
    EXPECT_EQ(WTERMSIG(command.status), SIGTERM);
}

TEST_F(Sampling, AReaderThatGoesAwayEndsItAsTheSystemDoes) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    installAlarm();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        initSignal();
        alarm(1);
        rw_io_stat_loop(-1, &local);
        _exit(77);
    }
    close(ends[1]);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGPIPE);
}

TEST_F(Sampling, TheAlarmHandlerArmsTheNextInterval) {
    st_interval = 3600;
    alarm_handler(SIGALRM);
    const unsigned int left = alarm(0);
    EXPECT_GE(left, 3599U);
    EXPECT_LE(left, 3600U);
}

TEST_F(Sampling, TheAlarmPacesTheLoop) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    st_interval = 1;
    installAlarm();
    timespec begin = {};
    clock_gettime(CLOCK_MONOTONIC, &begin);
    Command command([this] {
        initSignal();
        alarm(1);
        rw_io_stat_loop(3, &local);
    });
    command.rest();
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const double seconds = static_cast<double>(end.tv_sec - begin.tv_sec) +
                           static_cast<double>(end.tv_nsec - begin.tv_nsec) / 1e9;
    EXPECT_EQ(WEXITSTATUS(command.status), 77);
    EXPECT_GE(seconds, 1.9);
}

TEST_F(Sampling, TheExitHandlerLeavesOtherSignalsAlone) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    exitHandler(SIGTERM);
    EXPECT_NE(st_hdr_iodev, nullptr);
    EXPECT_NE(st_dev_list, nullptr);
}

TEST_F(Sampling, TheLoopGivesTheSignalMaskBack) {
    start({"dm-3=mpatha", "sdb"}, COUNTERS);
    loop(1);
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGINT), 0);
    EXPECT_EQ(sigismember(&mask, SIGALRM), 0);
}

} // namespace

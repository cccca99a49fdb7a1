// Forked children, alarms, and what a process has open and blocked.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <ctime>
#include <functional>
#include <set>
#include <string>

// Runs `work` in a forked child and returns what it returned (0 to 255), or -1 when the child did not end well.
int inChild(const std::function<int()> &work);

// The numbers of this process's open descriptors.
std::set<int> openDescriptors();

// What `ls /proc/self/fd` prints in a program that this one starts: the descriptors that are not closed on exec,
// and the one that `ls` opens itself.
std::string inheritedDescriptorsAndOneMore();

// The signals that are blocked, as 16 hexadecimal digits like the kernel shows them; without realtime ones.
std::string blockedSignals();

// A SIGALRM every millisecond, with a handler that counts and does not restart interrupted calls, while it lives.
class AlarmEveryMillisecond {
  public:
    AlarmEveryMillisecond();
    ~AlarmEveryMillisecond();
    AlarmEveryMillisecond(const AlarmEveryMillisecond &) = delete;
    AlarmEveryMillisecond &operator=(const AlarmEveryMillisecond &) = delete;
    int count() const;

  private:
    struct sigaction old = {};
};

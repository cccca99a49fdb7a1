// Calls of the C library that tests make fail or watch.
//
// The linker sends the calls of the product's objects (and of this program's) through a wrapper; calls made
// inside the shared libraries are not touched. mmap, pipe2, posix_spawn, setitimer, sigaction and, under the
// common name "allocation", malloc, calloc, realloc and strdup can be made to fail; write and flock can be
// watched; behind mkdirat and flock, somebody else can act; waitpid can be told of a child that does not end.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// While it lives, every call of `name` after the first `spared` ones fails with `error_number`. Keep its life
// short: the test framework allocates too. One at a time.
class FailingCall {
  public:
    FailingCall(const char *name, int error_number, unsigned int spared = 0);
    ~FailingCall();
    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;

    // How often it failed, and the size that the last failed allocation or mapping asked for.
    unsigned int count() const;
    size_t size() const;
};

// While it lives, keeps what goes through write and flock: "flock exclusive", "flock unlock", "write TEXT", each
// followed by the descriptor's number when it differs from that of the first one. One at a time.
class WatchedCalls {
  public:
    WatchedCalls();
    ~WatchedCalls();
    WatchedCalls(const WatchedCalls &) = delete;
    WatchedCalls &operator=(const WatchedCalls &) = delete;

    std::vector<std::string> calls;

  private:
    friend void watch(int fd, const std::string &call);
    int first_fd = -1;
};

// While it lives, no child has ended for those who ask by waitpid without waiting, as if each were stuck in the kernel.
class ChildrenNeverEnd {
  public:
    ChildrenNeverEnd();
    ~ChildrenNeverEnd();
    ChildrenNeverEnd(const ChildrenNeverEnd &) = delete;
    ChildrenNeverEnd &operator=(const ChildrenNeverEnd &) = delete;
};

// What somebody else does at the instant behind the next call of `name` that succeeds. One at a time.
class ActsBehind {
  public:
    ActsBehind(const char *name, std::function<void()> act);
    ~ActsBehind();
    ActsBehind(const ActsBehind &) = delete;
    ActsBehind &operator=(const ActsBehind &) = delete;
};

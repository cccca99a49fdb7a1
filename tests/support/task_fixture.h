// What the tests of the task layer share: a buffer for an output, commands that print much, and a fixture that sees
// whether signals and their handlers are as they were.
#pragma once

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "common/result.h"
#include "tests/support/allocation_count.h"
#include "tests/support/children.h"
#include "tests/support/dumps_redirect.h"

using Texts = std::vector<std::string>;

// The buffer of an output, full of rubbish before, with rubbish behind it that must stay.
class OutputBuffer {
  public:
    explicit OutputBuffer(unsigned int buffer_size) : size(buffer_size), bytes(buffer_size + 8, '#') {}
    char *data() {
        return bytes.data();
    }
    std::string text() const {
        EXPECT_EQ(bytes.substr(size), "########");
        const size_t end = bytes.find('\0');
        return end < size ? bytes.substr(0, end) : "(not terminated)";
    }
    bool untouched() const {
        return bytes == std::string(size + 8, '#');
    }

    unsigned int size;

  private:
    std::string bytes;
};

// A command that prints `count` times the letter x and nothing else.
inline std::string printX(int count) {
    return "head -c " + std::to_string(count) + " /dev/zero | tr '\\0' x";
}

inline volatile sig_atomic_t own_alarms = 0; // those that came to the test's own handler

inline void ownHandler(int /*signal_number*/) {
    own_alarms = own_alarms + 1;
}

// While a test runs, SIGALRM is handled by the test. At its end the handler must be there still and have been called
// `expected_alarms` times, and the same signals must be blocked as before.
class TaskFixture : public testing::Test {
  protected:
    TaskFixture() {
        unsetenv("DRAVIK_CLI_DEBUG");
        struct sigaction own = {};
        own.sa_handler = ownHandler;
        sigaction(SIGALRM, &own, &handler_before);
        own_alarms = 0;
    }
    ~TaskFixture() override {
        EXPECT_EQ(blockedSignals(), blocked);
        struct sigaction now = {};
        sigaction(SIGALRM, nullptr, &now);
        EXPECT_EQ(now.sa_handler, &ownHandler) << "the handler of SIGALRM has not been restored";
        sigaction(SIGALRM, &handler_before, nullptr);
        EXPECT_EQ(own_alarms, expected_alarms);
    }

    // The blocks that are held once the log has been written to: its first line makes the C library keep some.
    static long heldBlocksAfterALine() {
        DRAVIK_LOG(LOG_INFO, "a line");
        return heldBlocks();
    }

    // Records keep neither words nor codes of their own.
    static void expectAllZero(const s_ecItems &record) {
        const s_ecItems zero = {};
        EXPECT_EQ(memcmp(&record, &zero, sizeof(zero)), 0);
    }

    DumpsFolder dumps;
    std::string blocked = blockedSignals();
    int expected_alarms = 0;

  private:
    struct sigaction handler_before = {};
};

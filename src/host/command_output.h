// The buffer that a command's output is first collected in.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>

#include "common/capture.h"

// Its size, and the size of the outputs that callers keep: 2 MiB.
constexpr unsigned int TASK_OUTPUT_SIZE = 2097152;

// TASK_OUTPUT_SIZE bytes of zeroed pages that cost nothing until output reaches them, and the larger heap
// block that the capture layer may have put in their place. Released when the object goes.
class CommandOutput {
  public:
    // One of the ways to run a command line (common/capture.h).
    using Capture = int (*)(const char *command, char *buffer, int size, char **out, int *grown);

    CommandOutput()
        : pages(static_cast<char *>(
              mmap(nullptr, TASK_OUTPUT_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (pages == MAP_FAILED) {
            pages = nullptr;
        }
    }
    ~CommandOutput() {
        if (text != nullptr && text != pages) {
            free(text);
        }
        if (pages != nullptr) {
            munmap(pages, TASK_OUTPUT_SIZE);
        }
    }
    CommandOutput(const CommandOutput &) = delete;
    CommandOutput &operator=(const CommandOutput &) = delete;

    // Runs `command` by `capture` into `text`, once. What `capture` returned; EXE_NO_MEMORY when there are no pages.
    int fill(Capture capture, const char *command) {
        int grown = 0;
        return pages == nullptr ? EXE_NO_MEMORY : capture(command, pages, SIZE, &text, &grown);
    }

    // Copies at most `size` - 1 characters of `text`, which is there, into `out`; nothing for a null `out`.
    void copyTo(char *out, unsigned int size) const {
        if (out != nullptr && size > 0) {
            snprintf(out, size, "%s", text);
        }
    }

    static constexpr int SIZE = static_cast<int>(TASK_OUTPUT_SIZE);
    char *pages;          // null when memory ran out
    char *text = nullptr; // what the capture layer filled: `pages` or a heap block
};

// The buffer that a command's output is first collected in.
#pragma once

#include <cstdlib>
#include <sys/mman.h>

#include "host/task.h"

// TASK_OUTPUT_SIZE bytes of zeroed pages that cost nothing until output reaches them, and the larger heap
// block that the capture layer may have put in their place. Released when the object goes.
class TaskOutput {
  public:
    TaskOutput()
        : pages(static_cast<char *>(
              mmap(nullptr, TASK_OUTPUT_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (pages == MAP_FAILED) {
            pages = nullptr;
        }
    }
    ~TaskOutput() {
        if (text != nullptr && text != pages) {
            free(text);
        }
        if (pages != nullptr) {
            munmap(pages, TASK_OUTPUT_SIZE);
        }
    }
    TaskOutput(const TaskOutput &) = delete;
    TaskOutput &operator=(const TaskOutput &) = delete;

    static constexpr int size = static_cast<int>(TASK_OUTPUT_SIZE);
    char *pages;          // null when memory ran out
    char *text = nullptr; // what the capture layer filled: `pages` or a heap block
};

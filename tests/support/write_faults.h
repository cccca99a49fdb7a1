// Faults on the way of a text to the disk, for the unit tests: the n-th of the calls ftruncate, write, fchmod
// and fsync fails, or the process is killed there.
//
// This test program defines these calls itself (write_faults.cpp) and hands them on while no fault is set.
#pragma once

#include <cstddef>

// From now on the calls are counted from 1. The call with the number `at` fails with `error_number`; a write
// that is to fail takes half of its bytes first, if there are two.
void failWriteCall(int at, int error_number);

// The same, but the process is killed in the middle of the call: half of a write is written, nothing of the
// others is done.
void killAtWriteCall(int at);

// Back to normal. How many calls have been counted since the fault was set.
int endWriteFaults();

// While it lives, the file that `path` names takes at most `bytes` bytes: of a write beyond them only what still fits is
// taken, and the next one is refused as on a full disk. One at a time.
class FileLimit {
  public:
    FileLimit(const char *path, size_t bytes);
    ~FileLimit();
    FileLimit(const FileLimit &) = delete;
    FileLimit &operator=(const FileLimit &) = delete;
};

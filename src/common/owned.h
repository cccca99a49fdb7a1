// Owners of what the kernel and the C library hand out: each releases its thing when it goes, and keeps errno.
//
// Not for frames that the timer's jump may cross (host/timed_task.h): they own nothing.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <unistd.h>

namespace dravik {

// A file descriptor, -1 for none.
class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : number(fd) {}
    ~Descriptor() {
        reset();
    }
    Descriptor(Descriptor &&other) noexcept : number(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        reset(other.release());
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const {
        return number;
    }
    bool isOpen() const {
        return number >= 0;
    }
    // Closes it, and owns `fd` instead.
    void reset(int fd = -1) {
        const int error = errno;
        close();
        errno = error;
        number = fd;
    }
    // Gives it away.
    int release() {
        const int given = number;
        number = -1;
        return given;
    }
    // Closes it and answers what close(2) answered, 0 when there was nothing to close.
    int close() {
        const int closing = release();
        return closing < 0 ? 0 : ::close(closing);
    }

  private:
    int number;
};

struct CloseStream {
    void operator()(FILE *stream) const {
        const int error = errno;
        fclose(stream);
        errno = error;
    }
};
using Stream = std::unique_ptr<FILE, CloseStream>;

struct CloseFolder {
    void operator()(DIR *folder) const {
        const int error = errno;
        closedir(folder);
        errno = error;
    }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

// A block of malloc(3) or of a function that says its result is to be freed; T[] for an array.
struct FreeBlock {
    void operator()(const void *block) const {
        free(const_cast<void *>(block));
    }
};
template <typename T> using Block = std::unique_ptr<T, FreeBlock>;

} // namespace dravik

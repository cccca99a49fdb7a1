// A folder of its own for "/dumps" in every unit test, and readers for the two logs that end up there.
//
// The product's paths are fixed texts that begin with "/dumps". This test program defines the C library's
// path calls itself (open, fopen, mkdir, stat, rename ... see dumps_redirect.cpp) and sends every path that is
// "/dumps" or lies below it into the folder of the `DumpsFolder` that is alive. While none is alive such a
// path is refused with EACCES: no test can touch the machine's own /dumps. Streams of the C++ library and
// std::filesystem are covered, forked children too; a program that a test runs (a shell) is not.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Makes a fresh temporary folder that stands for "/dumps" while this object lives, and removes it with all it
// holds. It exists, is empty and has mode 0700. One at a time.
class DumpsFolder {
  public:
    DumpsFolder();
    ~DumpsFolder();
    DumpsFolder(const DumpsFolder &) = delete;
    DumpsFolder &operator=(const DumpsFolder &) = delete;

    // The real place of "/dumps", without a final slash; and of "/dumps/NAME".
    const std::string &path() const;
    std::string path(const std::string &name) const;

    // "/dumps" does not exist, with all it held; is a plain file instead of a folder; exists again and is empty.
    void makeMissing();
    void makePlainFile();
    void makeEmpty();

    // From now on every call that would create, change, rename or remove something under "/dumps" fails with
    // this error number (EACCES, EROFS, ENOSPC ...), also for root; 0 ends it. Reading goes on; a descriptor
    // that is open already is not touched: a symbolic link to /dev/full makes its writes fail.
    void refuseChanges(int error_number);

    // Puts `text` into "/dumps/NAME", replacing what was there; the whole of "/dumps/NAME", empty when there is
    // none.
    void write(const std::string &name, const std::string &text) const;
    std::string read(const std::string &name) const;
    // Whether "/dumps/NAME" exists; the names in "/dumps", sorted.
    bool has(const std::string &name) const;
    std::vector<std::string> names() const;

    // The whole command log or change log without the "[time stamp] " of its lines. A log that does not begin
    // with a time stamp fails the test.
    std::string commandLog() const;
    std::string changeLog() const;

    // The command log by calls of the logger, each without its time stamp, its final newline and its line
    // number: "ERROR getLunPath # message". A message of several lines stays one text with the newlines in it,
    // and a format that ends in "\n" leaves one newline.
    std::vector<std::string> commandLogLines() const;
    // The same without the function's name: "ERROR message".
    std::vector<std::string> commandLogMessages() const;
    // The change log by calls.
    std::vector<std::string> changeLogLines() const;

    // Removes both logs, so that the next readings show only what comes after.
    void forgetLogs() const;

  private:
    std::string folder; // holds the one entry "dumps"
    std::string place;
};

// Where "/dumps/..." stands at this moment: the redirected path for paths that are redirected, `path` itself
// for all others. For calls that the redirect does not know (a shell command, a raw system call).
std::string redirectedPath(const std::string &path);

// The redirect's own state, for `DumpsFolder` alone: the place of "/dumps", empty while none is alive, and the
// error number of refused changes.
constexpr size_t DUMPS_PLACE_SIZE = 4000;
extern char dumps_place[DUMPS_PLACE_SIZE];
extern int dumps_error;

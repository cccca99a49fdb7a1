// What a report is made of, and the bounded ways to get it: a file, a command's output, a text that a process beside this one
// makes from files that may hang.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/shell_command.h"

namespace dravik {

class Redactor;

// Which part of a text is kept where it is too long.
enum class Keep { BEGINNING, END };

// One file of the archive, or why there is none.
struct ReportItem {
    std::string name;   // in the archive
    uint64_t limit = 0; // the most bytes that it may have there
    Keep keep = Keep::BEGINNING;
    // What learns the names in it before anything is redacted; null where there are none to learn.
    void (*learn)(Redactor *redactor, const std::string &text) = nullptr;
    // Whether the text is whole, where names can be learnt from a whole one alone: a redacted report goes without any other. Null
    // where every part of it does.
    bool (*is_whole)(const std::string &text) = nullptr;
    bool is_from_ledger = false; // its names are those of the ledger
    std::string source;          // "/dumps/dravik_cli.log", "velomux -ll"
    std::string text;
    bool is_there = false;   // in the archive
    bool is_expected = true; // false for one that a sound host may lack: then `problem` is nothing to look at
    std::string problem;     // why it is missing or not whole, for people
    uint64_t left_out = 0;   // bytes that its limit has cost
    long long duration_ms = 0;
};

// Cuts the item's text to its limit at the end of a line, and counts what goes.
void cutItem(ReportItem *item);

// Fills the item from a file, of which no more is read than the item may have: whole lines of the part that it keeps. Below /dumps it is
// opened as everything there (common/dumps_folder.h); anywhere else links are followed, nothing is waited for, and only a
// regular file is read.
void readFile(ReportItem *item, const char *path);

// Fills the item with what the command prints, standard error included, and "(its exit status was not 0)" behind it where
// that is so. The command is the line between the parentheses of a shell; `tool`, its first word, must be in SYSTEM_PATH. It is
// killed with everything it has started when it has not ended within `seconds`, and within a second or two of a signal that
// wants to end this process. Of an endless output no more than 32 MiB is taken.
void runCommand(ReportItem *item, const char *tool, const ShellCommand &command, unsigned int seconds);

// The same for a ready command line whose first word and exit status are the caller's business: what it has printed. False,
// with a sentence in `*problem`, when it could not be run or has not ended in time.
bool runLine(const ShellCommand &command, unsigned int seconds, std::string *output, std::string *problem);

// Fills the item with the text that `make` answers in a process of its own, which is killed after `seconds`: what it has
// written by then is kept.
void readBeside(ReportItem *item, const std::function<void(int out)> &make, unsigned int seconds);

// Writes the text to the descriptor, whole. False with errno.
bool writeWhole(int fd, const std::string &text);

} // namespace dravik

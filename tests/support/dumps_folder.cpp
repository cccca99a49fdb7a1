// The folder that stands for "/dumps" while a test runs, and the readers of the logs in it.

#include "tests/support/dumps_redirect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

DumpsFolder::DumpsFolder() {
    if (dumps_place[0] != '\0') {
        fprintf(stderr, "dumps_redirect: there is a DumpsFolder already\n");
        abort();
    }
    folder = testing::TempDir() + "dravik-dumps.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        perror(folder.c_str());
        abort();
    }
    place = folder + "/dumps";
    makeEmpty();
    snprintf(dumps_place, sizeof(dumps_place), "%s", place.c_str());
    dumps_error = 0;
}

DumpsFolder::~DumpsFolder() {
    dumps_place[0] = '\0';
    dumps_error = 0;
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

const std::string &DumpsFolder::path() const {
    return place;
}

std::string DumpsFolder::path(const std::string &name) const {
    return place + "/" + name;
}

void DumpsFolder::makeMissing() {
    std::filesystem::remove_all(place);
}

void DumpsFolder::makePlainFile() {
    makeMissing();
    std::ofstream(place) << "a plain file\n";
}

void DumpsFolder::makeEmpty() {
    makeMissing();
    std::filesystem::create_directory(place);
    std::filesystem::permissions(place, std::filesystem::perms::owner_all);
}

void DumpsFolder::refuseChanges(int error_number) {
    dumps_error = error_number;
}

void DumpsFolder::write(const std::string &name, const std::string &text) const {
    std::ofstream file(path(name), std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file) {
        ADD_FAILURE() << "cannot write " << path(name);
    }
}

std::string DumpsFolder::read(const std::string &name) const {
    std::ifstream file(path(name), std::ios::binary);
    std::ostringstream text;
    if (file) {
        text << file.rdbuf();
    }
    return text.str();
}

bool DumpsFolder::has(const std::string &name) const {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(path(name), ignored));
}

std::vector<std::string> DumpsFolder::names() const {
    std::vector<std::string> found;
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator(place, ignored)) {
        found.push_back(entry.path().filename().string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

// ---- the logs

namespace {

constexpr char COMMAND_LOG[] = "dravik_cli.log";
constexpr char CHANGE_LOG[] = "dravik_monitor.log";

// "[2021-12-06 10:15:02.047] "
constexpr char STAMP_SHAPE[] = "[dddd-dd-dd dd:dd:dd.ddd] ";
constexpr size_t STAMP_LENGTH = sizeof(STAMP_SHAPE) - 1;

bool stampAt(const std::string &log, size_t at) {
    if (log.size() - at < STAMP_LENGTH) {
        return false;
    }
    for (size_t i = 0; i < STAMP_LENGTH; i++) {
        const char c = log[at + i];
        if (STAMP_SHAPE[i] == 'd' ? isdigit(static_cast<unsigned char>(c)) == 0 : c != STAMP_SHAPE[i]) {
            return false;
        }
    }
    return true;
}

void expectStampFirst(const std::string &log) {
    if (!log.empty() && !stampAt(log, 0)) {
        ADD_FAILURE() << "the log does not begin with a time stamp: " << log.substr(0, 80);
    }
}

std::string withoutStamps(const std::string &log) {
    expectStampFirst(log);
    std::string text;
    bool at_line_start = true;
    for (size_t i = 0; i < log.size(); i++) {
        if (at_line_start && stampAt(log, i)) {
            i += STAMP_LENGTH;
        }
        if (i < log.size()) {
            text.push_back(log[i]);
            at_line_start = log[i] == '\n';
        }
    }
    return text;
}

// One text a call: a call begins at a time stamp, also where the line before was cut and lost its newline.
std::vector<std::string> calls(const std::string &log) {
    expectStampFirst(log);
    std::vector<std::string> found;
    for (size_t i = 0; i < log.size();) {
        size_t end = i + 1;
        while (end < log.size() && !stampAt(log, end)) {
            end++;
        }
        const size_t begin = stampAt(log, i) ? i + STAMP_LENGTH : i;
        std::string call = log.substr(begin, end - begin);
        if (!call.empty() && call.back() == '\n') {
            call.pop_back();
        }
        found.push_back(call);
        i = end;
    }
    return found;
}

// A call of the command log: level word, function, line number, message.
std::vector<std::string> commandCalls(const std::string &log, const char *replacement) {
    static const std::regex shape(R"(^(ERROR|INFO |DEBUG|LEVEL\[\d+\]) (\S*) (\d+) )");
    std::vector<std::string> found = calls(log);
    for (std::string &call : found) {
        std::smatch parts;
        if (!std::regex_search(call, parts, shape)) {
            ADD_FAILURE() << "not a line of the command log: " << call;
            continue;
        }
        call = parts.format(replacement) + parts.suffix().str();
    }
    return found;
}

} // namespace

std::string DumpsFolder::commandLog() const {
    return withoutStamps(read(COMMAND_LOG));
}

std::string DumpsFolder::changeLog() const {
    return withoutStamps(read(CHANGE_LOG));
}

std::vector<std::string> DumpsFolder::commandLogLines() const {
    return commandCalls(read(COMMAND_LOG), "$1 $2 # ");
}

std::vector<std::string> DumpsFolder::commandLogMessages() const {
    return commandCalls(read(COMMAND_LOG), "$1 ");
}

std::vector<std::string> DumpsFolder::changeLogLines() const {
    return calls(read(CHANGE_LOG));
}

void DumpsFolder::forgetLogs() const {
    std::error_code ignored;
    std::filesystem::remove(path(COMMAND_LOG), ignored);
    std::filesystem::remove(path(CHANGE_LOG), ignored);
}

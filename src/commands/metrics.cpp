// Metrics on their way to Prometheus.
#include "commands/metrics.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands/ledger_view.h"
#include "commands/metric_families.h"
#include "commands/own_options.h"
#include "common/callers_folder.h"
#include "common/exit_status.h"
#include "common/publish_file.h"
#include "ledger/counts.h"
#include "ledger/known_store.h"

namespace dravik {

namespace {

constexpr mode_t TEXTFILE_MODE = 0644; // its reader runs as another user

// What the administrator may do about it, "" where the reason says it all.
const char *remedyFor(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return "; make its folder first";
    case EISDIR:
        return "; name a file in that folder";
    case EOPNOTSUPP:
        return "; name a regular file, or none for standard output";
    case EACCES:
    case EPERM:
        return "; run it as a user who may write to that folder";
    case EROFS:
        return "; name a file on a file system that can be written to";
    case ENOSPC:
    case EDQUOT:
        return "; make space there";
    case EFBIG:
        return "; raise the limit on the size of files (ulimit -f)";
    case ENAMETOOLONG:
        return "; choose a shorter name";
    default:
        return "";
    }
}

std::string reasonFor(int error) {
    switch (error) {
    case EISDIR:
        return "it is a folder";
    case EOPNOTSUPP:
        return "it is a device, a pipe or a socket";
    default:
        return strerror(error);
    }
}

// Why the command line cannot be followed; empty when it can.
std::string problemOf(const OwnWords &words, const std::string &file) {
    if (!words.problem.empty()) {
        return words.problem;
    }
    if (words.has("json")) {
        return R"(metrics are text: for JSON use "dravik --json list")";
    }
    if (words.has("textfile") && words.value("textfile").empty()) {
        return "--textfile takes the name of a file";
    }
    if (words.has("textfile") && file.empty()) {
        return "the folder that this was called in is gone or out of reach: give --textfile a name that "
               "begins with \"/\"";
    }
    return "";
}

// False with a sentence in `*problem`.
bool readMetrics(PathFamilies paths, std::string *text, std::string *problem) {
    LedgerView view;
    LedgerCounts counts;
    const auto read = [&](Database *database) {
        view.observation = loadObservation(database);
        view.volumes = paths == PathFamilies::WITH ? loadKnown(database) : loadForVerdict(database);
        view.now = nowMs();
        counts = loadCounts(database);
    };
    if (!readInOneView(read, problem)) {
        return false;
    }
    dropGone(&view.volumes);
    *text = metricFamilies(view, counts, VdiskNames(), paths);
    return true;
}

// The same.
bool writeTextfile(const std::string &file, const std::string &text, std::string *problem) {
    const int error = publishFile(file.c_str(), text.data(), text.size(), TEXTFILE_MODE);
    if (error != 0) {
        *problem = file + " cannot be written: " + reasonFor(error) + remedyFor(error);
    }
    return error == 0;
}

} // namespace

int metrics(const OwnCall &call) {
    const OwnWords words = readOwnWords(call, {{"textfile", true}, {"volumes-only", false}}, 0);
    const std::string file = inCallersFolder(words.value("textfile"));
    std::string problem = problemOf(words, file);
    std::string text;
    if (!problem.empty() ||
        !readMetrics(words.has("volumes-only") ? PathFamilies::WITHOUT : PathFamilies::WITH, &text,
                     &problem) ||
        (!file.empty() && !writeTextfile(file, text, &problem))) {
        return failOwnCommand("metrics", problem, words.has("json"), EXIT_FAILED);
    }
    if (file.empty()) {
        fwrite(text.data(), 1, text.size(), stdout); // whether it has arrived the tool's entry tells
    }
    return EXIT_DONE;
}

} // namespace dravik

// Writes the files below /dumps as the programs do, one write or many at once, and looks whether they are whole.
//
//   file_writers write KIND N               one write, the Nth; access("/write") before it marks it for a tracer
//   file_writers look KIND                  "whole N", "none", "empty", "cut" or "foreign"; exit status 0 for the first two
//   file_writers contend KIND WRITERS TIMES   so many writers at once, TIMES writes each, and one who looks meanwhile:
//                                           "looks L empty E cut C foreign F lost X refused R"
//
// KIND: snapshot, cache, changes, commands, ledger. Runs in a chroot, where /dumps is nobody else's.
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <cjson/cJSON.h>

#include "array/vdisk_cache.h"
#include "common/log.h"
#include "common/startup.h"
#include "ledger/event_store.h"
#include "ledger/ledger_file.h"
#include "monitor/snapshot.h"
#include "struct/s_lunPath.h"

namespace {

constexpr int RECORDS = 16;
constexpr char SNAPSHOT[] = "/dumps/data.dravik";
constexpr char CHANGE_LOG[] = "/dumps/dravik_monitor.log";
constexpr char COMMAND_LOG[] = "/dumps/dravik_cli.log";
const std::string PADDING(180, 'x');

std::string read(const char *path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string numbered(const char *format, int a, int b = 0) {
    char text[128] = "";
    snprintf(text, sizeof(text), format, a, b);
    return text;
}

// What a file was found to be; `number` is the write that made it.
struct Look {
    std::string verdict; // whole, none, empty, cut, foreign
    int number = 0;
};

// ---- the snapshot: every record bears the number of its write

void writeSnapshot(int /*writer*/, int number) {
    static s_lunPath *list = mallocLunpath();
    initLunpath(list);
    s_lunPath *last = list;
    for (int i = 0; i < RECORDS; ++i) {
        s_lunPath *record = getOrMallocNextLunpath(last);
        snprintf(record->lun_alias, sizeof(record->lun_alias), "mpath%02d", i);
        snprintf(record->lun_wwid, sizeof(record->lun_wwid), "3600b5d60001a2b3c%016d", i);
        snprintf(record->path_dev_id, sizeof(record->path_dev_id), "8:%d", 16 * i);
        snprintf(record->path_dev_name, sizeof(record->path_dev_name), "sd%02d", i);
        snprintf(record->path_status, sizeof(record->path_status), "%08d", number);
        snprintf(record->path_group_status, sizeof(record->path_group_status), "active");
        snprintf(record->dravik_status, sizeof(record->dravik_status), "running");
        last->end = false;
        last = record;
    }
    writeLunPathToFile(list, SNAPSHOT);
}

std::string snapshotOf(int number) {
    std::string text;
    for (int i = 0; i < RECORDS; ++i) {
        text += numbered("mpath%02d,3600b5d60001a2b3c%016d,", i, i) + numbered("8:%d,sd%02d,", 16 * i, i) +
                numbered("%08d,active,running,\n", number);
    }
    return text;
}

Look lookAtSnapshot() {
    if (access(SNAPSHOT, F_OK) != 0) {
        return {"none"};
    }
    const std::string text = read(SNAPSHOT);
    if (text.empty()) {
        return {"empty"};
    }
    int number = 0;
    if (sscanf(text.c_str(), "%*[^,],%*[^,],%*[^,],%*[^,],%d", &number) != 1) {
        return {snapshotOf(0).compare(0, text.size(), text) == 0 ? "cut" : "foreign"};
    }
    const std::string wanted = snapshotOf(number);
    if (text == wanted) {
        return {"whole", number};
    }
    return {wanted.compare(0, text.size(), text) == 0 ? "cut" : "foreign"};
}

// ---- the cache of names: a name for each of the writers

void writeCache(int writer, int number) {
    mergeVdiskNames(VDISK_CACHE_FILE, {{numbered("3600b5d60001a2b3c%016d", writer),
                                        numbered("vol_%02d_%08d", writer, number)}});
}

Look lookAtCache() {
    if (access(VDISK_CACHE_FILE, F_OK) != 0) {
        return {"none"};
    }
    const std::string text = read(VDISK_CACHE_FILE);
    if (text.empty()) {
        return {"empty"};
    }
    cJSON *root = cJSON_Parse(text.c_str());
    if (root == nullptr) {
        return {"cut"};
    }
    Look look = {"whole"};
    std::set<std::string> wwids;
    const cJSON *entry = nullptr;
    cJSON_ArrayForEach(entry, cJSON_GetObjectItem(root, "disk")) {
        const char *wwid = cJSON_GetStringValue(cJSON_GetObjectItem(entry, "wwid"));
        const char *name = cJSON_GetStringValue(cJSON_GetObjectItem(entry, "vdisk_name"));
        int writer = -1;
        int number = -1;
        const bool ours = wwid != nullptr && name != nullptr &&
                          sscanf(name, "vol_%2d_%8d", &writer, &number) == 2 &&
                          wwid == numbered("3600b5d60001a2b3c%016d", writer) && wwids.insert(wwid).second;
        look = ours ? Look{look.verdict, number} : Look{"foreign"};
    }
    cJSON_Delete(root);
    return look;
}

int lostFromCache(int writers, int times) {
    const std::string text = read(VDISK_CACHE_FILE);
    int lost = 0;
    for (int writer = 0; writer < writers; ++writer) {
        lost += text.find(numbered("vol_%02d_%08d", writer, times)) == std::string::npos ? 1 : 0;
    }
    return lost;
}

// ---- the logs: a line tells its writer and its number

void writeChanges(int writer, int number) {
    dravik_log(LOG_MONITOR, "", 0, "", "writer %02d line %08d %s", writer, number, PADDING.c_str());
}

void writeCommands(int writer, int number) {
    dravik_log(LOG_INFO, "", 1, "writers", "writer %02d line %08d %s", writer, number, PADDING.c_str());
}

// Whether the line is a whole one; its writer and number, or -1 for a filling.
bool isWholeLine(const std::string &line, int *writer, int *number) {
    const size_t at = line.find("writer ");
    int end = 0;
    return line.size() > 25 && line[0] == '[' && line[24] == ']' && at != std::string::npos &&
           sscanf(line.c_str() + at, "writer %d line %d %n", writer, number, &end) == 2 && end > 0 &&
           line.substr(at + static_cast<size_t>(end)) == PADDING;
}

// The kernel may show a line that is just being written up to the end of a page: then it is looked at again.
std::string readLog(const char *path) {
    std::string text = read(path);
    for (int again = 0; again < 100 && !text.empty() && text.back() != '\n'; ++again) {
        usleep(1000);
        text = read(path);
    }
    return text;
}

Look lookAtLog(const char *path) {
    if (access(path, F_OK) != 0) {
        return {"none"};
    }
    const std::string text = readLog(path);
    if (text.empty()) {
        return {"whole"}; // just begun
    }
    if (text.back() != '\n') {
        return {"cut"};
    }
    std::istringstream lines(text);
    int writer = 0;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        if (!isWholeLine(line, &writer, &number)) {
            return {"foreign"};
        }
    }
    return {"whole", number};
}

// Lines that are not there exactly once, in the log and its backup together; and a backup that is no whole log.
int lostFromLog(const char *path, int writers, int times) {
    std::string backup = path;
    backup.insert(backup.size() - strlen(".log"), "_bk");
    std::map<std::pair<int, int>, int> found;
    for (const std::string &name : {std::string(path), backup}) {
        std::istringstream lines(read(name.c_str()));
        int writer = 0;
        int number = 0;
        for (std::string line; std::getline(lines, line);) {
            if (isWholeLine(line, &writer, &number)) {
                ++found[{writer, number}];
            }
        }
    }
    int lost = 0;
    for (int writer = 0; writer < writers; ++writer) {
        for (int number = 1; number <= times; ++number) {
            lost += found[{writer, number}] == 1 ? 0 : 1;
        }
    }
    return lost + (access(backup.c_str(), F_OK) == 0 && read(backup.c_str()).size() <= 10485760 ? 1 : 0);
}

// ---- the ledger: an event tells its writer and its number

// As the monitor, which makes it, and afterwards as a command, which waits for others.
std::unique_ptr<dravik::Database> openWriting() {
    const bool is_there = access(dravik::LEDGER_FILE, F_OK) == 0;
    const dravik::LedgerUse use = is_there ? dravik::LedgerUse::OPERATE : dravik::LedgerUse::OBSERVE;
    dravik::LedgerOpening opening = dravik::openLedger(use);
    if (opening.status != dravik::LedgerStatus::OPEN) {
        throw dravik::SqliteError(SQLITE_CANTOPEN, opening.problem);
    }
    return std::move(opening.database);
}

void writeLedger(int writer, int number) {
    static pid_t owner = 0;
    static std::unique_ptr<dravik::Database> database;
    if (owner != getpid()) {
        database.release(); // the parent's, which must not be used here
        database = openWriting();
        owner = getpid();
    }
    dravik::Event event;
    event.time = time(nullptr) * 1000LL;
    event.kind = "test";
    event.from = std::to_string(writer);
    event.to = std::to_string(number);
    std::vector<dravik::Event> events = {event, event};
    for (int attempt = 0;; ++attempt) {
        try {
            dravik::Transaction transaction(database.get());
            dravik::saveEvents(database.get(), &events);
            transaction.commit();
            return;
        } catch (const dravik::SqliteError &error) {
            if (attempt == 20 || error.code() != SQLITE_BUSY) {
                throw; // twenty times its patience
            }
        }
    }
}

Look lookAtLedger() {
    if (access(dravik::LEDGER_FILE, F_OK) != 0) {
        return {"none"};
    }
    const dravik::LedgerOpening opening = dravik::openLedger(dravik::LedgerUse::READ);
    if (opening.status == dravik::LedgerStatus::MISSING) {
        return {"none"};
    }
    if (opening.status != dravik::LedgerStatus::OPEN) {
        return {opening.problem.find("locked") != std::string::npos ? "none" : "foreign"};
    }
    try {
        dravik::Statement check(opening.database.get(), "PRAGMA quick_check");
        check.step();
        // Each write is of two events: an odd number would be half of one.
        const std::vector<dravik::Event> events = dravik::loadEvents(opening.database.get(), {});
        size_t ours = 0;
        int number = 0;
        for (const dravik::Event &event : events) {
            if (event.kind == "test") {
                ++ours;
                number = atoi(event.to.c_str());
            }
        }
        return check.text(0) == "ok" && ours % 2 == 0 ? Look{"whole", number} : Look{"cut"};
    } catch (const dravik::SqliteError &error) {
        return {error.isDamage() ? "foreign" : "none"};
    }
}

int lostFromLedger(int writers, int times) {
    const dravik::LedgerOpening opening = dravik::openLedger(dravik::LedgerUse::READ);
    const size_t wanted = static_cast<size_t>(writers) * static_cast<size_t>(times) * 2;
    std::set<std::pair<std::string, std::string>> found;
    for (const dravik::Event &event : dravik::loadEvents(opening.database.get(), {})) {
        found.insert({event.from, event.to});
    }
    return static_cast<int>(wanted / 2 - found.size());
}

// ---- one table of all

struct Kind {
    const char *name;
    void (*write)(int writer, int number);
    std::function<Look()> look;
    std::function<int(int writers, int times)> lost;
};

const std::vector<Kind> &kinds() {
    static const std::vector<Kind> all = {
        {"snapshot", writeSnapshot, lookAtSnapshot,
         [](int, int) { return lookAtSnapshot().verdict == "whole" ? 0 : 1; }},
        {"cache", writeCache, lookAtCache, lostFromCache},
        {"changes", writeChanges, [] { return lookAtLog(CHANGE_LOG); },
         [](int writers, int times) { return lostFromLog(CHANGE_LOG, writers, times); }},
        {"commands", writeCommands, [] { return lookAtLog(COMMAND_LOG); },
         [](int writers, int times) { return lostFromLog(COMMAND_LOG, writers, times); }},
        {"ledger", writeLedger, lookAtLedger, lostFromLedger},
    };
    return all;
}

int contend(const Kind &kind, int writers, int times) {
    if (kind.name == std::string("ledger")) {
        openWriting(); // it is made by one
    }
    for (int writer = 0; writer < writers; ++writer) {
        if (fork() == 0) {
            int status = 0;
            try {
                for (int number = 1; number <= times; ++number) {
                    kind.write(writer, number);
                }
            } catch (const std::exception &) {
                status = 1;
            }
            _exit(status);
        }
    }
    std::map<std::string, int> verdicts;
    int looks = 0;
    int refused = 0;
    for (int left = writers; left > 0;) {
        int status = 0;
        const pid_t ended = waitpid(-1, &status, WNOHANG);
        left -= ended > 0 ? 1 : 0;
        refused += ended > 0 && status != 0 ? 1 : 0;
        ++verdicts[kind.look().verdict];
        ++looks;
    }
    printf("looks %d empty %d cut %d foreign %d lost %d refused %d\n", looks, verdicts["empty"],
           verdicts["cut"], verdicts["foreign"], kind.lost(writers, times), refused);
    return 0;
}

int run(const Kind &kind, const std::vector<std::string> &words) {
    if (words[0] == "write") {
        if (access("/write", F_OK) == 0) {
            return 2;
        }
        try {
            kind.write(0, atoi(words[2].c_str()));
            return 0;
        } catch (const dravik::SqliteError &error) {
            fprintf(stderr, "file_writers: %s\n", error.what());
            return 1;
        }
    }
    if (words[0] == "contend" && words.size() > 3) {
        return contend(kind, atoi(words[2].c_str()), atoi(words[3].c_str()));
    }
    const Look look = kind.look();
    printf("%s%s\n", look.verdict.c_str(),
           look.verdict == "whole" ? numbered(" %d", look.number).c_str() : "");
    return look.verdict == "whole" || look.verdict == "none" ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    resetProcess();
    const std::vector<std::string> words(argv + 1, argv + argc);
    for (const Kind &kind : kinds()) {
        if (words.size() > 1 && words[1] == kind.name) {
            return run(kind, words);
        }
    }
    fprintf(stderr, "usage: file_writers write|look|contend KIND ...\n");
    return 2;
}

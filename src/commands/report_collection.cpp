// The items of a report.
#include "commands/report_collection.h"

#include <algorithm>
#include <fcntl.h>
#include <iterator>
#include <numeric>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>

#include "array/vdisk_cache.h"
#include "commands/check.h"
#include "commands/incident_line.h"
#include "commands/ledger_view.h"
#include "commands/report_folder.h"
#include "commands/report_kernel.h"
#include "commands/report_log_secrets.h"
#include "commands/report_secrets.h"
#include "commands/version.h"
#include "common/dumps_folder.h"
#include "host/host_os.h"
#include "host/tool_names.h"
#include "ledger/event_store.h"
#include "output/local_time.h"
#include "output/table.h"

namespace dravik {

namespace {

constexpr uint64_t KIB = 1024;
constexpr uint64_t MIB = 1024 * KIB;
constexpr unsigned int TOOL_SECONDS = 30;
constexpr unsigned int SERVICE_SECONDS = 15;
constexpr unsigned int KERNEL_SECONDS = 15;

using Learn = void (*)(Redactor *, const std::string &);

struct Source {
    const char *name;
    uint64_t limit;
    Learn learn;
    void (*fill)(ReportItem *item);
    Keep keep;
    bool is_expected;
};

// ---- from the ledger

LedgerView readView(ReportItem *item) {
    LedgerView view;
    item->source = "the ledger";
    item->is_from_ledger = true;
    item->is_there = readLedger(&view, &item->problem);
    return view;
}

void fillCheck(ReportItem *item) {
    const LedgerView view = readView(item);
    VolumeList volumes;
    for (const KnownVolume &volume : view.volumes) {
        volumes.push_back(&volume);
    }
    if (item->is_there) {
        item->text = checkText(view, verdictOver(view, volumes), nullptr);
        cutItem(item);
    }
}

void fillEvents(ReportItem *item) {
    constexpr int64_t LAST_EVENTS = 2000;
    item->source = "the last " + std::to_string(LAST_EVENTS) + " events of the ledger";
    item->is_from_ledger = true;
    const LedgerOpening opening = openLedger(LedgerUse::READ);
    item->problem = opening.problem;
    if (opening.status != LedgerStatus::OPEN) {
        return;
    }
    try {
        EventFilter filter;
        filter.after_number =
            opening.database->number("SELECT coalesce(max(number), 0) FROM events") - LAST_EVENTS;
        forEachEvent(opening.database.get(), filter,
                     [item](Event &&event) { item->text += eventLine(event) + "\n"; });
        item->is_there = true;
        cutItem(item);
    } catch (const SqliteError &error) {
        item->problem = error.what();
    }
}

// ---- of the host

void writeVersions(int out) {
    utsname name = {};
    uname(&name);
    ReportItem release;
    release.limit = 64 * KIB;
    readFile(&release, "/etc/os-release");
    writeWhole(out, std::string("dravik ") + DRAVIK_VERSION + "\nSQLite " + sqlite3_libversion() + "\n" +
                        name.sysname + " " + name.nodename + " " + name.release + " " + name.version + " " +
                        name.machine + "\n\n/etc/os-release\n" + release.text + release.problem + "\n");
}

void fillVersions(ReportItem *item) {
    item->source = "dravik, SQLite, uname, /etc/os-release";
    readBeside(item, writeVersions, KERNEL_SECONDS);
}

// "$ systemctl is-active dravikd.service", what it prints, and the state at length.
void addService(ReportItem *item, const char *tool, const ShellCommand &command) {
    ReportItem part;
    part.limit = item->limit / 4;
    runCommand(&part, tool, command, SERVICE_SECONDS);
    item->text += "$ " + part.source + "\n" + (part.is_there ? part.text : part.problem + "\n") + "\n";
    item->is_there = item->is_there || part.is_there;
    item->problem += part.problem.empty() ? "" : (item->problem.empty() ? "" : "; ") + part.problem;
    item->duration_ms += part.duration_ms;
}

void fillServices(ReportItem *item) {
    const bool sysv = isSysVHost();
    item->source = sysv ? "service" : "systemctl";
    if (sysv) {
        addService(item, CMD_service, ShellCommand(CMD_service, " dravikd status"_sh));
        addService(item, CMD_service, ShellCommand(CMD_service, " dravik-monitor status"_sh));
        return;
    }
    addService(item, CMD_systemctl, ShellCommand(CMD_systemctl, " is-active dravikd.service"_sh));
    addService(item, CMD_systemctl, ShellCommand(CMD_systemctl, " is-active dravik-monitor.service"_sh));
    addService(item, CMD_systemctl, ShellCommand(CMD_systemctl, " --no-pager status dravikd.service"_sh));
    addService(item, CMD_systemctl,
               ShellCommand(CMD_systemctl, " --no-pager status dravik-monitor.service"_sh));
}

// What lies in /dumps: mode, owner, bytes, time, name.
void writeDumps(int out) {
    struct statvfs space = {};
    if (statvfs(DUMPS_FOLDER, &space) != 0) {
        return;
    }
    std::string text = "bytes free " + std::to_string(space.f_bavail * space.f_frsize) + " of " +
                       std::to_string(space.f_blocks * space.f_frsize) + ", files free " +
                       std::to_string(space.f_favail) + "\n\n";
    const Folder folder(opendir(DUMPS_FOLDER));
    std::vector<std::string> lines;
    for (const dirent *entry = folder ? readdir(folder.get()) : nullptr; entry != nullptr;
         entry = readdir(folder.get())) {
        struct stat is = {};
        if (entry->d_name[0] != '.' &&
            fstatat(dirfd(folder.get()), entry->d_name, &is, AT_SYMLINK_NOFOLLOW) == 0) {
            char line[128] = "";
            snprintf(line, sizeof(line), "%06o %u %lld %s ", is.st_mode, is.st_uid,
                     static_cast<long long>(is.st_size), localTime(is.st_mtime * 1000LL).c_str());
            lines.push_back(harmless(entry->d_name) + "  " + line);
        }
    }
    std::sort(lines.begin(), lines.end());
    writeWhole(
        out, std::accumulate(lines.begin(), lines.end(), text, [](std::string all, const std::string &line) {
            return std::move(all) + line + "\n";
        }));
}

void fillDumps(ReportItem *item) {
    item->source = DUMPS_FOLDER;
    readBeside(item, writeDumps, KERNEL_SECONDS);
}

// ---- files

void fillMonitorLog(ReportItem *item) {
    readFile(item, "/dumps/dravik_monitor.log");
}
void fillMonitorBackup(ReportItem *item) {
    readFile(item, "/dumps/dravik_monitor_bk.log");
}
void fillCommandLog(ReportItem *item) {
    readFile(item, "/dumps/dravik_cli.log");
}
void fillCommandBackup(ReportItem *item) {
    readFile(item, "/dumps/dravik_cli_bk.log");
}
void fillSnapshot(ReportItem *item) {
    readFile(item, "/dumps/data.dravik");
}
void fillNameCache(ReportItem *item) {
    item->is_whole = isWholeNameCache;
    readFile(item, VDISK_CACHE_FILE);
}
void fillConfiguration(ReportItem *item) {
    readFile(item, CONF_FILE);
}
void fillConfigurationBackup(ReportItem *item) {
    readFile(item, "/etc/velomux.conf.bk");
}

// ---- commands

void fillListing(ReportItem *item) {
    runCommand(item, CMD_velomux, ShellCommand(CMD_velomux, " -ll"_sh), TOOL_SECONDS);
}

constexpr char JOURNAL[] = "journalctl";

void fillJournalMonitor(ReportItem *item) {
    runCommand(item, JOURNAL,
               ShellCommand(JOURNAL, " --no-pager -o short-iso --since -24h -u dravik-monitor"_sh),
               TOOL_SECONDS);
}
void fillJournalDaemon(ReportItem *item) {
    runCommand(item, JOURNAL, ShellCommand(JOURNAL, " --no-pager -o short-iso --since -24h -u dravikd"_sh),
               TOOL_SECONDS);
}
void fillJournalKernel(ReportItem *item) {
    runCommand(item, JOURNAL, ShellCommand(JOURNAL, " --no-pager -o short-iso --since -24h -k"_sh),
               TOOL_SECONDS);
}

constexpr Keep BEGINNING = Keep::BEGINNING;
constexpr Keep END = Keep::END;
constexpr bool EXPECTED = true;
constexpr bool MAY_LACK = false;

// In the order of the archive. The files come before the commands, which may write to the log.
constexpr Source SOURCES[] = {
    {"check.txt", MIB, nullptr, fillCheck, BEGINNING, EXPECTED},
    {"events.txt", 512 * KIB, nullptr, fillEvents, END, MAY_LACK},
    {"versions.txt", 80 * KIB, nullptr, fillVersions, BEGINNING, EXPECTED},
    {"dumps.txt", 64 * KIB, nullptr, fillDumps, BEGINNING, EXPECTED},
    {"dravik_monitor.log", 6 * MIB, learnLog, fillMonitorLog, END, EXPECTED},
    {"dravik_monitor_bk.log", 4 * MIB, learnLog, fillMonitorBackup, END, MAY_LACK},
    {"dravik_cli.log", 4 * MIB, learnLog, fillCommandLog, END, EXPECTED},
    {"dravik_cli_bk.log", 2 * MIB, learnLog, fillCommandBackup, END, MAY_LACK},
    {"data.dravik", 4 * MIB, learnSnapshot, fillSnapshot, BEGINNING, EXPECTED},
    {"storage_config.json", 2 * MIB, learnNameCache, fillNameCache, BEGINNING, MAY_LACK},
    {"velomux.conf", MIB, learnConfiguration, fillConfiguration, BEGINNING, EXPECTED},
    {"velomux.conf.bk", 512 * KIB, learnConfiguration, fillConfigurationBackup, BEGINNING, MAY_LACK},
    {"services.txt", 64 * KIB, nullptr, fillServices, BEGINNING, EXPECTED},
    {"listing.txt", 4 * MIB, learnListing, fillListing, BEGINNING, EXPECTED},
    {"journal-monitor.txt", 1536 * KIB, learnLog, fillJournalMonitor, END, MAY_LACK},
    {"journal-daemon.txt", 512 * KIB, learnLog, fillJournalDaemon, END, MAY_LACK},
    {"journal-kernel.txt", MIB, nullptr, fillJournalKernel, END, MAY_LACK},
};

ReportItem collect(const Source &source) {
    checkInterruption();
    ReportItem item;
    item.name = source.name;
    item.limit = source.limit;
    item.keep = source.keep;
    item.learn = source.learn;
    item.is_expected = source.is_expected;
    source.fill(&item);
    return item;
}

Learn learnerOf(const std::string &view) {
    if (view == "kernel-maps.txt") {
        return learnMaps;
    }
    if (view == "kernel-paths.txt") {
        return learnDevices;
    }
    return view == "kernel-nvme.txt" ? learnSerials : nullptr;
}

ReportItem collect(const KernelView &view) {
    checkInterruption();
    ReportItem item;
    item.name = view.name;
    item.limit = view.limit;
    item.learn = learnerOf(item.name);
    item.source = view.source;
    readBeside(&item, view.write, KERNEL_SECONDS);
    return item;
}

} // namespace

std::vector<ReportItem> collectItems() {
    std::vector<ReportItem> items;
    for (const Source &source : SOURCES) {
        items.push_back(collect(source));
    }
    for (const KernelView &view : KERNEL_VIEW_LIST) {
        items.push_back(collect(view));
    }
    checkInterruption();
    return items;
}

uint64_t itemLimits() {
    uint64_t sum = LEDGER_ITEM_LIMIT;
    for (const Source &source : SOURCES) {
        sum += source.limit;
    }
    for (const KernelView &view : KERNEL_VIEW_LIST) {
        sum += view.limit;
    }
    return sum;
}

const ReportItem *findItem(const std::vector<ReportItem> &items, const std::string &name) {
    const auto found =
        std::find_if(items.begin(), items.end(), [&](const ReportItem &item) { return item.name == name; });
    return found == items.end() ? nullptr : &*found;
}

} // namespace dravik

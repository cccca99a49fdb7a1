// Making a report.
#include "commands/support_report.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <optional>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "commands/ledger_view.h"
#include "commands/own_options.h"
#include "commands/report_collection.h"
#include "commands/report_findings.h"
#include "commands/report_folder.h"
#include "commands/report_ledger_copy.h"
#include "commands/report_manifest.h"
#include "commands/report_redacting.h"
#include "commands/report_redaction.h"
#include "commands/report_secrets.h"
#include "common/callers_folder.h"
#include "common/exit_status.h"
#include "common/visible_text.h"
#include "host/interruption.h"
#include "ledger/ledger_file.h"

namespace dravik {

namespace {

constexpr char ENDING[] = ".tar.gz";
constexpr unsigned int BACKUP_SECONDS = 60;
constexpr unsigned int REWRITING_SECONDS = 120;
constexpr char WORK_LEDGER[] = "ledger.db";

struct Report {
    std::string file;
    uint64_t bytes = 0;
    ReportHead head;
    std::vector<ReportItem> items; // of the archive, in its order
    std::vector<std::string> look_first;
};

// ---- the command line

// The file's name from "/" on; "" with a sentence for people.
std::string readName(const OwnWords &words, std::string *problem) {
    const std::string typed = words.words.empty() ? "" : words.words.front();
    const std::string base = typed.substr(typed.rfind('/') + 1); // npos + 1 is 0
    const size_t length = sizeof(ENDING) - 1;
    if (typed.empty()) {
        *problem = "say into which file: dravik report FILE.tar.gz";
    } else if (base.size() <= length || base.compare(base.size() - length, length, ENDING) != 0) {
        *problem = "\"" + typed + "\" does not end in .tar.gz, which is what the report is";
    } else if (geteuid() != 0) {
        *problem = "a report reads what is root's alone: run it as root";
    } else if (inCallersFolder(typed).empty()) {
        *problem = "the folder that it was called in is gone: name the file from / on";
    }
    return problem->empty() ? inCallersFolder(typed) : "";
}

// ---- the ledger

// As it stands: a damaged or locked one is better than none.
void copyRawLedger(ReportItem *item, const std::string &problem) {
    readFile(item, LEDGER_FILE);
    if (item->is_there && item->left_out > 0) {
        item->is_there = false; // the end of a database is no database
        item->text.clear();
        item->left_out = 0;
        item->problem = problem + "; and it is too large to be copied as it is";
    } else if (item->is_there) {
        item->problem = problem + ": copied as it is";
    }
}

// Makes the copy in the report's folder and reads from it what is to be redacted.
ReportItem copyLedger(const ReportFolder &folder, Redactor *redactor) {
    checkInterruption();
    ReportItem item;
    item.name = LEDGER_ITEM;
    item.limit = LEDGER_ITEM_LIMIT;
    item.keep = Keep::END;
    item.source = LEDGER_FILE;
    if (access(LEDGER_FILE, F_OK) != 0 && errno == ENOENT) {
        item.problem = "there is none: dravik-monitor has not run on this host yet";
        return item;
    }
    const Milliseconds start = nowMs();
    const ReportFolder::Visit visit(folder.work());
    item.problem = backUpLedger(WORK_LEDGER, BACKUP_SECONDS);
    item.is_there = item.problem.empty();
    if (!item.is_there && redactor == nullptr) {
        copyRawLedger(&item, item.problem);
    } else if (!item.is_there) {
        item.problem += "; as it is, it cannot be redacted";
    } else if (redactor != nullptr) {
        item.problem = learnCopy(WORK_LEDGER, redactor);
        item.is_there = item.problem.empty();
    }
    item.duration_ms = nowMs() - start;
    return item;
}

uint64_t sizeOf(const char *file) {
    struct stat attributes = {};
    return stat(file, &attributes) == 0 ? static_cast<uint64_t>(attributes.st_size) : 0;
}

// Puts the copy into the archive's folder: its text is that of the file there.
void placeLedger(const ReportFolder &folder, ReportItem *item, Redactor *redactor) {
    constexpr char REWRITTEN[] = "rewritten.db";
    if (!item->is_there || !item->text.empty()) {
        return;
    }
    const ReportFolder::Visit visit(folder.work());
    const char *file = WORK_LEDGER;
    const uint64_t whole = sizeOf(file);
    if (redactor != nullptr || whole > item->limit) {
        const LedgerRewriting done =
            rewriteLedger(WORK_LEDGER, REWRITTEN, redactor, item->limit, REWRITING_SECONDS);
        checkInterruption();
        if (!done.problem.empty()) {
            item->is_there = false;
            item->problem = done.problem;
            return;
        }
        file = REWRITTEN;
        if (done.events_left_out > 0) {
            item->left_out = whole > sizeOf(file) ? whole - sizeOf(file) : 1;
            item->problem = "its oldest " + std::to_string(done.events_left_out) + " events are left out";
        }
    }
    ReportItem copy;
    copy.limit = REPORT_LIMIT;
    readFile(&copy, file);
    item->text = std::move(copy.text);
    item->is_there = copy.is_there;
    item->problem += copy.problem;
}

// ---- redaction

std::string hostName() {
    char name[256] = "";
    gethostname(name, sizeof(name) - 1);
    return name;
}

// By every name that it has given itself.
void learnHostNames(Redactor *redactor) {
    const std::string host = hostName();
    learnHost(redactor, host);
    utsname kernel = {};
    if (uname(&kernel) == 0) {
        learnHost(redactor, kernel.nodename);
    }
    ReportItem file;
    constexpr uint64_t LONGEST_NAME = 256;
    file.limit = LONGEST_NAME;
    readFile(&file, "/etc/hostname");
    learnHost(redactor, file.text.substr(0, file.text.find_first_of(" \t\n")));
}

// ---- the archive

// dravik-report-db1-20261121T031241Z: what of the host's name is no letter, digit, "." or "-" is "_".
std::string topName(Redactor *redactor) {
    std::string host = redactor == nullptr ? hostName() : redactor->token(Secret::HOST, hostName());
    for (char &c : host) {
        const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                              c == '.' || c == '-';
        c = is_plain ? c : '_';
    }
    char stamp[32] = "";
    const time_t now = time(nullptr);
    tm utc = {};
    gmtime_r(&now, &utc);
    strftime(stamp, sizeof(stamp), "-%Y%m%dT%H%M%SZ", &utc);
    return "dravik-report-" + host + stamp;
}

ReportItem ownText(const char *name, std::string text) {
    ReportItem item;
    item.name = name;
    item.source = "dravik report";
    item.text = std::move(text);
    item.is_there = true;
    return item;
}

// Writes the files, their checksums and the manifest; the names in the order of the archive.
std::vector<std::string> writeFiles(ReportFolder *folder, Report *report) {
    report->items.insert(report->items.begin(),
                         ownText("README.txt", readmeText(report->head, report->look_first)));
    std::vector<std::string> names = {"README.txt", "MANIFEST", "SHA256SUMS"};
    for (const ReportItem &item : report->items) {
        checkInterruption();
        if (item.is_there) {
            folder->write(item.name, item.text);
            if (item.name != names.front()) {
                names.push_back(item.name);
            }
        }
    }
    std::string problem;
    const std::string sums = folder->checksums(&problem);
    const std::string manifest = manifestText(report->head, report->items, readChecksums(sums), problem);
    folder->write("SHA256SUMS", sums);
    folder->write("MANIFEST", manifest);
    report->items.insert(report->items.begin() + 1,
                         {ownText("MANIFEST", manifest), ownText("SHA256SUMS", sums)});
    return names;
}

Report makeReport(const std::string &file, bool redacted) {
    Report report;
    report.file = file;
    report.head = {isoTime(nowMs()), redacted};
    ReportFolder folder(file);
    std::optional<Redactor> redaction;
    Redactor *redactor = redacted ? &redaction.emplace() : nullptr;
    if (redactor != nullptr) {
        learnHostNames(redactor);
    }
    report.items = collectItems();
    report.items.insert(report.items.begin() + 2, copyLedger(folder, redactor));
    if (redactor != nullptr) {
        learnItems(&report.items, redactor);
    }
    report.look_first = lookFirst(report.items, redactor);
    for (ReportItem &item : report.items) {
        if (item.name == LEDGER_ITEM) {
            placeLedger(folder, &item, redactor);
        }
    }
    if (redactor != nullptr) {
        redactItems(&report.items, redactor);
        redactSentences(&report.look_first, redactor);
    }
    checkInterruption();
    folder.makeTop(topName(redactor));
    const std::vector<std::string> names = writeFiles(&folder, &report);
    checkInterruption();
    report.bytes = folder.pack(names);
    return report;
}

// ---- the answer

void printText(const Report &report) {
    printf("%s: %llu bytes, mode 0600%s\n", VisibleText(report.file.c_str()).text(),
           static_cast<unsigned long long>(report.bytes), report.head.redacted ? ", redacted" : "");
    for (const ReportItem &item : report.items) {
        if (item.left_out > 0) {
            printf("Cut: %s, %llu bytes are left out\n", item.name.c_str(),
                   static_cast<unsigned long long>(item.left_out));
        }
    }
    printf("\n%s", lookFirstText(report.look_first).c_str());
}

void printJson(const Report &report) {
    Json files = Json::array();
    Json missing = Json::array();
    Json cut = Json::array();
    for (const ReportItem &item : report.items) {
        if (item.is_there) {
            files.add(std::move(
                Json::object().set("name", item.name).set("bytes", static_cast<int64_t>(item.text.size()))));
        } else {
            missing.add(std::move(Json::object().set("name", item.name).set("reason", item.problem)));
        }
        if (item.left_out > 0) {
            cut.add(std::move(Json::object()
                                  .set("name", item.name)
                                  .set("bytes_left_out", static_cast<int64_t>(item.left_out))));
        }
    }
    Json first = Json::array();
    for (const std::string &sentence : report.look_first) {
        first.add(Json::text(sentence));
    }
    Json document = beginDocument("report");
    document.set("file", report.file)
        .set("bytes", static_cast<int64_t>(report.bytes))
        .set("redacted", report.head.redacted)
        .set("files", std::move(files))
        .set("missing", std::move(missing))
        .set("cut", std::move(cut))
        .set("look_first", std::move(first));
    puts(document.line().c_str());
}

int makeAndTell(const std::string &file, bool redacted, bool json) {
    try {
        const Report report = makeReport(file, redacted);
        restoreEndingSignals(); // the file is there: only its telling is left
        json ? printJson(report) : printText(report);
        return EXIT_DONE;
    } catch (const ReportFailure &failure) {
        endByPendingSignal();
        return failOwnCommand("report", failure.what(), json, EXIT_FAILED);
    } catch (const ReportInterrupted &) {
        endByPendingSignal();
        return EXIT_FAILED;
    }
}

} // namespace

int supportReport(const OwnCall &call) {
    const OwnWords words = readOwnWords(call, {{"redact", false}}, 1);
    std::string problem = words.problem;
    const std::string file = problem.empty() ? readName(words, &problem) : "";
    if (!problem.empty()) {
        return failOwnCommand("report", problem, words.has("json"), EXIT_FAILED);
    }
    deferEndingSignals(nullptr);
    setUnfinished(
        "a folder .dravik-report-... stays beside the file; a report made there an hour later removes it");
    const int status = makeAndTell(file, words.has("redact"), words.has("json"));
    setUnfinished(nullptr);
    return status;
}

} // namespace dravik

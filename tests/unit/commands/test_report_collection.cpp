// What a report is made of: the items, their order, names, limits and sources.
#include "commands/report_collection.h"

#include <algorithm>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>

#include "commands/report_secrets.h"
#include "commands/version.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

class ReportCollection : public LedgerOnHost {
  protected:
    static ReportItem taken(const std::vector<ReportItem> &items, const std::string &name) {
        const ReportItem *found = findItem(items, name);
        EXPECT_NE(found, nullptr) << name;
        return found == nullptr ? ReportItem() : *found;
    }
};

} // namespace

TEST_F(ReportCollection, TheItemsStandInTheOrderOfTheArchiveWithNamesThatArePlainAndDifferent) {
    std::string names;
    std::set<std::string> different = {LEDGER_ITEM, "README.txt", "MANIFEST", "SHA256SUMS"};
    const size_t own = different.size();
    const std::vector<ReportItem> items = collectItems();
    for (const ReportItem &item : items) {
        names += item.name + "\n";
        different.insert(item.name);
        EXPECT_EQ(item.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_-."), std::string::npos)
            << item.name;
        EXPECT_NE(item.name[0], '-');
        EXPECT_NE(item.name[0], '.');
        EXPECT_NE(item.source, "") << item.name;
        EXPECT_GT(item.limit, 0U) << item.name;
        EXPECT_LE(item.text.size(), item.limit) << item.name;
        EXPECT_TRUE(item.is_there || !item.problem.empty()) << item.name;
    }
    EXPECT_EQ(names,
              "check.txt\nevents.txt\nversions.txt\ndumps.txt\ndravik_monitor.log\ndravik_monitor_bk.log\n"
              "dravik_cli.log\ndravik_cli_bk.log\ndata.dravik\nstorage_config.json\nvelomux.conf\n"
              "velomux.conf.bk\nservices.txt\nlisting.txt\njournal-monitor.txt\njournal-daemon.txt\n"
              "journal-kernel.txt\nkernel-maps.txt\nkernel-paths.txt\nkernel-fc.txt\nkernel-iscsi.txt\n"
              "kernel-nvme.txt\nby-path.txt\n");
    EXPECT_EQ(different.size(), items.size() + own);
}

TEST_F(ReportCollection, TheLimitsOfAllItemsTogetherKeepTheArchivesEvenIfNothingCanBeCompressed) {
    uint64_t sum = LEDGER_ITEM_LIMIT;
    for (const ReportItem &item : collectItems()) {
        sum += item.limit;
    }
    EXPECT_EQ(itemLimits(), sum);
    EXPECT_LE(itemLimits() + REPORT_OWN_BYTES, REPORT_LIMIT);
}

TEST_F(ReportCollection, AnItemIsFoundByItsWholeName) {
    std::vector<ReportItem> items(2);
    items[0].name = "dravik_cli.log";
    items[1].name = "data.dravik";
    EXPECT_EQ(findItem(items, "data.dravik"), &items[1]);
    EXPECT_EQ(findItem(items, "data"), nullptr);
    EXPECT_EQ(findItem({}, "data.dravik"), nullptr);
}

TEST_F(ReportCollection, TheFilesInDumpsAreTakenAsTheyAre) {
    const std::vector<std::string> files = {"dravik_monitor.log", "dravik_monitor_bk.log",
                                            "dravik_cli.log",     "dravik_cli_bk.log",
                                            "data.dravik",        "storage_config.json"};
    for (const std::string &file : files) {
        host.dumps.write(file, "text of " + file + "\n\x1b\xff\n");
    }
    const std::vector<ReportItem> items = collectItems();
    for (const std::string &file : files) {
        const ReportItem item = taken(items, file);
        EXPECT_TRUE(item.is_there) << item.problem;
        EXPECT_EQ(item.text, "text of " + file + "\n\x1b\xff\n");
        EXPECT_EQ(item.source, "/dumps/" + file);
        EXPECT_EQ(item.left_out, 0U);
        EXPECT_NE(item.learn, nullptr) << file;
    }
}

TEST_F(ReportCollection, NamesAreLearntFromTheKernelsMapsPathsAndNvmeControllers) {
    const std::vector<ReportItem> items = collectItems();
    EXPECT_EQ(taken(items, "kernel-maps.txt").learn, &learnMaps);
    EXPECT_EQ(taken(items, "kernel-paths.txt").learn, &learnDevices);
    EXPECT_EQ(taken(items, "kernel-nvme.txt").learn, &learnSerials);
    EXPECT_EQ(taken(items, "by-path.txt").learn, nullptr);
}

TEST_F(ReportCollection, TheNameCacheMustBeWholeAndTheLedgersTextsAreMarked) {
    for (const ReportItem &item : collectItems()) {
        EXPECT_EQ(item.is_whole, item.name == "storage_config.json" ? &isWholeNameCache : nullptr)
            << item.name;
        EXPECT_EQ(item.is_from_ledger, item.name == "check.txt" || item.name == "events.txt") << item.name;
    }
}

TEST_F(ReportCollection, WhatASoundHostMayLackIsNothingToLookAt) {
    const std::vector<ReportItem> items = collectItems();
    for (const char *name : {"dravik_monitor_bk.log", "dravik_cli_bk.log", "storage_config.json"}) {
        EXPECT_FALSE(taken(items, name).is_there) << name;
        EXPECT_EQ(taken(items, name).problem, "there is none");
        EXPECT_FALSE(taken(items, name).is_expected) << name;
    }
    for (const char *name : {"dravik_monitor.log", "data.dravik"}) {
        EXPECT_EQ(taken(items, name).problem, "there is none");
        EXPECT_FALSE(taken(items, name).is_there) << name;
        EXPECT_TRUE(taken(items, name).is_expected) << name;
    }
    EXPECT_EQ(taken(items, "check.txt").problem,
              "there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet");
}

TEST_F(ReportCollection, TheVerdictIsThatOfTheLedger) {
    observe({okVolume(), lastPathVolume()}, NOW - 5000);
    const ReportItem check = taken(collectItems(), "check.txt");
    EXPECT_TRUE(check.is_there);
    EXPECT_EQ(check.source, "the ledger");
    EXPECT_EQ(check.text.substr(0, check.text.find(" |")), "CRITICAL - 1 of 2 volumes on its last path");
}

TEST_F(ReportCollection, OfTheEventsTheLast2000AreTakenALineEach) {
    observe({okVolume()}, NOW - 5000);
    observe({degradedVolume("fine")}, NOW - 1000);
    const auto database = ledger();
    const int64_t events = database->number("SELECT count(*) FROM events");
    const auto lines = [](const std::string &text) { return std::count(text.begin(), text.end(), '\n'); };
    EXPECT_EQ(lines(taken(collectItems(), "events.txt").text), events);
    Transaction transaction(database.get());
    for (int i = 0; i < 2500; ++i) {
        database->run(
            "INSERT INTO events SELECT NULL, incident, time, boot_id, quality, kind, wwid, alias, has_path, "
            "path_name, path_address, initiator, target_port, state_from, state_to, paths_working, "
            "paths_known, cause, user, command FROM events WHERE number = 1");
    }
    transaction.commit();
    const ReportItem item = taken(collectItems(), "events.txt");
    EXPECT_EQ(item.source, "the last 2000 events of the ledger");
    EXPECT_EQ(lines(item.text), 2000);
}

TEST_F(ReportCollection, TheVersionsBeginWithOurOwn) {
    const std::string text = taken(collectItems(), "versions.txt").text;
    EXPECT_EQ(text.substr(0, text.find("/etc/os-release")), std::string("dravik ") + DRAVIK_VERSION +
                                                                "\nSQLite " + sqlite3_libversion() +
                                                                "\n  5.14.0-70.el9.x86_64  \n\n");
}

TEST_F(ReportCollection, WhatLiesInDumpsIsListedWithModeOwnerBytesAndTime) {
    host.dumps.write("data.dravik", "12345");
    host.dumps.write("odd\x1bname", "");
    for (const char *name : {"data.dravik", "odd\x1bname"}) {
        const timespec times[2] = {{NOW / 1000, 0}, {NOW / 1000, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, host.dumps.path(name).c_str(), times, 0), 0);
        ASSERT_EQ(chmod(host.dumps.path(name).c_str(), 0600), 0);
    }
    const std::string text = taken(collectItems(), "dumps.txt").text;
    const std::string owner = std::to_string(geteuid());
    EXPECT_EQ(text.substr(0, 11), "bytes free ");
    EXPECT_EQ(text.substr(text.find("\n\n") + 2), "data.dravik  100600 " + owner +
                                                      " 5 2026-11-21 03:12:41 \n" + "odd\\x1bname  100600 " +
                                                      owner + " 0 2026-11-21 03:12:41 \n");
}

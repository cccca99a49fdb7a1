// Change detection: which lines two lists give, in which order, and when the snapshot is rewritten.
#include "monitor/change_detection.h"

#include <algorithm>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "monitor/cycle.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/lun_list_maker.h"
#include "tests/support/rules.h"
#include "tests/support/seeded_random.h"

namespace {

using Lines = std::vector<std::string>;
using List = std::vector<LunFields>;

// ---- the comparison in the plainest words: every look-up a search from the front

bool sameOver(const std::string &a, const std::string &b, size_t length) {
    return a.substr(0, length) == b.substr(0, length);
}

const LunFields *findWwid(const List &list, const std::string &wwid) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const LunFields &f) { return sameOver(f.wwid, wwid, 65); });
    return found == list.end() ? nullptr : &*found;
}

const LunFields *findName(const List &list, const std::string &name) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const LunFields &f) { return sameOver(f.name, name, 30); });
    return found == list.end() ? nullptr : &*found;
}

// An alias that fills its field reads on into the WWID.
std::string aliasText(const LunFields &fields) {
    return fields.alias.size() < 31 ? fields.alias : fields.alias.substr(0, 31) + fields.wwid;
}

std::string volumeLine(const char *what, const LunFields &fields) {
    return std::string("The lun is ") + what + ", the properties are [ path_alias: " + aliasText(fields) +
           ", wwid: " + fields.wwid + " ].";
}

std::string pathLine(const char *what, const LunFields &fields) {
    return std::string("The path is ") + what + ", the properties are [ path_alias: " + aliasText(fields) +
           ", wwid: " + fields.wwid + ", dev_name: " + fields.name + ", path_status: " + fields.status +
           ", path_group_status: " + fields.group + ", dravik_status:" + fields.online + " ].";
}

void compareVolumes(const List &list, const List &other, const char *what, Lines *lines) {
    for (size_t i = 0; i < list.size(); ++i) {
        const bool in_run = i > 0 && sameOver(list[i].wwid, list[i - 1].wwid, 65);
        if (!in_run && findWwid(other, list[i].wwid) == nullptr) {
            lines->push_back(volumeLine(what, list[i]));
        }
    }
}

void comparePath(const LunFields &before, const LunFields &now, Lines *lines) {
    const auto note = [&](const char *what, const std::string &from, const std::string &to) {
        lines->push_back(std::string("The ") + what + " is changed from [" + from + "] to [" + to +
                         "] for the path [ dev_name: " + before.name + " ].");
    };
    if (!sameOver(before.alias, now.alias, 30)) {
        note("path alias", aliasText(before), aliasText(now));
    }
    if (!sameOver(before.wwid, now.wwid, 65)) {
        note("lun wwid", before.wwid, now.wwid);
    }
    if (!sameOver(before.status, now.status, 30)) {
        note("path status", before.status, now.status);
    }
    if (!sameOver(before.group, now.group, 30)) {
        note("group status", before.group, now.group);
    }
    if (!sameOver(before.online, now.online, 30)) {
        note("dravik status", before.online, now.online);
    }
}

Lines referenceLines(const List &before, const List &now) {
    Lines lines;
    compareVolumes(before, now, "deleted", &lines);
    compareVolumes(now, before, "created", &lines);
    for (const LunFields &old_path : before) {
        const LunFields *path = findName(now, old_path.name);
        if (path == nullptr) {
            lines.push_back(pathLine("deleted", old_path));
        } else {
            comparePath(old_path, *path, &lines);
        }
    }
    for (const LunFields &path : now) {
        if (findName(before, path.name) == nullptr) {
            lines.push_back(pathLine("created", path));
        }
    }
    return lines;
}

std::string snapshotText(const List &list) {
    std::string text;
    for (const LunFields &f : list) {
        text += aliasText(f) + "," + f.wwid + "," + f.id + "," + f.name + "," + f.status + "," + f.group +
                "," + f.online + ",\n";
    }
    return text;
}

// ---- the fixture

constexpr char OLD_SNAPSHOT[] = "the snapshot of an earlier cycle\n";

class ChangeDetection : public testing::Test {
  protected:
    ChangeDetection() {
        g_pLunPath = mallocLunpath();
        g_pOldLunPath = mallocLunpath();
        snprintf(lunPathFile, sizeof(lunPathFile), "/dumps/data.dravik");
    }
    ~ChangeDetection() override {
        freeLunpath(g_pLunPath);
        freeLunpath(g_pOldLunPath);
        g_pLunPath = nullptr;
        g_pOldLunPath = nullptr;
    }

    // Compares the two lists with an old snapshot in place.
    void compare(const List &before, const List &now) {
        makeLunList(g_pOldLunPath, before);
        makeLunList(g_pLunPath, now);
        dumps.forgetLogs();
        if (old_snapshot) {
            dumps.write("data.dravik", OLD_SNAPSHOT);
        }
        cmpAndLog();
        EXPECT_EQ(lunListText(g_pOldLunPath), lunText(before));
        EXPECT_EQ(lunListText(g_pLunPath), lunText(now));
    }
    // The change log has exactly these lines, and the snapshot was rewritten or not as the rules say.
    void expectLines(const List &now, const Lines &lines) {
        EXPECT_EQ(dumps.changeLogLines(), lines);
        const bool written = !lines.empty() && !now.empty();
        EXPECT_EQ(dumps.read("data.dravik"), written ? snapshotText(now) : old_snapshot ? OLD_SNAPSHOT : "");
        EXPECT_EQ(dumps.commandLogMessages(),
                  written ? Lines{"INFO  Write lun path infomation to file successfully."} : Lines());
    }
    void expectChanges(const List &before, const List &now, const Lines &lines) {
        compare(before, now);
        expectLines(now, lines);
        EXPECT_EQ(referenceLines(before, now), lines); // and so the reference earns its trust
    }

    DumpsFolder dumps;
    bool old_snapshot = true;
};

const LunFields PATH_1 = {"mpatha", "36a", "8:16", "sdb", "ready", "active", "running"};
const LunFields PATH_2 = {"mpatha", "36a", "8:32", "sdc", "ready", "enabled", "running"};
const LunFields PATH_3 = {"mpathb", "36b", "8:48", "sdd", "ready", "active", "running"};

LunFields with(LunFields fields, std::string LunFields::*field, const std::string &value) {
    fields.*field = value;
    return fields;
}

const std::string CREATED_A = "The lun is created, the properties are [ path_alias: mpatha, wwid: 36a ].";
const std::string CREATED_B = "The lun is created, the properties are [ path_alias: mpathb, wwid: 36b ].";
const std::string DELETED_A = "The lun is deleted, the properties are [ path_alias: mpatha, wwid: 36a ].";
const std::string DELETED_B = "The lun is deleted, the properties are [ path_alias: mpathb, wwid: 36b ].";
const std::string PATH_1_PROPERTIES =
    "the properties are [ path_alias: mpatha, wwid: 36a, dev_name: sdb, "
    "path_status: ready, path_group_status: active, dravik_status:running ].";
const std::string PATH_2_PROPERTIES =
    "the properties are [ path_alias: mpatha, wwid: 36a, dev_name: sdc, "
    "path_status: ready, path_group_status: enabled, dravik_status:running ].";
const std::string PATH_3_PROPERTIES =
    "the properties are [ path_alias: mpathb, wwid: 36b, dev_name: sdd, "
    "path_status: ready, path_group_status: active, dravik_status:running ].";

} // namespace

// ---- what is a change

TEST_F(ChangeDetection, IdenticalListsLogNothingAndDoNotTouchTheSnapshot) {
    makeLunList(g_pOldLunPath, {PATH_1, PATH_2, PATH_3});
    makeLunList(g_pLunPath, {PATH_1, PATH_2, PATH_3});
    dumps.forgetLogs();
    dumps.write("data.dravik", OLD_SNAPSHOT);
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(dumps.path("data.dravik").c_str(), &before), 0);
    cmpAndLog();
    ASSERT_EQ(stat(dumps.path("data.dravik").c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_mtim.tv_sec, after.st_mtim.tv_sec);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
    EXPECT_EQ(dumps.names(), Lines{"data.dravik"}); // neither log was made
    EXPECT_EQ(dumps.read("data.dravik"), OLD_SNAPSHOT);
}

namespace {

// Two lists, and the lines that their comparison gives.
struct ChangeCase {
    List before;
    List now;
    Lines lines;
};

const Rule<ChangeCase> CHANGE_RULES[] = {
    {"TwoEmptyListsLogNothing", {{{}, {}, {}}}},
    {"AnotherOrderOfTheSamePathsIsNoChange", {{{PATH_1, PATH_2, PATH_3}, {PATH_3, PATH_2, PATH_1}, {}}}},
    {"AFaultyPathLogsExactlyOneStatusLineAndRewritesTheSnapshot",
     {{{PATH_1, PATH_2},
       {with(PATH_1, &LunFields::status, "faulty"), PATH_2},
       {"The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ]."}}}},
    {"TheDeviceNumberOfAPathIsNeverCompared", {{{PATH_1}, {with(PATH_1, &LunFields::id, "65:0")}, {}}}},
    {"AllThatIsNewIsCreatedOnTheFirstCycleWithoutASnapshot",
     {{{},
       {PATH_1, PATH_2, PATH_3},
       {CREATED_A, CREATED_B, "The path is created, " + PATH_1_PROPERTIES,
        "The path is created, " + PATH_2_PROPERTIES, "The path is created, " + PATH_3_PROPERTIES}}}},
    {"AnEmptyCurrentListReportsAllDeletedAndLeavesTheSnapshot",
     {{{PATH_1, PATH_2, PATH_3},
       {},
       {DELETED_A, DELETED_B, "The path is deleted, " + PATH_1_PROPERTIES,
        "The path is deleted, " + PATH_2_PROPERTIES, "The path is deleted, " + PATH_3_PROPERTIES}},
      // A cycle later nothing has been remembered: the same again.
      {{PATH_3}, {}, {DELETED_B, "The path is deleted, " + PATH_3_PROPERTIES}}}},
    {"APathThatComesOrGoesUnderAKeptVolumeIsNoVolumeLine",
     {{{PATH_1, PATH_2}, {PATH_1}, {"The path is deleted, " + PATH_2_PROPERTIES}},
      {{PATH_1}, {PATH_1, PATH_2}, {"The path is created, " + PATH_2_PROPERTIES}}}},
    {"AWwidInTwoRunsThatIsGoneIsReportedDeletedTwice",
     {{{PATH_1, PATH_3, PATH_2},
       {PATH_3},
       {DELETED_A, DELETED_A, "The path is deleted, " + PATH_1_PROPERTIES,
        "The path is deleted, " + PATH_2_PROPERTIES}},
      {{PATH_3},
       {PATH_1, PATH_3, PATH_2},
       {CREATED_A, CREATED_A, "The path is created, " + PATH_1_PROPERTIES,
        "The path is created, " + PATH_2_PROPERTIES}}}},
};

class ChangeDetectionRule : public ChangeDetection, public testing::WithParamInterface<Rule<ChangeCase>> {};

} // namespace

TEST_P(ChangeDetectionRule, GivesLines) {
    for (const ChangeCase &row : GetParam().cases) {
        expectChanges(row.before, row.now, row.lines);
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, ChangeDetectionRule, testing::ValuesIn(CHANGE_RULES), nameOfRule);

TEST_F(ChangeDetection, EachDifferenceOfAPathIsALineInTheFixedOrder) {
    const LunFields other = {"mpathz", "36z", "8:99", "sdb", "shaky", "failed", "offline"};
    expectChanges(
        {PATH_1, PATH_3}, {other, PATH_3},
        {DELETED_A, "The lun is created, the properties are [ path_alias: mpathz, wwid: 36z ].",
         "The path alias is changed from [mpatha] to [mpathz] for the path [ dev_name: sdb ].",
         "The lun wwid is changed from [36a] to [36z] for the path [ dev_name: sdb ].",
         "The path status is changed from [ready] to [shaky] for the path [ dev_name: sdb ].",
         "The group status is changed from [active] to [failed] for the path [ dev_name: sdb ].",
         "The dravik status is changed from [running] to [offline] for the path [ dev_name: sdb ]."});
}

TEST_F(ChangeDetection, ADeviceNameUnderAnotherVolumeIsReportedAsChanged) {
    const LunFields moved = {"mpathb", "36b", "8:16", "sdb", "ready", "active", "running"};
    expectChanges({PATH_1, PATH_2, PATH_3}, {PATH_2, moved, PATH_3},
                  {"The path alias is changed from [mpatha] to [mpathb] for the path [ dev_name: sdb ].",
                   "The lun wwid is changed from [36a] to [36b] for the path [ dev_name: sdb ]."});
}

TEST_F(ChangeDetection, TheLinesStandInTheOrderOfTheFourPasses) {
    const LunFields path_4 = {"mpathc", "36c", "8:64", "sde", "ready", "active", "running"};
    const std::string path_4_properties =
        "the properties are [ path_alias: mpathc, wwid: 36c, dev_name: sde, "
        "path_status: ready, path_group_status: active, dravik_status:running ].";
    // The previous list is a and b, the current one c and b with a fault.
    expectChanges({PATH_3, PATH_1, PATH_2}, {path_4, with(PATH_3, &LunFields::status, "faulty")},
                  {DELETED_A, "The lun is created, the properties are [ path_alias: mpathc, wwid: 36c ].",
                   "The path status is changed from [ready] to [faulty] for the path [ dev_name: sdd ].",
                   "The path is deleted, " + PATH_1_PROPERTIES, "The path is deleted, " + PATH_2_PROPERTIES,
                   "The path is created, " + path_4_properties});
}

TEST_F(ChangeDetection, RecordsOfOneNameAreAllComparedWithTheFirstOfThatName) {
    const LunFields twin = with(PATH_1, &LunFields::status, "faulty");
    expectChanges({PATH_1, PATH_1}, {twin, PATH_1},
                  {"The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ].",
                   "The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ]."});
}

TEST_F(ChangeDetection, RecordsWithoutPathDataMatchOneAnotherByTheirEmptyNames) {
    const LunFields volume_a = {"mpatha", "36a", "", "", "", "", ""};
    const LunFields volume_b = {"mpathb", "36b", "", "", "", "", ""};
    expectChanges({volume_a}, {volume_a, volume_b}, {CREATED_B});
    expectChanges({volume_b}, {volume_a},
                  {DELETED_B, CREATED_A,
                   "The path alias is changed from [mpathb] to [mpatha] for the path [ dev_name:  ].",
                   "The lun wwid is changed from [36b] to [36a] for the path [ dev_name:  ]."});
}

TEST_F(ChangeDetection, AVolumeWithAnEmptyWwidAtTheFrontOfItsListIsLookedForAsAnyOther) {
    const LunFields nameless = with(PATH_1, &LunFields::wwid, "");
    expectChanges({nameless, PATH_3}, {PATH_3},
                  {"The lun is deleted, the properties are [ path_alias: mpatha, wwid:  ].",
                   "The path is deleted, the properties are [ path_alias: mpatha, wwid: , dev_name: sdb, "
                   "path_status: ready, path_group_status: active, dravik_status:running ]."});
}

// ---- over-long texts

TEST_F(ChangeDetection, AliasesThatDifferOnlyAfterTheir30thCharacterAreEqual) {
    const std::string alias(30, 'a');
    expectChanges({with(PATH_1, &LunFields::alias, alias)}, {with(PATH_1, &LunFields::alias, alias + "x")},
                  {});
    expectChanges({with(PATH_1, &LunFields::alias, alias + "z")}, {with(PATH_1, &LunFields::alias, alias)},
                  {});
}

TEST_F(ChangeDetection, AnOverLongAliasReadsAsItsFirst31CharactersAndTheWwid) {
    const std::string wwid = "36000d310000000000000000000000001"; // 33 characters
    LunFields path = PATH_1;
    path.alias = wwid.substr(0, 31);
    path.wwid = wwid;
    const std::string shown = wwid.substr(0, 31) + wwid;
    expectChanges(
        {}, {path},
        {"The lun is created, the properties are [ path_alias: " + shown + ", wwid: " + wwid + " ].",
         "The path is created, the properties are [ path_alias: " + shown + ", wwid: " + wwid +
             ", dev_name: sdb, path_status: ready, path_group_status: active, dravik_status:running ]."});
    expectChanges(
        {with(path, &LunFields::alias, "mpatha")}, {path},
        {"The path alias is changed from [mpatha] to [" + shown + "] for the path [ dev_name: sdb ]."});
}

TEST_F(ChangeDetection, ASemicolonOrAPercentSignInAFieldIsWrittenAsItStands) {
    const LunFields odd = {"a;b%s", "%n;w", "8:16", "sd%d;", "re;ady", "act%ive", "run%s;ning"};
    expectChanges(
        {}, {odd},
        {"The lun is created, the properties are [ path_alias: a;b%s, wwid: %n;w ].",
         "The path is created, the properties are [ path_alias: a;b%s, wwid: %n;w, dev_name: sd%d;, "
         "path_status: re;ady, path_group_status: act%ive, dravik_status:run%s;ning ]."});
}

// ---- around the comparison

TEST_F(ChangeDetection, TheSnapshotThatCannotBeWrittenIsLoggedAndOtherwiseIgnored) {
    makeLunList(g_pLunPath, {PATH_1});
    dumps.forgetLogs();
    snprintf(lunPathFile, sizeof(lunPathFile), "/dumps/no-such-folder/data.dravik");
    cmpAndLog();
    EXPECT_EQ(dumps.commandLogMessages(),
              Lines{"ERROR Open file failed. file: /dumps/no-such-folder/data.dravik."});
    EXPECT_EQ(dumps.changeLogLines(), (Lines{CREATED_A, "The path is created, " + PATH_1_PROPERTIES}));
    // What could not be written is written as soon as it can be.
    snprintf(lunPathFile, sizeof(lunPathFile), "/dumps/data.dravik");
    cmpAndLog();
    EXPECT_EQ(dumps.read("data.dravik"), "mpatha,36a,8:16,sdb,ready,active,running,\n");
}

TEST_F(ChangeDetection, EachLineIsAlsoTracedToTheConsole) {
    makeLunList(g_pOldLunPath, {PATH_1, PATH_2});
    makeLunList(g_pLunPath, {with(PATH_1, &LunFields::status, "faulty"), PATH_3});
    dumps.forgetLogs();
    debug_started = true;
    testing::internal::CaptureStdout();
    cmpAndLog();
    const std::string trace = testing::internal::GetCapturedStdout();
    debug_started = false;
    EXPECT_EQ(trace,
              CREATED_B + "\n" +
                  "The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ].\n" +
                  "The path is deleted, " + PATH_2_PROPERTIES + "\n" + "The path is created, " +
                  PATH_3_PROPERTIES + "\n");
    EXPECT_EQ(dumps.changeLog(), trace); // time stamp and message only
}

TEST_F(ChangeDetection, ThousandsOfRandomListsGiveTheLinesOfALinearComparison) {
    std::mt19937 random = seededRandom(11);
    const auto below = [&](size_t bound) { return random() % bound; };
    const auto text = [&](size_t variety, size_t width) {
        const size_t choice = below(variety);
        const std::string number = std::to_string(choice);
        switch (choice % 11) {
        case 0:
            return std::string();
        case 1:
            return std::string(width, 'z');
        case 2:
            return std::string(width - 1, 'z') + number.substr(0, 1);
        default:
            return "t" + number;
        }
    };
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(round);
        const size_t variety = 1 + below(40);
        const auto record = [&]() {
            LunFields f = {text(variety, 30), text(variety, 65), text(9, 30), text(variety, 30),
                           text(3, 30),       text(3, 30),       text(3, 30)};
            if (below(8) == 0) {
                f.alias = std::string(30, 'L') + std::to_string(below(10)); // fills its field
            }
            return f;
        };
        List before;
        List now;
        for (size_t count = below(25); count > 0; --count) {
            before.push_back(record());
            if (below(3) == 0) { // a run
                before.push_back(with(record(), &LunFields::wwid, before.back().wwid));
            }
        }
        // The current list is mostly the previous one, changed here and there.
        for (const LunFields &f : before) {
            if (below(6) != 0) {
                now.push_back(below(4) == 0 ? with(f, &LunFields::status, text(3, 30)) : f);
            }
        }
        for (size_t count = below(6); count > 0; --count) {
            now.insert(now.begin() + static_cast<std::ptrdiff_t>(below(now.size() + 1)), record());
        }
        // Many disks wait for the old bytes when a file is truncated: the rounds that rewrite it start without one.
        const Lines lines = referenceLines(before, now);
        old_snapshot = lines.empty() || now.empty();
        unlink(dumps.path("data.dravik").c_str());
        compare(before, now);
        expectLines(now, lines);
        if (HasFailure()) {
            return;
        }
    }
}

// Lun-path records: their list, the flattening, the copy, the look-ups, the dump.
#include "struct/s_lunPath.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/allocation_count.h"
#include "tests/support/dumps_redirect.h"

namespace {

using Texts = std::vector<std::string>;

constexpr char WWID[] = "3600b5d60001a2b3c0000000000000001"; // 33 characters, as SCSI volumes have

// One record as the monitor shows it: the seven texts between bars.
std::string shown(const s_lunPath *p) {
    return std::string(lunAliasText(p)) + "|" + p->lun_wwid + "|" + p->path_dev_id + "|" + p->path_dev_name +
           "|" + p->path_status + "|" + p->path_group_status + "|" + p->dravik_status;
}

Texts recordsOf(const s_lunPath *head) {
    Texts texts;
    for (const s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        texts.push_back(shown(p));
    }
    return texts;
}

int chainLength(const s_lunPath *head) {
    int length = 0;
    for (const s_lunPath *node = head->next; node != nullptr; node = node->next) {
        ++length;
    }
    return length;
}

s_dravik *appendDevice(s_dravik *cursor, const char *alias, const char *wwid) {
    s_dravik *device = getOrMallocNextDravik(cursor);
    snprintf(device->path_alias, sizeof(device->path_alias), "%s", alias);
    snprintf(device->wwid, sizeof(device->wwid), "%s", wwid);
    device->pdev = mallocPathDev();
    cursor->end = false;
    return device;
}

// A path whose texts all tell what they are.
s_path_dev *appendPath(s_path_dev *cursor, const char *name, const char *group_status) {
    s_path_dev *path = getOrMallocNextPathDev(cursor);
    snprintf(path->dev_id, sizeof(path->dev_id), "id-%s", name);
    snprintf(path->dev_name, sizeof(path->dev_name), "%s", name);
    snprintf(path->path_status, sizeof(path->path_status), "dm-%s", name);
    snprintf(path->checker_state, sizeof(path->checker_state), "ready-%s", name);
    snprintf(path->group_status, sizeof(path->group_status), "%s", group_status);
    snprintf(path->dravik_status, sizeof(path->dravik_status), "running-%s", name);
    cursor->end = false;
    return path;
}

class SLunPath : public ::testing::Test {
  protected:
    ~SLunPath() override {
        freeDravik(devices);
        freeLunpath(lunpaths);
        freeLunpath(copies);
    }
    DumpsFolder dumps;
    s_dravik *devices = mallocDravik();
    s_lunPath *lunpaths = mallocLunpath();
    s_lunPath *copies = mallocLunpath();
};

} // namespace

TEST_F(SLunPath, ANewNodeIsZeroedWithItsEndFlagSetAndOneLogLine) {
    dumps.forgetLogs();
    s_lunPath *node = mallocLunpath();
    EXPECT_EQ(dumps.commandLogLines(), (Texts{"INFO  mallocLunpath # Malloc struct s_lunPath."}));
    s_lunPath zeroed = {};
    zeroed.end = true;
    EXPECT_EQ(memcmp(node, &zeroed, sizeof(zeroed)), 0);
    _freeLunpath(node);
}

TEST_F(SLunPath, TheTextFieldsLieBackToBackInTheirOrder) {
    const s_lunPath p = {};
    const char *base = reinterpret_cast<const char *>(&p);
    EXPECT_EQ(p.lun_alias - base, 0);
    EXPECT_EQ(p.lun_wwid - base, 31);
    EXPECT_EQ(p.path_dev_id - base, 97);
    EXPECT_EQ(p.path_dev_name - base, 128);
    EXPECT_EQ(p.path_status - base, 159);
    EXPECT_EQ(p.path_group_status - base, 190);
    EXPECT_EQ(p.dravik_status - base, 221);
}

TEST_F(SLunPath, AnEmptyDeviceListGivesAnEmptyLunPathListAndOk) {
    EXPECT_EQ(cvtDravikToLunpath(devices, lunpaths), &EC_ok);
    EXPECT_EQ(recordsOf(lunpaths), Texts{});
}

TEST_F(SLunPath, ADeviceWithThreePathsGivesThreeRecordsInListOrderAcrossItsGroups) {
    s_dravik *device = appendDevice(devices, "mpatha", WWID);
    appendPath(appendPath(appendPath(device->pdev, "sdb", "active"), "sdc", "active"), "sdd", "enabled");
    appendPath(appendDevice(device, "mpathb", "36001")->pdev, "sde", "active");
    EXPECT_EQ(cvtDravikToLunpath(devices, lunpaths), &EC_ok);
    EXPECT_EQ(recordsOf(lunpaths),
              (Texts{
                  "mpatha|3600b5d60001a2b3c0000000000000001|id-sdb|sdb|ready-sdb|active|running-sdb",
                  "mpatha|3600b5d60001a2b3c0000000000000001|id-sdc|sdc|ready-sdc|active|running-sdc",
                  "mpatha|3600b5d60001a2b3c0000000000000001|id-sdd|sdd|ready-sdd|enabled|running-sdd",
                  "mpathb|36001|id-sde|sde|ready-sde|active|running-sde",
              }));
}

TEST_F(SLunPath, AnAliasOf31CharactersOrMoreReadsAsItsFirst31FollowedByTheWwid) {
    for (const size_t length : {30U, 31U, 33U, 65U}) {
        SCOPED_TRACE(length);
        const std::string alias(length, 'a');
        initDravik(devices);
        freeDravik(devices->next);
        devices->next = nullptr;
        appendPath(appendDevice(devices, alias.c_str(), WWID)->pdev, "sdb", "active");
        EXPECT_EQ(cvtDravikToLunpath(devices, lunpaths), &EC_ok);
        const std::string expected = length <= 30 ? alias : std::string(31, 'a') + WWID;
        EXPECT_EQ(lunAliasText(lunpaths->next), expected);
        EXPECT_STREQ(lunpaths->next->lun_wwid, WWID);
        EXPECT_STREQ(lunpaths->next->path_dev_id, "id-sdb");
    }
}

TEST_F(SLunPath, TheFlatteningEmptiesTheListFirst) {
    appendPath(appendDevice(devices, "mpatha", WWID)->pdev, "sdb", "active");
    cvtDravikToLunpath(devices, lunpaths);
    initDravik(devices);
    EXPECT_EQ(cvtDravikToLunpath(devices, lunpaths), &EC_ok);
    EXPECT_EQ(recordsOf(lunpaths), Texts{});
    EXPECT_EQ(chainLength(lunpaths), 1);
}

TEST_F(SLunPath, AfterFiveRecordsAndThenThreeTheChainStillHoldsFiveNodes) {
    s_path_dev *cursor = appendDevice(devices, "mpatha", WWID)->pdev;
    s_path_dev *paths = cursor;
    for (const char *name : {"sda", "sdb", "sdc", "sdd", "sde"}) {
        cursor = appendPath(cursor, name, "active");
    }
    cvtDravikToLunpath(devices, lunpaths);
    EXPECT_EQ(recordsOf(lunpaths).size(), 5U);
    initPathDev(paths);
    appendPath(appendPath(appendPath(paths, "sdx", "a"), "sdy", "a"), "sdz", "a");
    dumps.forgetLogs();
    cvtDravikToLunpath(devices, lunpaths);
    EXPECT_EQ(recordsOf(lunpaths),
              (Texts{
                  "mpatha|3600b5d60001a2b3c0000000000000001|id-sdx|sdx|ready-sdx|a|running-sdx",
                  "mpatha|3600b5d60001a2b3c0000000000000001|id-sdy|sdy|ready-sdy|a|running-sdy",
                  "mpatha|3600b5d60001a2b3c0000000000000001|id-sdz|sdz|ready-sdz|a|running-sdz",
              }));
    EXPECT_EQ(chainLength(lunpaths), 5);
    EXPECT_EQ(dumps.commandLogLines(), Texts{}); // nothing was allocated
}

TEST_F(SLunPath, ADeviceWithoutPathsRepeatsUntilNoNodeIsLeftAndFails) {
    appendDevice(devices, "mpatha", WWID);
    snprintf(devices->next->vendor, sizeof(devices->next->vendor), "KORVEL");
    s_lunPath start = {};
    start.end = true;
    start.position = MAX_LIST_NODES - 2; // as if the list had its first nodes already
    EXPECT_EQ(cvtDravikToLunpath(devices, &start), &EC_molloc_failed);
    EXPECT_EQ(recordsOf(&start), (Texts{"mpatha|3600b5d60001a2b3c0000000000000001|||||",
                                        "mpatha|3600b5d60001a2b3c0000000000000001|||||"}));
    freeLunpath(start.next);

    // The same for a device that has no path list at all.
    freePathDev(devices->next->pdev);
    devices->next->pdev = nullptr;
    start.end = true;
    start.next = nullptr;
    EXPECT_EQ(cvtDravikToLunpath(devices, &start), &EC_molloc_failed);
    freeLunpath(start.next);
}

TEST_F(SLunPath, TheWholeListOfAPathlessDeviceEndsInSecondsAndItsNodesAreReused) {
    appendDevice(devices, "mpatha", WWID);
    dumps.forgetLogs();
    EXPECT_EQ(cvtDravikToLunpath(devices, lunpaths), &EC_molloc_failed);
    EXPECT_EQ(chainLength(lunpaths), static_cast<int>(MAX_LIST_NODES));
    // The next cycle reuses the nodes and says nothing.
    dumps.forgetLogs();
    EXPECT_EQ(cvtDravikToLunpath(devices, lunpaths), &EC_molloc_failed);
    EXPECT_EQ(dumps.commandLogLines(), Texts{});
}

TEST_F(SLunPath, ARecordBeforeAPathlessDeviceIsKept) {
    s_dravik *device = appendDevice(devices, "mpatha", WWID);
    appendPath(device->pdev, "sdb", "active");
    appendDevice(device, "mpathb", "36002");
    s_lunPath start = {};
    start.end = true;
    start.position = MAX_LIST_NODES - 2;
    EXPECT_EQ(cvtDravikToLunpath(devices, &start), &EC_molloc_failed);
    EXPECT_EQ(recordsOf(&start),
              (Texts{"mpatha|3600b5d60001a2b3c0000000000000001|id-sdb|sdb|ready-sdb|active|running-sdb",
                     "mpathb|36002|||||"}));
    freeLunpath(start.next);
}

TEST_F(SLunPath, NullHeadsAreInvalidInput) {
    EXPECT_EQ(cvtDravikToLunpath(nullptr, lunpaths), &EC_invalid_input);
    EXPECT_EQ(cvtDravikToLunpath(devices, nullptr), &EC_invalid_input);
    EXPECT_EQ(cpyLunpath(nullptr, lunpaths), &EC_invalid_input);
    EXPECT_EQ(cpyLunpath(lunpaths, nullptr), &EC_invalid_input);
    initLunpath(nullptr);
    _initLunpath(nullptr);
    freeLunpath(nullptr);
    _freeLunpath(nullptr);
    EXPECT_EQ(getOrMallocNextLunpath(nullptr), nullptr);
    EXPECT_EQ(findLunpathByLunId(nullptr, WWID), nullptr);
    EXPECT_EQ(findLunpathByDevName(nullptr, "sdb"), nullptr);
    EXPECT_EQ(findLunpathByLunId(lunpaths, nullptr), nullptr);
    EXPECT_EQ(findLunpathByDevName(lunpaths, nullptr), nullptr);
}

TEST_F(SLunPath, CopyingAnEmptyListEmptiesTheDestinationAndIsOk) {
    appendPath(appendDevice(devices, "mpatha", WWID)->pdev, "sdb", "active");
    cvtDravikToLunpath(devices, copies);
    EXPECT_EQ(cpyLunpath(lunpaths, copies), &EC_ok);
    EXPECT_EQ(recordsOf(copies), Texts{});
}

TEST_F(SLunPath, TheCopyIsTheSameListWithAliasesCutTo30Characters) {
    const std::string alias(33, 'a');
    s_dravik *device = appendDevice(devices, "mpatha", WWID);
    appendPath(device->pdev, "sdb", "active");
    appendPath(appendDevice(device, alias.c_str(), "36002")->pdev, "sdc", "enabled");
    cvtDravikToLunpath(devices, lunpaths);
    EXPECT_EQ(cpyLunpath(lunpaths, copies), &EC_ok);
    EXPECT_EQ(recordsOf(copies),
              (Texts{"mpatha|3600b5d60001a2b3c0000000000000001|id-sdb|sdb|ready-sdb|active|running-sdb",
                     std::string(30, 'a') + "|36002|id-sdc|sdc|ready-sdc|enabled|running-sdc"}));
}

TEST_F(SLunPath, ACopyThatRunsOutOfNodesKeepsWhatItHasCopied) {
    s_dravik *device = appendDevice(devices, "mpatha", WWID);
    appendPath(appendPath(appendPath(device->pdev, "sdb", "active"), "sdc", "active"), "sdd", "active");
    cvtDravikToLunpath(devices, lunpaths);
    s_lunPath start = {};
    start.end = true;
    start.position = MAX_LIST_NODES - 2;
    EXPECT_EQ(cpyLunpath(lunpaths, &start), &EC_molloc_failed);
    EXPECT_EQ(recordsOf(&start),
              (Texts{"mpatha|3600b5d60001a2b3c0000000000000001|id-sdb|sdb|ready-sdb|active|running-sdb",
                     "mpatha|3600b5d60001a2b3c0000000000000001|id-sdc|sdc|ready-sdc|active|running-sdc"}));
    freeLunpath(start.next);
}

TEST_F(SLunPath, ADeviceNameThatDiffersOnlyAfterIts30thCharacterIsFound) {
    const std::string name(30, 's');
    appendPath(appendDevice(devices, "mpatha", WWID)->pdev, name.c_str(), "active");
    cvtDravikToLunpath(devices, lunpaths);
    EXPECT_EQ(findLunpathByDevName(lunpaths, (name + "tail").c_str()), lunpaths->next);
    EXPECT_EQ(findLunpathByDevName(lunpaths, name.substr(0, 29).c_str()), nullptr);
}

TEST_F(SLunPath, AWwidIsComparedOver65Characters) {
    const std::string wwid(65, '3');
    appendPath(appendDevice(devices, "mpatha", wwid.c_str())->pdev, "sdb", "active");
    cvtDravikToLunpath(devices, lunpaths);
    EXPECT_EQ(findLunpathByLunId(lunpaths, (wwid + "4").c_str()), lunpaths->next);
    EXPECT_EQ(findLunpathByLunId(lunpaths, wwid.substr(0, 64).c_str()), nullptr);
}

TEST_F(SLunPath, RecordsWithEmptyPathFieldsMatchOneAnotherByName) {
    s_lunPath *first = getOrMallocNextLunpath(lunpaths);
    lunpaths->end = false;
    s_lunPath *second = getOrMallocNextLunpath(first);
    first->end = false;
    snprintf(first->lun_wwid, sizeof(first->lun_wwid), "36001");
    snprintf(second->lun_wwid, sizeof(second->lun_wwid), "36002");
    EXPECT_EQ(findLunpathByDevName(lunpaths, second->path_dev_name), first);
    EXPECT_EQ(findLunpathByLunId(lunpaths, "36002"), second);
}

TEST_F(SLunPath, StaleNodesAreNotFound) {
    s_lunPath *first = getOrMallocNextLunpath(lunpaths);
    lunpaths->end = false;
    s_lunPath *second = getOrMallocNextLunpath(first);
    snprintf(second->path_dev_name, sizeof(second->path_dev_name), "sdb"); // linked, but `first` is the last
    EXPECT_EQ(findLunpathByDevName(lunpaths, "sdb"), nullptr);
    first->end = false;
    EXPECT_EQ(findLunpathByDevName(lunpaths, "sdb"), second);
    initLunpath(lunpaths);
    EXPECT_EQ(findLunpathByDevName(lunpaths, "sdb"), nullptr);
}

TEST_F(SLunPath, FreeingAListReleasesItsSpareNodesTooAndFreeingOneNodeThatOneAlone) {
    const long before = heldBlocks();
    s_lunPath *list = mallocLunpath();
    s_lunPath *last = getOrMallocNextLunpath(getOrMallocNextLunpath(getOrMallocNextLunpath(list)));
    initLunpath(list); // all three are spare now
    EXPECT_EQ(heldBlocks() - before, 4);
    _freeLunpath(last);
    list->next->next->next = nullptr;
    EXPECT_EQ(heldBlocks() - before, 3);
    freeLunpath(list);
    EXPECT_EQ(heldBlocks(), before);
}

TEST_F(SLunPath, TheDumpOfAnEmptyListIsItsTwoBanners) {
    ::testing::internal::CaptureStdout();
    printLunPath(lunpaths);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "================ s_lunPath ==================\n"
                                                        "================    end    ==================\n");
}

TEST_F(SLunPath, TheDumpHasOneLineForEachRecord) {
    s_dravik *device = appendDevice(devices, "mpatha", WWID);
    appendPath(appendPath(device->pdev, "sdb", "active"), "sdc", "enabled");
    cvtDravikToLunpath(devices, lunpaths);
    ::testing::internal::CaptureStdout();
    printLunPath(lunpaths);
    EXPECT_EQ(
        ::testing::internal::GetCapturedStdout(),
        "================ s_lunPath ==================\n"
        "lun_alias: mpatha, lun_wwid: 3600b5d60001a2b3c0000000000000001, path_dev_id: id-sdb, path_dev_name: "
        "sdb, path_status: ready-sdb, path_group_status: active, dravik_status: running-sdb\n"
        "lun_alias: mpatha, lun_wwid: 3600b5d60001a2b3c0000000000000001, path_dev_id: id-sdc, path_dev_name: "
        "sdc, path_status: ready-sdc, path_group_status: enabled, dravik_status: running-sdc\n"
        "================    end    ==================\n");
}

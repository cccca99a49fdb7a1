// What the tests of the snapshot's writing and of its reading share.
#pragma once

#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "monitor/monitor.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/lun_list_maker.h"

using Lines = std::vector<std::string>;
using List = std::vector<LunFields>;

constexpr char SNAPSHOT_PATH[] = "/dumps/data.dravik";
constexpr char SNAPSHOT[] = "data.dravik";
inline const std::string WRITTEN =
    "INFO  writeLunPathToFile # Write lun path infomation to file successfully.";

inline const LunFields FULL = {
    "mpatha", "360000000000000000000000000000001", "8:16", "sdb", "ready", "active", "running"};
inline const LunFields PATHLESS = {"mpathb", "360000000000000000000000000000002", "", "", "", "", ""};
inline const std::string FULL_LINE =
    "mpatha,360000000000000000000000000000001,8:16,sdb,ready,active,running,\n";
inline const std::string PATHLESS_LINE = "mpathb,360000000000000000000000000000002,,,,,,\n";
inline const std::string WWID_33 = "360000000000000000000000000000abc";
// A device without an alias, as the flattening leaves it.
inline const LunFields NAMELESS = {
    WWID_33.substr(0, 31), WWID_33, "8:32", "sdc", "faulty", "failed", "offline"};
inline const std::string NAMELESS_LINE =
    WWID_33.substr(0, 31) + WWID_33 + "," + WWID_33 + ",8:32,sdc,faulty,failed,offline,\n";

class Snapshot : public testing::Test {
  protected:
    Snapshot() : head(mallocLunpath()) {}
    ~Snapshot() override {
        freeLunpath(head);
    }

    int write(const List &list) {
        makeLunList(head, list);
        dumps.forgetLogs();
        return writeLunPathToFile(head, SNAPSHOT_PATH);
    }
    int read(const std::string &text) {
        unlink(dumps.path(SNAPSHOT).c_str()); // faster than a truncation, for which many disks wait
        dumps.write(SNAPSHOT, text);
        initLunpath(head);
        dumps.forgetLogs();
        return readLunPathToFile(head, SNAPSHOT_PATH);
    }
    // The command log without the node allocations.
    Lines complaints() const {
        Lines found;
        for (const std::string &line : dumps.commandLogLines()) {
            if (line.find("# Malloc struct ") == std::string::npos) {
                found.push_back(line);
            }
        }
        return found;
    }
    void expectRead(const std::string &text, const List &list) {
        SCOPED_TRACE(text);
        EXPECT_EQ(read(text), 1);
        EXPECT_EQ(lunListText(head), lunText(list));
        EXPECT_EQ(complaints(), Lines());
    }
    // The reading stops at a piece of which `rest` is left when no comma is found any more.
    void expectReadUpTo(const std::string &text, const List &list, const std::string &rest) {
        SCOPED_TRACE(text);
        EXPECT_EQ(read(text), 0);
        EXPECT_EQ(lunListText(head), lunText(list));
        EXPECT_EQ(complaints(),
                  Lines{"ERROR readFieldFromStr1 # Read lunpath field failed form string [" + rest + "]."});
    }

    DumpsFolder dumps;
    s_lunPath *head;
};

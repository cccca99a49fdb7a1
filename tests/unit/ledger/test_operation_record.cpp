// A command's operation in the ledger: its row, its event, and ledgers that cannot be written.
#include "ledger/operation_record.h"

#include <cstdlib>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_store.h"
#include "ledger/kernel_view.h"
#include "ledger/ledger_file.h"
#include "tests/support/dumps_redirect.h"

namespace {

using namespace dravik;

using Lines = std::vector<std::string>;

Milliseconds nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

Operation offline() {
    Operation operation;
    operation.user = "alice";
    operation.command = "setstate";
    operation.line = "dravik setstate -path_alias mpatha -device_name sdb -state offline";
    operation.volume = "mpatha";
    operation.path = "sdb";
    operation.detail = "offline";
    return operation;
}

// A ledger that a monitor has begun, with the volume "mpatha", which replaced one of that alias that is gone.
class OperationRecording : public testing::Test {
  protected:
    OperationRecording() {
        kernel_root = "/nowhere";
        const LedgerOpening opening = openLedger(LedgerUse::OBSERVE);
        opening.database->run(
            "INSERT INTO volumes VALUES (1,'3600a','mpatha','dm-0','','','',0,'',1,'present',0,'ok')");
        opening.database->run(
            "INSERT INTO volumes VALUES (2,'3600b','mpatha','dm-1','','','',0,'',0,'present',0,'ok')");
    }
    ~OperationRecording() override {
        kernel_root.clear();
    }

    // The rows of operations, "user|command|line|volume|path|detail|code", "|ended" behind those that have.
    static Lines rows() {
        const LedgerOpening opening = openLedger(LedgerUse::READ);
        Statement row(
            opening.database.get(),
            "SELECT user, command, line, volume, path, detail, code, ended FROM operations ORDER BY id");
        Lines lines;
        while (row.step()) {
            std::string line;
            for (int column = 0; column < 6; ++column) {
                line += row.text(column) + "|";
            }
            lines.push_back(line + std::to_string(row.number(6)) + (row.number(7) == 0 ? "" : "|ended"));
        }
        return lines;
    }
    // The events, "kind alias,wwid path from->to cause user command".
    static Lines events() {
        const LedgerOpening opening = openLedger(LedgerUse::READ);
        Lines lines;
        for (const Event &event : loadEvents(opening.database.get(), {})) {
            lines.push_back(event.kind + " " + event.alias + "," + event.wwid + " " + event.path_name + " " +
                            event.from + "->" + event.to + " " + event.cause + " " + event.user + " " +
                            event.command);
        }
        return lines;
    }

    DumpsFolder dumps;
};

} // namespace

TEST_F(OperationRecording, ABegunOperationIsARowAndItsEndMakesItAnEvent) {
    const Milliseconds before = nowMs();
    OperationRecord record;
    record.begin(offline());
    EXPECT_EQ(rows(),
              Lines{"alice|setstate|dravik setstate -path_alias mpatha -device_name sdb -state offline|"
                    "mpatha|sdb|offline|0"});
    EXPECT_EQ(events(), Lines{});
    record.end(137);
    EXPECT_EQ(rows(),
              Lines{"alice|setstate|dravik setstate -path_alias mpatha -device_name sdb -state offline|"
                    "mpatha|sdb|offline|137|ended"});
    EXPECT_EQ(events(), Lines{"operation mpatha,3600b sdb ->137 operator alice "
                              "dravik setstate -path_alias mpatha -device_name sdb -state offline"});
    const LedgerOpening opening = openLedger(LedgerUse::READ);
    const std::vector<Operation> operations = loadOperations(opening.database.get(), before, nowMs());
    ASSERT_EQ(operations.size(), 1U);
    EXPECT_GE(operations[0].begun, before);
    EXPECT_GE(operations[0].ended, operations[0].begun);
    EXPECT_LE(operations[0].ended, nowMs());
    EXPECT_EQ(dumps.commandLog(), "");
}

TEST_F(OperationRecording, AVolumeThatIsNamedByItsWwidIsToldByItsAlias) {
    OperationRecord record;
    Operation deletion = offline();
    deletion.volume = "3600b";
    deletion.path = "";
    record.begin(deletion);
    record.end(0);
    EXPECT_EQ(events(), Lines{"operation mpatha,3600b  ->0 operator alice "
                              "dravik setstate -path_alias mpatha -device_name sdb -state offline"});
}

TEST_F(OperationRecording, AVolumeThatTheLedgerDoesNotKnowStandsAsItWasTyped) {
    Operation other = offline();
    other.line = "dravik delete nosuch";
    other.path = "";
    other.volume = "nosuch";
    OperationRecord record;
    record.begin(other);
    record.end(133);
    other.volume = "";
    other.line = "dravik scan";
    record.begin(other);
    record.end(0);
    EXPECT_EQ(events(), (Lines{"operation nosuch,  ->133 operator alice dravik delete nosuch",
                               "operation ,  ->0 operator alice dravik scan"}));
}

TEST_F(OperationRecording, AnEndWithoutABeginningAndASecondEndWriteNothing) {
    OperationRecord record;
    record.end(0);
    EXPECT_EQ(events(), Lines{});
    record.begin(offline());
    record.end(0);
    record.end(0);
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(OperationRecording, ALedgerThatIsNoDatabaseCostsOneLine) {
    dumps.makeEmpty();
    dumps.write("dravik.db", std::string(4096, 'x'));
    OperationRecord record;
    record.begin(offline());
    record.end(0);
    EXPECT_EQ(dumps.commandLogLines(),
              Lines{"ERROR operation # Ledger: /dumps/dravik.db cannot be used: file is not a database."});
    EXPECT_EQ(dumps.read("dravik.db"), std::string(4096, 'x'));
}

TEST_F(OperationRecording, ALedgerThatCannotBeWrittenAnyMoreAtTheEndCostsOneLine) {
    OperationRecord record;
    record.begin(offline());
    openLedger(LedgerUse::OPERATE).database->run("DROP TABLE operations");
    record.end(0);
    EXPECT_EQ(dumps.commandLogLines(), Lines{"ERROR operation # Ledger: no such table: operations."});
}

TEST_F(OperationRecording, WhereNoMonitorHasRunNothingIsWrittenAndNothingSaid) {
    dumps.makeEmpty();
    OperationRecord record;
    record.begin(offline());
    record.end(0);
    EXPECT_EQ(dumps.names(), Lines{});
    dumps.makeMissing();
    record.begin(offline());
    record.end(0);
    dumps.makeEmpty();
    EXPECT_EQ(dumps.names(), Lines{});
}

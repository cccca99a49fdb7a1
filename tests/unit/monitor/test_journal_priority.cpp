// How much attention each kind of event deserves.
#include "monitor/journal_priority.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/message_ids.h"

using namespace dravik;

namespace {

constexpr int CRIT = 2;
constexpr int WARNING = 4;
constexpr int NOTICE = 5;
constexpr int INFO = 6;

struct Case {
    const char *kind;
    const char *from;
    const char *to;
    int by_fault;
    int by_operator;
};

const std::vector<Case> CASES = {
    {"volume_appeared", "", "", NOTICE, INFO},
    {"volume_gone", "", "", CRIT, INFO},
    {"volume_unseen", "", "", WARNING, INFO},
    {"volume_seen_again", "", "", NOTICE, INFO},
    {"volume_renamed", "a", "b", NOTICE, INFO},
    {"volume_resized", "1G", "2G", NOTICE, INFO},
    {"volume_without_paths", "", "", CRIT, CRIT},
    {"path_appeared", "", "ready", NOTICE, INFO},
    {"path_gone", "ready", "", WARNING, INFO},
    {"path_unseen", "", "", WARNING, INFO},
    {"path_seen_again", "", "", NOTICE, INFO},
    {"path_moved", "sdb", "sdf", INFO, INFO},
    {"path_checker_state", "ready", "faulty", WARNING, INFO},
    {"path_checker_state", "ghost", "shaky", WARNING, INFO},
    {"path_checker_state", "", "i/o", WARNING, INFO},
    {"path_checker_state", "faulty", "ready", NOTICE, INFO},
    {"path_checker_state", "shaky", "ghost", NOTICE, INFO},
    {"path_checker_state", "ghost", "ready", INFO, INFO},
    {"path_checker_state", "faulty", "shaky", INFO, INFO},
    {"path_dm_state", "active", "failed", WARNING, INFO},
    {"path_dm_state", "failed", "active", NOTICE, INFO},
    {"path_online_state", "running", "offline", WARNING, INFO},
    {"path_online_state", "offline", "running", NOTICE, INFO},
    {"path_group_state", "active", "failed", WARNING, INFO},
    {"path_group_state", "failed", "enabled", NOTICE, INFO},
    {"path_group_state", "enabled", "active", INFO, INFO},
    {"path_flapping", "", "", WARNING, INFO},
    {"path_steady", "", "", NOTICE, INFO},
    {"volume_state", "ok", "none", CRIT, CRIT},
    {"volume_state", "last_path", "none", CRIT, CRIT},
    {"volume_state", "degraded", "last_path", WARNING, INFO},
    {"volume_state", "none", "last_path", WARNING, INFO},
    {"volume_state", "ok", "unknown", WARNING, INFO},
    {"volume_state", "ok", "degraded", WARNING, INFO},
    {"volume_state", "last_path", "degraded", NOTICE, INFO},
    {"volume_state", "none", "ok", NOTICE, INFO},
    {"monitor_started", "", "", INFO, INFO},
    {"observation_quality", "good", "failed", WARNING, INFO},
    {"observation_quality", "good", "doubtful", WARNING, INFO},
    {"observation_quality", "failed", "doubtful", WARNING, INFO},
    {"observation_quality", "failed", "good", NOTICE, INFO},
    {"operation", "", "0", INFO, INFO},
    {"operation", "", "123", INFO, INFO},
    {"a kind of a later version", "", "", NOTICE, INFO},
};

Event eventOf(const Case &row, const char *cause) {
    Event event;
    event.kind = row.kind;
    event.from = row.from;
    event.to = row.to;
    event.cause = cause;
    return event;
}

TEST(JournalPriority, IsThatOfTheKindAndItsStatesAndInfoForWhatAnOperatorDidButForTheLastPath) {
    for (const Case &row : CASES) {
        const std::string what = std::string(row.kind) + " " + row.from + " -> " + row.to;
        EXPECT_EQ(priorityOf(eventOf(row, "fault")), row.by_fault) << what;
        EXPECT_EQ(priorityOf(eventOf(row, "host_restart")), row.by_fault) << what << ", host restart";
        EXPECT_EQ(priorityOf(eventOf(row, "operator")), row.by_operator) << what << ", operator";
    }
}

TEST(JournalPriority, HasACaseForEveryKind) {
    std::set<std::string> kinds;
    for (const Case &row : CASES) {
        kinds.insert(row.kind);
    }
    for (const MessageId &entry : MESSAGE_IDS) {
        EXPECT_EQ(kinds.count(entry.kind), 1U) << entry.kind;
    }
}

TEST(JournalPriority, OfAnIncidentIsThatOfItsMostSevereEvent) {
    const Event back = eventOf({"path_seen_again", "", "", 0, 0}, "fault");
    const Event lost = eventOf({"path_gone", "", "", 0, 0}, "fault");
    const Event none = eventOf({"volume_state", "ok", "none", 0, 0}, "operator");
    const Event moved = eventOf({"path_moved", "", "", 0, 0}, "fault");
    EXPECT_EQ(priorityOf({moved}), INFO);
    EXPECT_EQ(priorityOf({moved, back}), NOTICE);
    EXPECT_EQ(priorityOf({back, lost, moved}), WARNING);
    EXPECT_EQ(priorityOf({lost, back, none}), CRIT);
}

} // namespace

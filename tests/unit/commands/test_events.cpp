// What happened: the lines, the documents and what is asked for.
#include "commands/events.h"

#include <algorithm>

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

// "fine" appears at 03:10:41 and loses sdb at 03:11:41, "late" appears then, and "fine" is gone at 03:12:11.
class Events : public LedgerOnHost {
  protected:
    Events() {
        SeenVolume worse = okVolume();
        worse.paths[0] = failed(worse.paths[0]);
        observe({okVolume()}, NOW - 120000);
        observe({worse, deadVolume("late")}, NOW - 60000);
        observe({deadVolume("late")}, NOW - 30000);
    }
    std::string events(std::vector<std::string> words = {}) {
        words.insert(words.begin(), "events");
        return answer(dravik::events, words);
    }
};

const std::string FIRST = "2026-11-21 03:10:41  #1  fine: appeared, 2 of 2 paths work (fault)\n";
const std::string SECOND = "2026-11-21 03:11:41  #2  fine sdb: ready -> faulty, 1 of 2 paths work (fault)\n";
const std::string THIRD = "2026-11-21 03:11:41  #3  late: appeared, 0 of 2 paths work (fault)\n";
const std::string FOURTH = "2026-11-21 03:12:11  #4  fine: gone (fault)\n";

} // namespace

TEST_F(Events, AreALineAnIncidentTheNewestLast) {
    EXPECT_EQ(events(), FIRST + SECOND + THIRD + FOURTH + "[0]\n");
}

TEST_F(Events, WithAllAreALineAnEvent) {
    EXPECT_EQ(events({"--all", "--incident", "2"}),
              SECOND +
                  "2026-11-21 03:11:41  #2  fine sdb: dm state active -> failed, 1 of 2 paths work (fault)\n"
                  "2026-11-21 03:11:41  #2  fine: ok -> last path, 1 of 2 paths work (fault)\n[0]\n");
}

TEST_F(Events, ThoseSinceATimeOfAVolumeOfAPathOrOfAnIncidentCanBeAskedFor) {
    EXPECT_EQ(events({"--since", "45s"}), FOURTH + "[0]\n");
    EXPECT_EQ(events({"--since", "1m"}), SECOND + THIRD + FOURTH + "[0]\n");
    EXPECT_EQ(events({"--since", "03:12"}), FOURTH + "[0]\n");
    EXPECT_EQ(events({"--volume", "late"}), THIRD + "[0]\n");
    EXPECT_EQ(events({"--incident", "4"}), FOURTH + "[0]\n");
    EXPECT_EQ(events({"--path", "sdb"}), SECOND + "[0]\n");
    EXPECT_EQ(events({"--path", "/dev/sdb"}), SECOND + "[0]\n");
    EXPECT_EQ(events({"--path", "1:0:0:1"}), SECOND + "[0]\n");
    EXPECT_EQ(events({"--volume", "fine", "--since", "1m"}), SECOND + FOURTH + "[0]\n");
}

TEST_F(Events, AVolumeThatIsGoneIsKnownByAliasAndWwid) {
    EXPECT_EQ(events({"--volume", "fine"}), FIRST + SECOND + FOURTH + "[0]\n");
    EXPECT_EQ(events({"--volume", "36fine"}), FIRST + SECOND + FOURTH + "[0]\n");
}

TEST_F(Events, WhereThereWereNoneTheStatusIs2) {
    EXPECT_EQ(events({"--incident", "99"}), "[2]\n");
    EXPECT_EQ(events({"--since", "03:13", "--path", "sdz"}), "[2]\n");
    EXPECT_EQ(events({"--incident", "99", "--json"}), document("events", R"("events":[])") + "[2]\n");
}

TEST_F(Events, JsonHasEveryEvent) {
    EXPECT_EQ(events({"--json", "--incident", "4"}),
              document("events",
                       R"("events":[{"number":6,"incident":4,"time":"2026-11-21T03:12:11.047Z",)"
                       R"("boot_id":"boot-1","quality":"good","kind":"volume_gone","volume":{"alias":"fine",)"
                       R"("wwid":"36fine","vdisk_name":null},"path":null,"from":"last_path","to":null,)"
                       R"("paths_working":0,"paths_known":2,"cause":"fault","operator":null}])") +
                  "[0]\n");
    const std::string all = events({"--json"});
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 2);
    for (const char *number : {"1", "2", "3", "4", "5", "6"}) {
        EXPECT_NE(all.find(R"({"number":)" + std::string(number) + ","), std::string::npos) << number;
    }
}

TEST_F(Events, ALineThatCannotBeUnderstoodIsAnsweredOnStandardErrorWithStatus1) {
    EXPECT_EQ(events({"--since", "never"}), "! dravik events: \"never\" is no time: 2026-11-21T03:12, 03:12, "
                                            "or an age such as 90m or 2d\n[1]\n");
    EXPECT_EQ(events({"--incident", "0"}), "! dravik events: \"0\" is no number of an incident\n[1]\n");
    EXPECT_EQ(events({"--volume", "nosuch"}),
              "! dravik events: the ledger knows no volume \"nosuch\"\n[1]\n");
    EXPECT_EQ(events({"word", "--json"}),
              document("events", R"("error":"\"word\" is one word too many; see \"dravik help events\"")") +
                  "! dravik events: \"word\" is one word too many; see \"dravik help events\"\n[1]\n");
}

TEST_F(Events, WithoutALedgerTheStatusIs1) {
    host.dumps.makeEmpty();
    const std::string why =
        "there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet";
    EXPECT_EQ(events(), "! dravik events: " + why + "\n[1]\n");
    EXPECT_EQ(events({"--json"}),
              document("events", R"("error":")" + why + "\"") + "! dravik events: " + why + "\n[1]\n");
}

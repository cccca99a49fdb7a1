// The verdict, from the ledger alone: whole outputs and exit statuses.
#include "commands/check.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

class Check : public LedgerOnHost {
  protected:
    std::string check(std::vector<std::string> words = {}) {
        words.insert(words.begin(), "check");
        return answer(dravik::check, words);
    }
};

} // namespace

TEST_F(Check, AllOkIsOneLineAndStatus0) {
    observe({okVolume("a"), okVolume("b")}, NOW - 4000);
    EXPECT_EQ(check(), "OK - 2 of 2 volumes ok | volumes=2 ok=2 degraded=0 last_path=0 none=0 paths=4 "
                       "paths_working=4 observation_age=4s\n[0]\n");
}

TEST_F(Check, VolumesThatAreNotOkHaveALineTheWorstFirst) {
    observe({degradedVolume(), deadVolume(), lastPathVolume(), okVolume()}, NOW - 4000);
    EXPECT_EQ(check(), "CRITICAL - 1 of 4 volumes without a working path, 1 on its last path, 1 degraded | "
                       "volumes=4 ok=1 degraded=1 last_path=1 none=1 paths=9 paths_working=5 "
                       "observation_age=4s\n"
                       "dead  none        0 of 2 work; lost: sdi sdj; survives: nothing\n"
                       "thin  last path   1 of 2 work; lost: sdg; survives: nothing\n"
                       "worn  degraded    2 of 3 work; lost: sdd; survives: path, initiator; no longer: "
                       "target port\n[2]\n");
}

TEST_F(Check, AVolumeThatIsNamedHasItsLineWhateverItsState) {
    observe({degradedVolume(), okVolume()});
    EXPECT_EQ(check({"fine"}), "OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 "
                               "paths=2 paths_working=2 observation_age=0s\n"
                               "fine  ok          2 of 2 work; survives: path, initiator, target port\n"
                               "[0]\n");
    EXPECT_EQ(check({"sde"}), "WARNING - 1 of 1 volumes degraded | volumes=1 ok=0 degraded=1 last_path=0 "
                              "none=0 paths=3 paths_working=2 observation_age=0s\n"
                              "worn  degraded    2 of 3 work; lost: sdd; survives: path, initiator; no "
                              "longer: target port\n[1]\n");
}

TEST_F(Check, TheLastPathIsCriticalToo) {
    observe({lastPathVolume()});
    EXPECT_EQ(check(), "CRITICAL - 1 of 1 volumes on its last path | volumes=1 ok=0 degraded=0 last_path=1 "
                       "none=0 paths=2 paths_working=1 observation_age=0s\n"
                       "thin  last path   1 of 2 work; lost: sdg; survives: nothing\n[2]\n");
}

TEST_F(Check, AVolumeThatIsUnseenForLongIsUnknownAndADoubtfulObservationSaysWhy) {
    kernel.volumes = {"dm-fine/fine"};
    observe({okVolume()}, NOW - 90000);
    observe({}, NOW - 70000);
    observe({}, NOW - 4000);
    EXPECT_EQ(check(), "UNKNOWN - 1 of 1 volumes unknown | volumes=1 ok=0 degraded=0 last_path=0 none=0 "
                       "paths=2 paths_working=2 observation_age=4s\n"
                       "the last observation is doubtful: not listed, though the kernel has it: fine\n"
                       "fine  unknown     2 of 2 work; not seen since 03:11; survives: path, initiator, "
                       "target port\n[3]\n");
}

TEST_F(Check, NothingObservedForMoreThan60SecondsIsUnknownAndNoVolumesAreTold) {
    observe({degradedVolume()}, NOW - 60000);
    EXPECT_EQ(check().substr(0, 7), "WARNING");
    host.stopClock(NOW + 1);
    EXPECT_EQ(check(), "UNKNOWN - nothing observed since 2026-11-21 03:11:41, 60 s ago: dravik-monitor has "
                       "written nothing since then; is it running? | volumes=1 ok=0 degraded=0 last_path=0 "
                       "none=0 paths=3 paths_working=2 observation_age=60s\n[3]\n");
}

TEST_F(Check, WithoutAnAnswerTheSentenceIsOnStandardErrorAndTheStatus3) {
    EXPECT_EQ(check(), "! dravik check: there is no ledger /dumps/dravik.db: dravik-monitor has not run on "
                       "this host yet\n[3]\n");
    observe({okVolume()});
    EXPECT_EQ(check({"nosuch"}), "! dravik check: the ledger knows no volume \"nosuch\"\n[3]\n");
    EXPECT_EQ(check({"--nope"}),
              "! dravik check: there is no option \"--nope\"; see \"dravik help check\"\n[3]\n");
    EXPECT_EQ(check({"a", "b"}),
              "! dravik check: \"b\" is one word too many; see \"dravik help check\"\n[3]\n");
    EXPECT_EQ(check({"nosuch", "--json"}),
              document("check", R"("error":"the ledger knows no volume \"nosuch\"")") +
                  "! dravik check: the ledger knows no volume \"nosuch\"\n[3]\n");
}

TEST_F(Check, JsonHasTheVerdictTheCountsAndTheVolumesThatAreNotOk) {
    observe({okVolume()}, NOW - 4500);
    const std::string observation =
        R"("observation":{"quality":"good","reason":null,"time":"2026-11-21T03:12:36.547Z","age_s":4.500,)"
        R"("tool_ms":12,"duration_ms":31,"volumes":1,"paths":2})";
    EXPECT_EQ(check({"--json"}),
              document("check", R"("verdict":"ok","exit_status":0,)" + observation +
                                    R"(,"counts":{"volumes":1,"ok":1,"degraded":0,"last_path":0,)"
                                    R"("none":0,"unknown":0,"paths":2,"paths_working":2},)"
                                    R"("volumes":[])") +
                  "[0]\n");
}

TEST_F(Check, ControlBytesDoNotReachTheTerminal) {
    observe({lastPathVolume("thin\x1b[2J")});
    EXPECT_EQ(check(), "CRITICAL - 1 of 1 volumes on its last path | volumes=1 ok=0 degraded=0 last_path=1 "
                       "none=0 paths=2 paths_working=1 observation_age=0s\n"
                       "thin\\x1b[2J  last path   1 of 2 work; lost: sdg; survives: nothing\n[2]\n");
}

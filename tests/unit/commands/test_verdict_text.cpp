// The verdict: counts, exit status, the line for monitoring systems.
#include "commands/verdict_text.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

using namespace dravik;

namespace {

constexpr Milliseconds NOW = 1795230761047; // 2026-11-21 03:12:41.047 UTC

class VerdictText : public testing::Test {
  protected:
    VerdictText() {
        setenv("TZ", "UTC", 1);
        tzset();
        view.now = NOW;
        view.observation.quality = Quality::GOOD;
        view.observation.time = view.observation.seen = NOW - 4999;
        view.age = 4999;
    }
    ~VerdictText() override {
        unsetenv("TZ");
        tzset();
    }
    // A volume with so many paths of which so many work.
    void add(int paths, int working, Presence presence = Presence::PRESENT) {
        KnownVolume volume;
        volume.paths.resize(static_cast<size_t>(paths));
        for (int i = 0; i < paths; ++i) {
            KnownPath &path = volume.paths[static_cast<size_t>(i)];
            path.key.target_port = "p" + std::to_string(i);
            path.working = i < working;
            path.presence = presence;
            path.unseen_since = NOW - 61000;
        }
        view.volumes.push_back(volume);
    }
    VolumeList all() const {
        VolumeList volumes;
        for (const KnownVolume &volume : view.volumes) {
            volumes.push_back(&volume);
        }
        return volumes;
    }
    std::string line() const {
        return verdictLine(view, verdictOver(view, all()));
    }
    LedgerView view;
};

} // namespace

TEST_F(VerdictText, TheExitStatusIsThatOfMonitoringPlugIns) {
    EXPECT_EQ(verdictStatus(VolumeState::OK), 0);
    EXPECT_EQ(verdictStatus(VolumeState::DEGRADED), 1);
    EXPECT_EQ(verdictStatus(VolumeState::LAST_PATH), 2);
    EXPECT_EQ(verdictStatus(VolumeState::NONE), 2);
    EXPECT_EQ(verdictStatus(VolumeState::UNKNOWN), 3);
}

TEST_F(VerdictText, TheLineCountsTheVolumesOfEachStateTheWorstFirst) {
    EXPECT_EQ(line(), "OK - there are no volumes | volumes=0 ok=0 degraded=0 last_path=0 none=0 paths=0 "
                      "paths_working=0 observation_age=4s");
    add(2, 2);
    EXPECT_EQ(line(), "OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 paths=2 "
                      "paths_working=2 observation_age=4s");
    add(3, 2);
    EXPECT_EQ(line(), "WARNING - 1 of 2 volumes degraded | volumes=2 ok=1 degraded=1 last_path=0 none=0 "
                      "paths=5 paths_working=4 observation_age=4s");
    add(2, 2, Presence::UNSEEN);
    EXPECT_EQ(line(), "UNKNOWN - 1 of 3 volumes unknown, 1 degraded | volumes=3 ok=1 degraded=1 last_path=0 "
                      "none=0 paths=7 paths_working=6 observation_age=4s");
    add(2, 1);
    add(2, 1);
    EXPECT_EQ(line(), "CRITICAL - 2 of 5 volumes on their last path, 1 unknown, 1 degraded | volumes=5 ok=1 "
                      "degraded=1 last_path=2 none=0 paths=11 paths_working=8 observation_age=4s");
    add(1, 0);
    EXPECT_EQ(line(), "CRITICAL - 1 of 6 volumes without a working path, 2 on their last path, 1 unknown, 1 "
                      "degraded | volumes=6 ok=1 degraded=1 last_path=2 none=1 paths=12 paths_working=8 "
                      "observation_age=4s");
}

TEST_F(VerdictText, OnlyTheVolumesThatAreGivenCount) {
    add(2, 1);
    add(2, 2);
    EXPECT_EQ(verdictLine(view, verdictOver(view, {&view.volumes[1]})),
              "OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 paths=2 "
              "paths_working=2 observation_age=4s");
    EXPECT_EQ(verdictOver(view, {&view.volumes[1]}).state, VolumeState::OK);
    EXPECT_EQ(verdictOver(view, all()).state, VolumeState::LAST_PATH);
    EXPECT_EQ(verdictOver(view, {}).state, VolumeState::OK);
}

TEST_F(VerdictText, AStaleViewIsUnknownWhateverItsVolumesAre) {
    add(2, 1);
    view.observation.time = view.observation.seen = NOW - 60000;
    EXPECT_EQ(verdictOver(view, all()).state, VolumeState::LAST_PATH);
    view.observation.time = view.observation.seen = NOW - 60001;
    view.age = 60001;
    EXPECT_EQ(verdictOver(view, all()).state, VolumeState::UNKNOWN);
    EXPECT_EQ(verdictOver(view, {}).state, VolumeState::UNKNOWN);
    EXPECT_EQ(line(), "UNKNOWN - nothing observed since 2026-11-21 03:11:41, 60 s ago: dravik-monitor has "
                      "written nothing since then; is it running? | volumes=1 ok=0 degraded=0 last_path=0 "
                      "none=0 paths=2 paths_working=1 observation_age=60s");
}

TEST_F(VerdictText, TheAgeIsThatOfTheLastObservationThatHadATopology) {
    view.observation.quality = Quality::FAILED;
    view.observation.seen = NOW - 30000;
    EXPECT_EQ(line(), "OK - there are no volumes | volumes=0 ok=0 degraded=0 last_path=0 none=0 paths=0 "
                      "paths_working=0 observation_age=30s");
    view.observation.seen = NOW + 5000; // the clock was set back
    EXPECT_EQ(line(), "OK - there are no volumes | volumes=0 ok=0 degraded=0 last_path=0 none=0 paths=0 "
                      "paths_working=0 observation_age=0s");
    view.observation = Observation();
    EXPECT_EQ(line(), "UNKNOWN - nothing has been observed yet | volumes=0 ok=0 degraded=0 last_path=0 "
                      "none=0 paths=0 paths_working=0");
}

TEST_F(VerdictText, TheCountsAsStructuredData) {
    add(2, 2);
    add(3, 2);
    add(2, 1);
    add(2, 0);
    add(2, 2, Presence::UNSEEN);
    EXPECT_EQ(countsJson(verdictOver(view, all()).counts).line(),
              R"({"volumes":5,"ok":1,"degraded":1,"last_path":1,"none":1,"unknown":1,"paths":11,)"
              R"("paths_working":7})");
}

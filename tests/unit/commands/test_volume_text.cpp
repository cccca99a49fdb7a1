// A volume's paths in words.
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

#include "commands/volume_text.h"

namespace {

using dravik::KnownPath;
using dravik::KnownVolume;
using dravik::Presence;

constexpr dravik::Milliseconds NOW = 1795262400000; // 2026-11-21 12:00:00 UTC
constexpr dravik::Milliseconds AT_0312 = 1795230720000;
constexpr size_t WIDE = 80;

class VolumeText : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        // Two initiators, each to two target ports.
        const char *const names[] = {"sdb", "sdc", "sdd", "sde"};
        for (int i = 0; i < 4; ++i) {
            KnownPath path;
            path.key = {i % 2 == 0 ? "i1" : "i2", i < 2 ? "t1" : "t2", "1", 0};
            path.attributes.name = names[i];
            path.attributes.checker_state = "ready";
            path.working = true;
            volume.paths.push_back(path);
            volume.baseline.push_back({path.key, names[i]});
        }
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
    void fail(size_t place, const char *state = "faulty", dravik::Milliseconds since = AT_0312) {
        volume.paths[place].working = false;
        volume.paths[place].attributes.checker_state = state;
        volume.paths[place].last_failed = since;
    }
    KnownVolume volume;
};

TEST_F(VolumeText, AnOkVolumeHasNoNote) {
    EXPECT_EQ(noteOf(volume, NOW, WIDE), "");
    EXPECT_EQ(reachOf(volume, NOW), "4 of 4 work; survives: path, initiator, target port");
}

TEST_F(VolumeText, PathsOfOneKindAndMinuteStandTogether) {
    fail(0);
    fail(1, "faulty", AT_0312 + 59999);
    fail(2);
    EXPECT_EQ(noteOf(volume, NOW, WIDE), "sdb sdc sdd faulty since 03:12");
    EXPECT_EQ(reachOf(volume, NOW), "1 of 4 work; lost: sdb sdc sdd; survives: nothing");
}

TEST_F(VolumeText, OthersStandApart) {
    fail(0);
    fail(1, "faulty", AT_0312 + 60000);
    fail(2, "shaky");
    EXPECT_EQ(noteOf(volume, NOW, WIDE),
              "sdb faulty since 03:12, sdc faulty since 03:13, sdd shaky since 03:12");
}

TEST_F(VolumeText, ANoteThatIsTooLongNamesFewerPaths) {
    fail(0);
    fail(1);
    fail(2);
    EXPECT_EQ(noteOf(volume, NOW, 30), "sdb sdc sdd faulty since 03:12");
    EXPECT_EQ(noteOf(volume, NOW, 29), "sdb sdc +1 faulty since 03:12");
    EXPECT_EQ(noteOf(volume, NOW, 28), "sdb +2 faulty since 03:12");
}

TEST_F(VolumeText, ANoteThatIsStillTooLongLeavesOutTheTimesSoThatNothingElseIsLost) {
    fail(0);
    volume.paths[0].offline_by = "alice";
    EXPECT_EQ(noteOf(volume, NOW, 32), "sdb offline by alice since 03:12");
    EXPECT_EQ(noteOf(volume, NOW, 31), "sdb offline by alice");
    volume.paths[0].offline_by = "";
    volume.paths[0].flapping = true;
    EXPECT_EQ(noteOf(volume, NOW, 36), "sdb faulty since 03:12, sdb flapping");
    EXPECT_EQ(noteOf(volume, NOW, 35), "sdb faulty, sdb flapping");
    EXPECT_EQ(noteOf(volume, NOW, 10), "sdb faulty, sdb flapping");
}

TEST_F(VolumeText, WhoTookAPathOfflineIsNamed) {
    fail(0);
    volume.paths[0].offline_by = "alice";
    EXPECT_EQ(noteOf(volume, NOW, WIDE), "sdb offline by alice since 03:12");
    EXPECT_EQ(reachOf(volume, NOW),
              "3 of 4 work; lost: sdb (offline by alice); survives: path, initiator, target port");
}

TEST_F(VolumeText, MissingAndUnseenPathsAreTold) {
    fail(0);
    volume.paths[0].presence = Presence::MISSING;
    volume.paths[1].presence = Presence::UNSEEN;
    volume.paths[1].unseen_since = AT_0312 + 60000;
    EXPECT_EQ(noteOf(volume, NOW, WIDE), "sdb missing since 03:12, sdc unseen since 03:13");
    EXPECT_EQ(reachOf(volume, NOW),
              "3 of 4 work; lost: sdb; unseen: sdc; survives: path, initiator, target port");
}

TEST_F(VolumeText, WhatIsNoLongerSurvivedIsTold) {
    fail(2);
    fail(3);
    EXPECT_EQ(reachOf(volume, NOW),
              "2 of 4 work; lost: sdd sde; survives: path, initiator; no longer: target port");
    volume.paths.resize(2);
    volume.paths[0].flapping = true;
    EXPECT_EQ(noteOf(volume, NOW, WIDE), "no spare target port, sdb flapping");
}

TEST_F(VolumeText, AVolumeWithoutPathsOrUnseenSaysSo) {
    volume.presence = Presence::UNSEEN;
    volume.unseen_since = AT_0312;
    EXPECT_EQ(noteOf(volume, NOW, WIDE), "unseen since 03:12");
    EXPECT_EQ(reachOf(volume, NOW),
              "4 of 4 work; not seen since 03:12; survives: path, initiator, target port");
    EXPECT_EQ(noteOf(KnownVolume(), NOW, WIDE), "no paths");
    EXPECT_EQ(reachOf(KnownVolume(), NOW), "0 of 0 work; survives: nothing");
}

TEST_F(VolumeText, TheTroubleIsTheFirstThatTells) {
    KnownPath path = volume.paths[0];
    path.working = false;
    EXPECT_EQ(troubleOf(path), "in a failed group");
    path.attributes.dm_state = "failed";
    EXPECT_EQ(troubleOf(path), "failed");
    path.attributes.online_state = "offline";
    EXPECT_EQ(troubleOf(path), "offline");
    path.attributes.checker_state = "shaky";
    EXPECT_EQ(troubleOf(path), "shaky");
    path.offline_by = "root";
    EXPECT_EQ(troubleOf(path), "offline by root");
    path.presence = Presence::UNSEEN;
    EXPECT_EQ(troubleOf(path), "unseen");
}

} // namespace

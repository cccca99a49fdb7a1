// The volume that a word means.
#include "commands/volume_lookup.h"

#include <gtest/gtest.h>

#include "array/vdisk_file.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

class VolumeLookup : public testing::Test {
  protected:
    // A volume of the ledger whose one path has this name.
    void add(const std::string &alias, const std::string &wwid, const std::string &map,
             const std::string &path, bool gone = false, Presence presence = Presence::PRESENT) {
        KnownVolume volume;
        volume.attributes.alias = alias;
        volume.wwid = wwid;
        volume.attributes.map = map;
        volume.gone = gone;
        volume.paths.resize(1);
        volume.paths[0].attributes.name = path;
        volume.paths[0].presence = presence;
        volumes.push_back(volume);
    }
    void nameOnArray(const std::string &text) {
        forgetVdiskTree(); // that of the test before
        dumps.write("storage_config.json", R"({"disk": [)" + text + "]}");
    }
    // The WWIDs of the volumes that the word names.
    Lines found(const std::string &word) {
        Lines wwids;
        for (const KnownVolume *volume : findVolumes(volumes, VdiskNames(), word)) {
            wwids.push_back(volume->wwid);
        }
        return wwids;
    }

    DumpsFolder dumps;
    KnownTopology volumes;
};

} // namespace

TEST_F(VolumeLookup, AVolumeIsKnownByEachOfItsNames) {
    add("mpatha", "36a", "dm-3", "sdb");
    add("mpathb", "36b", "dm-4", "sdc");
    nameOnArray(R"({"wwid": "36a", "vdisk_name": "vol_a"})");
    for (const char *word : {"mpatha", "36a", "vol_a", "dm-3", "sdb", "/dev/dm-3", "/dev/sdb",
                             "/dev/mapper/mpatha", "/dev/mapper/36a"}) {
        EXPECT_EQ(found(word), Lines{"36a"}) << word;
    }
    for (const char *word : {"", "mpath", "mpathaa", "MPATHA", "/dev/", "/dev/mapper/", "dev/sdb", "*"}) {
        EXPECT_EQ(found(word), Lines()) << word;
    }
}

TEST_F(VolumeLookup, TheFirstMeaningThatAnyHasCounts) {
    add("wwid", "x", "", "");
    add("", "alias", "", "");
    add("alias", "wwid", "", "");
    add("", "named", "map", "");
    add("", "mapped", "vdisk", "map");
    add("", "vdisked", "", "vdisk");
    nameOnArray(R"({"wwid": "named", "vdisk_name": "vdisk"}, {"wwid": "x", "vdisk_name": "mapped"})");
    EXPECT_EQ(found("alias"), Lines{"wwid"});    // an alias before a WWID
    EXPECT_EQ(found("mapped"), Lines{"mapped"}); // a WWID before the array's name
    EXPECT_EQ(found("vdisk"), Lines{"named"});   // the array's name before a map
    EXPECT_EQ(found("map"), Lines{"named"});     // a map before a path
}

TEST_F(VolumeLookup, APathThatIsThereComesBeforeOneThatIsMissing) {
    add("a", "36a", "dm-3", "sdb", false, Presence::MISSING);
    EXPECT_EQ(found("sdb"), Lines{"36a"});
    add("b", "36b", "dm-4", "sdb");
    EXPECT_EQ(found("sdb"), Lines{"36b"});
}

TEST_F(VolumeLookup, AVolumeThatIsGoneIsKnownByAliasWwidAndTheArraysName) {
    add("a", "36a", "dm-3", "sdb", true);
    nameOnArray(R"({"wwid": "36a", "vdisk_name": "vol_a"})");
    for (const char *word : {"a", "36a", "vol_a"}) {
        EXPECT_EQ(found(word), Lines{"36a"}) << word;
    }
    EXPECT_EQ(found("dm-3"), Lines());
    EXPECT_EQ(found("sdb"), Lines());
}

TEST_F(VolumeLookup, AVolumeThatIsThereComesBeforeOneThatIsGone) {
    add("a", "36old", "dm-3", "sdb", true);
    add("other", "36new", "a", "sdc");
    EXPECT_EQ(found("a"), Lines{"36new"});
}

TEST_F(VolumeLookup, OnlyAnArraysNameMayBeThatOfSeveral) {
    add("a", "36a", "dm-3", "sdb");
    add("b", "36b", "dm-4", "sdc");
    nameOnArray(R"({"wwid": "36a", "vdisk_name": "vol"}, {"wwid": "36b", "vdisk_name": "vol"})");
    EXPECT_EQ(found("vol"), (Lines{"36a", "36b"}));
    std::string problem;
    EXPECT_EQ(findVolume(volumes, VdiskNames(), "vol", &problem), nullptr);
    EXPECT_EQ(problem, "\"vol\" is the name of several volumes: a b");
}

TEST_F(VolumeLookup, TheOneVolumeOrASentenceThatThereIsNone) {
    add("a", "36a", "dm-3", "sdb");
    std::string problem;
    EXPECT_EQ(findVolume(volumes, VdiskNames(), "a", &problem), &volumes[0]);
    EXPECT_EQ(problem, "");
    EXPECT_EQ(findVolume(volumes, VdiskNames(), "nosuch", &problem), nullptr);
    EXPECT_EQ(problem, "the ledger knows no volume \"nosuch\"");
}

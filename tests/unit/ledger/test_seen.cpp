// The topology as it was listed, in the ledger's own records, and the number that tells whether it is the same.
#include "ledger/seen.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/kernel_folder.h"
#include "tests/support/topology_list.h"

using namespace dravik;

namespace {

using Devices = std::vector<DeviceFields>;
using Lines = std::vector<std::string>;

std::string text(const SeenPath &path) {
    const PathAttributes &at = path.attributes;
    return "  " + at.name + " " + at.address + " " + at.device_id + " [" + path.key.initiator + "] [" +
           path.key.target_port + "] lun " + path.key.lun + " twin " + std::to_string(path.key.twin) + " " +
           at.transport + " '" + at.group_policy + "' " + at.group_priority + " " + at.group_status + " " +
           at.dm_state + " " + at.checker_state + " " + at.online_state + (path.working ? " works" : "");
}

Lines texts(const SeenTopology &topology) {
    Lines found;
    for (const SeenVolume &volume : topology) {
        const VolumeAttributes &at = volume.attributes;
        found.push_back(volume.wwid + " " + at.alias + " " + at.map + " " + at.vendor + "," + at.product +
                        " " + at.size + " " + at.transport);
        for (const SeenPath &path : volume.paths) {
            found.push_back(text(path));
        }
    }
    return found;
}

class Seen : public testing::Test {
  protected:
    Seen() {
        kernel.write("/sys/class/fc_host/host1/port_name", "0x10000090fa000001\n");
    }
    static Lines seen(const Devices &devices) {
        const TopologyList list(devices);
        Initiators initiators;
        return texts(seeTopology(list.head(), &initiators));
    }
    static uint64_t fingerprint(const Devices &devices) {
        const TopologyList list(devices);
        Initiators initiators;
        return fingerprintOf(list.head(), &initiators);
    }
    KernelFolder kernel;
};

const Devices TWO = {{"36a", "mpatha", "3", "10G", {{"sdb", "1:0:0:1"}, {"sdc", "2:0:0:1"}}},
                     {"36b", "mpathb", "4", "7G", {{"sdd", "1:0:0:2"}}}};

} // namespace

TEST_F(Seen, VolumesAndPathsAreTakenOverAsListed) {
    EXPECT_EQ(
        seen({{"36a",
               "mpatha",
               "3",
               "10G",
               {{"sdb", "1:0:0:1"},
                {"sdc", "2:0:1:1", "8:32", "fc", "0x20d0", "queue-length 0", "10", "enabled", "failed",
                 "faulty", "running"}}}}),
        (Lines{
            "36a mpatha dm-3 KORVEL,QVX 10G fc",
            "  sdb 1:0:0:1 8:16 [0x10000090fa000001] [0x20d0000b5d6a1010] lun 1 twin 0 fc 'service-time 0' "
            "50 "
            "active active ready running works",
            "  sdc 2:0:1:1 8:32 [host2] [0x20d0] lun 1 twin 0 fc 'queue-length 0' 10 enabled failed faulty "
            "running"}));
}

TEST_F(Seen, NothingListedIsNothingSeen) {
    EXPECT_EQ(seen({}), Lines());
}

TEST_F(Seen, AVolumeWithoutPathsIsAVolume) {
    EXPECT_EQ(
        seen({{"36a", "mpatha", "3", "10G", {}}, {"36b", "mpathb", "4", "7G", {{"sdd", "1:0:0:2"}}}})[0],
        "36a mpatha dm-3 KORVEL,QVX 10G ");
    EXPECT_EQ(seen({{"36a", "mpatha", "3", "10G", {}}}).size(), 1U);
}

TEST_F(Seen, AVolumeWithoutAMapHasNone) {
    const TopologyList list(Devices{{"36a", "mpatha", "", "10G", {{"sdb", "1:0:0:1"}}}});
    Initiators initiators;
    EXPECT_EQ(seeTopology(list.head(), &initiators)[0].attributes.map, "");
}

TEST_F(Seen, TheLunIsTheLastNumberOfTheAddress) {
    const auto lun = [](const std::string &address) {
        const TopologyList list(Devices{{"36a", "a", "1", "1G", {{"sdb", address}}}});
        Initiators initiators;
        return seeTopology(list.head(), &initiators)[0].paths[0].key.lun;
    };
    EXPECT_EQ(lun("1:0:0:7"), "7");
    EXPECT_EQ(lun("10:2:33:16385"), "16385");
    EXPECT_EQ(lun(""), "");
}

TEST_F(Seen, PathsThatShareInitiatorPortAndLunAreAllTakenOver) {
    const Lines found =
        seen({{"36a", "mpatha", "3", "10G", {{"sdb", "1:0:0:1"}, {"sdc", "1:0:0:1"}, {"sdd", "1:0:0:1"}}}});
    ASSERT_EQ(found.size(), 4U);
    EXPECT_EQ(found[1].substr(0, 6), "  sdb ");
    EXPECT_EQ(found[2].substr(0, 6), "  sdc ");
    EXPECT_EQ(found[3].substr(0, 6), "  sdd ");
}

TEST_F(Seen, AWwidThatIsListedTwiceIsOneVolumeWithThePathsOfBoth) {
    const Lines found = seen({{"36a", "mpatha", "3", "10G", {{"sdb", "1:0:0:1"}}},
                              {"36b", "mpathb", "4", "7G", {{"sdd", "1:0:0:2"}}},
                              {"36a", "other", "9", "11G", {{"sdc", "2:0:0:1"}}}});
    ASSERT_EQ(found.size(), 5U);
    EXPECT_EQ(found[0], "36a mpatha dm-3 KORVEL,QVX 10G fc");
    EXPECT_EQ(found[1].substr(0, 6), "  sdb ");
    EXPECT_EQ(found[2].substr(0, 6), "  sdc ");
    EXPECT_EQ(found[3], "36b mpathb dm-4 KORVEL,QVX 7G fc");
    EXPECT_EQ(found[4].substr(0, 6), "  sdd ");
}

TEST_F(Seen, TheWholeOfALargeTopologyIsTakenOver) {
    Devices devices;
    for (int volume = 0; volume < 1000; ++volume) {
        devices.push_back({"36" + std::to_string(volume), "v", "1", "1G", {}});
        for (int path = 0; path < 8; ++path) {
            devices.back().paths.push_back(
                {"x" + std::to_string(volume * 8 + path), "1:0:0:" + std::to_string(path)});
        }
    }
    EXPECT_EQ(seen(devices).size(), 9000U);
}

// ---- the fingerprint

TEST_F(Seen, TheSameTopologyHasTheSameFingerprint) {
    EXPECT_EQ(fingerprint(TWO), fingerprint(TWO));
    EXPECT_EQ(fingerprint({}), fingerprint({}));
}

TEST_F(Seen, ARefilledListHasTheFingerprintOfAFreshOne) {
    TopologyList list;
    list.fill({{"longer-than-before", "a-long-alias-that-leaves-its-end-behind", "300", "100G", TWO[0].paths},
               TWO[0],
               TWO[1]});
    list.fill(TWO);
    Initiators initiators;
    EXPECT_EQ(fingerprintOf(list.head(), &initiators), fingerprint(TWO));
}

TEST_F(Seen, EveryChangeOfWhatIsTakenOverGivesAnotherFingerprint) {
    std::set<uint64_t> found = {fingerprint({}), fingerprint(TWO)};
    size_t expected = found.size();
    const auto changed = [&](Devices devices, const char *what) {
        found.insert(fingerprint(devices));
        EXPECT_EQ(found.size(), ++expected) << what;
    };
    for (std::string DeviceFields::*field :
         {&DeviceFields::wwid, &DeviceFields::alias, &DeviceFields::number, &DeviceFields::size,
          &DeviceFields::vendor, &DeviceFields::product}) {
        Devices devices = TWO;
        devices[1].*field = "other";
        changed(devices, "a field of a volume");
    }
    for (std::string PathFields::*field :
         {&PathFields::name, &PathFields::address, &PathFields::device_id, &PathFields::transport,
          &PathFields::target_port, &PathFields::policy, &PathFields::priority, &PathFields::group,
          &PathFields::dm_state, &PathFields::checker_state, &PathFields::online_state}) {
        Devices devices = TWO;
        devices[0].paths[1].*field = "9:9";
        changed(devices, "a field of a path");
    }
    Devices devices = TWO;
    devices.pop_back();
    changed(devices, "one volume less");
    devices = TWO;
    devices[0].paths.pop_back();
    changed(devices, "one path less");
    devices = TWO;
    devices[1].paths.clear();
    changed(devices, "no paths");
    devices = TWO;
    devices[1].paths.push_back(devices[0].paths[1]);
    devices[0].paths.pop_back();
    changed(devices, "a path of another volume");
}

TEST_F(Seen, TextsThatOnlyTheirBordersTellApartHaveDifferentFingerprints) {
    EXPECT_NE(fingerprint({{"36a", "bc", "1", "1G", {}}}), fingerprint({{"36ab", "c", "1", "1G", {}}}));
    EXPECT_NE(fingerprint({{"36a", "a", "1", "1G", {{"sdb", "1:0:0:1"}, {"", ""}}}}),
              fingerprint({{"36a", "a", "1", "1G", {{"", ""}, {"sdb", "1:0:0:1"}}}}));
}

TEST_F(Seen, AnInitiatorThatChangesItsNameGivesAnotherFingerprint) {
    const uint64_t before = fingerprint(TWO);
    kernel.write("/sys/class/fc_host/host1/port_name", "0x10000090fa000009\n");
    EXPECT_NE(fingerprint(TWO), before);
}

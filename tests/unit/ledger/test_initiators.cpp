// The host's ports: by what name the SAN knows the initiator of a path.
#include "ledger/initiators.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/kernel_folder.h"
#include "tests/support/topology_list.h"

using namespace dravik;

namespace {

class InitiatorsOfHosts : public testing::Test {
  protected:
    // The initiator of a path of this name and address, by the initiators of one observation.
    std::string of(const std::string &name, const std::string &address) {
        const TopologyList list({{"36a", "a", "1", "1G", {{name, address}}}});
        return initiators.of(firstPathDev(firstDravik(list.head())->pdev));
    }
    // A session as sysfs has it: a link that leads through its host.
    void session(const std::string &number, const std::string &host, const std::string &initiator) const {
        const std::string place =
            "/sys/devices/platform/" + host + "/session" + number + "/iscsi_session/session" + number;
        kernel.write(place + "/initiatorname", initiator + "\n");
        kernel.link("/sys/class/iscsi_session/session" + number, "../../.." + place);
    }
    KernelFolder kernel;
    Initiators initiators;
};

} // namespace

TEST_F(InitiatorsOfHosts, AFibreChannelHostIsKnownByItsPortName) {
    kernel.write("/sys/class/fc_host/host1/port_name", "0x10000090fa000001\n");
    kernel.write("/sys/class/fc_host/host12/port_name", "0x10000090fa000012\n");
    EXPECT_EQ(of("sdb", "1:0:0:1"), "0x10000090fa000001");
    EXPECT_EQ(of("sdc", "12:0:3:7"), "0x10000090fa000012");
    EXPECT_EQ(of("sdd", "1:0:1:1"), "0x10000090fa000001");
}

TEST_F(InitiatorsOfHosts, AnIscsiHostIsKnownByItsSessionsInitiator) {
    session("1", "host3", "iqn.1994-05.com.example:one");
    session("2", "host30", "iqn.1994-05.com.example:two");
    EXPECT_EQ(of("sdb", "3:0:0:1"), "iqn.1994-05.com.example:one");
    EXPECT_EQ(of("sdc", "30:0:0:1"), "iqn.1994-05.com.example:two");
}

TEST_F(InitiatorsOfHosts, AnNvmePathIsKnownByItsHostsQualifiedName) {
    kernel.write("/sys/class/nvme/nvme0/hostnqn", "nqn.2014-08.org.nvmexpress:uuid:1\n");
    kernel.write("/sys/class/nvme/nvme10/hostnqn", "nqn.2014-08.org.nvmexpress:uuid:2\n");
    EXPECT_EQ(of("nvme0n1", "0:1:1:1"), "nqn.2014-08.org.nvmexpress:uuid:1");
    EXPECT_EQ(of("nvme10n3", "10:1:1:3"), "nqn.2014-08.org.nvmexpress:uuid:2");
    EXPECT_EQ(of("nvme10c1n3", "10:1:1:3"), "nqn.2014-08.org.nvmexpress:uuid:2");
}

TEST_F(InitiatorsOfHosts, AHostWithoutANameIsKnownByItsNumber) {
    EXPECT_EQ(of("sdb", "5:0:0:1"), "host5");
    EXPECT_EQ(of("xba", "1:0:0:1"), "host1");
    EXPECT_EQ(of("nvme4n1", "4:1:1:1"), "host4");
}

TEST_F(InitiatorsOfHosts, AnEmptyNameIsNone) {
    kernel.write("/sys/class/fc_host/host1/port_name", "\n");
    session("1", "host3", "");
    kernel.write("/sys/class/nvme/nvme0/hostnqn", "");
    EXPECT_EQ(of("sdb", "1:0:0:1"), "host1");
    EXPECT_EQ(of("sdc", "3:0:0:1"), "host3");
    EXPECT_EQ(of("nvme0n1", "0:1:1:1"), "host0");
}

TEST_F(InitiatorsOfHosts, APathWithoutAnAddressHasNone) {
    for (const char *address : {"", "#:#:#:#", "x:0:0:1", ":0:0:1", "-1:0:0:1", "99999999999:0:0:1"}) {
        EXPECT_EQ(of("sdb", address), "") << address;
    }
}

TEST_F(InitiatorsOfHosts, EachPortIsLookedAtOnceAnObservation) {
    kernel.write("/sys/class/fc_host/host1/port_name", "0x10000090fa000001\n");
    session("1", "host3", "iqn.1994-05.com.example:one");
    EXPECT_EQ(of("sdb", "1:0:0:1"), "0x10000090fa000001");
    EXPECT_EQ(of("sdc", "3:0:0:1"), "iqn.1994-05.com.example:one");
    kernel.remove("/sys");
    EXPECT_EQ(of("sdd", "1:0:0:2"), "0x10000090fa000001");
    EXPECT_EQ(of("sde", "3:0:0:2"), "iqn.1994-05.com.example:one");
}

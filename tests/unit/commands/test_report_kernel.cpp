// The kernel's view, read in a root folder of the test's own.
#include "commands/report_kernel.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace dravik;

namespace {

class ReportKernel : public testing::Test {
  protected:
    ReportKernel() {
        char name[] = "/tmp/dravik-kernel-XXXXXX";
        root = mkdtemp(name);
    }
    ~ReportKernel() override {
        std::filesystem::remove_all(root);
    }
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root may change the root folder";
        }
    }
    void write(const std::string &name, const std::string &text) const {
        std::filesystem::create_directories(std::filesystem::path(root + name).parent_path());
        std::ofstream(root + name, std::ios::binary) << text;
    }
    void link(const std::string &name, const std::string &target) const {
        std::filesystem::create_directories(std::filesystem::path(root + name).parent_path());
        std::filesystem::create_symlink(target, root + name);
    }
    // What the view of that name writes on a host whose files are these.
    std::string view(const std::string &name) const {
        std::array<int, 2> ends = {};
        EXPECT_EQ(pipe(ends.data()), 0);
        const pid_t child = fork();
        if (child == 0) {
            const bool entered = chroot(root.c_str()) == 0 && chdir("/") == 0;
            for (const KernelView &each : KERNEL_VIEW_LIST) {
                if (entered && each.name == name) {
                    each.write(ends[1]);
                    _exit(0);
                }
            }
            _exit(1);
        }
        close(ends[1]);
        std::string text;
        std::array<char, 4096> piece = {};
        for (ssize_t got = read(ends[0], piece.data(), piece.size()); got > 0;
             got = read(ends[0], piece.data(), piece.size())) {
            text.append(piece.data(), static_cast<size_t>(got));
        }
        close(ends[0]);
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        return text;
    }
    std::string root;
};

} // namespace

TEST_F(ReportKernel, TheViewsHavePlainNamesOfTheirOwnAndLimits) {
    std::string names;
    std::set<std::string> different;
    for (const KernelView &each : KERNEL_VIEW_LIST) {
        names += std::string(each.name) + " " + each.source + " " + std::to_string(each.limit / 1024) + "\n";
        different.insert(each.name);
    }
    EXPECT_EQ(names, "kernel-maps.txt /sys/block/dm-* 1536\n"
                     "kernel-paths.txt /sys/block 3072\n"
                     "kernel-fc.txt /sys/class/fc_host, fc_remote_ports 256\n"
                     "kernel-iscsi.txt /sys/class/iscsi_host, iscsi_session, iscsi_connection 512\n"
                     "kernel-nvme.txt /sys/class/nvme, nvme-subsystem 512\n"
                     "by-path.txt /dev/disk/by-path 3072\n");
    EXPECT_EQ(different.size(), KERNEL_VIEWS);
}

TEST_F(ReportKernel, AHostWithoutAnyOfItHasEmptyViews) {
    for (const KernelView &each : KERNEL_VIEW_LIST) {
        EXPECT_EQ(view(each.name), "") << each.name;
    }
}

TEST_F(ReportKernel, MapsComeWithTheNamesOfTheirPathsSortedAndWithoutWhatIsNoMap) {
    write("/sys/block/dm-3/dev", "253:3\n");
    write("/sys/block/dm-3/dm/name", "my alias\n");
    write("/sys/block/dm-3/dm/uuid", "velomux-3600b5d60001a2b3c0000000000000001\n");
    write("/sys/block/dm-3/dm/suspended", "0\n");
    write("/sys/block/dm-3/size", "2048\n");
    write("/sys/block/dm-3/slaves/sdc", "");
    write("/sys/block/dm-3/slaves/sdb", "");
    write("/sys/block/dm-3/holders/dm-4", "");
    write("/sys/block/dm-10/size", "7\n");
    write("/sys/block/sdb/size", "2048\n");
    EXPECT_EQ(
        view("kernel-maps.txt"),
        "dm-10 size=7 slaves= holders=\n"
        "dm-3 dev=253:3 name=my_alias uuid=velomux-3600b5d60001a2b3c0000000000000001 suspended=0 size=2048 "
        "slaves=sdb,sdc holders=dm-4\n");
}

TEST_F(ReportKernel, PathsComeWithTheirScsiAddressAndState) {
    write("/sys/devices/1:0:0:1/state", "running\n");
    write("/sys/devices/1:0:0:1/timeout", "30\n");
    write("/sys/devices/1:0:0:1/vendor", "KORVEL  \n");
    write("/sys/devices/1:0:0:1/model", "QVX 9000        \n");
    write("/sys/block/sdb/dev", "8:16\n");
    write("/sys/block/sdb/size", "2048\n");
    link("/sys/block/sdb/device", "../../devices/1:0:0:1");
    write("/sys/block/sdc/size", "");
    write("/sys/block/dm-3/size", "2048\n");
    EXPECT_EQ(
        view("kernel-paths.txt"),
        "sdb device=1:0:0:1 dev=8:16 size=2048 state=running timeout=30 vendor=KORVEL model=QVX_9000\nsdc\n");
}

TEST_F(ReportKernel, AttributesAreOneLineOf256CharactersAtMost) {
    write("/sys/block/sdb/dev", std::string(300, 'x') + "\n");
    write("/sys/block/sdb/size", "1 2\nsecond=line\n");
    write("/sys/block/sdc/size", std::string("7\0\x38", 3));
    EXPECT_EQ(view("kernel-paths.txt"), "sdb dev=" + std::string(256, 'x') + " size=1_2\nsdc size=7\n");
}

TEST_F(ReportKernel, PortsOfFibreChannelComeByTheirClass) {
    write("/sys/class/fc_host/host1/port_name", "0x20d0000b5d6a1010\n");
    write("/sys/class/fc_host/host1/port_state", "Online\n");
    write("/sys/class/fc_host/host1/speed", "16 Gbit\n");
    write("/sys/class/fc_remote_ports/rport-1:0-2/roles", "FCP Target\n");
    write("/sys/class/fc_remote_ports/rport-1:0-2/dev_loss_tmo", "30\n");
    EXPECT_EQ(view("kernel-fc.txt"),
              "fc_host/host1 port_name=0x20d0000b5d6a1010 port_state=Online speed=16_Gbit\n"
              "fc_remote_ports/rport-1:0-2 roles=FCP_Target dev_loss_tmo=30\n");
}

TEST_F(ReportKernel, SessionsOfIscsiComeWithoutUserNamesAndPasswords) {
    write("/sys/class/iscsi_session/session1/targetname", "iqn.2004-01.com.korvel:a\n");
    write("/sys/class/iscsi_session/session1/username", "chapuser\n");
    write("/sys/class/iscsi_session/session1/password", "chappassword\n");
    write("/sys/class/iscsi_session/session1/password_in", "chappassword\n");
    write("/sys/class/iscsi_session/session1/state", "LOGGED_IN\n");
    write("/sys/class/iscsi_connection/connection1:0/address", "10.1.2.3\n");
    EXPECT_EQ(view("kernel-iscsi.txt"),
              "iscsi_session/session1 targetname=iqn.2004-01.com.korvel:a state=LOGGED_IN\n"
              "iscsi_connection/connection1:0 address=10.1.2.3\n");
}

TEST_F(ReportKernel, ControllersOfNvmeComeWithTheirSubsystems) {
    write("/sys/class/nvme/nvme0/transport", "tcp\n");
    write("/sys/class/nvme/nvme0/serial", "S3X7NX0 \n");
    write("/sys/class/nvme/nvme0/dhchap_secret", "DHHC-1:00:secret\n");
    write("/sys/class/nvme-subsystem/nvme-subsys0/iopolicy", "round-robin\n");
    EXPECT_EQ(view("kernel-nvme.txt"),
              "nvme/nvme0 transport=tcp serial=S3X7NX0\nnvme-subsystem/nvme-subsys0 iopolicy=round-robin\n");
}

TEST_F(ReportKernel, LinksByPathComeWithTheNamesThatTheyLeadTo) {
    link("/dev/disk/by-path/pci-0000:3b:00.0-fc-0x20d0-lun-1", "../../sdb");
    link("/dev/disk/by-path/ip-10.1.2.3:3260-lun-1", "../../sdc");
    EXPECT_EQ(view("by-path.txt"), "ip-10.1.2.3:3260-lun-1 sdc\npci-0000:3b:00.0-fc-0x20d0-lun-1 sdb\n");
}

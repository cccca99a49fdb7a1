// The command lines that several commands run, as a `FakeHost` records them, and what their tools answer.
#pragma once

#include <string>
#include <vector>

using Calls = std::vector<std::string>;

// ---- the configuration file

constexpr char BACK_UP[] = "\\cp -fp /etc/velomux.conf /etc/velomux.conf.bk";
constexpr char ROLL_BACK[] = "\\cp -fp /etc/velomux.conf.bk /etc/velomux.conf";
constexpr char CHMOD[] = "chmod 777 /etc/velomux.conf";
constexpr char POLICY_QUERY[] = "bash /usr/bin/dravik-script/policy.sh query";
constexpr char NVME_POLICY_QUERY[] = "bash /usr/bin/dravik-script/policy_nvme.sh query";

// What appends the maker's block with this policy.
inline std::string appendScsiBlock(const std::string &group, const std::string &chooser) {
    return "echo -ne \"#korvel config begin\n"
           "devices {\n"
           "    device {\n"
           "        vendor                 \\\"KORVEL\\\"\n"
           "        product                \\\"QVX\\\"\n"
           "##      korvel group chooser begin\n"
           "        path_grouping_policy    " +
           group +
           "\n"
           "        path_selector          \\\"" +
           chooser +
           " 0\\\"\n"
           "##      korvel group chooser end\n"
           "    }\n"
           "}\n"
           "#korvel config end\n"
           "\" >> /etc/velomux.conf";
}

// Policies that a shell would act on, as a compromised script might print them.
inline const std::vector<std::string> HOSTILE_POLICIES = {
    "multibus$(reboot)",
    "multibus`reboot`",
    "multibus;reboot",
    "a\"b",
    "a'b",
    "a|b",
    "a&b",
    "a>b",
    "a\\b",
    "a\tb",
    "a\x01b",
    "a\xC3\xBC",
    "a.b",
    "a/b",
};

// ---- the daemon

constexpr char SOFTLINK[] = "bash /usr/bin/dravik-script/softlink.sh";
constexpr char CHECK_LVM[] = "bash /usr/bin/dravik-script/checklvm.sh";
constexpr char START_DAEMON[] = "bash /usr/bin/dravik-script/checkdravikd.sh";
constexpr char SYSTEMD_STATUS[] = "systemctl status dravikd.service";
constexpr char SYSV_STATUS[] = "service dravikd status";

inline const std::string SYSTEMD_RUNNING =
    "● dravikd.service - Device-Mapper Multipath Device Controller\n"
    "   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled)\n"
    "   Active: active (running) since Mon 2021-12-06 10:15:02 CST; 1h 3min ago\n"
    " Main PID: 1234 (dravikd)\n";
inline const std::string SYSTEMD_STOPPED =
    "● dravikd.service - Device-Mapper Multipath Device Controller\n"
    "   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled)\n"
    "   Active: inactive (dead)\n";
constexpr char SYSV_RUNNING[] = "dravikd (pid  1234) is running...\n";

// ---- block devices, discovery

inline std::string deletionOf(const std::string &name) {
    return "echo 1 > /sys/block/" + name + "/device/delete";
}

constexpr char SCAN[] = "bash /usr/bin/dravik-script/g2dravikscan.sh";
constexpr char DISCOVER[] = "bash /usr/bin/dravik-script/discoverfcnvme.sh";
constexpr char REVIVE[] = "bash /usr/bin/dravik-script/run_all_offline_path.sh";
constexpr char REBUILD[] = "velomux -r";

// ---- aliases

// Words that a shell would act on, or take for an option.
inline const std::vector<std::string> HOSTILE_WORDS = {
    "a;reboot",  "a$(reboot)", "a`reboot`",      "a|b", "a&b", "a>b", "a b",
    "a'b",       "a\"b",       "a\\b",           "-f",  "a*",  "a\n", "a\x01",
    "a\xC3\xBC", "",           "$(touch canary)"};

// The result records, for administrators.
#include "commands/advice_records.h"

#include <iterator>

namespace dravik {

namespace {

constexpr char KEPT[] = "Kept for scripts that know it; no command of this version ends in it.";
constexpr char SEE_LOG[] = "tail -n 20 /dumps/dravik_cli.log";

// Name, meaning, what to look at, what cures it.
constexpr Advice RECORDS[] = {
    {"EC_ok", "Success: the command has done what it was asked for.", "",
     "Nothing to do; it is shown as \"Command executed successfully.\" or not at all."},
    {"EC_no_help", "The help text of this command is missing.", "ls /usr/bin/dravik-help",
     "Install Dravik again."},
    {"EC_print_help", "The help text is there but could not be read.",
     "tail -n 20 /dumps/dravik_cli.log\nls -l /usr/bin/dravik-help",
     "See the command log; install Dravik again where the file is damaged."},
    {"EC_exe_cmd_failed", "A tool or script could not be run, or failed, and the command with it.",
     "tail -n 20 /dumps/dravik_cli.log\nvelomux -ll\ndf /etc /dumps",
     "The last lines of the command log name it and hold what it printed, and say whether "
     "`/etc/velomux.conf` was rolled back: cure that and repeat. On a full `/etc` no backup of the "
     "configuration can be made, and nothing is changed: make space."},
    {"EC_molloc_failed", "Memory ran out; in the monitor's error lines also: a map without any path.",
     "free -m\ndravik query\ntail -n 20 /dumps/dravik_cli.log",
     "Find out what takes the memory. A volume without a table of paths in `dravik query` is such a map: "
     "`dravik refresh` or `dravik delete DEVICE` removes it."},
    {"EC_invalid_input", "A fault of the program.", SEE_LOG, "Keep the command log for the support."},
    {"EC_invalid_cli_name", "There is no such command.", "dravik", "`dravik` lists the commands."},
    {"EC_invalid_param_name", "The command has no such parameter, or it stands in the wrong place.",
     "dravik help COMMAND", "Type it as the synopsis of the help text shows it."},
    {"EC_invalid_param_value", "The value is none of those that the parameter takes.", "dravik help COMMAND",
     "Choose one of the values that the help text lists."},
    {"EC_invalid_param", "The command takes no parameters, or fewer.", "dravik help COMMAND",
     "Leave the word out."},
    {"EC_miss_idiskx", "`delete` was not told which volume.", "dravik query",
     "Name the device: `dravik delete DEVICE`."},
    {"EC_miss_group_chooser", "`setpathpolicy` was not told which policy.", "dravik help setpathpolicy",
     "Name the policy: `dravik setpathpolicy -chooser POLICY`."},
    {"EC_miss_param_val", "The parameter stands last; its value belongs behind it.", "dravik help COMMAND",
     "Type the value."},
    {"EC_param_duped", "A parameter was given twice.", "dravik help COMMAND",
     "Give each parameter once; one policy at a time."},
    {"EC_parse_cmd_out", "The listing of the multipath tool was incomplete.",
     "velomux -ll\ntail -n 20 /dumps/dravik_cli.log",
     "Maps were just being changed: try again. If it stays, keep the output of `velomux -ll` and the command "
     "log for the support."},
    {"EC_miss_device_path_state", "`setstate` needs `-path_alias`, `-device_name` and `-state`.",
     "dravik help setstate\ndravik query", "Give all three."},
    {"EC_parse_error_path", KEPT, "", NOTHING_TO_DO},
    {"EC_is_already_online", KEPT, "", NOTHING_TO_DO},
    {"EC_is_already_offline", KEPT, "", NOTHING_TO_DO},
    {"EC_no_path_alias", "No volume has this name, or it is the WWID of one that has an alias.",
     "dravik query\ndravik lsalias", "Use the name that `dravik query` shows as `path_alias`."},
    {"EC_no_device_name", "The volume has no path of this name.", "dravik query DEVICE",
     "Use a `dev_name` that `dravik query DEVICE` shows; names change with a restart of the host."},
    {"EC_miss_alias_wwid", "`setalias` needs `-wwid` and `-alias`.", "dravik help setalias", "Give both."},
    {"EC_miss_alias", "`setalias` needs an alias that is not empty.", "dravik help setalias",
     "Give the alias behind `-alias`."},
    {"EC_miss_wwid", "`setalias` and `delalias` need a WWID that is not empty.", "dravik query",
     "Copy the WWID from `dravik query`."},
    {"EC_exist_wwid_alias", "The configuration gives the volume this alias already.",
     "dravik lsalias\ndravik query ALIAS",
     "Nothing to do. When a device of a Korvel array bears the alias now, the answer is 0121."},
    {"EC_exist_alias", "The name is taken, perhaps by the very device that you mean.",
     "dravik query ALIAS\ndravik lsalias",
     "Where `dravik query ALIAS` shows your volume, there is nothing to do. Otherwise choose another name; "
     "`dravik lsalias` shows those that volumes bear which are not here."},
    {"EC_no_wwid", "The volume has no alias in the configuration.", "dravik lsalias",
     "Copy the WWID from `dravik lsalias`, which shows those that have one."},
    {"EC_del_failed_for_using", "Something has the device open.",
     "lsof /dev/mapper/NAME\nmount\nlsblk /dev/mapper/NAME",
     "Unmount, deactivate the volume group, stop the process, then repeat."},
    {"EC_exe_cmd_timeout", "The multipath tool hung at the last of three attempts.",
     "dravik list --bad\nvelomux -ll\ntail -n 20 /dumps/dravik_cli.log",
     "It hangs when every path is dead and I/O is queued: bring a path back or end what waits for its I/O, "
     "then repeat."},
    {"EC_wwid_length_error", "A WWID has 33 characters when it begins with 3, 36 when it begins with eui.",
     "dravik query", "Copy the WWID from `dravik query`."},
    {"EC_wwid_format_error", "A WWID is 3 or eui. and hexadecimal digits.", "dravik query",
     "Copy the WWID from `dravik query`."},
    {"EC_nvme_is_not_support_online", KEPT, "", NOTHING_TO_DO},
    {"EC_nvme_is_not_support_offline", KEPT, "", NOTHING_TO_DO},
    {"EC_alias_length_error", "An alias has at most 60 characters.", "dravik help setalias",
     "Choose a shorter one."},
    {"EC_alias_format_error", "An alias is a letter, then letters, digits and _ . -", "dravik help setalias",
     "Choose another one."},
    {"EC_devicename_length_error", "The name of a device has at most 60 characters.", "dravik query",
     "Copy the name from `dravik query`."},
    {"EC_devicename_format_error",
     "A device is named by its alias (a letter first, then letters, digits and _ . -) or by its WWID.",
     "dravik query", "Copy the name from `dravik query`."},
    {"EC_no_this_device", "No device of an accepted array has this name.", "dravik query\nvelomux -ll",
     "Copy the name from `dravik query`. A device that only `velomux -ll` shows is of another vendor."},
    {"EC_no_config_info", "The arrays are not configured yet.", "grep -n 'config begin' /etc/velomux.conf",
     "Run `dravik config`, then `dravik restart`, then the command again."},
    {"EC_os_not_support", "The distribution is none of those that are supported.", "cat /etc/os-release",
     "Supported are RHEL, CentOS, Oracle Linux and SLES. A missing `sed` or `grep` may be the cause, too."},
    {"EC_os_not_support_fcnvme", "This release of the distribution has no NVMe over Fabrics for Dravik.",
     "cat /etc/os-release", "See the releases under \"Limits\" in the operator guide; leave out `-nvme`."},
    {"EC_offline_path_fail", "The daemon refused to take the path out of service.",
     "dravik status\njournalctl -u dravikd", "Its own messages say why. Start it with `dravik start`."},
    {"EC_online_path_fail", "The daemon refused to bring the path back.",
     "dravik status\njournalctl -u dravikd\ndravik query DEVICE",
     "Its own messages say why. Repair the path first; start the daemon with `dravik start`."},
    {"EC_need_fisrt_set_scsi", "`-scsi` stands behind `-chooser`.", "dravik help setpathpolicy",
     "Put it in front: `dravik setpathpolicy -scsi -chooser POLICY`."},
    {"EC_need_fisrt_set_nvme", "`-nvme` stands behind `-chooser`.", "dravik help setpathpolicy",
     "Put it in front: `dravik setpathpolicy -nvme -chooser POLICY`."},
    {"EC_parameter_number_error", "More words than the command takes.", "dravik help COMMAND",
     "Leave out what is too much; give each parameter once."},
    {"EC_set_idisk_error", "Names that begin with idisk are reserved.", "dravik help setalias",
     "Choose another alias."},
    {"EC_upper_letter_error", "The WWID holds capital letters.", "dravik query",
     "Type it in lower case, as `dravik query` shows it."},
    {"EC_alias_wwid_error", "An alias of the form of a WWID must be the WWID itself.", "dravik query",
     "Give the volume's own WWID as alias, or a name that is none."},
    {"EC_miss_device", KEPT, "", NOTHING_TO_DO},
    {"EC_miss_interval", "`devstats` was not told how often to report.", "dravik help devstats",
     "Say how often: `dravik devstats -interval SECONDS`."},
    {"EC_interval_format_error", "An interval is a whole number of seconds, from 1 to 4294967295.",
     "dravik help devstats", "Type such a number."},
};

} // namespace

AdviceTable recordAdvice() {
    return {RECORDS, std::size(RECORDS)};
}

} // namespace dravik

// The lines of the change log, for administrators.
#include "commands/advice_changes.h"

#include <iterator>

namespace dravik {

namespace {

// Text, meaning, what to look at, what cures it.
constexpr Advice CHANGES[] = {
    {"The lun is created, the properties are [ path_alias: ..., wwid: ... ].",
     "A volume appeared: it was mapped, found by a scan, or a monitor without a snapshot saw it first.",
     "dravik query ALIAS\ndravik list",
     "Nothing to do; if you did not expect it, ask who mapped it. A line for each path follows further "
     "down."},
    {"The lun is deleted, the properties are [ path_alias: ..., wwid: ... ].",
     "The volume is gone from the listing with its last path.",
     "dravik events --since 2h\nvelomux -ll\ndravik port",
     "If it was not removed on purpose, see whether it is still mapped on the array, then run `dravik scan`. "
     "When every volume of an array goes at once, look at the fabric; when every volume of the host does, "
     "look "
     "at the multipath tool first: one that fails without a word looks like this."},
    {"The path is created, the properties are [ path_alias: ..., wwid: ..., dev_name: ..., path_status: ..., "
     "path_group_status: ..., dravik_status:... ].",
     "A path appeared.", "dravik query ALIAS", "See that the volume now has as many paths as you expect."},
    {"The path is deleted, the properties are [ path_alias: ..., wwid: ..., dev_name: ..., path_status: ..., "
     "path_group_status: ..., dravik_status:... ].",
     "The path's block device is gone from the listing; the states are its last ones.",
     "dravik list --bad\ndravik events --since 2h\ndravik port",
     "The volume works with one path less. If nobody removed it, look at cable, switch and array port, then "
     "run "
     "`dravik scan`. It comes back by itself when the port logs in again; otherwise the scan brings it."},
    {"The path status is changed from [...] to [...] for the path [ dev_name: ... ].",
     "What the daemon's path checker finds has changed.",
     "dravik query\ndravik events --path PATH\ndravik port",
     "To `faulty`, or anything but `ready` and `ghost`: the path no longer reaches the volume. Find the port "
     "in "
     "`dravik query` (`target_port`, `dev_node`) and repair the way to it; several paths at once with one "
     "target "
     "port mean that port, with one `dev_node` host mean that adapter. Back to `ready`: nothing to do. "
     "`ghost` is "
     "a standing-by path and in order."},
    {"The group status is changed from [...] to [...] for the path [ dev_name: ... ].",
     "I/O moved between the path groups of the volume.", "velomux -ll\ndravik events --path PATH",
     "From `enabled` to `active` it came here, the other way it left. If no path failed in the same cycle, "
     "the "
     "array has moved the volume to its other controller; look there when it happens again and again. "
     "`failed`: "
     "no path of the group works."},
    {"The dravik status is changed from [...] to [...] for the path [ dev_name: ... ].",
     "What the kernel says of the block device has changed.", "dravik query\njournalctl -k",
     "`offline`: it has given the device up after errors. Repair the way to the array, then run `dravik "
     "scan`; if "
     "it stays, delete the block device (`echo 1 > /sys/block/NAME/device/delete`) and scan again. `dravik "
     "refresh` does both for a path that is faulty in a group of priority 0."},
    {"The path alias is changed from [...] to [...] for the path [ dev_name: ... ].",
     "The volume has another name: somebody ran `setalias` or `delalias`.",
     "dravik lsalias\ngrep ' audit ' /dumps/dravik_cli.log\ngrep mapper /etc/fstab",
     "See that `/etc/fstab` and the like use the new name. Together with a line that the WWID changed it "
     "means "
     "what that line means."},
    {"The lun wwid is changed from [...] to [...] for the path [ dev_name: ... ].",
     "The block device now leads to another volume; with it comes a line that the alias changed.",
     "uptime\ndravik query\ngrep ' audit ' /dumps/dravik_cli.log",
     "Names of block devices are given anew at each start of the host, so after one this is normal. If the "
     "host "
     "was not restarted, a volume was unmapped and another one mapped under the same LUN without `dravik "
     "delete` "
     "in between: stop writing to both until you know which data are where."},
    {"The path group policy is changed from [ ... ] to [ ... ]", "Somebody ran `dravik setpathpolicy`.",
     "dravik lspathpolicy\ngrep ' audit ' /dumps/dravik_cli.log",
     "Nothing to do. The values are the kernel's names; what it was changed from is the policy of the SCSI "
     "block, also when `-nvme` was given, and a value that is the same has no line."},
    {"The path chooser type is changed from [ ... ] to [ ... ]", "Somebody ran `dravik setpathpolicy`.",
     "dravik lspathpolicy\ngrep ' audit ' /dumps/dravik_cli.log",
     "Nothing to do; see the line about the path group policy."},
};

} // namespace

AdviceTable changeAdvice() {
    return {CHANGES, std::size(CHANGES)};
}

} // namespace dravik

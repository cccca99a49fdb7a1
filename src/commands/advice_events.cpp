// The kinds of events, for administrators.
#include "commands/advice_events.h"

#include <iterator>

#include "ledger/event_kinds.h"

namespace dravik {

namespace {

// Kind, meaning, what to look at, what cures it.
constexpr Advice EVENTS[] = {
    {VOLUME_APPEARED, "A volume is listed that was not there before.", "dravik query\ndravik list",
     "Nothing to do where it was mapped, scanned for, or has come back. If nobody expected it, ask who "
     "mapped "
     "it."},
    {VOLUME_GONE, "A volume has left the listing, and the kernel has its map no longer.",
     "dravik events --since 2h\nvelomux -ll\ndravik port",
     "Where it was not removed on purpose, see whether the array still maps it to this host, then run "
     "`dravik scan`. When all volumes of an array go at once, look at the fabric."},
    {VOLUME_UNSEEN, "A volume is missing from the listing, though the kernel still has its map.",
     "velomux -ll\ndravik check\ntail -n 20 /dumps/dravik_cli.log",
     "The multipath tool's listing is at fault, not the volume: I/O goes on. See why `velomux -ll` leaves it "
     "out; after 60 seconds its state is unknown."},
    {VOLUME_SEEN_AGAIN, "A volume that was missing from the listing is listed again.", "dravik list",
     "Nothing to do; if it happens again and again, see what disturbs `velomux -ll`."},
    {VOLUME_RENAMED, "The volume has another alias.", "dravik lsalias\ngrep mapper /etc/fstab",
     "Somebody ran `setalias` or `delalias`, or edited `/etc/velomux.conf`: see that `/etc/fstab` and the "
     "like "
     "use the new name."},
    {VOLUME_RESIZED, "The volume has another size.", "dravik query VOLUME\nlsblk /dev/mapper/VOLUME",
     "After an expansion on the array let the file system or volume group grow. A volume that has shrunk may "
     "have lost data: stop writing to it and ask who did it."},
    {VOLUME_WITHOUT_PATHS, "The map is still there, but no path is listed below it.",
     "dravik query\ndravik events --volume VOLUME",
     "I/O to it waits or fails. Bring its paths back (cable, switch, array, then `dravik scan`), or remove "
     "the "
     "map with `dravik delete VOLUME` where the volume is no longer wanted."},
    {PATH_APPEARED, "A path is listed that was not there before.", "dravik query VOLUME",
     "See that the volume now has as many paths as are cabled."},
    {PATH_GONE, "A path has left the listing, and the kernel has its block device no longer.",
     "dravik list --bad\ndravik events --volume VOLUME\ndravik port",
     "If nobody removed it, repair the way to the array (cable, switch, array port), then run `dravik scan`. "
     "Where it is gone for good: `dravik baseline accept VOLUME`."},
    {PATH_UNSEEN, "A path is missing from the listing, though the kernel still has its block device.",
     "velomux -ll\ndravik check VOLUME",
     "The listing is at fault, or the map has given the path up: see whether `velomux -ll` shows it again. "
     "After "
     "60 seconds its volume's state may be unknown."},
    {PATH_SEEN_AGAIN, "A path that was missing from the listing is listed again.", "dravik query VOLUME",
     NOTHING_TO_DO},
    {PATH_MOVED, "The path is the same, but the kernel calls it by another name.", "dravik query VOLUME",
     "Normal after a restart of the host or a scan. Scripts must not use names such as sdb."},
    {PATH_CHECKER_STATE, "The daemon's path checker finds another state.",
     "dravik query VOLUME\ndravik events --since 2h\ndravik port",
     "To `faulty` the path no longer reaches the volume: repair the way to the target port that `dravik "
     "query` "
     "shows. Several paths with one target port mean that port, with one host adapter mean that adapter. "
     "`ready` and `ghost` are in order."},
    {PATH_DM_STATE, "The kernel's device mapper uses the path again, or has stopped using it.",
     "dravik query VOLUME\njournalctl -k",
     "`failed` after an I/O error: repair the way to the array; the checker brings the path back. After "
     "`dravik setstate` it is meant so: bring it back with `-state online`."},
    {PATH_ONLINE_STATE, "The kernel's SCSI or NVMe layer says another state of the block device.",
     "dravik query VOLUME\njournalctl -k",
     "`offline`: the kernel has given the device up after errors. Repair the way to the array, then run "
     "`dravik scan`; if it stays, `dravik refresh` removes dead paths and looks for new ones."},
    {PATH_GROUP_STATE, "I/O has moved between the path groups of the volume.",
     "dravik query VOLUME\ndravik events --volume VOLUME",
     "Where no path failed at that time, the array has moved the volume to its other controller: look there "
     "if "
     "it happens again and again. `failed`: no path of the group works."},
    {PATH_FLAPPING, "The path has failed three times within thirty minutes.",
     "dravik events --path PATH --since 1d\ndravik list --bad",
     "A loose cable, a dying transceiver, a bad switch port: look at the error counters of both ends and "
     "replace what has them. Until then take the path out of use with `dravik setstate`."},
    {PATH_STEADY, "A path that was flapping has not failed for thirty minutes.", "dravik events --path PATH",
     "Nothing to do once its cause is known; a path that nobody has repaired may flap again."},
    {VOLUME_STATE, "The verdict over the volume is another: ok, degraded, last path, none or unknown.",
     "dravik check VOLUME\ndravik events --volume VOLUME",
     "degraded: repair at leisure. last path: repair now. none: I/O has stopped or waits, repair now. "
     "unknown: "
     "`dravik check` says why it is not seen."},
    {MONITOR_STARTED, "dravik-monitor has started.", "systemctl status dravik-monitor\nuptime",
     "Nothing to do after an upgrade or a restart of the host; otherwise see why it was restarted."},
    {OBSERVATION_QUALITY, "How far the multipath tool's listing can be believed has changed.",
     "dravik check\nvelomux -ll\ntail -n 20 /dumps/dravik_cli.log",
     "doubtful: something is not listed that the kernel has. failed: there is no listing at all; `dravik "
     "check` "
     "says why. Cure the multipath tool. good: all is well again."},
    {OPERATION, "Somebody ran a command of Dravik's that changes something.",
     "dravik events --since 2h --all\ngrep ' audit ' /dumps/dravik_cli.log",
     "Nothing to do; the command log has who it was, the command line and its result."},
};

constexpr Advice LEFT_OUT = {
    "left_out", "More incidents at once than the journal is told; the oldest are left out here.",
    "dravik events --since 1d\nsystemctl status systemd-journald",
    "Nothing is lost: the ledger has them all, `dravik events` shows them. It is so at "
    "the first sight of more than 1,000 volumes; otherwise see why the journal took "
    "nothing for long."};

} // namespace

AdviceTable eventAdvice() {
    return {EVENTS, std::size(EVENTS)};
}

const Advice &leftOutAdvice() {
    return LEFT_OUT;
}

} // namespace dravik

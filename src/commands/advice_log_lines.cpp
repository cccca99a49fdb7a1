// The lines of the command log, for administrators.
#include "commands/advice_log_lines.h"

#include <algorithm>
#include <iterator>

namespace dravik {

namespace {

constexpr std::string_view OF_SEVERAL_LINES[] = {"Read lunpath field failed form string [...].",
                                                 "Error before: [...].", "Error before: [...]"};
constexpr char CACHE[] = "ls -l /dumps/storage_config.json\ndf /dumps";

// Texts, meaning, what to look at, what cures it.
constexpr Advice LOG_LINES[] = {
    // ---- who did what
    {"user ... ran [...]: ...", "Who ran a command that changes something, and its result.",
     "dravik events --since 2h --all",
     "Nothing to do. \"interrupted by signal\" and \"ended by signal\" tell of a Ctrl+C (2) or another "
     "signal: look at "
     "`dravik query` before the command is repeated."},
    // ---- command lines
    {"Execute command [...] failed, exit code [...]\nExecute command [... 2>&1] failed, exit code [...]",
     "A command line ended with an error; the next line, \"Error message\", has what it printed.",
     "grep -A 3 'failed, exit code' /dumps/dravik_cli.log\nvelomux -ll",
     "Run the command line by hand and cure what it complains of. For the monitor's `velomux -ll 2> "
     "/dev/null` the "
     "message is mostly empty: run `velomux -ll`."},
    {"Error message: ...", "What the command line of the line above has printed.",
     "tail -n 20 /dumps/dravik_cli.log",
     "See the line above; lines behind it without a time stamp belong to it."},
    {"Error message: cat: ...: No such file or directory", "An NVMe path has left while it was looked up.",
     "dravik query\nls /sys/block", "Nothing to do once; if it stays, see why the path is gone."},
    {"Command [...] failed, exitcode:[...]",
     "The command line ended with an error, and with it what needed its output.",
     "tail -n 20 /dumps/dravik_cli.log",
     "The lines above have the exit code and what it printed: cure that."},
    {"Execute command [...] failed",
     "The command line could not be run, or holds a word that no shell may see.",
     "tail -n 20 /dumps/dravik_cli.log\nfree -m\ntype velomux",
     "Install the tool that it names; where memory or processes ran out, end what takes them. A name with "
     "blanks or "
     "shell characters is refused: rename that volume."},
    {"Execute command [...] successfully.", "A command line was run; said only while debugging.", "",
     NOTHING_TO_DO},
    {"Popen command [...] failed", "No process could be started for the command line.",
     "free -m\ncat /proc/sys/kernel/pid_max\nps -e", "Memory or processes ran out: end what takes them."},
    {"Read output of command [...] failed: ....",
     "What a tool printed could not be read to its end; it counts as one that could not be run.",
     "free -m\ntail -n 20 /dumps/dravik_cli.log", "Cure the reason behind the colon, then repeat."},
    {"Command [...] did not end within ... seconds: it has been killed.",
     "The multipath tool hung, and the monitor has killed it with all that it had started.",
     "time velomux -ll\ndravik status\njournalctl -u dravikd",
     "See what the tool waits for: mostly I/O to volumes without a working path, or the daemon. The monitor "
     "tries "
     "again by itself."},
    {"Command [...] is not started: process ..., which has been killed, has not ended.",
     "The multipath tool hung, and not even killing it has ended it: it waits in the kernel for a device "
     "that "
     "does not answer. As long as it does, the monitor starts no other one and sees nothing.",
     "ps -o pid,stat,wchan:32,args -C velomux\njournalctl -k -n 50",
     "Bring a path back, or have the array's port answer. Where the process still does not end, only a "
     "restart "
     "of the host helps."},
    {"Execute command [...] timeout", "The tool hung for five seconds; `delete` tries three times.",
     "dravik list --bad\nvelomux -ll",
     "It hangs when every path is dead and I/O is queued: bring a path back or end what waits for its I/O."},
    // ---- memory
    {"Malloc ... byte space failed.", "Memory ran out while a tool's output was read.", "free -m",
     "Find out what takes the memory, then repeat; the monitor tries again by itself."},
    {"Malloc struct s_dravik.\nMalloc struct s_lunPath.\nMalloc struct s_path_dev.",
     "Memory was taken for a volume or a path.", "", NOTHING_TO_DO},
    // ---- the monitor
    {"Query Dravik infomation failed. Error message: ....\nGet lun and path information failed. Error "
     "message: ....",
     "A cycle of the monitor could not see the topology; the error stands in the line.",
     "dravik check\nvelomux -ll\ntail -n 20 /dumps/dravik_cli.log",
     "It tries again in ten seconds and misses nothing but what was undone meanwhile. If it goes on, cure "
     "what "
     "`velomux -ll` shows by hand."},
    {"Convert data from Struct s_dravik to s_lunPath failed. Error message: ....",
     "The cycle ended before it compared: a map without any path, or memory ran out.",
     "dravik query\nfree -m",
     "A volume without a table of paths in `dravik query` is such a map: `dravik refresh` or `dravik delete "
     "DEVICE` "
     "removes it. Until then the change log stands still."},
    {"Copy lun and path information failed. Error message: ....",
     "Memory ran out before the cycle could compare.", "free -m",
     "Find out what takes the memory; the monitor tries again in ten seconds."},
    {"Parse ...th line in 'velomux -ll' output failed.",
     "The listing broke off in that line (counted from 0).", "velomux -ll",
     "Once: maps were just being changed, nothing to do. Always: keep the output of `velomux -ll` for the "
     "support."},
    {"This device (...) is a failed device.", "No path of this volume works.",
     "dravik check WWID\ndravik query", "Repair the way to it: cable, switch, array port, mapping."},
    {"Environment variable ... is not usable: [...].",
     "The service manager has told the monitor something that it cannot follow: where to say how it is "
     "(`NOTIFY_SOCKET`), or how often (`WATCHDOG_USEC`, `WATCHDOG_PID`). Said only while debugging.",
     "systemctl cat dravik-monitor\nsystemctl show dravik-monitor -p Type,NotifyAccess,WatchdogUSec",
     "The monitor works without it. Where the unit or a drop-in file sets the variable, take that out; where "
     "nobody does, run `systemctl restart dravik-monitor`."},
    // ---- the snapshot
    {"Open file failed. file: ....", "The monitor's snapshot is not there or cannot be written.",
     "ls -ld /dumps /dumps/*",
     "Normal at the first start. Otherwise `/dumps` is full, cannot be written, or is not root's: `chown "
     "root "
     "/dumps`."},
    {"Write data [...] to file failed. Expected write ... bytes, but only write ... bytes.",
     "`/dumps` is full.", "df /dumps\nls -lS /dumps",
     "Make space; the snapshot is written again in every cycle until that succeeds."},
    {"Write lun path infomation to file successfully.", "The monitor has written its snapshot.", "",
     NOTHING_TO_DO},
    {"Read lunpath field failed form string [...].",
     "The snapshot is damaged from this line on, by a kill in the middle of a write.",
     "cat /dumps/data.dravik",
     "Nothing to do: what stood behind it is reported as created once, and the snapshot is written anew."},
    // ---- the ledger
    {"Ledger: ....",
     "The ledger could not be written; the monitor says so once a minute and makes up for it later.",
     "df /dumps\nls -l /dumps/dravik.db*\ndravik check",
     "Cure what stands behind the colon: make space on `/dumps`, end who keeps the ledger locked. Nothing "
     "else is "
     "touched by it."},
    {"Ledger: memory ran out.", "Memory ran out while the ledger was written.", "free -m",
     "Find out what takes the memory; the ledger is made up for later."},
    {"Ledger: ... has been written by a newer dravik (its version ..., this one knows ...): use that one.",
     "The ledger is a newer version's; this one leaves it alone.", "dravik --version\nls -l /dumps/dravik.db",
     "Install the newer version again. To stay with this one, stop dravik-monitor, move `/dumps/dravik.db` "
     "and its "
     "companions away and start it: a new ledger is begun."},
    {"Ledger: ... is an older dravik's: restart dravik-monitor, which brings it up to date.",
     "The ledger is an older version's, and the monitor that runs has not brought it up to date.",
     "systemctl status dravik-monitor", "Run `systemctl restart dravik-monitor`."},
    {"Ledger ... is damaged (...): put aside as ....", "The ledger was damaged, and a new one was begun.",
     "ls -l /dumps/dravik.db*\njournalctl -k",
     "Look at the disk below `/dumps`. Keep the old ledger for the support, or delete it; what is known of "
     "paths "
     "begins anew."},
    {"Ledger ... is damaged (...) and cannot be put aside: ....",
     "The ledger is damaged and stands still, for the last reason in the line.",
     "ls -ld /dumps /dumps/dravik.db*",
     "Cure the reason, or move `/dumps/dravik.db` and its companions away yourself; the monitor begins a new "
     "one."},
    // ---- files
    {"... was no plain file of ours: put aside as ....",
     "Somebody had put a link or another thing in the place of a file below `/dumps`.", "ls -la /dumps",
     "See who could, and delete it."},
    {"Others could write to /dumps: that permission has been taken away.",
     "`/dumps` was open to others than root.", "ls -la /dumps", "See who opened it, and what lies there."},
    {"No whole backup of ... could be made in ...: nothing is changed.",
     "`/etc` is full or cannot be written; the command has changed nothing.",
     "df /etc\nls -l /etc/velomux.conf*", "Make space on `/etc`, then repeat."},
    {"Rolled back: ... is as it was before this command.\nRolled back: ... is as it was before this command, "
     "and it is "
     "the backup itself, which a copy had no space for.",
     "The command failed, and the configuration is as it was before.",
     "tail -n 20 /dumps/dravik_cli.log\ndf /etc",
     "The lines above say why it failed: cure that and repeat. Where a copy had no space, make some on "
     "`/etc`."},
    {"Not rolled back: this command has made no backup of ..., which stays as it is.",
     "The command failed; it had changed no configuration that could be rolled back.",
     "tail -n 20 /dumps/dravik_cli.log", "The lines above say why it failed: cure that and repeat."},
    {"Not rolled back: ... could not be restored (...), what it held is in ....",
     "The command failed, and the configuration could not be put back.",
     "diff /etc/velomux.conf.bk /etc/velomux.conf\ndf /etc",
     "Cure the reason in the brackets, then `cp -p /etc/velomux.conf.bk /etc/velomux.conf` and `dravik "
     "restart`."},
    // ---- commands
    {"Query dravik information failed", "`setstate` or `delete` could not see the topology.",
     "velomux -ll\ntail -n 20 /dumps/dravik_cli.log", "The lines above say why: cure that and repeat."},
    {"... path [...] failed", "The daemon refused to fail or reinstate the path.",
     "dravik status\njournalctl -u dravikd", "Its own messages say why. Start it with `dravik start`."},
    {"This OS ... is not support NVMe over Fabric.",
     "This release of the distribution has no NVMe over Fabrics for Dravik.", "cat /etc/os-release",
     "See the releases under \"Limits\" in the operator guide; leave out `-nvme`."},
    {"the transport we obtained is not fc/iscsi/fc-nvme/rdma-nvme.",
     "The transport of the volume is another one, or could not be found out.",
     "dravik query\nls -l /dev/disk/by-path",
     "Nothing to do: only the line `host_interface` is missing. Normal for NVMe over TCP."},
    // ---- the names of the array
    {"Get D0 page of device failed, maybe it is not support D0 page.",
     "The array does not tell the name of its volume.", "dravik query",
     "Normal for HUAWEI and HITACHI: nothing to do."},
    {"Open scsi device failed, fd = ....\nGet Disk 00Page failed, iRet = ....\nPage length error, page len "
     "....\n"
     "Binary to ascii failed, ret ....\nGet 00 page of device failed.\nGet D0 page of device failed.\n"
     "Get Disk D0 Page failed, iRet = ....\nDevcie (...),Get Disk D0 Page failed, vdisk name is NULL.\n"
     "get disk page ioctl failed, ret = ..., io_status is ....",
     "The array did not tell the name of a SCSI volume.",
     "dravik list --bad\nls -l /dev/mapper\njournalctl -k",
     "Only the line `vdisk_name` of `dravik query` is missing or old. Where the volume has a working path, "
     "see "
     "whether the array answers; otherwise repair the paths."},
    {"Open nvme device failed, fd = ....\nCan not get namespace id, fd = ....\nGet NVMe C0 Page failed.\n"
     "Get Disk C0 Page failed, vdisk name is NULL.\nGet C0 page of nvme device failed.",
     "The array did not tell the name of an NVMe volume.",
     "dravik list --bad\nls -l /dev/mapper\njournalctl -k",
     "Only the line `vdisk_name` of `dravik query` is missing or old. Where the volume has a working path, "
     "see "
     "whether the array answers; otherwise repair the paths."},
    {"Devcie (...), unable to get vdisk name using in-band channel, we try to get vdisk name from file.\n"
     "This device (...), the vdisk name we obtained is NULL.",
     "The array told no name for this volume, and none may be remembered.", "dravik query",
     "Nothing to do where the volume has no name on the array; otherwise give it one there."},
    {"This device (...) is a failed device, we can not get the vdisk name.\n"
     "This device (...) is a failed device, we get the vdisk name from file is NULL.",
     "No path of the volume works, and its name is not remembered.", "dravik check WWID\ndravik query",
     "Repair the way to it: cable, switch, array port, mapping."},
    {"device (...), vdisk name change from (...) to (...).\ndevice (...), vdisk name change from (NULL) to "
     "(...).\n"
     "device (...), vdisk name change from (...) to (NULL).",
     "The volume was renamed on the array.", "dravik query", "Nothing to do if it was meant so."},
    {"Failed to write file ...: ....", "The name of a volume could not be remembered.", CACHE,
     "Cure the reason behind the colon; mostly `/dumps` is full."},
    {"Error can't open file ....", "No names are remembered yet, or their file cannot be read.", CACHE,
     "Nothing to do at first: the file is written with the first name that the array tells. Otherwise see "
     "whose it "
     "is."},
    {"File ... is larger than ... bytes, not used.",
     "The file of remembered names is not what Dravik writes.", CACHE,
     "See what it holds; delete it, and `dravik query` asks the array again."},
    {"Error before: [...].\nError before: [...]\nInvalid JSON format for ... file.\nInvalid JSON format for "
     "json "
     "property ....",
     "The file of remembered names is damaged.", CACHE,
     "Delete `/dumps/storage_config.json`: `dravik query` asks the array again."},
    {"Failed to save wwid filed, because wwid is NULL.\nFailed to save vdisk name filed, because vdisk name "
     "is NULL.",
     "A name was not remembered, because it or the WWID is empty.", "dravik query",
     "Nothing to do; give the volume a name on the array if it has none."},
};

} // namespace

AdviceTable logLineAdvice() {
    return {LOG_LINES, std::size(LOG_LINES)};
}

bool mayHoldLines(std::string_view text) {
    return std::find(std::begin(OF_SEVERAL_LINES), std::end(OF_SEVERAL_LINES), text) !=
           std::end(OF_SEVERAL_LINES);
}

} // namespace dravik

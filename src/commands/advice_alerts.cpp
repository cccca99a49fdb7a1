// The alerts of the Prometheus rules, for administrators.
#include "commands/advice_alerts.h"

#include <iterator>

namespace dravik {

namespace {

// Name, meaning, what to look at, what cures it.
constexpr Advice ALERTS[] = {
    {"DravikObservationStale",
     "Nothing has been observed on the host for too long: no volume's state is known.",
     "systemctl status dravik-monitor\ndravik check\ntime velomux -ll\ndate",
     "Start the monitor: `systemctl start dravik-monitor`. Where it runs, see what `velomux -ll` waits for, "
     "and "
     "whether the clock is right."},
    {"DravikObservationFailing", "The multipath tool fails or answers by halves: changes may be missed.",
     "dravik check\nvelomux -ll\ntail -n 20 /dumps/dravik_cli.log\nsystemctl status dravik-monitor",
     "`dravik check` says why: the tool is missing, fails, prints what cannot be read, or leaves out what "
     "the "
     "kernel has. Run it by hand and cure that."},
    {"DravikMetricsMissing", "The host's figures for Prometheus are no longer written.",
     "systemctl status dravik-metrics.timer dravik-metrics.service\njournalctl -u dravik-metrics.service -n "
     "20\ndf -h /var /dumps",
     "What the service says is the cause. Start the timer, make space where the figures are written. "
     "Where they were taken away on purpose, silence the alert for this host; it ends within the hour."},
    {"DravikMonitorRestarting", "dravik-monitor is started again and again.",
     "systemctl status dravik-monitor\njournalctl -u dravik-monitor --since -1h\ndravik events --since 1h",
     "See what ends it: memory that runs out, a watchdog, somebody's script. Keep the journal for the "
     "support."},
    {"DravikVolumeWithoutPaths", "No path of the volume works: its I/O has stopped or waits.",
     "dravik check VOLUME\ndravik events --volume VOLUME --since 1h\ndravik port",
     "Repair now: initiators that are down, cables, switch, array ports, the mapping on the array; then run "
     "`dravik scan`."},
    {"DravikVolumeOnLastPath", "One path of the volume works, more are known: the next fault stops its I/O.",
     "dravik check VOLUME\ndravik events --volume VOLUME --since 1h",
     "Repair the lost paths now, and leave the one that works alone. Their ports stand in `dravik query "
     "VOLUME`. "
     "Paths that are gone for good: `dravik baseline accept VOLUME`."},
    {"DravikVolumeDegraded", "The volume has lost a path, or survives less than it did.",
     "dravik check VOLUME\ndravik list --bad\ndravik events --volume VOLUME --since 1d",
     "Repair at leisure: find the port in `dravik query VOLUME`, mend the way to it. Where it is meant to "
     "stay "
     "so: `dravik baseline accept VOLUME`."},
    {"DravikVolumeGone", "A volume has gone, and its map with it: the alerts about its paths are over.",
     "dravik events --since 1h\nvelomux -ll\ndravik port",
     "Where the events name a command that removed it, there is nothing to do. Otherwise see whether the "
     "array still maps it to this host, then run `dravik scan`. The alert ends after 15 minutes, whether "
     "the volume is back or not."},
    {"DravikPathFlapping", "A path fails and returns again and again.",
     "dravik events --path PATH --since 1d\ndravik list --bad",
     "Replace cable or transceiver, look at the switch port's error counters; several paths with one port "
     "mean "
     "that port. Until then take the path out of use with `dravik setstate`."},
    {"DravikTargetPortDown", "A port of the array is lost on several hosts: the fault is not the hosts'.",
     "dravik list --bad\ndravik events --since 1h",
     "Look at the array first: the port and its controller, then its cable and switch port, and zones that "
     "were "
     "changed."},
    {"DravikInitiatorDown", "No path from one port of this host works.",
     "dravik port\ndravik list --bad\njournalctl -k",
     "Look at the host's adapter, its cable and transceiver, its switch port and zone; after the repair run "
     "`dravik scan`."},
    {"DravikPathsUneven", "The volume has fewer paths on this host than on another one.",
     "dravik query VOLUME\ndravik baseline show VOLUME\ndravik port",
     "Compare the ports with the other host's: zones, mapping on the array, a cable; then run `dravik scan`. "
     "Where "
     "the difference is meant, silence the alert for this host."},
};

} // namespace

AdviceTable alertAdvice() {
    return {ALERTS, std::size(ALERTS)};
}

} // namespace dravik

// The alerts of the Prometheus rules, for administrators.
#include "commands/advice_alerts.h"

#include <iterator>

namespace dravik {

namespace {

// Name, meaning, what to look at, what cures it.
constexpr Advice ALERTS[] = {
    {"DravikObservationStale", "Nothing has been observed on the host for too long: its states are unknown.",
     "systemctl status dravik-monitor\ndravik check\ntime velomux -ll",
     "Start the monitor: `systemctl start dravik-monitor`. Where it runs, the multipath tool hangs: see what "
     "`velomux -ll` waits for."},
    {"DravikObservationFailing", "The monitor runs, but the multipath tool gives it no listing.",
     "dravik check\nvelomux -ll\ntail -n 20 /dumps/dravik_cli.log",
     "`dravik check` says why: the tool is missing, fails, hangs, or prints what cannot be read. Run it by "
     "hand "
     "and cure that."},
    {"DravikVolumeWithoutPaths", "No path of the volume works: its I/O has stopped or waits.",
     "dravik check VOLUME\ndravik events --volume VOLUME\ndravik port",
     "Repair now: initiators that are down, cables, switch, array ports, the mapping on the array; then run "
     "`dravik scan`."},
    {"DravikVolumeOnLastPath", "One path of the volume works, more are known: the next loss stops its I/O.",
     "dravik check VOLUME\ndravik events --volume VOLUME",
     "Repair now, and leave the path that works alone. The lost paths and their ports stand in "
     "`dravik query VOLUME`. Paths that are gone for good: `dravik baseline accept VOLUME`."},
    {"DravikVolumeDegraded",
     "A path of the volume does not work or is missing, or a loss is no longer survived.",
     "dravik check VOLUME\ndravik list --bad\ndravik events --volume VOLUME",
     "Repair at leisure: find the port in `dravik query VOLUME`, mend the way to it. Where it is meant to "
     "stay "
     "so: `dravik baseline accept VOLUME`."},
    {"DravikPathFlapping", "A path fails and returns again and again.",
     "dravik events --path PATH --since 1d\ndravik list --bad",
     "Replace cable or transceiver, look at the switch port's error counters. Until then take the path out "
     "of use with "
     "`dravik setstate`."},
    {"DravikTargetPortDown", "A port of the array is lost on several hosts: the fault is not the hosts'.",
     "dravik events --since 1h\ndravik query",
     "Look at the array's port, its cable and its switch, and at zoning that was changed."},
    {"DravikInitiatorDown", "No path through one port of this host works.",
     "dravik port\ndravik events --since 1h\njournalctl -k",
     "Look at the host's adapter, its cable and transceiver, its switch port and zoning; after the repair "
     "run "
     "`dravik scan`."},
    {"DravikPathsUneven", "Hosts that share volumes see them over unequal numbers of paths.",
     "dravik list\ndravik baseline show\ndravik port",
     "On the host with fewer paths look for the one that is missing: zoning, mapping on the array, a cable; "
     "then run `dravik scan`."},
    {"DravikMonitorRestarting", "dravik-monitor is restarted again and again.",
     "systemctl status dravik-monitor\njournalctl -u dravik-monitor\ntail -n 20 /dumps/dravik_cli.log",
     "See what ends it: memory that runs out, a watchdog, somebody's script. Keep the journal for the "
     "support."},
    {"DravikMetricsMissing", "The host's figures for Prometheus are no longer written.",
     "systemctl list-timers\ndf -h\ndravik metrics",
     "Enable the timer that writes them, make space where they are written, and see that `dravik metrics` "
     "answers; what it says on standard error is the cause."},
};

} // namespace

AdviceTable alertAdvice() {
    return {ALERTS, std::size(ALERTS)};
}

} // namespace dravik

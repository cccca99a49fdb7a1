# shellcheck shell=bash
# The kernel's counters.
makeCounters() { :; }
setLoad() { :; }
onCounters() { :; }

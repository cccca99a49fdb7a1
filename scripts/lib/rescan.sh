# shellcheck shell=bash
# What both rescan scripts share: waiting until the device nodes of what was found are there.

# settle_devices: waits for udev, at most a minute; a udev that is busy for longer is said and left alone.
settle_devices() {
    have_tool udevadm || return 0
    timeout 90 udevadm settle --timeout=60 </dev/null >/dev/null 2>&1 ||
        warn "udev is still busy after a minute; some devices may appear later"
}

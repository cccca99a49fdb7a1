# shellcheck shell=bash
# What the tests of the systemd units share. Each names its unit (UNIT) and what that may hold (KNOWN), a line a key, by the
# changes that systemd's versions brought: section and key, the version that has it first, whether the service depends on it
# ("runs") or is only confined by it ("takes"), and the values that this version knew.

# The oldest version on a host that is supported, and so the one whose keys a service may depend on.
OLDEST=210

# settings: every line of the unit that sets something, as "SECTION.KEY VALUE".
settings() { awk '/^\[/ {section = substr($0, 2, length($0) - 2)} /^[A-Za-z]+=/ {key = $0; sub(/=.*/, "", key); value = $0; sub(/^[^=]*=/, "", value); print section "." key, value}' "$UNIT"; }

# faults: what in the settings on standard input an old version of systemd would stumble over.
faults() {
    local name value row first kind values filtered=no
    while read -r name value; do
        row=$(grep -E "^${name//./\\.} " <<<"$KNOWN") || { echo "$name: not known"; continue; }
        read -r _ first kind values <<<"$row"
        [[ $value =~ ^$values$ ]] || echo "$name: $value is no value of its first version"
        [[ $kind == takes ]] || ((first <= OLDEST)) || echo "$name: younger than the oldest host"
        # The first filter says whether the others add to what is denied or to what is allowed.
        [[ $name != Service.SystemCallFilter || $value == '~'* || $filtered == yes ]] || echo "$name: $value allows nothing else"
        [[ $name != Service.SystemCallFilter ]] || filtered=yes
    done
}

# analyzed WORD...: systemd's own reader of units, over this one with the program of this build.
analyzed() {
    local copy=$BATS_TEST_TMPDIR/${UNIT##*/}
    command -v systemd-analyze >/dev/null || skip "systemd-analyze is not here"
    sed "s,^ExecStart=/usr/bin/,ExecStart=$BUILD_DIR/," "$UNIT" >"$copy"
    run systemd-analyze "$@" "$copy"
}

# The system calls of these groups, as this version of systemd knows them.
calls_of() {
    local group word
    for group in "$@"; do
        systemd-analyze --no-pager syscall-filter "$group" | tail -n +2 | grep -v '^ *#' | while read -r word; do
            case $word in
                @*) calls_of "$word" ;;
                ?*) echo "$word" ;;
            esac
        done
    done | sort -u
}


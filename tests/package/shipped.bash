# shellcheck shell=bash
# What is shipped, for the tests of packages and of installations. Loaded behind simulated_host.

# What the product promises to bring, from the sources themselves: mode and path, sorted by path.
promised_files() {
    {
        echo "-rwxr-xr-x /etc/init.d/dravik-monitor"
        echo "-rwxr-xr-x /usr/bin/dravik"
        echo "-rwxr-xr-x /usr/bin/dravik-monitor"
        (cd "$REPO/help" && printf -- '-rw-r--r-- /usr/bin/dravik-help/%s\n' *.help)
        (cd "$REPO/scripts" && printf -- '-rwxr-xr-x /usr/bin/dravik-script/%s\n' *.sh)
        (cd "$REPO/scripts/lib" && printf -- '-rw-r--r-- /usr/bin/dravik-script/lib/%s\n' *)
        echo "-rw-r--r-- /usr/lib/systemd/catalog/dravik.catalog"
        echo "-rw-r--r-- /usr/lib/systemd/system/dravik-metrics.service"
        echo "-rw-r--r-- /usr/lib/systemd/system/dravik-metrics.timer"
        echo "-rw-r--r-- /usr/lib/systemd/system/dravik-monitor.service"
        echo "-rw-r--r-- /usr/share/bash-completion/completions/dravik"
        echo "-rw-r--r-- /usr/share/doc/dravik/README.md"
        echo "-rw-r--r-- /usr/share/doc/dravik/operator-guide.md"
        (cd "$REPO/monitoring" && printf -- '-rw-r--r-- /usr/share/dravik/monitoring/%s\n' *)
        (cd "$REPO/schema" && printf -- '-rw-r--r-- /usr/share/dravik/schema/%s\n' *.schema.json)
        echo "-rw-r--r-- /usr/share/man/man5/dravik-files.5"
        echo "-rw-r--r-- /usr/share/man/man8/dravik-monitor.8"
        echo "-rw-r--r-- /usr/share/man/man8/dravik.8"
    } | LC_ALL=C sort -k 2
}

# How a shipped program is built: what hardening_of says of each.
promised_hardening() {
    cat <<'END'
placed anywhere in memory: yes
relocated data read-only: yes
everything bound at the start: yes
stack executable: no
memory both writable and executable: no
code relocated: no
stack protected: yes
copies checked: yes
libraries from a path of its own: no
END
}

# hardening_of PROGRAM: what its headers and its imports tell, without its symbols, which no shipped program has.
hardening_of() {
    local headers dynamic imports
    headers=$(LC_ALL=C readelf -hlW "$1")
    dynamic=$(LC_ALL=C readelf -dW "$1")
    imports=$(LC_ALL=C readelf -W --dyn-syms "$1" | awk '$7 == "UND" {sub(/@.*/, "", $8); print $8}')
    told 'placed anywhere in memory' "$(grep -E '^ *Type: +DYN' <<<"$headers" && grep 'Flags:.* PIE' <<<"$dynamic")"
    told 'relocated data read-only' "$(grep -E '^ *GNU_RELRO ' <<<"$headers")"
    told 'everything bound at the start' "$(grep 'Flags:.* NOW' <<<"$dynamic")"
    # A program without the header would get such a stack.
    told 'stack executable' "$(grep -E '^ *GNU_STACK .* RW +0x' <<<"$headers" >/dev/null || echo yes)"
    told 'memory both writable and executable' "$(grep -E '^ *LOAD .* RWE ' <<<"$headers")"
    told 'code relocated' "$(grep TEXTREL <<<"$dynamic")"
    told 'stack protected' "$(grep -x __stack_chk_fail <<<"$imports")"
    told 'copies checked' "$(grep -x __vsnprintf_chk <<<"$imports" && grep -x __snprintf_chk <<<"$imports")"
    told 'libraries from a path of its own' "$(grep -E '\((RPATH|RUNPATH)\)' <<<"$dynamic")"
}

told() { if [[ $2 ]]; then echo "$1: yes"; else echo "$1: no"; fi; }

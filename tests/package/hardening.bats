#!/usr/bin/env bats
# How the two programs are built: read back from themselves, as an installation puts them on a host.

load ../support/simulated_host
load shipped

setup_file() {
    export INSTALLED=$BATS_FILE_TMPDIR/installed
    DESTDIR=$INSTALLED cmake --install "$BUILD_DIR" --prefix /usr --strip >/dev/null
}

@test "a mistake in dravik or dravik-monitor ends the program instead of obeying whoever provoked it" {
    same "$(promised_hardening)" "$(hardening_of "$INSTALLED/usr/bin/dravik")"
    same "$(promised_hardening)" "$(hardening_of "$INSTALLED/usr/bin/dravik-monitor")"
}

@test "every source of both programs is compiled with a guarded stack that no frame can jump over" {
    local program compiled
    for program in dravik dravik-monitor; do
        compiled=$(LC_ALL=C readelf --debug-dump=info --dwarf-depth=1 "$BUILD_DIR/$program" 2>/dev/null | grep DW_AT_producer)
        [[ $compiled == *"GNU C++"* ]] || skip "the compiler does not record how it was called"
        same "" "$(grep -v -e ' -fstack-protector-strong .*-fstack-clash-protection' <<<"$compiled" || true)"
        # One for each file that was linked, the program's own among them.
        (($(wc -l <<<"$compiled") > 10))
    done
}

@test "the reader itself tells a program that is not hardened" {
    local source=$BATS_TEST_TMPDIR/plain.c
    echo 'int main(void) { return 0; }' >"$source"
    "${CC:-cc}" -O0 -fno-stack-protector -no-pie -Wl,-z,norelro -Wl,-z,lazy -Wl,-z,execstack -Wl,-rpath,/nowhere \
        -o "$BATS_TEST_TMPDIR/plain" "$source"
    run hardening_of "$BATS_TEST_TMPDIR/plain"
    expect_output <<'END'
placed anywhere in memory: no
relocated data read-only: no
everything bound at the start: no
stack executable: yes
memory both writable and executable: no
code relocated: no
stack protected: no
copies checked: no
libraries from a path of its own: yes
END
}

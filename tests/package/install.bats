#!/usr/bin/env bats
# An installation from source: what lands where, with which modes, whatever the umask of whoever installs.

load ../support/simulated_host
load shipped

# install_under UMASK DESTDIR [PREFIX]
install_under() {
    (umask "$1" && DESTDIR=$2 cmake --install "$BUILD_DIR" --prefix "${3-/usr}") >"$BATS_TEST_TMPDIR/log" 2>&1 || {
        cat "$BATS_TEST_TMPDIR/log"
        return 1
    }
}

# Files of a folder as the packages' lists have them.
files_below() { (cd "$1" && find . ! -type d -printf '%M /%P\n') | LC_ALL=C sort -k 2; }
folders_not_0755() { find "$1" -type d ! -perm 0755 -printf '%m %p\n'; }

@test "the files are those of the packages with their modes, and every folder is 0755, whatever the umask" {
    local mask
    for mask in 000 002 022 027 077; do
        install_under "$mask" "$BATS_TEST_TMPDIR/$mask/below"
        same "$(promised_files)" "$(files_below "$BATS_TEST_TMPDIR/$mask/below")"
        same "" "$(folders_not_0755 "$BATS_TEST_TMPDIR/$mask")"
    done
}

@test "another prefix, a blank in a name and a folder that is named from here are all the same" {
    cd "$BATS_TEST_TMPDIR"
    install_under 077 "$BATS_TEST_TMPDIR/a blank" "/opt/a product"
    same "" "$(folders_not_0755 'a blank')"
    [[ -x 'a blank/opt/a product/bin/dravik' && -x 'a blank/etc/init.d/dravik-monitor' ]]
    install_under 000 here
    same "" "$(folders_not_0755 here)"
    same "$(promised_files)" "$(files_below here)"
}

@test "no folder is open to others for a moment, while it is made" {
    strace -f -qq -e trace=mkdir,mkdirat,chmod,fchmodat -o "$BATS_TEST_TMPDIR/trace" \
        bash -c 'umask 000 && DESTDIR=$1 cmake --install "$2" --prefix /usr' _ "$BATS_TEST_TMPDIR/root" "$BUILD_DIR" >/dev/null
    grep -q "mkdir.*$BATS_TEST_TMPDIR/root/usr/bin/dravik-script\"" "$BATS_TEST_TMPDIR/trace"
    same "" "$(grep -E "mkdir.*, 0[0-7]*[2367][0-7]?\\)" "$BATS_TEST_TMPDIR/trace" | grep -F "$BATS_TEST_TMPDIR/root" || true)"
}

@test "a folder of the host that is there keeps its mode; one of the product's that was left open is closed" {
    local root=$BATS_TEST_TMPDIR/root
    mkdir -p "$root/usr/bin/dravik-script" "$root/usr/bin/dravik-help" "$root/etc"
    chmod 711 "$root" "$root/usr/bin" "$root/etc"
    chmod 777 "$root/usr/bin/dravik-script" "$root/usr/bin/dravik-help"
    install_under 022 "$root"
    same "711 $root
711 $root/etc
711 $root/usr/bin" "$(folders_not_0755 "$root" | sort)"
}

@test "what was installed anew has the mode of the first time" {
    local root=$BATS_TEST_TMPDIR/root
    install_under 022 "$root"
    find "$root" -type f -exec chmod 666 {} +
    # As after an upgrade: every file is another one than the installed one.
    find "$root" -type f -exec touch -d '2001-01-01' {} +
    install_under 000 "$root"
    same "$(promised_files)" "$(files_below "$root")"
}

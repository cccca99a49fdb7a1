#!/usr/bin/env bats
# The packages: what is in them, what installing and removing them does to a fresh root.

load ../support/simulated_host
load shipped

# make_packages FOLDER UMASK: both packages, as whoever has that umask makes them.
make_packages() {
    mkdir -p "$1"
    (cd "$1" && umask "$2" && cpack --config "$BUILD_DIR/CPackConfig.cmake" >cpack.log 2>&1) || {
        cat "$1/cpack.log"
        return 1
    }
}

# Made once for the whole file, under the widest umask there is.
setup_file() {
    export PACKAGES=$BATS_FILE_TMPDIR/packages
    make_packages "$PACKAGES" 000
    DEB=$(echo "$PACKAGES"/dravik_*.deb)
    RPM=$(echo "$PACKAGES"/dravik-*.rpm)
    export DEB RPM
}

# A root without the product: a simulated host, with the libraries that the product's dependencies would bring.
fresh_root() {
    make_empty_host "$@"
    local library
    ldd "$BUILD_DIR/dravik" "$BUILD_DIR/dravik-monitor" | awk '$3 ~ /^\// {print $3}' | sort -u |
        while read -r library; do
            [[ -e $HOST$library ]] || install -D "$library" "$HOST$library"
        done
    sim add "$(command -v mkdir)" "$(command -v rmdir)" "$(command -v rm)" >/dev/null
}

# Every file below the root but the simulated host's own notes, with its mode.
files_of_root() {
    (cd "$HOST" && find . -path ./sim -prune -o -path ./var/lib/dpkg -prune -o -path ./var/lib/rpm -prune \
        -o -path ./var/log -prune -o -path ./root/.rpmdb -prune -o -path ./dev -prune -o ! -type d -printf '%M /%P\n') | LC_ALL=C sort -k 2
}

install_deb() {
    mkdir -p "$HOST/var/lib/dpkg/"{info,updates,triggers} "$HOST/var/log"
    touch "$HOST/var/lib/dpkg/"{status,available}
    dpkg --root="$HOST" --force-depends --install "$DEB"
}

@test "the .deb holds exactly the promised files with their modes, all of root" {
    same "$(promised_files)" "$(dpkg-deb -c "$DEB" | awk '$1 !~ /^d/ {sub(/^\./, "", $6); print $1, $6}' | LC_ALL=C sort -k 2)"
    same root/root "$(dpkg-deb -c "$DEB" | awk '{print $2}' | sort -u)"
}

@test "the .rpm holds exactly the promised files with their modes, all of root" {
    # rpm compresses manual pages when it packs them, where the distribution does so.
    same "$(promised_files)" "$(rpm -qplv "$RPM" 2>/dev/null | awk '$1 !~ /^d/ {sub(/\.gz$/, "", $NF); print $1, $NF}' | LC_ALL=C sort -k 2)"
    same "root root" "$(rpm -qplv "$RPM" 2>/dev/null | awk '{print $3, $4}' | sort -u)"
}

# Folders of both packages that are not 0755, as "MODE PATH".
odd_folders() {
    dpkg-deb -c "$1"/dravik_*.deb | awk '/^d/ && $1 != "drwxr-xr-x" {print $1, $6}'
    rpm -qplv "$1"/dravik-*.rpm 2>/dev/null | awk '/^d/ && $1 != "drwxr-xr-x" {print $1, $NF}'
}

@test "every folder in the packages is 0755, also when they are made under another umask" {
    same "" "$(odd_folders "$PACKAGES")"
    make_packages "$BATS_TEST_TMPDIR/narrow" 077
    same "" "$(odd_folders "$BATS_TEST_TMPDIR/narrow")"
    same "$(promised_files)" "$(dpkg-deb -c "$BATS_TEST_TMPDIR"/narrow/*.deb |
        awk '$1 !~ /^d/ {sub(/^\./, "", $6); print $1, $6}' | LC_ALL=C sort -k 2)"
}

@test "the scripts of the .deb can be run by all and changed by root alone" {
    same "-rw-r--r-- root/root ./control
-rw-r--r-- root/root ./md5sums
-rwxr-xr-x root/root ./postinst
-rwxr-xr-x root/root ./postrm
-rwxr-xr-x root/root ./prerm" "$(dpkg-deb --ctrl-tarfile "$DEB" | tar -tv | awk '$6 != "./" {print $1, $2, $6}' | LC_ALL=C sort -k 3)"
}

@test "the programs in both packages are hardened" {
    local package program
    mkdir "$BATS_TEST_TMPDIR"/{deb,rpm}
    dpkg-deb -x "$DEB" "$BATS_TEST_TMPDIR/deb"
    rpm --root "$BATS_TEST_TMPDIR/rpm" --install --nodeps --ignoreos --noscripts "$RPM" 2>/dev/null
    for package in deb rpm; do
        for program in dravik dravik-monitor; do
            same "$(promised_hardening)" "$(hardening_of "$BATS_TEST_TMPDIR/$package/usr/bin/$program")"
        done
    done
}

@test "no package owns a folder of the distribution, nor /dumps" {
    same "/usr/bin/dravik-help
/usr/bin/dravik-script
/usr/bin/dravik-script/lib
/usr/share/doc/dravik
/usr/share/dravik
/usr/share/dravik/monitoring
/usr/share/dravik/schema" "$(rpm -qplv "$RPM" 2>/dev/null | awk '$1 ~ /^d/ {print $NF}' | LC_ALL=C sort)"
    run grep -c dumps <(dpkg-deb -c "$DEB")
    same 0 "$output"
}

@test "the packages name what they need" {
    run dpkg-deb -f "$DEB" Depends
    local need
    for need in bash coreutils grep sed "mawk | gawk" libcjson1 libc6 libstdc++6; do
        [[ ", $output" == *", $need"* ]] || { echo "not named: $need in $output"; return 1; }
    done
    run rpm -qp --requires "$RPM"
    for need in bash coreutils grep sed gawk 'libcjson.so.1()(64bit)'; do
        [[ $'\n'$output$'\n' == *$'\n'"$need"$'\n'* ]] || { echo "not named: $need in $output"; return 1; }
    done
}

@test "the .deb installed into a fresh root: the tool answers, /dumps is there with mode 0700" {
    fresh_root
    install_deb
    same 700 "$(stat -c %a "$HOST/dumps")"
    run in_host dravik query mpathb
    same 0 "$status"
    [[ $output == *"path_alias: mpathb"*"vdisk_name: vol_logs"*"Command executed successfully."* ]]
    run in_host dravik help query
    same 0 "$status"
    [[ $output == *Korvel* ]]
    start_monitor
    [[ $(change_log | head -n 1) == "The lun is created, the properties are [ path_alias: mpatha,"* ]]
}

@test "installing starts and enables the monitor where systemd runs, removing stops it; logs and configuration stay" {
    fresh_root
    mkdir -p "$HOST/run/systemd/system"
    local before
    before=$(files_of_root)
    cp "$HOST/etc/velomux.conf" "$BATS_TEST_TMPDIR/conf"
    install_deb
    expect_text calls <<'END'
systemctl daemon-reload
systemctl enable dravik-monitor.service
systemctl start dravik-monitor.service
END
    in_host dravik query >/dev/null
    : >"$HOST/sim/calls.log"
    # What the timer has written meanwhile would be the host's state for ever.
    mkdir -p "$HOST/var/lib/prometheus/node-exporter"
    echo old >"$HOST/var/lib/prometheus/node-exporter/dravik.prom"
    dpkg --root="$HOST" --remove dravik
    rmdir "$HOST/var/lib/prometheus/node-exporter" "$HOST/var/lib/prometheus"
    expect_text calls <<'END'
systemctl disable --now dravik-monitor.service dravik-metrics.timer
systemctl daemon-reload
END
    cmp "$BATS_TEST_TMPDIR/conf" "$HOST/etc/velomux.conf"
    [[ -s $HOST/dumps/dravik_cli.log ]]
    rm -r "$HOST/dumps"
    same "$before" "$(files_of_root)"
}

@test "installing, upgrading and removing have the journal read the message catalog, where there is a journal" {
    fresh_root
    mkdir -p "$HOST/run/systemd/system"
    printf '#!/bin/sh\necho "journalctl $*" >>/sim/calls.log\n' >"$HOST/usr/bin/journalctl"
    chmod 755 "$HOST/usr/bin/journalctl"
    install_deb
    install_deb
    dpkg --root="$HOST" --remove dravik
    same 4 "$(calls | grep -cx 'journalctl --update-catalog')"
    # The package's file is gone by then.
    same "journalctl --update-catalog" "$(calls | tail -n 1)"
    [[ ! -e $HOST/usr/lib/systemd/catalog/dravik.catalog ]]
}

@test "an upgrade restarts the monitor where it runs and enables nothing" {
    fresh_root
    mkdir -p "$HOST/run/systemd/system"
    install_deb
    : >"$HOST/sim/calls.log"
    install_deb
    expect_text calls <<'END'
systemctl daemon-reload
systemctl daemon-reload
systemctl try-restart dravik-monitor.service
END
}

@test "purging takes what the product has written, and nothing else" {
    fresh_root
    install_deb
    start_monitor
    stop_monitor
    in_host dravik query >/dev/null
    in_host bash /usr/bin/dravik-script/path_state_record.sh add sdb
    [[ -s $HOST/dumps/dravik_offline_paths && -s $HOST/dumps/dravik.db ]]
    echo damaged >"$HOST/dumps/dravik.db.damaged-20261121T031241Z"
    echo kept >"$HOST/dumps/of-somebody-else"
    dpkg --root="$HOST" --purge dravik
    same of-somebody-else "$(ls "$HOST/dumps")"
}

@test "the .rpm installed with rpm into a fresh root: the tool answers, and removing leaves the logs" {
    fresh_root --generation rhel8
    local before
    before=$(files_of_root)
    rpm --root "$HOST" --install --nodeps --ignoreos "$RPM" 2>/dev/null
    same 700 "$(stat -c %a "$HOST/dumps")"
    run in_host dravik query mpathb
    same 0 "$status"
    [[ $output == *"path_alias: mpathb"*"vdisk_name: vol_logs"*"Command executed successfully."* ]]
    rpm --root "$HOST" --erase --nodeps dravik 2>/dev/null
    [[ -s $HOST/dumps/dravik_cli.log ]]
    rm -r "$HOST/dumps"
    same "$before" "$(files_of_root)"
}

@test "the packages' scripts pass shellcheck" {
    mkdir "$BATS_TEST_TMPDIR/control"
    dpkg-deb -e "$DEB" "$BATS_TEST_TMPDIR/control"
    shellcheck -s sh "$BATS_TEST_TMPDIR/control/"{postinst,prerm,postrm}
    local kind
    for kind in POSTIN PREUN; do
        rpm -qp --qf "%{$kind}" "$RPM" 2>/dev/null | shellcheck -s sh -
    done
}

#!/usr/bin/env bats
# What every edit of /etc/velomux.conf keeps, refuses and survives, seen through alias.sh and the library.

load ../support/small_root

setup_file() { make_base; }

setup() {
    make_root
    stand_in velomux <<<'#!/bin/bash'
    WWID=3600c0ff000da91b9
}

# refused TEXT: the edit answers TEXT, fails, and the file is the one saved before.
refused() {
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    run script alias set "$WWID" data1
    answers 1 "alias.sh: $CONF $1"
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
    [[ ! -e $ROOT/etc/.velomux.conf.dravik-new ]]
}

# becomes: an edit that sets data1 makes the file the text from standard input.
becomes() {
    cat >"$BATS_TEST_TMPDIR/expected"
    run script alias set "$WWID" data1
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "a section that is never closed is refused and named by its line" {
    conf <<'E'
defaults {
    polling_interval 5
}
devices {
    device {
        vendor "X"
    }
E
    refused "cannot be edited: line 4: the section opened here is never closed; it is left as it is"
}

@test "a closing brace too many is refused" {
    conf <<'E'
defaults {
}
}
E
    refused "cannot be edited: line 3: a closing brace without an opening one; it is left as it is"
}

@test "a double quote without its partner is refused" {
    conf <<'E'
devices {
    device {
        vendor "KORVEL
    }
}
E
    refused "cannot be edited: line 3: a double quote without its partner; it is left as it is"
}

@test "a file with NUL bytes is refused" {
    printf 'defaults {\n}\n\0\n' | conf
    refused "holds NUL bytes or is being written; it is left as it is"
}

@test "a line of more words than any real line is refused" {
    { printf 'blacklist { '; printf 'w%.0s ' {1..3000}; printf '}\n'; } | conf
    refused "cannot be edited: line 1: more than 2000 words; it is left as it is"
}

@test "a folder in the file's place is refused" {
    mkdir "$ROOT$CONF"
    run script alias set "$WWID" data1
    answers 1 "alias.sh: $CONF is no regular file"
}

@test "braces and quotes in remarks and braces in strings do not count" {
    conf <<'E'
# } a remark " with all of it {
! } another kind of remark {
defaults { # }
    user_friendly_names no   ! "{
    prio_args "} # no remark {"
}
E
    becomes <<E
# } a remark " with all of it {
! } another kind of remark {
defaults { # }
    user_friendly_names no   ! "{
    prio_args "} # no remark {"
}
multipaths {
    multipath {
        wwid                   $WWID
        alias                  data1
    }
}
E
}

@test "nested sections, a brace below its name, and one-line sections are understood" {
    conf <<'E'
overrides {
    protocol { type "scsi:fcp" { deep 1 } }
}
multipaths
{
    multipath { wwid 36001 alias other }
}
blacklist { devnode "^sd[a-z]{1,2}$" }
E
    becomes <<E
overrides {
    protocol { type "scsi:fcp" { deep 1 } }
}
multipaths
{
    multipath { wwid 36001 alias other }
    multipath {
        wwid                   $WWID
        alias                  data1
    }
}
blacklist { devnode "^sd[a-z]{1,2}$" }
E
}

@test "a section of the same name inside another section is not the one" {
    conf <<'E'
foreign {
    multipaths {
    }
}
E
    becomes <<E
foreign {
    multipaths {
    }
}
multipaths {
    multipath {
        wwid                   $WWID
        alias                  data1
    }
}
E
}

@test "carriage returns stay, and new lines get them where the file has them" {
    printf '%s\r\n' 'defaults {' '}' 'multipaths {' '}' | conf
    becomes < <(printf '%s\r\n' 'defaults {' '}' 'multipaths {' '    multipath {' \
        "        wwid                   $WWID" '        alias                  data1' '    }' '}')
    run script alias query
    answers 0 "$WWID data1"
}

@test "tabs, blanks at line ends and bytes that are no characters stay" {
    printf 'defaults {\t \n\tpolling_interval\t5\t\n}\t\n# caf\xe9 \xff\n\n\n' | conf
    becomes < <(
        printf 'defaults {\t \n\tpolling_interval\t5\t\n}\t\n# caf\xe9 \xff\n\n\n'
        printf '%s\n' 'multipaths {' '    multipath {' "        wwid                   $WWID" \
            '        alias                  data1' '    }' '}'
    )
}

@test "a last line without line feed is ended before anything is added behind it" {
    printf 'defaults {\n}\n# the end' | conf
    becomes < <(printf '%s\n' 'defaults {' '}' '# the end' 'multipaths {' \
        '    multipath {' "        wwid                   $WWID" '        alias                  data1' '    }' '}')
}

@test "a last line without line feed stays so when the edit is elsewhere" {
    printf 'multipaths {\n    multipath {\n        wwid %s\n        alias old\n    }\n}' "$WWID" | conf
    becomes < <(printf 'multipaths {\n    multipath {\n        wwid %s\n        alias data1\n    }\n}' "$WWID")
}

@test "a missing file is created, readable for all and writable for root" {
    run script alias set "$WWID" data1
    answers 0 ""
    [[ $(stat -c '%a %u %g' "$ROOT$CONF") == "644 0 0" ]]
    run script alias query
    answers 0 "$WWID data1"
}

@test "mode and owner are kept" {
    conf </dev/null
    chown 12:34 "$ROOT$CONF"
    chmod 640 "$ROOT$CONF"
    run script alias set "$WWID" data1
    answers 0 ""
    [[ $(stat -c '%a %u %g' "$ROOT$CONF") == "640 12 34" ]]
}

@test "group and others lose the permission to write, and no other one" {
    local before after
    while read -r before after; do
        conf <<<'# mine'
        chown 12:34 "$ROOT$CONF"
        chmod "$before" "$ROOT$CONF"
        run script alias set "$WWID" data1
        answers 0 ""
        [[ "$before $(stat -c '%a %u %g' "$ROOT$CONF")" == "$before $after 12 34" ]]
    done <<'E'
777 755
666 644
622 600
664 644
660 640
626 604
600 600
400 400
E
}

@test "an edit that fails leaves the permissions too" {
    conf <<<'}'
    chmod 777 "$ROOT$CONF"
    run script alias set "$WWID" data1
    [[ $status == 1 && $(stat -c %a "$ROOT$CONF") == 777 ]]
}

@test "group and others lose the permission to write where there is nothing else to change, and nothing is written" {
    printf 'Red Hat Enterprise Linux release 8.4 (Ootpa)\n' >"$ROOT/etc/redhat-release"
    script g2mpiocfg
    local before command
    for command in g2mpiocfg 'policy set group_by_prio round-robin'; do
        chmod 777 "$ROOT$CONF"
        before=$(stat -c '%i %y' "$ROOT$CONF")
        # shellcheck disable=SC2086 # a name and its words
        run script $command
        [[ "$status $before 755" == "0 $(stat -c '%i %y %a' "$ROOT$CONF")" ]]
        before=$(stat -c '%i %z' "$ROOT$CONF")
        # shellcheck disable=SC2086
        run script $command
        [[ "$status $before 755" == "0 $(stat -c '%i %z %a' "$ROOT$CONF")" ]]
    done
    chmod 777 "$ROOT$CONF"
    stand_in chmod <<<$'#!/bin/bash\n[[ "$*" != *go-w* ]] && exec /usr/bin/chmod "$@"'
    run script policy set group_by_prio round-robin
    answers 0 "policy.sh: $CONF stays open for others to write"
}

@test "extended attributes, where the security label is kept, are kept" {
    type -P setfattr >/dev/null || skip "setfattr is not installed"
    conf </dev/null
    setfattr -n user.label -v secret "$ROOT$CONF" 2>/dev/null || skip "this file system has no extended attributes"
    run script alias set "$WWID" data1
    answers 0 ""
    [[ $(getfattr --only-values -n user.label "$ROOT$CONF" 2>/dev/null) == secret ]]
}

@test "a symbolic link stays one and its target is changed" {
    mkdir "$ROOT/etc/velomux"
    : >"$ROOT/etc/velomux/real.conf"
    ln -s velomux/real.conf "$ROOT$CONF"
    run script alias set "$WWID" data1
    answers 0 ""
    [[ $(readlink "$ROOT$CONF") == velomux/real.conf ]]
    [[ $(<"$ROOT/etc/velomux/real.conf") == multipaths* ]]
}

@test "an edit that changes nothing does not write" {
    script g2mpiocfg >/dev/null || printf 'CentOS Linux release 7.9.2009 (Core)\n' >"$ROOT/etc/redhat-release"
    script g2mpiocfg
    script policy set multibus queue-length
    touch -d '2020-01-01' "$ROOT$CONF"
    before=$(stat -c '%i %Y' "$ROOT$CONF")
    run script policy set multibus queue-length
    answers 0 ""
    [[ $(stat -c '%i %Y' "$ROOT$CONF") == "$before" ]]
}

@test "what a killed edit left beside the file is overwritten by the next one" {
    conf </dev/null
    printf 'rubbish' >"$ROOT/etc/.velomux.conf.dravik-new"
    run script alias set "$WWID" data1
    answers 0 ""
    [[ $(ls -A "$ROOT/etc") == velomux.conf ]]
}

@test "twelve edits at once lose nothing" {
    conf </dev/null
    for i in {1..12}; do script alias set "$WWID$i" "data$i" & done
    wait
    run script alias query
    for i in {1..12}; do echo "$WWID$i data$i"; done | sort >"$BATS_TEST_TMPDIR/expected"
    sort <<<"$output" >"$BATS_TEST_TMPDIR/got"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/got"
}

@test "an edit by somebody else between reading and writing is not overwritten" {
    conf <<<'# one'
    run inside bash -c 'set -euo pipefail; cd /usr/bin/dravik-script/lib; source ./base.sh; source ./conf.sh
        SCRIPT_NAME=edit
        conf_lock; conf_load /etc/velomux.conf; CONF_TEXT+="# three"$'"'\n'"'
        echo "# two" >> /etc/velomux.conf
        conf_store'
    answers 1 "edit: $CONF was changed by somebody else meanwhile; it is left as it is, try again"
    [[ $(<"$ROOT$CONF") == $'# one\n# two' ]]
}

@test "a full disk or a failing one leaves the file as it was" {
    type -P strace >/dev/null || skip "strace is not installed"
    printf '# old\n' | conf
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    local fault
    for fault in write:error=ENOSPC fsync:error=EIO; do
        run env -i PATH=/usr/sbin:/usr/bin strace -f -qq -o /dev/null \
            -P "$ROOT/etc/.velomux.conf.dravik-new" -e "inject=$fault" \
            chroot "$ROOT" bash /usr/bin/dravik-script/alias.sh set "$WWID" data1
        [[ $status == 1 ]]
        [[ $output == *"alias.sh: cannot write $CONF (is the disk full or read-only?); it is left as it was" ]]
        same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
        [[ ! -e $ROOT/etc/.velomux.conf.dravik-new ]]
    done
}

@test "a write that the disk cuts short is noticed although nothing reports it" {
    type -P strace >/dev/null || skip "strace is not installed"
    printf '# old\n' | conf
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    # The first write of the new text claims success and writes nothing.
    run env -i PATH=/usr/sbin:/usr/bin strace -qq -o /dev/null -P "$ROOT/etc/.velomux.conf.dravik-new" \
        -e inject=write:retval=120:when=1 \
        chroot "$ROOT" bash /usr/bin/dravik-script/alias.sh set "$WWID" data1
    answers 1 "alias.sh: cannot write $CONF (is the disk full or read-only?); it is left as it was"
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
}

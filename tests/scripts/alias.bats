#!/usr/bin/env bats
# alias.sh: statuses, the multipaths section, exact comparison, and telling the stack.

load ../support/small_root

setup_file() { make_base; }

setup() {
    make_root
    stand_in velomux <<'E'
#!/bin/bash
echo "velomux $*" >>/tmp/calls
E
    A=3600c0ff000da91b9
    B=3600c0ff000da77aa
}

# file_is: the configuration file is the text from standard input.
file_is() {
    cat >"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "set creates the section and the entry where they are missing, and query shows the alias" {
    conf <<<'# mine'
    run script alias set "$A" data1
    answers 0 ""
    file_is <<E
# mine
multipaths {
    multipath {
        wwid                   $A
        alias                  data1
    }
}
E
    script alias query >"$BATS_TEST_TMPDIR/out"
    printf '%s data1\n' "$A" >"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/out"
}

@test "query prints nothing where there is no file, no section or no alias" {
    run script alias query
    answers 0 ""
    conf <<<'multipaths { multipath { wwid 36001 } multipath { alias nobody } multipath { wwid 36002
 alias "" } }'
    run script alias query
    answers 0 ""
}

@test "set of a pair that exists answers with the digit 4" {
    script alias set "$A" data1
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/expected"
    run script alias set "$A" data1
    answers 4 "4 the pair of wwid $A and alias data1 exists already"
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "set of an alias of another WWID answers with the digit 5" {
    script alias set "$A" data1
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/expected"
    run script alias set "$B" data1
    answers 5 "5 the alias data1 belongs to another wwid"
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "del of a WWID without alias answers with the digit 7" {
    run script alias del "$A"
    answers 7 "7 the wwid $A has no alias"
    conf <<<"multipaths { multipath { wwid $A } }"
    run script alias del "$A"
    answers 7 "7 the wwid $A has no alias"
    [[ $(<"$ROOT$CONF") == "multipaths { multipath { wwid $A } }" ]]
}

@test "set changes the alias in place and keeps the entry's other settings and remarks" {
    conf <<E
multipaths {
    # the first
    multipath {
        wwid    "$A"  # mine
        alias   "old.name"  # since 2019
        no_path_retry 5
    }
    multipath { wwid $B alias other }
}
E
    run script alias set "$A" data1
    answers 0 ""
    file_is <<E
multipaths {
    # the first
    multipath {
        wwid    "$A"  # mine
        alias   "data1"  # since 2019
        no_path_retry 5
    }
    multipath { wwid $B alias other }
}
E
}

@test "set gives an entry without alias one, in the columns and with the line end of its WWID" {
    printf 'multipaths {\n  multipath {\n\twwid\t%s\n\tprio const\n  }\n  multipath {\n    wwid   %s # x\r\n  }\n}\n' \
        "$A" "$B" | conf
    script alias set "$A" data1
    script alias set "$B" data2
    printf 'multipaths {\n  multipath {\n\twwid\t%s\n\talias\tdata1\n\tprio const\n  }\n  multipath {\n' "$A" \
        >"$BATS_TEST_TMPDIR/expected"
    printf '    wwid   %s # x\r\n    alias  data2\r\n  }\n}\n' "$B" >>"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "set and del work inside one-line entries" {
    conf <<<"multipaths { multipath { wwid $A } multipath { wwid $B alias two prio const } }"
    script alias set "$A" one
    file_is <<<"multipaths { multipath { wwid $A alias one } multipath { wwid $B alias two prio const } }"
    script alias set "$B" three
    file_is <<<"multipaths { multipath { wwid $A alias one } multipath { wwid $B alias three prio const } }"
    script alias del "$B"
    file_is <<<"multipaths { multipath { wwid $A alias one } multipath { wwid $B  prio const } }"
    script alias del "$A"
    file_is <<<"multipaths {  multipath { wwid $B  prio const } }"
    script alias set "$A" one
    file_is <<E
multipaths {  multipath { wwid $B  prio const } 
    multipath {
        wwid                   $A
        alias                  one
    }
}
E
}

@test "del removes an entry that held nothing else and restores the file that set found" {
    conf <<E
multipaths {
    multipath {
        wwid  $B
        alias other
    }
}
# tail
E
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/expected"
    script alias set "$A" data1
    run script alias del "$A"
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "del removes only the alias from an entry with other settings or remarks" {
    conf <<E
multipaths {
    multipath {
        alias data1
        wwid $A
        prio const
    }
    multipath { # keep me
        wwid $B
        alias data2 # and me
    }
    multipath {
        wwid 36003
        alias data3
    } # me too
}
E
    script alias del "$A"
    script alias del "$B"
    script alias del 36003
    file_is <<E
multipaths {
    multipath {
        wwid $A
        prio const
    }
    multipath { # keep me
        wwid $B
         # and me
    }
    multipath {
        wwid 36003
    } # me too
}
E
}

@test "a WWID that stands in several entries has one alias afterwards, and none after del" {
    conf <<E
multipaths {
    multipath {
        wwid $A
        alias one
        alias two
    }
}
multipaths {
    multipath {
        wwid $A
        alias three
        prio const
    }
}
E
    script alias set "$A" four
    run script alias query
    answers 0 "$A four
$A four
$A four"
    script alias del "$A"
    file_is <<E
multipaths {
}
multipaths {
    multipath {
        wwid $A
        prio const
    }
}
E
}

@test "WWIDs and aliases that look like patterns are compared as strings" {
    conf <<'E'
multipaths {
    multipath { wwid "*" alias ".*" }
    multipath { wwid "3600[" alias "data[12]" }
    multipath { wwid 36x01 alias dataX1 }
    multipath { wwid 3600 alias 36.01 }
}
E
    run script alias set 36.01 data.1
    answers 0 ""
    run script alias set 36:01 data1
    answers 0 ""
    run script alias del 36.0
    answers 7 "7 the wwid 36.0 has no alias"
    run script alias set 1e3 one
    answers 0 ""
    run script alias set 1000 ten
    answers 0 ""
    run script alias query
    answers 0 '* .*
3600[ data[12]
36x01 dataX1
3600 36.01
36.01 data.1
36:01 data1
1e3 one
1000 ten'
    run script alias del 1e3
    answers 0 ""
    run script alias del 36.01
    answers 0 ""
    run script alias query
    answers 0 '* .*
3600[ data[12]
36x01 dataX1
3600 36.01
36:01 data1
1000 ten'
}

@test "a WWID with blanks names no device and has no row; an alias with blanks is shown whole" {
    printf 'multipaths {\n multipath { wwid "3600 1" alias one }\n multipath { wwid " 36002" alias two }\n' | conf
    printf ' multipath { wwid "36003 " alias three }\n multipath { wwid "36\t04" alias four }\n' >>"$ROOT$CONF"
    printf ' multipath { wwid "36005" alias "my data" }\n}\n' >>"$ROOT$CONF"
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    run script alias query
    answers 0 "36005 my data"
    run script alias set 3600 one
    answers 5 "5 the alias one belongs to another wwid"
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
}

@test "remarks, foreign sections and entries in other sections are no aliases" {
    conf <<E
# multipaths { multipath { wwid $A alias data1 } }
devices { multipath { wwid $A alias data1 } }
multipaths {
    # multipath { wwid $A alias data1 }
    multipath { wwid $B inner { wwid $A alias data1 } alias data2 }
}
E
    run script alias query
    answers 0 "$B data2"
    run script alias del "$A"
    answers 7 "7 the wwid $A has no alias"
}

@test "the WWID itself is an alias like any other" {
    run script alias set "$A" "$A"
    answers 0 ""
    run script alias query
    answers 0 "$A $A"
    run script alias set "$B" "$A"
    answers 2 "alias.sh: ALIAS must be the WWID, or a letter and up to 59 letters, digits and _ . -
usage: alias.sh set WWID ALIAS | alias.sh del WWID | alias.sh query"
}

@test "arguments that are no WWID or no alias are refused, and never begin with a digit" {
    for wwid in "" '3600*' '3600 1' '3600;reboot' '$(reboot)' '-3600' '36/00' $'36\n00'; do
        run script alias set "$wwid" data1
        [[ $status == 2 && $output == "alias.sh: WWID may hold"* ]]
        run script alias del "$wwid"
        [[ $status == 2 && $output == "alias.sh: WWID may hold"* ]]
    done
    for alias in "" 1data _data 'da*ta' 'da ta' '`x`' "$(printf 'a%.0s' {1..61})" $'a\nb'; do
        run script alias set "$A" "$alias"
        [[ $status == 2 && $output == "alias.sh: ALIAS must be"* ]]
    done
    for arguments in "" "set" "set $A" "set $A a b" "del" "del $A x" "query x" "frob $A"; do
        # shellcheck disable=SC2086  # the words are the arguments
        run script alias $arguments
        answers 2 "alias.sh: wrong arguments
usage: alias.sh set WWID ALIAS | alias.sh del WWID | alias.sh query"
    done
    [[ ! -e $ROOT$CONF ]]
}

@test "the stack is told of each change, and of nothing else" {
    script alias set "$A" data1
    script alias query
    run script alias set "$A" data1
    run script alias set "$B" data1
    script alias del "$A"
    run script alias del "$A"
    [[ $(<"$ROOT/tmp/calls") == $'velomux -r\nvelomux -r' ]]
}

@test "a stack that cannot be told is no failure, but is said" {
    stand_in velomux <<<$'#!/bin/bash\necho "7 rubbish"; exit 1'
    run script alias set "$A" data1
    answers 0 "the change is stored, but 'velomux -r' failed: it takes effect at the next reload"
    rm "$ROOT/usr/sbin/velomux"
    run script alias del "$A"
    answers 0 "the change is stored, but 'velomux -r' failed: it takes effect at the next reload"
    run script alias query
    answers 0 ""
}

@test "the tool that reloads the maps runs without the lock" {
    stand_in velomux <<<$'#!/bin/bash\n[[ -e /tmp/once ]] || { touch /tmp/once; bash /usr/bin/dravik-script/alias.sh set 36009 inner; }'
    run script alias set "$A" data1
    answers 0 ""
    run script alias query
    answers 0 "$A data1
36009 inner"
}

@test "query and del refuse a file that cannot be understood" {
    conf <<<"multipaths { multipath { wwid $A alias data1 }"
    run script alias query
    answers 1 "alias.sh: $CONF: line 1: the section opened here is never closed"
    run script alias del "$A"
    answers 1 "alias.sh: $CONF cannot be edited: line 1: the section opened here is never closed; it is left as it is"
}

@test "four thousand aliases are set and listed in proportion" {
    { echo 'multipaths {'
        for i in {1..4096}; do printf '    multipath {\n        wwid 36%05d\n        alias vol%d\n    }\n' "$i" "$i"; done
        echo '}'; } | conf
    run inside timeout 10 bash /usr/bin/dravik-script/alias.sh set 3604096 last
    answers 0 ""
    script alias query >"$BATS_TEST_TMPDIR/out"
    [[ $(wc -l <"$BATS_TEST_TMPDIR/out") == 4096 ]]
    [[ $(tail -n 1 "$BATS_TEST_TMPDIR/out") == "3604096 last" ]]
}

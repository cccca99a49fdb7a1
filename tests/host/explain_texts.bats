#!/usr/bin/env bats
# The advice against everything that it is about: records, kinds of events, alerts, and every text that the source logs;
# and against what is printed from it: the operator guide and the journal's message catalog.

load ../support/simulated_host

# keys KIND: the keys of that kind that the program knows, sorted.
keys() { "$BUILD_DIR/dravik" explain --list | awk -F'\t' -v kind="$1" '$1 == kind { print $2 }' | LC_ALL=C sort; }

@test "every result record has an entry, and there is no other" {
    same "$(sed -nE 's/^    X\([0-9]+, (EC_[A-Za-z_]+),.*/\1/p' "$REPO/src/common/result.h" | LC_ALL=C sort)" "$(keys record)"
}

@test "every kind of event has an entry, and there is no other" {
    same "$(sed -nE 's/^constexpr char [A-Z_]+\[\] = "([a-z_]+)";/\1/p' "$REPO/src/ledger/event_kinds.h" | LC_ALL=C sort)" "$(keys event)"
    same 22 "$(keys event | wc -l)"
}

@test "every alert of the rules has an entry, and every entry of an alert stands in the rules" {
    same "$(sed -nE 's/^ *- alert: *([A-Za-z]+) *$/\1/p' "$REPO"/monitoring/*.yml | LC_ALL=C sort -u)" "$(keys alert)"
}

@test "the section of the guide that an alert names is there" {
    same "$(sed -nE 's,^ *guide: .*/operator-guide\.md#([a-z]+)$,\1,p' "$REPO"/monitoring/*.yml | LC_ALL=C sort -u)" \
        "$(sed -nE 's/^#### (Dravik[A-Za-z]+)$/\L\1/p' "$REPO/docs/operator-guide.md" | LC_ALL=C sort)"
}

# What the source logs, with the audit line's text as its first half fills it in.
logged() {
    grep -q '"user %s%s%s%s ran \[%s\]"' "$REPO/src/cli/audit.cpp"
    /usr/bin/python3 "$REPO/tests/support/logged_texts.py" "$REPO/src" | sed 's/^\.\.\.: \.\.\.\.\.\.$/user ... ran [...]: .../' | LC_ALL=C sort
}

# Of the texts of the ledger's line, which are told apart by what stands behind the colon.
is_of_the_ledger() { [[ $1 == 'Ledger: '* && $1 != 'Ledger: ....' ]]; }

@test "every text that the source logs has an entry, and every entry of a log line is a text of the source" {
    local line
    logged >"$BATS_TEST_TMPDIR/logged"
    (($(wc -l <"$BATS_TEST_TMPDIR/logged") > 75))
    while IFS= read -r line; do
        is_of_the_ledger "$line" || printf '%s\n' "$line"
    done < <(keys log_line) >"$BATS_TEST_TMPDIR/known"
    same "$(cat "$BATS_TEST_TMPDIR/logged")" "$(cat "$BATS_TEST_TMPDIR/known")"
}

@test "what tells the ledger's lines apart are words of the ledger's source" {
    local line word words count=0
    words=$(cat "$REPO"/src/ledger/*.cpp | tr -d '\n' | sed 's/" *"//g')
    while IFS= read -r line; do
        is_of_the_ledger "$line" || continue
        count=$((count + 1))
        line=${line#Ledger: }
        while IFS= read -r word; do
            [[ -z $word ]] || grep -qF -- "$word" <<<"$words" || same "$word" ""
        done < <(sed 's/\.\.\./\n/g; s/\.$//' <<<"$line")
    done < <(keys log_line)
    same 3 "$count"
}

@test "a call that logs has a name that the test of the texts knows" {
    # A macro or function of another name around the log would hide texts from it.
    same "$(printf '%s\n' ARRAY_LOG ARRAY_LOG_AS CAPTURE_LOG DRAVIK_LOG DRAVIK_LOG_AS LOG_CHANGE LOG_FAILURE QUERY_LOG | LC_ALL=C sort)" \
        "$(sed -e ':a' -e '/\\$/{N;ba}' -e 's/\n/ /g' "$REPO"/src/*/*.h "$REPO"/src/*/*.cpp |
            grep -E '^#define' | grep -E '\b(DRAVIK_LOG|DRAVIK_LOG_AS|ARRAY_LOG_AS|dravik_log)\(' | sed -E 's/^#define ([A-Z_]+).*/\1/' | LC_ALL=C sort -u)"
    # Functions that hand a format on.
    same "void logChange(const char *format, const char *before, const char *now) {" \
        "$(grep -hE '\(.*const char \*format' "$REPO"/src/{array,cli,commands,host,ledger,monitor,stats,struct,topology}/*.cpp)"
}

@test "the operator guide holds the tables that the program prints" {
    local name
    for name in records events alerts change-log command-log; do
        same "$("$BUILD_DIR/dravik" explain --guide "$name")" \
            "$(sed -n "/^<!-- begin: $name -->\$/,/^<!-- end: $name -->\$/p" "$REPO/docs/operator-guide.md" | sed '1d;$d')"
    done
    same 5 "$(grep -c '^<!-- begin: ' "$REPO/docs/operator-guide.md")"
}

@test "the journal's message catalog is what the program prints, to the byte" {
    "$BUILD_DIR/dravik" explain --catalog >"$BATS_TEST_TMPDIR/catalog"
    cmp "$BATS_TEST_TMPDIR/catalog" "$REPO/systemd/dravik.catalog"
}

@test "journalctl compiles the catalog, and gives back the text of every kind of event" {
    local root=$BATS_TEST_TMPDIR/root id count=0
    type -P journalctl >/dev/null || skip "there is no journalctl here"
    mkdir -p "$root/usr/lib/systemd/catalog"
    cp "$REPO/systemd/dravik.catalog" "$root/usr/lib/systemd/catalog/"
    run journalctl --update-catalog --root="$root"
    same "0 " "$status $output"
    while IFS= read -r id; do
        count=$((count + 1))
        # As it was written, but for the empty line at its end.
        same "$(awk -v head="-- $id" '/^-- / { inside = $0 == head } inside' "$REPO/systemd/dravik.catalog" | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}')" \
            "$(journalctl --root="$root" --dump-catalog "$id" | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}')"
    done < <(sed -nE 's/^    \{[A-Z_]+, "([0-9a-f]{32})"\},/\1/p; s/^constexpr char LEFT_OUT_MESSAGE_ID\[\] = "([0-9a-f]{32})";/\1/p' \
        "$REPO/src/ledger/message_ids.h")
    same 23 "$count"
    same 23 "$(journalctl --root="$root" --list-catalog | grep -c '^[0-9a-f]\{32\} Dravik: ')"
}

# section_names OPTION COMMAND: the command's help text lists the option.
section_names() { grep -qE -- "^    $1( |\$)" "$REPO/help/$2.help"; }

@test "every command of ours that is to be looked at is one, with options that it has" {
    local line name word bad=''
    local -a words
    while IFS= read -r line; do
        read -r -a words <<<"$line"
        name=${words[1]-help}
        [[ $name == help || $name == --version ]] || [[ -e $REPO/help/$name.help ]] || bad+="$line; "
        for word in "${words[@]:2}"; do
            [[ $word != -* ]] || section_names "$word" "$name" || bad+="$line; "
        done
    done < <("$BUILD_DIR/dravik" explain --list --json | grep -oE '"dravik( [^"]*)?"' | sed 's/[\"]//g' | sort -u)
    same "" "$bad"
}

#!/usr/bin/env bats
# Ports are looked up from what the files hold, and now and then from what short command lines print: over random folders
# and attributes both say the same, to the byte of their log lines. DRAVIK_LOOKUPS sets how many look-ups are compared
# (3000; 10000 take one to two minutes), DRAVIK_TEST_SEED another seed.

load ../support/small_root

setup_file() {
    make_base
    copy_program "${BUILD_DIR:-$REPO/build/release}/lookups_both_ways" "$BASE" lookups_both_ways
}
setup() { make_root; }

@test "the files answer as the commands do, over random folders of links and random attributes" {
    local count=${DRAVIK_LOOKUPS:-3000} seed=${DRAVIK_TEST_SEED:-20211206}
    mkdir -m 700 "$ROOT/dumps"
    touch "$ROOT/lookups-may-be-made-here"
    env -i PATH=/usr/sbin:/usr/bin DRAVIK_TEST_SEED="$seed" chroot "$ROOT" lookups_both_ways "$count" \
        >"$BATS_TEST_TMPDIR/said" 2>/dev/null || {
        cat -A "$BATS_TEST_TMPDIR/said"
        return 1
    }
    same_file - "$BATS_TEST_TMPDIR/said" <<END
seed $seed (DRAVIK_TEST_SEED sets another)
$count look-ups, alike both ways
END
}

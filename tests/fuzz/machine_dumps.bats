#!/usr/bin/env bats
# Fuzzing leaves the machine's own /dumps alone.

load ../support/simulated_host

@test "no fuzz target asks the machine for /dumps or for anything below it" {
    local target subject
    for target in "$BUILD_DIR"/fuzz_*; do
        subject=${target##*/fuzz_}
        strace -f -qq -e trace=file -o "$BATS_TEST_TMPDIR/$subject" "$target" "$REPO/tests/fuzz/corpus/$subject"
        # The trace holds the program itself, so that what it does not hold was not done.
        grep -q '^[0-9]* *execve(' "$BATS_TEST_TMPDIR/$subject"
    done
    same "$(cd "$REPO/tests/fuzz" && printf '%s\n' fuzz_*.cpp | sed 's/^fuzz_//; s/\.cpp$//')" "$(ls "$BATS_TEST_TMPDIR")"
    same "" "$(grep -r '"/dumps["/]' "$BATS_TEST_TMPDIR" || true)"
}

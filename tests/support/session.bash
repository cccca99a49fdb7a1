# shellcheck shell=bash
# A session with the simulated host as a table: inputs, each with everything that it must print. Loaded behind
# simulated_host.

# expect_session < TABLE: a line "host> COMMAND" is run by the host's shell, "sim> COMMAND" is a command of the
# simulated host. Behind it stands what it prints, standard error included, and "[STATUS]" where that is not 0.
expect_session() {
    local expected actual
    # The dot keeps the empty lines at the end.
    expected=$(cat && echo .)
    actual=$(play_session <<<"$expected" && echo .)
    same "$expected" "$actual"
}

play_session() {
    local line
    local -a lines
    mapfile -t lines
    for line in "${lines[@]}"; do
        case $line in
        'host> '* | 'sim> '*) printf '%s\n' "$line" ;;
        *) continue ;;
        esac
        if [[ $line == host* ]]; then
            in_host sh -c "${line#*> }" </dev/null 2>&1 || echo "[$?]"
        else
            # The words may be quoted, as a person types them.
            eval "sim ${line#*> }" </dev/null 2>&1 || echo "[$?]"
        fi
    done
}

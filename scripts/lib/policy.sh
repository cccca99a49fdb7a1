# shellcheck shell=bash
# The one body of the four policy scripts; each of them is this with its block's name.
#
#   query               prints the path grouping policy and the selector (without its trailing 0) on two
#                       lines, empty where the block does not say. No block: prints nothing and succeeds.
#   set GROUP SELECTOR  writes both into the block. No block: prints "No configuration" and fails.
#
# GROUP is failover, multibus, group_by_serial, group_by_prio or group_by_node_name; SELECTOR is round-robin,
# queue-length or service-time. Any other word is a wrong argument. The program's own fallback for a host on
# which no selector was ever chosen is misspelt, "rount-robin": where there is no block it gets the answer "No
# configuration" like every other word, which tells the user what to do; where there is one it is refused, for
# a map with that selector could not be loaded.
#
# A broken block (a marker without its partner), or for "set" a file whose sections do not close, is complained
# about and nothing is changed. The program takes the text "No configuration" for its one meaning, so no other
# message may hold it.
#
# Exit status: 0, 1 failed, 2 wrong arguments.

# The words of the path policy as the stack knows them. The program holds the selectors as well, in
# src/commands/path_selectors.cpp.
readonly GROUP_WORDS="failover multibus group_by_serial group_by_prio group_by_node_name"
readonly SELECTOR_WORDS="round-robin queue-length service-time"

# policy_main BLOCK ARGS
policy_main() {
    local block=$1
    shift
    USAGE="$SCRIPT_NAME query | $SCRIPT_NAME set GROUP SELECTOR"
    answer_help "$@"
    block_select "$block"
    if (($# == 1)) && [[ $1 == query ]]; then
        policy_query
    elif (($# == 3)) && [[ $1 == set ]]; then
        is_word_of "$2" "$GROUP_WORDS" || bad_argument "GROUP must be one of: $GROUP_WORDS"
        is_word_of "$3" "$SELECTOR_WORDS $MISSPELT_SELECTOR" || refuse_selector
        policy_set "$2" "$3"
    else
        bad_argument "wrong arguments"
    fi
}

policy_query() {
    conf_load "$CONF_PATH"
    if block_policy query; then
        printf '%s\n' "$POLICY_GROUP" "$POLICY_SELECTOR"
    fi
}

policy_set() {
    conf_lock
    conf_load "$CONF_PATH"
    if ! block_policy query; then
        say "No configuration"
        exit "$EXIT_FAILED"
    fi
    [[ $2 != "$MISSPELT_SELECTOR" ]] || refuse_selector
    conf_check
    block_set_policy "$1" "$2"
    conf_store
}

refuse_selector() {
    bad_argument "SELECTOR must be one of: $SELECTOR_WORDS"
}

# is_word_of WORD LIST: whether WORD is one of the list's blank-separated words.
is_word_of() {
    [[ $1 == [a-z]* && " $2 " == *" $1 "* && $1 != *" "* ]]
}

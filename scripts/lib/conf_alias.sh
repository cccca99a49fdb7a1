# shellcheck shell=bash
# Finding, setting and removing the alias of a WWID in the "multipaths" section of the configuration.
#
# An entry is a "multipath" section right inside a "multipaths" section; its WWID and alias may be quoted.
# WWIDs and aliases are compared as strings, never as patterns. The work is done by conf_alias.awk.
# Needs conf_edit.sh.

# alias_query: prints "WWID ALIAS" for every alias of the text, in its order, if there is no blank in its WWID.
alias_query() {
    local output
    output=$(OP=query conf_awk conf_alias) || fail "$CONF_FILE: ${output:-awk failed}"
    [[ -z $output ]] || printf '%s\n' "$output"
}

# alias_set WWID ALIAS: returns 0, 4 (the pair exists already) or 5 (the alias belongs to another WWID).
alias_set() {
    OP=set WWID=$1 ALIAS=$2 conf_transform conf_alias
}

# alias_del WWID: returns 0 or 7 (the WWID has no alias). An entry that held nothing else goes with its alias.
alias_del() {
    OP=del WWID=$1 conf_transform conf_alias
}

# Finds, sets and removes the alias of a WWID. OP (set, del, query), WWID and ALIAS come from the environment.
# Exit statuses 4, 5 and 7: see conf_alias.sh. Needs conf_scan.awk.

# Entries 1..entries: wwid[e]; its place wwid_line, wwid_key, wwid_value, wwid_end, wwid_alone; the place of
# the whole entry head_line, head_at, tail_line, tail_at; busy[e]: it holds more than WWID and alias.
# Aliases 1..aliases: alias[a] of entry of[a] at alias_line, alias_key, alias_value, alias_end.
# The last multipaths section is closed at close_line, close_at.
function on_open(nr, i) {
    if (depth == 2 && section[1] == "multipaths" && section[2] == "multipath") {
        inside = ++entries
        wwid[inside] = ""
        head_line[inside] = name_line
        head_at[inside] = name_at
        # Whatever stands between the name and a brace further down belongs to the administrator.
        busy[inside] = nr != name_line
    } else if (inside) busy[inside] = 1
}

function on_close(nr, i) {
    if (depth == 1 && section[1] == "multipaths") {
        close_line = nr
        close_at = at[i]
    }
    if (depth == 2 && inside) {
        tail_line[inside] = nr
        tail_at[inside] = at[i]
        left = inside
        inside = 0
    }
}

function on_setting(nr, k, v) {
    if (!inside) return
    if (depth == 2 && tok[k] == "wwid") {
        if (wwid[inside] != "") busy[inside] = 1
        wwid[inside] = bare(tok[v])
        wwid_line[inside] = nr
        wwid_key[inside] = at[k]
        wwid_value[inside] = at[v]
        wwid_end[inside] = at[v] + length(tok[v])
        wwid_alone[inside] = ntok == 2
    } else if (depth == 2 && tok[k] == "alias") {
        of[++aliases] = inside
        alias[aliases] = bare(tok[v])
        alias_line[aliases] = nr
        alias_key[aliases] = at[k]
        alias_value[aliases] = at[v]
        alias_end[aliases] = at[v] + length(tok[v])
    } else busy[inside] = 1
}

# A remark or a lone word in a line that an entry has part in belongs to the administrator: such an entry is
# never removed whole.
function on_line(nr, stray) {
    if (remark && left) busy[left] = 1
    if (inside && (remark || stray)) busy[inside] = 1
    left = 0
}

function blank(s) { return s !~ /[^ \t\r]/ }

function entry_lines(indent, cr) {
    return indent "    multipath {" cr "\n" \
        indent "        wwid                   " W cr "\n" \
        indent "        alias                  " A cr "\n" \
        indent "    }" cr "\n"
}

function add_entry(    cr, head) {
    cr = line_end()
    if (!close_line) {
        append("multipaths {" cr "\n" entry_lines("", cr) "}" cr "\n")
        return
    }
    head = substr(L[close_line], 1, close_at - 1)
    if (blank(head)) L[close_line] = entry_lines(head, cr) L[close_line]
    else L[close_line] = head cr "\n" entry_lines("", cr) substr(L[close_line], close_at)
}

# Gives entry e, which has no alias, a line for it below that of its WWID and in the same columns.
function add_alias(e,    nr, gap, cr) {
    nr = wwid_line[e]
    cr = L[nr] ~ /\r$/ ? "\r" : ""
    if (!wwid_alone[e]) {
        replace(nr, wwid_end[e], 0, " alias " A)
        return
    }
    gap = substr(L[nr], wwid_key[e] + 4, wwid_value[e] - wwid_key[e] - 4)
    if (gap ~ /^  +$/) gap = substr(gap, 2)
    L[nr] = L[nr] "\n" substr(L[nr], 1, wwid_key[e] - 1) "alias" gap A cr
}

# All edits run from the end of the text to its beginning, so the places of those to come stay true.
function set_alias(    a, e, same, other, target, quote) {
    for (a = 1; a <= aliases; a++) {
        e = of[a]
        if (wwid[e] == W && alias[a] == A) same++
        else if (wwid[e] == W) other++
        else if (wwid[e] != "" && alias[a] == A) taken++
    }
    if (same && !other) exit 4
    if (taken) exit 5
    for (a = aliases; a >= 1; a--) {
        if (wwid[of[a]] != W) continue
        quote = substr(L[alias_line[a]], alias_value[a], 1) == "\"" ? "\"" : ""
        replace(alias_line[a], alias_value[a], alias_end[a] - alias_value[a], quote A quote)
    }
    if (other) return
    for (e = entries; e >= 1; e--) if (wwid[e] == W) target = e
    if (target) add_alias(target)
    else add_entry()
}

# Takes the text from line nr, column col up to line to, column end away; lines that become blank go with it.
function cut(nr, col, to, end,    i, head, tail) {
    head = substr(L[nr], 1, col - 1)
    tail = substr(L[to], end)
    for (i = nr + 1; i <= to; i++) gone[i] = 1
    L[nr] = head tail
    if (blank(L[nr])) gone[nr] = 1
}

function del_alias(    a, e, found) {
    for (a = aliases; a >= 1; a--) {
        e = of[a]
        if (wwid[e] != W || e == found) continue
        if (!busy[e]) {
            cut(head_line[e], head_at[e], tail_line[e], tail_at[e] + 1)
            found = e
        } else {
            found = -1
            cut(alias_line[a], alias_key[a], alias_line[a], alias_end[a])
        }
    }
    if (!found) exit 7
}

END {
    walk_all()
    W = ENVIRON["WWID"] ""
    A = ENVIRON["ALIAS"] ""
    if (ENVIRON["OP"] == "set") set_alias()
    else if (ENVIRON["OP"] == "del") del_alias()
    else {
        # No device has a WWID with blanks in it, and the row would tell of another one.
        for (a = 1; a <= aliases; a++)
            if (wwid[of[a]] !~ /^$|[ \t\r\f\v]/ && alias[a] != "") print wwid[of[a]] " " alias[a]
        exit 0
    }
    print_all()
}

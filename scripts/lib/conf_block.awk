# Finds, refreshes and changes one kind of the product's device blocks. OP (refresh, set, query, peek), the
# markers BLOCK_*, the new BLOCK_TEXT, GROUP and SELECTOR come from the environment. Exit status 4: there is no
# such block. Needs conf_scan.awk.

function on_open(nr, i) { }
function on_close(nr, i) { }
function on_setting(nr, k, v) { }
function on_line(nr, stray) { }

function trimmed(s) {
    sub(/^[ \t]+/, "", s)
    sub(/[ \t\r]+$/, "", s)
    return s
}

# Fills first[b], last[b] (the marker lines) and chooser[b], chooser_end[b] (0: none) of blocks 1..blocks.
function find_blocks(    nr, s, open) {
    blocks = open = 0
    for (nr = 1; nr <= NR; nr++) {
        s = trimmed(L[nr])
        if (s == ENVIRON["BLOCK_BEGIN"]) {
            if (open) broken(nr, "\"" s "\" again, before the end of the block that begins in line " open)
            open = first[++blocks] = nr
            chooser[blocks] = chooser_end[blocks] = 0
        } else if (s == ENVIRON["BLOCK_END"]) {
            if (!open) broken(nr, "\"" s "\" without its beginning")
            last[blocks] = nr
            open = 0
        } else if (open && s == ENVIRON["BLOCK_CHOOSER_BEGIN"]) {
            if (chooser[blocks]) broken(nr, "\"" s "\" for the second time in one block")
            chooser[blocks] = nr
        } else if (open && s == ENVIRON["BLOCK_CHOOSER_END"]) {
            if (!chooser[blocks] || chooser_end[blocks]) broken(nr, "\"" s "\" without its beginning")
            chooser_end[blocks] = nr
        }
    }
    if (open) broken(open, "the block that begins here has no \"" ENVIRON["BLOCK_END"] "\"")
}

function need_choosers(    b) {
    for (b = 1; b <= blocks; b++)
        if (!chooser_end[b]) broken(first[b], "the block that begins here has no complete group chooser part")
}

# Only words that a shell takes for nothing else are handed on.
function plain(word) {
    return word ~ /^[A-Za-z0-9_.:-]+$/ ? word : ""
}

function find_policy(b,    nr, words) {
    group = selector = ""
    for (nr = chooser[b] + 1; nr < chooser_end[b]; nr++) {
        tokens(nr, L[nr])
        if (ntok < 2) continue
        if (tok[1] == "path_grouping_policy") group = plain(bare(tok[2]))
        else if (tok[1] == "path_selector") {
            split(bare(tok[2]), words, " ")
            selector = plain(words[1])
        }
    }
}

# Gives the keyword its value in every line that has it; a missing line is put before the end marker.
function set_value(b, keyword, value, line,    nr, from, seen) {
    for (nr = chooser[b] + 1; nr < chooser_end[b]; nr++) {
        tokens(nr, L[nr])
        if (!ntok || tok[1] != keyword) continue
        seen = 1
        if (ntok == 1) replace(nr, at[1] + length(tok[1]), 0, " " value)
        else replace(nr, at[2], at[ntok] + length(tok[ntok]) - at[2], value)
    }
    if (!seen) L[chooser_end[b]] = line line_end() "\n" L[chooser_end[b]]
}

function set_policy(    b, group, selector) {
    group = ENVIRON["GROUP"]
    selector = "\"" ENVIRON["SELECTOR"] " 0\""
    for (b = 1; b <= blocks; b++) {
        # A missing line goes right before what the previous call put there, so the last comes first.
        set_value(b, "path_selector", selector, "        path_selector          " selector)
        set_value(b, "path_grouping_policy", group, "        path_grouping_policy    " group)
    }
}

# The new text takes the place of the first block; further ones, which would only repeat it, go.
function refresh(    b, nr, text) {
    text = ENVIRON["BLOCK_TEXT"]
    gsub(/\n/, line_end() "\n", text)
    walk_all()
    for (b = 1; b <= blocks; b++) {
        if (depth_after[first[b]]) broken(first[b], "the block begins inside a section")
        if (depth_after[last[b]]) broken(last[b], "the block ends inside a section")
        for (nr = first[b] + (b == 1); nr <= last[b]; nr++) gone[nr] = 1
    }
    if (blocks) L[first[1]] = substr(text, 1, length(text) - 1)
    else append(text)
}

END {
    find_blocks()
    if (ENVIRON["OP"] == "refresh") refresh()
    else if (!blocks) exit 4
    else if (ENVIRON["OP"] == "set") {
        need_choosers()
        set_policy()
    } else {
        if (ENVIRON["OP"] == "query") need_choosers()
        find_policy(1)
        print group
        print selector
        exit 0
    }
    print_all()
}

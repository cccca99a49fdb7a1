# Finds the device sections with a vendor that stand outside the product's blocks: a line for each, of the number of the
# line where it begins, its vendor and its product, with a tab between. OWN_BLOCKS (the blocks' names) comes from the environment.
# Needs conf_scan.awk.

# ours[nr]: the line belongs to one of the product's blocks.
function find_ours(    n, i, nr, names, s, inside) {
    n = split(ENVIRON["OWN_BLOCKS"], names, " ")
    for (nr = 1; nr <= NR; nr++) {
        s = L[nr]
        sub(/^[ \t]+/, "", s)
        sub(/[ \t\r]+$/, "", s)
        for (i = 1; i <= n; i++) {
            if (s == "#" names[i] " config begin") inside = 1
            if (s == "#" names[i] " config end") inside = 0
        }
        ours[nr] = inside
    }
}

function is_device() { return depth == 2 && section[1] == "devices" && section[2] == "device" }

function on_open(nr, i) {
    if (is_device()) {
        begins = name_line
        vendor = product = ""
    }
}

function on_close(nr, i) {
    if (is_device() && !ours[begins] && vendor != "") print begins "\t" vendor "\t" product
}

# The arrays fill their names up with blanks.
function name_of(word) {
    word = bare(word)
    gsub(/\t/, " ", word)
    sub(/ +$/, "", word)
    return word
}

function on_setting(nr, k, v) {
    if (is_device() && tok[k] == "vendor") vendor = name_of(tok[v])
    if (is_device() && tok[k] == "product") product = name_of(tok[v])
}

function on_line(nr, stray) { }

END {
    find_ours()
    walk_all()
}

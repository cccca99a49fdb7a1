# The reader of the stack's configuration language, on which the other conf_*.awk programs build.
#
# A sample of the input:
#
#     multipaths {
#         multipath {
#             wwid   "3600c0ff000da91b9"   # a remark runs to the end of its line
#             alias  data1
#         }
#     }
#
# Words, double-quoted strings and braces. "#" and "!" outside a string begin a remark; a string ends in the
# line where it began. The word before an opening brace names the section, be it on the brace's line or above.
# Every other word is a keyword, and the word or string after it in the same line is its value.
#
# Use: printf '%s\n' "$text" | awk -f conf_scan.awk -f PROGRAM. The added line feed makes the input's lines
# exactly the pieces between the text's line feeds, so the last one is empty when the text ends in a line
# feed. PROGRAM has an END rule; when it calls walk_all() it defines the hooks
#     on_open(nr, i)         section[depth] was just opened, its name stands at name_line, name_at
#     on_close(nr, i)        section[depth] is about to be closed
#     on_setting(nr, k, v)   token k is a keyword and token v its value
#     on_line(nr, stray)     the line is done; stray: it ended with a keyword that has no value
# It changes L[1..NR] and gone[nr] and ends with print_all(), which prints the text and the one line feed.
# broken() prints its one message instead of a text and ends with status 3.
# Only what every awk has is used: no gawk extensions, no interval expressions, no printf of long texts; and
# all is printed after the whole input was read, so that the writer never meets a closed pipe.

{ L[NR] = $0 }

function broken(nr, what) {
    print "line " nr ": " what
    exit 3
}

# Cuts s into tok[1..ntok], at[i] being the column where each begins; remark is the column of the remark or 0.
function tokens(nr, s,    col, c, n) {
    ntok = remark = 0
    col = 1
    while (col <= length(s)) {
        c = substr(s, col, 1)
        if (index(" \t\r\f\v", c)) {
            col++
            continue
        }
        if (c == "#" || c == "!") {
            remark = col
            return
        }
        # Each word costs a look at the rest of the line; no real line is long enough for that to matter.
        if (ntok > 2000) broken(nr, "more than 2000 words")
        if (c == "{" || c == "}") n = 1
        else if (c == "\"") {
            n = index(substr(s, col + 1), "\"") + 1
            if (n == 1) broken(nr, "a double quote without its partner")
        }
        else if (match(substr(s, col), /[ \t\r\f\v"#!{}]/)) n = RSTART - 1
        else n = length(s) - col + 1
        tok[++ntok] = substr(s, col, n)
        at[ntok] = col
        col += n
    }
}

# A token without the double quotes around it.
function bare(word) {
    if (substr(word, 1, 1) == "\"") return substr(word, 2, length(word) - 2)
    return word
}

function walk(nr,    i, key) {
    tokens(nr, L[nr])
    key = 0
    for (i = 1; i <= ntok; i++) {
        if (tok[i] == "{") {
            if (key) { waiting = tok[key]; name_line = nr; name_at = at[key] }
            section[++depth] = waiting
            opened[depth] = nr
            on_open(nr, i)
            waiting = ""
            key = 0
        } else if (tok[i] == "}") {
            if (!depth) broken(nr, "a closing brace without an opening one")
            on_close(nr, i)
            depth--
            waiting = ""
            key = 0
        } else if (key) {
            on_setting(nr, key, i)
            key = 0
        } else {
            key = i
            waiting = ""
        }
    }
    # A word alone at the end of a line may be the name of a section whose brace comes below.
    if (key) { waiting = tok[key]; name_line = nr; name_at = at[key] }
    on_line(nr, key > 0)
    depth_after[nr] = depth
}

function walk_all(    nr) {
    depth = 0
    waiting = ""
    for (nr = 1; nr <= NR; nr++) walk(nr)
    if (depth) broken(opened[depth], "the section opened here is never closed")
}

# The end of a line as this text has it, without the line feed: "\r" where its first line has that.
function line_end() {
    return L[1] ~ /\r$/ ? "\r" : ""
}

# Adds lines (each with its line feed) behind the text, and first ends a last line that has no line feed:
# otherwise the new text would become part of whatever stands there, perhaps of a remark.
function append(lines) {
    if (L[NR] == "") L[NR] = lines
    else L[NR] = L[NR] line_end() "\n" lines
}

function replace(nr, col, n, text) {
    L[nr] = substr(L[nr], 1, col - 1) text substr(L[nr], col + n)
}

function print_all(    nr) {
    for (nr = 1; nr <= NR; nr++) if (!(nr in gone)) print L[nr]
}

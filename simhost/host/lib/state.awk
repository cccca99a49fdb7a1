# Reading the lines of the state: what every program that works on it shares. Used as
#   awk -f state.awk -f PROGRAM.awk ... STATE

# The value of "NAME=..." in the line, "" when it has none.
function value(name,    at, rest) {
    at = index($0, " " name "=")
    if (at == 0)
        return ""
    rest = substr($0, at + length(name) + 2)
    at = index(rest, " ")
    return at > 0 ? substr(rest, 1, at - 1) : rest
}

# A blank inside a value is written as "~" in the state.
function plain(text) {
    gsub(/~/, " ", text)
    return text
}

# Whether a volume begins here; all lines up to the next one belong to it.
function isVolume() {
    return $1 == "volume" || $1 == "flushed" || $1 == "unmapped"
}

# Whether WHO means the volume of this line. It is known by its alias, its WWID, its name on the array, its map
# (dm-3) and the map's nodes (/dev/dm-3; /dev/mapper/ and its alias or WWID). All are compared as strings.
function isMeant(who,    name) {
    name = who ""
    sub(/^\/dev\/mapper\//, "", name)
    if (name == "" || name == "-")
        return 0
    if (name == $2 "" || name == value("wwid"))
        return 1
    name = who ""
    if (name == value("vdisk") || name == plain(value("vdisk")))
        return 1
    sub(/^\/dev\//, "", name)
    return name == "dm-" value("dm")
}

# Makes one change in the state: -v op=OPERATION -v who=NAME -v what=... -v to=...; prints the changed state, and to
# -v touched=FILE the numbers of the volumes that are no longer what they were, one a line.
# Exit status 3: nothing in the state bears that name.
#   path-state   path WHO gets the three states TO ("failed faulty running")
#   port-state   so do all paths through the array's port WHO
#   volume-state all paths of volume WHO
#   remove       the paths WHO (names with blanks between) leave the host
#   rescan       the removed paths of volumes that the array still exports come back, and volumes that wait for it
#   word         volume WHO becomes "volume", "flushed" or "unmapped" (TO)
#   map          volume WHO is there with all its paths, whatever became of it
#   volume-key   the key WHAT of volume WHO gets the value TO
#   rename       volume WHO gets the alias TO
#   group-key    the key WHAT of group number GROUP (0: all) of volume WHO gets the value TO
#   reload       flushed volumes that still have a path are mapped again, and the aliases of the multipath
#                configuration file CONF are taken up; reads the state twice (edit.awk STATE STATE)

function setValue(name, text,    i) {
    for (i = 2; i <= NF; i++)
        if (index($i, name "=") == 1)
            $i = name "=" text
}

function setStates() {
    split(to, state, " ")
    $5 = state[1]
    $6 = state[2]
    if (state[3] != "")
        $7 = state[3]
    found = 1
}

# multipaths { multipath { wwid 3600... alias "data" } }: only these two words matter, whatever the layout.
function readConf(    line, n, part, i, wwid, alias) {
    while ((getline line < conf) > 0) {
        sub(/^[ \t]*[#!].*/, "", line)
        gsub(/[{}]/, " & ", line)
        gsub(/"/, "", line)
        n = split(line, part, /[ \t]+/)
        for (i = 1; i <= n; i++) {
            if (part[i] == "{" || part[i] == "}") {
                if (wwid != "" && alias != "")
                    aliasOf[wwid] = alias
                wwid = alias = ""
            } else if (part[i] == "wwid") {
                wwid = part[++i]
            } else if (part[i] == "alias") {
                alias = part[++i]
            }
        }
    }
    close(conf)
}

BEGIN {
    if (op == "reload")
        readConf()
    if (op == "reload" || op == "rescan")
        found = 1
    for (i = split(who, names, " "); i > 0; i--)
        named[names[i]] = 1
}

# Which volumes still have a path is only known after their lines: the state is read twice for that.
op == "reload" && NR == FNR {
    if (isVolume())
        current = FNR
    else if ($1 == "path")
        hasPath[current] = 1
    next
}

{ before = $0 }
isVolume() {
    inside = isMeant(who)
    dm = value("dm")
    groupNumber = 0
    if (op == "reload") {
        $2 = value("wwid") in aliasOf ? aliasOf[value("wwid")] : value("alias0")
        if ($1 == "flushed" && hasPath[FNR])
            $1 = "volume"
    }
    if (op == "rescan" && value("export") == "at-scan") {
        $1 = "volume"
        setValue("export", "on")
    }
    exported = value("export") == "on"
    if (inside && (op == "word" || op == "volume-key" || op == "rename" || op == "map"))
        found = 1
    if (inside && op == "word")
        $1 = to
    if (inside && op == "map") {
        $1 = "volume"
        setValue("export", "on")
    }
    if (inside && op == "volume-key")
        setValue(what, to)
    if (inside && op == "rename") {
        $2 = to
        setValue("alias0", to)
    }
}
$1 == "group" {
    groupNumber++
    if (inside && op == "group-key" && (group == 0 || group == groupNumber)) {
        setValue(what, to)
        found = 1
    }
}
$1 == "path" {
    if ((op == "path-state" && $2 == who) || (op == "port-state" && value("port") == who) ||
        (op == "volume-state" && inside))
        setStates()
    if (op == "remove" && $2 in named) {
        $1 = "removed"
        found = 1
    }
}
$1 == "removed" && ((op == "rescan" && exported) || (op == "map" && inside)) { $1 = "path" }
$1 == "path" && op == "map" && inside {
    to = "active ready running"
    setStates()
}
touched != "" && $0 != before && !noted[dm]++ { print dm > touched }
{ print }
END { exit found ? 0 : 3 }

# Prints the listing of the multipath tool from the state: all mapped volumes, or with -v want=NAME the one that NAME
# means, be it by one of its paths (sdb, /dev/sdb, 8:16).
# With -v dead=FILE it also writes there the maps none of whose paths works, one "dm-N" a line.

function isPathMeant(who) {
    return who == $2 "" || who == "/dev/" $2 || who == $4 ""
}

# The group whose paths carry the I/O: the one with the highest priority among those with a working path.
function activeGroup(    g, best) {
    best = 0
    for (g = 1; g <= groups; g++)
        if (working[g] > 0 && (best == 0 || prio[g] + 0 > prio[best] + 0))
            best = g
    return best
}

function printGroup(g, active, last,    status, shown) {
    status = groupStatus[g]
    shown = prio[g]
    if (status == "-") {
        status = g == active ? "active" : "enabled"
        if (working[g] == 0 && firstPath[g] <= lastPath[g])
            shown = 0
    }
    printf "%s-+- policy='%s' prio=%s status=%s\n", g < last ? "|" : "`", selector[g], shown, status
}

function printVolume(    g, i, active, alive, last, w1, w2, w3) {
    if (!held)
        return
    held = 0
    alive = 0
    for (g = 1; g <= groups; g++)
        alive += working[g]
    if (dead != "" && paths > 0 && alive == 0)
        print "dm-" dm > dead
    if (!wanted)
        return
    if (name == "-")
        print wwid " dm-" dm " " header
    else
        print name " (" wwid ") dm-" dm " " header
    print sizeLine
    w1 = w2 = w3 = 0
    for (i = 1; i <= paths; i++) {
        if (length(address[i]) > w1)
            w1 = length(address[i])
        if (length(pathName[i]) > w2)
            w2 = length(pathName[i])
        if (length(pathNumber[i]) > w3)
            w3 = length(pathNumber[i])
    }
    active = activeGroup()
    # A group whose every path left the host is none; one that never had a path is shown.
    last = 0
    for (g = 1; g <= groups; g++)
        if (firstPath[g] <= lastPath[g] || !emptied[g])
            last = g
    for (g = 1; g <= last; g++) {
        if (firstPath[g] > lastPath[g] && emptied[g])
            continue
        printGroup(g, active, last)
        for (i = firstPath[g]; i <= lastPath[g]; i++)
            printf "%s %s- %-" w1 "s %-" w2 "s %-" w3 "s %s\n", g < last ? "|" : " ",
                i < lastPath[g] ? "|" : "`", address[i], pathName[i], pathNumber[i], states[i]
    }
}

$1 == "path" {
    if (!held)
        next
    if (isPathMeant(want))
        wanted = 1
    pathName[++paths] = $2
    address[paths] = $3
    pathNumber[paths] = $4
    states[paths] = $5 " " $6 " " $7
    lastPath[groups] = paths
    if ($5 != "failed" && $6 != "faulty")
        working[groups]++
    next
}

$1 == "removed" {
    emptied[groups] = 1
    next
}

$1 == "group" {
    if (!held)
        next
    groups++
    firstPath[groups] = paths + 1
    lastPath[groups] = paths
    working[groups] = emptied[groups] = 0
    selector[groups] = plain(value("selector"))
    prio[groups] = value("prio")
    groupStatus[groups] = value("status")
    next
}

isVolume() {
    printVolume()
    if ($1 != "volume")
        next
    held = 1
    wanted = want == "" || isMeant(want)
    groups = paths = 0
    name = $2
    wwid = value("wwid")
    dm = value("dm")
    header = sprintf("%-8s,%s", plain(value("vendor")), plain(value("product")))
    sizeLine = "size=" value("size") " features='" plain(value("features")) "' hwhandler='" \
        plain(value("hwhandler")) "' wp=" value("wp")
    next
}

$1 == "message" {
    printVolume()
    if (want == "")
        print substr($0, 9)
}

END { printVolume() }

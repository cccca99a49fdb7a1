# Moves the kernel's counters by SECONDS under the loads: counters.awk -v seconds=N ... COUNTERS LOADS STATE
#   COUNTERS  "uptime S", then a line a device that ever had I/O: its name and the eleven counters of the kernel's
#             diskstats
#   LOADS     a line a load: a volume or path, what it does (kinds below), its rate
# Written: -v counters= (the new COUNTERS), diskstats= stat= uptime= (the files of /proc), and below -v block= the
# stat files of the devices that ever had I/O (sysfs=1) or of all (sysfs=all); the others stand as they were made, at
# zero.

# So many requests a second, each of so many sectors and milliseconds.
function kindOf(kind) {
    readSectors = 16
    writeSectors = 32
    readMs = 2
    writeMs = 4
    readShare = kind == "reading" || kind == "mixed" || kind == "slow"
    writeShare = kind == "writing" || kind == "slow" ? 1 : kind == "mixed" ? 0.5 : 0
    if (kind == "slow")
        readMs = writeMs = 100
}

function add(name, column, amount) {
    used[name] = 1
    count[name, column] += amount
}

function addLoad(name, kind, rate,    reads, writes, busy) {
    kindOf(kind)
    reads = rate * readShare * seconds
    writes = rate * writeShare * seconds
    add(name, 1, reads)
    add(name, 3, reads * readSectors)
    add(name, 4, reads * readMs)
    add(name, 5, writes)
    add(name, 6, writes / 4)
    add(name, 7, writes * writeSectors)
    add(name, 8, writes * writeMs)
    busy = reads * readMs + writes * writeMs
    add(name, 10, busy < seconds * 1000 ? busy : seconds * 1000)
    add(name, 11, busy)
}

# The load of the volume that has just been read: over the working paths of its first group that has any.
function spreadLoad(    i, n) {
    if (volume == "")
        return
    n = 0
    for (i = 1; i <= members; i++)
        if (memberGroup[i] == usedGroup && memberWorks[i])
            n++
    for (i = 1; i <= members; i++) {
        if (volumeKind != "" && memberGroup[i] == usedGroup && memberWorks[i])
            addLoad(member[i], volumeKind, volumeRate / n)
        if (member[i] in kind) {
            addLoad(member[i], kind[member[i]], rate[member[i]])
            addLoad(volume, kind[member[i]], rate[member[i]])
        }
    }
    if (volumeKind != "" && n > 0)
        addLoad(volume, volumeKind, volumeRate)
    volume = ""
}

# The counters as diskstats shows them, each behind a blank.
function fields(name,    i, text) {
    text = ""
    for (i = 1; i <= 11; i++)
        text = text sprintf(" %.0f", int(count[name, i] + 0.000001))
    for (; i <= columns; i++)
        text = text " 0"
    return text
}

function keep(name,    i, line) {
    line = name
    for (i = 1; i <= 11; i++)
        line = line " " sprintf("%.6f", count[name, i])
    print line > counters
}

function show(name, major, minor,    shown) {
    shown = name in used ? fields(name) : zeros
    printf "%4d %7d %s%s\n", major, minor, name, shown > diskstats
    if (name in used)
        keep(name)
    if (!(name in hidden) && (sysfs == "all" || (sysfs && name in used))) {
        print shown > (block "/" name "/stat")
        close(block "/" name "/stat")
    }
}

BEGIN {
    up = 100000
    zeros = fields("")
}

FILENAME == ARGV[1] {
    if ($1 == "uptime")
        up = $2
    else
        for (i = 1; i <= 11; i++)
            add($1, i, $(i + 1))
    next
}

FILENAME == ARGV[2] {
    kind[$1] = $2
    rate[$1] = $3
    next
}

isVolume() {
    spreadLoad()
    here = $1 != "unmapped"
    if (!here)
        next
    members = usedGroup = group = 0
    volumeKind = ""
    volume = "dm-" value("dm")
    bare = value("tree") == "no"
    if (bare)
        hidden[volume] = 1
    if ($1 == "volume")
        maps[++mapCount] = value("dm")
    for (name in kind)
        if (isMeant(name)) {
            volumeKind = kind[name]
            volumeRate = rate[name]
        }
    next
}
here && $1 == "group" { group++ }
here && $1 == "path" {
    member[++members] = $2
    memberGroup[members] = group
    memberWorks[members] = $5 != "failed" && $6 != "faulty"
    if (memberWorks[members] && usedGroup == 0)
        usedGroup = group
    disk[++disks] = $2
    number[disks] = $4
    if (bare)
        hidden[$2] = 1
}

END {
    spreadLoad()
    up += seconds
    print "uptime " sprintf("%.6f", up) > counters
    # The host's own disk, of which nobody else speaks.
    add("sda", 1, 5 * seconds)
    add("sda", 3, 200 * seconds)
    add("sda", 4, 10 * seconds)
    hidden["sda"] = 1
    show("sda", 8, 0)
    for (i = 1; i <= disks; i++) {
        split(number[i], part, ":")
        show(disk[i], part[1], part[2])
    }
    for (i = 1; i <= mapCount; i++)
        show("dm-" maps[i], 253, maps[i])
    printf "%.2f %.2f\n", up, up * cpus * 0.9 > uptime
    ticks = up * 100
    for (i = -1; i < cpus; i++) {
        share = i < 0 ? cpus : 1
        printf "cpu%s %.0f 0 %.0f %.0f %.0f 0 0 0 0 0\n", i < 0 ? " " : i, ticks * share * 0.05, ticks * share * 0.03,
            ticks * share * 0.9, ticks * share * 0.02 > stat
    }
    print "intr 0\nctxt 1000\nbtime 1638685702\nprocesses 1000\nprocs_running 1\nprocs_blocked 0" > stat
}

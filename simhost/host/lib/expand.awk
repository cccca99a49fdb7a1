# Turns a scenario into the full state of the host: every default filled in, one line per volume, group and path.
# Reads its input twice (expand.awk FILE FILE): names that the scenario gives must not be given away before.
# The full state is itself a scenario, so expanding it again changes nothing.

function fail(text) {
    print "simhost: line " FNR ": " text > "/dev/stderr"
    failed = 1
    exit 1
}

# The words "key=value" of a line into KEY[], the other words after the first FROM - 1 into WORD[1..words].
function readWords(from,    i, at) {
    delete key
    delete word
    words = 0
    for (i = from; i <= NF; i++) {
        at = index($i, "=")
        if (at > 1)
            key[substr($i, 1, at - 1)] = substr($i, at + 1)
        else
            word[++words] = $i
    }
}

function given(name, otherwise) {
    return name in key ? key[name] : otherwise
}

function wordOr(n, otherwise) {
    return n <= words ? word[n] : otherwise
}

# 0 = a, 25 = z, 26 = aa: the way the kernel names its disks and the multipath tool its maps.
function letters(n, alphabet,    text, base) {
    base = length(alphabet)
    text = ""
    for (n = n + 1; n > 0; n = int((n - 1) / base))
        text = substr(alphabet, (n - 1) % base + 1, 1) text
    return text
}

# The major and minor number of the n-th SCSI disk: 16 minors each, sixteen majors, then the upper minor bits.
function scsiNumber(n,    row) {
    row = int(n / 16) % 16
    return (row == 0 ? 8 : row < 8 ? 64 + row : 120 + row) ":" (n % 16) * 16 + int(n / 256) * 256
}

function newScsiDisk() {
    while (("sd" letters(disks, LOWER)) in taken)
        disks++
    pathName = "sd" letters(disks, LOWER)
    pathNumber = scsiNumber(disks)
    disks++
}

# A name that stands for no transport: without an "s" in it, it cannot hold "sd".
function newPlainDisk() {
    while (("x" letters(plainDisks, "abcdefghijklmnopqrtuvwxyz")) in taken)
        plainDisks++
    pathName = "x" letters(plainDisks, "abcdefghijklmnopqrtuvwxyz")
    pathNumber = "240:" plainDisks + 0
    plainDisks++
}

function newNamespace(p,    base) {
    base = volume["transport"] == "nvme-fc" ? 0 : volume["transport"] == "nvme-rdma" ? 8 : 16
    pathName = "nvme" base + p "n" volume["lun"]
    pathNumber = "259:" namespaces++
}

function portOf(p,    list, n, transport) {
    transport = volume["transport"]
    if (volume["ports"] != "-") {
        n = split(volume["ports"], list, ",")
        return list[p % n + 1]
    }
    if (transport == "fc")
        return sprintf("0x20d0000b5d6a1%03x", 16 * int(p / 2) + 16 + p % 2)
    if (transport == "iscsi")
        return "192.168." p % 2 + 1 "." 10 + int(p / 2) ":3260"
    if (transport == "nvme-fc")
        return sprintf("0x20d0000b5d6a20%02x", 16 + p)
    if (transport == "nvme-rdma")
        return "192.168." p % 2 + 1 "." 20 + int(p / 2)
    if (transport == "nvme-tcp")
        return "192.168." p % 2 + 1 "." 30 + int(p / 2)
    return "-"
}

function addressOf(p,    transport) {
    transport = volume["transport"]
    if (transport == "iscsi")
        return 4 + p % 2 ":0:" int(p / 2) ":" volume["lun"]
    if (transport == "sas")
        return "0:0:" p ":" volume["lun"]
    if (transport ~ /^nvme/)
        return substr(pathName, 5, index(pathName, "n" volume["lun"]) - 5) ":1:1:" volume["lun"]
    return 1 + p % 2 ":0:" int(p / 2) ":" volume["lun"]
}

# One path line; what the scenario left out is made up from the volume's transport.
function printPath(    p, name) {
    p = pathIndex++
    name = words >= 1 ? word[1] : "-"
    if (name == "-") {
        if (volume["transport"] ~ /^nvme/)
            newNamespace(p)
        else if (volume["transport"] == "none")
            newPlainDisk()
        else
            newScsiDisk()
    } else {
        pathName = name
        pathNumber = name ~ /^nvme/ ? "259:" namespaces++ : "8:" 16 * strangers++
    }
    taken[pathName] = 1
    print pathWord, pathName, wordOr(2, addressOf(p)), wordOr(3, pathNumber), wordOr(4, "active"), wordOr(5, "ready"),
        wordOr(6, "running"), "port=" given("port", portOf(p)), "links=" given("links", volume["links"]),
        "link=" given("link", "-")
}

function printGroup(    status) {
    status = given("status", "-")
    print "group", "selector=" given("selector", volume["selector"]), "prio=" given("prio", 50 - 40 * (groupIndex > 0)),
        "status=" status
    groupIndex++
}

# A volume that came without group lines gets its groups and paths here.
function closeVolume(    g, p, first, last) {
    if (!open || groupIndex > 0 || volume["paths"] == 0)
        open = 0
    if (!open)
        return
    open = 0
    delete key
    words = 0
    pathWord = "path"
    for (g = 0; g < volume["groups"]; g++) {
        printGroup()
        first = int(g * volume["paths"] / volume["groups"])
        last = int((g + 1) * volume["paths"] / volume["groups"])
        for (p = first; p < last; p++)
            printPath()
    }
}

function nextFree(table, from) {
    while (from in table)
        from++
    table[from] = 1
    return from
}

function openVolume(state, alias,    n, names, i, nvme) {
    volume["transport"] = given("transport", "fc")
    if (volume["transport"] !~ /^(fc|iscsi|sas|nvme-fc|nvme-rdma|nvme-tcp|none)$/)
        fail("unknown transport \"" volume["transport"] "\"")
    nvme = volume["transport"] ~ /^nvme/
    volume["dm"] = given("dm", "-")
    if (volume["dm"] == "-")
        volume["dm"] = nextFree(maps, 0)
    volume["alias0"] = given("alias0", alias)
    volume["wwid"] = given("wwid", nvme ? sprintf("eui.6a1010000b5d6a10%016x", volume["dm"] + 1) \
                                        : sprintf("3600b5d60001a2b3c%016x", volume["dm"] + 1))
    volume["size"] = given("size", "10G")
    volume["vendor"] = given("vendor", nvme ? "NVME" : "KORVEL")
    volume["product"] = given("product", nvme ? "KORVELQVX" : "QVX")
    volume["vdisk"] = given("vdisk", "vol_" (alias == "-" ? volume["dm"] : alias))
    volume["lun"] = given("lun", "-")
    if (volume["lun"] == "-")
        volume["lun"] = ++luns[volume["transport"]]
    volume["features"] = given("features", "0")
    volume["hwhandler"] = given("hwhandler", "0")
    volume["wp"] = given("wp", "rw")
    volume["inuse"] = given("inuse", "off")
    volume["export"] = given("export", "on")
    volume["page"] = given("page", "normal")
    volume["links"] = given("links", 1)
    volume["ports"] = given("ports", "-")
    volume["tree"] = given("tree", volume["transport"] == "none" ? "no" : "yes")
    volume["selector"] = given("selector", "service-time~0")
    n = split("dm wwid size vendor product vdisk transport lun features hwhandler wp inuse export page links ports tree " \
        "selector alias0", names, " ")
    line = state " " alias
    for (i = 1; i <= n; i++)
        line = line " " names[i] "=" volume[names[i]]
    print line
    volume["paths"] = given("paths", 2) + 0
    volume["groups"] = given("groups", 1) + 0
    open = 1
    groupIndex = 0
    pathIndex = 0
}

function printMany(    count, prefix, i, saved, name) {
    count = given("volumes", 1) + 0
    prefix = given("prefix", "mpath")
    for (i = 0; i < count; i++) {
        while ((prefix letters(manyIndex, LOWER)) in taken)
            manyIndex++
        name = prefix letters(manyIndex++, LOWER)
        for (saved in key)
            manyKey[saved] = key[saved]
        openVolume("volume", name)
        closeVolume()
        for (saved in manyKey)
            key[saved] = manyKey[saved]
    }
}

BEGIN {
    LOWER = "abcdefghijklmnopqrstuvwxyz"
    disks = 1
    strangers = 4096
}

NF == 0 || $1 ~ /^#/ { next }

# First reading: what is taken.
NR == FNR {
    if (isVolume()) {
        taken[$2] = 1
        if (match($0, / dm=[0-9]+/))
            maps[substr($0, RSTART + 4, RLENGTH - 4) + 0] = 1
        readWords(3)
        transport = given("transport", "fc")
        if (given("lun", 0) + 0 > luns[transport] + 0)
            luns[transport] = key["lun"] + 0
    } else if ($1 == "path" || $1 == "removed") {
        taken[$2] = 1
    }
    next
}

$1 == "message" { closeVolume(); print; next }
isVolume() {
    if (NF < 2)
        fail("a volume needs a name, or - for none")
    closeVolume()
    readWords(3)
    openVolume($1, $2)
    next
}
$1 == "group" {
    if (!open)
        fail("a group belongs below a volume")
    readWords(2)
    printGroup()
    next
}
$1 == "path" || $1 == "removed" {
    if (!open || groupIndex == 0)
        fail("a path belongs below a group")
    readWords(2)
    pathWord = $1
    printPath()
    next
}
$1 == "many" { closeVolume(); readWords(2); printMany(); next }
{ fail("unknown word \"" $1 "\"") }

END {
    if (!failed)
        closeVolume()
}

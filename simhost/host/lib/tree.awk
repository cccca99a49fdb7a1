# Writes what the state puts into the host's file tree: block-device folders under /sys/block, device nodes, by-path
# links, and the array's answer sheets. -v make=1: as a tar archive, to be unpacked in the host's folder (no tool
# makes 30,000 files and links faster); otherwise the names alone, one a line, to be removed, with -v part=map-name
# only of what bears or holds a map's name. -v only="N N": only the volumes of these numbers.
# Names of the state that would lead out of their folder have no files.

function pad(text, width) {
    return text substr(NUL, 1, width - length(text))
}

function sumOf(text,    i, n) {
    n = 0
    for (i = length(text); i > 0; i--)
        n += ORD[substr(text, i, 1)]
    return n
}

# One entry of a POSIX ustar archive: a 512-byte header (name, mode, owner, size, time, checksum, type, link), then
# the content in blocks of 512.
function entry(name, mode, type, to, content,    size, sum) {
    size = sprintf("%011o", length(content))
    sum = sumOf(name) + sumOf(to) + sumOf(type) + sumOf(mode) + sumOf(size) + FIXED_SUM
    printf "%s%s%06o%s%s%s%s", pad(name, 100), mode NUL1 FIXED_OWNER size NUL1 FIXED_TIME, sum,
        NUL1 " " type, pad(to, 100), FIXED_TAIL, content
    if (length(content) % 512 > 0)
        printf "%s", substr(NUL, 1, 512 - length(content) % 512)
}

function folder(name) { entry(name "/", "0000755", "5", "", "") }
function file(name, content) { entry(name, "0000644", "0", "", content) }
# The sticky bit tells the preload library that this file stands for a block device.
function node(name, content) { entry(name, "0001660", "0", "", content "\n") }
function symlink(name, to) { entry(name, "0000777", "2", to, "") }

# A name for one folder, not for another place.
function isPlainName(name) { return index(name, "/") == 0 && name != "." && name != ".." }

function volumeNames(shown) {
    if (isPlainName(shown))
        print "dev/mapper/" shown
    if (part == "map-name")
        print "sys/block/dm-" dm "/dm"
    else
        print "sys/block/dm-" dm "\ndev/dm-" dm "\nsim/array/dm-" dm
}

function volumeEntries(shown) {
    file("sim/array/dm-" dm, "vdisk " plain(value("vdisk")) "\npage " value("page") "\ntransport " transport \
        "\nnsid " lun "\n")
    if ($1 != "volume")
        return
    node("dev/dm-" dm, "dm-" dm)
    if (isPlainName(shown))
        symlink("dev/mapper/" shown, "../dm-" dm)
    if (tree == "no")
        return
    folder("sys/block/dm-" dm)
    folder("sys/block/dm-" dm "/dm")
    file("sys/block/dm-" dm "/dm/name", shown "\n")
    file("sys/block/dm-" dm "/dm/uuid", "mpath-" wwid "\n")
    file("sys/block/dm-" dm "/stat", NO_IO)
    folder("sys/block/dm-" dm "/slaves")
}

# The names that udev makes for a SCSI path, by transport.
function links(name,    list, n, number) {
    number = $3
    sub(/.*:/, "", number)
    if (value("link") != "-")
        n = split(value("link"), list, ",")
    else if (transport == "fc") {
        n = 1
        list[1] = "pci-0000:05:00." ($3 + 1) % 2 "-fc-" value("port") "-lun-" number
        if (value("links") > 1)
            list[++n] = "fc-0x21000024ff5d6a1" $3 + 0 "-" value("port") "-lun-" number
    } else if (transport == "iscsi") {
        n = 1
        list[1] = "ip-" value("port") "-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-" number
    } else if (transport == "sas") {
        n = 1
        list[1] = "pci-0000:03:00.0-scsi-" $3
    } else
        n = 0
    for (; n > 0; n--)
        if (isPlainName(list[n]))
            link(list[n], name)
}

function link(shown, name) {
    if (make)
        symlink("dev/disk/by-path/" shown, "../../" name)
    else
        print "dev/disk/by-path/" shown
}

function nvmeAddress(port) {
    if (transport == "nvme-fc")
        return "traddr=nn-0x20d0000b5d6a2000:pn-" port ",host_traddr=nn-0x20000024ff5d6a10:pn-0x21000024ff5d6a10"
    return "traddr=" port ",trsvcid=4420,src_addr=192.168.1.2"
}

function pathNames(name) {
    print "sys/block/" name "\ndev/" name "\nsys/block/dm-" dm "/slaves/" name
    links(name)
}

function pathEntries(name,    device) {
    device = "sys/block/" name "/device"
    node("dev/" name, "dm-" dm " " name)
    folder("sys/block/" name)
    file("sys/block/" name "/stat", NO_IO)
    if (mapped)
        symlink("sys/block/dm-" dm "/slaves/" name, "../../" name)
    folder(device)
    if (transport ~ /^nvme/) {
        file(device "/transport", substr(transport, 6) "\n")
        file(device "/address", nvmeAddress(value("port")) "\n")
        file(device "/state", "live\n")
        file("sys/block/" name "/nsid", lun "\n")
        file("sys/block/" name "/wwid", wwid "\n")
        return
    }
    file(device "/state", $7 "\n")
    file(device "/delete", "")
    file(device "/wwid", "naa." substr(wwid, 2) "\n")
    links(name)
}

BEGIN {
    for (i = split(only, numbers, " "); i > 0; i--)
        chosen[numbers[i]] = 1
    NUL1 = sprintf("%c", 0)
    for (NUL = NUL1; length(NUL) < 512;)
        NUL = NUL NUL
    for (i = 1; i < 256; i++)
        ORD[sprintf("%c", i)] = i
    NO_IO = "       0        0        0        0        0        0        0        0        0        0        0\n"
    FIXED_OWNER = "0000000" NUL1 "0000000" NUL1
    FIXED_TIME = "14153361046" NUL1
    FIXED_TAIL = "ustar" NUL1 "00" substr(NUL, 1, 247)
    # The eight bytes of the checksum itself count as blanks.
    FIXED_SUM = sumOf(FIXED_OWNER) + sumOf(FIXED_TIME) + sumOf("ustar00") + 8 * 32
}

isVolume() {
    dm = value("dm")
    transport = value("transport")
    tree = value("tree")
    wwid = value("wwid")
    lun = value("lun")
    mapped = $1 == "volume" # a flushed map has no folder to hold its paths
    skipped = (only != "" && !(dm in chosen)) || ($1 == "unmapped" && make)
    if (skipped)
        next
    shown = $2 == "-" ? wwid : $2
    if (make)
        volumeEntries(shown)
    else
        volumeNames(shown)
}
skipped || tree == "no" || !isPlainName($2) { next }
make && $1 == "path" { pathEntries($2) }
!make && part == "" && ($1 == "path" || $1 == "removed") { pathNames($2) }

END {
    if (make)
        printf "%s%s", NUL, NUL
}

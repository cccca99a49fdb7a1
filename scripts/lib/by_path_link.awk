# Reads "ls -l" of the folder of links that udev makes for each path, and prints of those that lead to the
# block device NAME the first that begins with the adapter's place on the PCI bus, else the first.

$(NF - 1) == "->" {
    n = split($NF, part, "/")
    if (part[n] != name) next
    link = $(NF - 2)
    if (first == "") first = link
    if (pci == "" && link ~ /^pci-/) pci = link
}

END {
    if (pci != "") print pci
    else if (first != "") print first
}

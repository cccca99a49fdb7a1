// What the kernel says of maps, paths, ports and sessions, as texts: one line a thing, "NAME attribute=value ...".
#pragma once

#include <cstddef>

namespace dravik {

struct KernelView {
    const char *name; // of the file in the archive
    const char *source;
    size_t limit; // bytes
    void (*write)(int out);
};

constexpr size_t KERNEL_VIEWS = 6;

// The views: maps with the names of their paths, paths, Fibre Channel ports, iSCSI sessions, NVMe controllers, the links below
// /dev/disk/by-path. Each writes what is there now to a descriptor, at once where it stops being read; attributes are
// cut at 256 characters, blanks in them are "_". A file that cannot be read has no attribute. Starts no process.
extern const KernelView KERNEL_VIEW_LIST[KERNEL_VIEWS];

} // namespace dravik

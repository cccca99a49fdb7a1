// What the kernel says of maps and block devices, when the multipath tool no longer lists them.
//
// The kernel is asked only about what is missing, so that a quiet cycle costs nothing.
#pragma once

#include <cstdint>
#include <string>

namespace dravik {

// What every path into /sys and /proc begins with; empty on a real host.
extern std::string kernel_root;

// The first line of the small file `path` of the kernel's, which stands behind `kernel_root`, without its newline and cut
// at 255 bytes. False when it is no plain file or cannot be read.
bool readKernelLine(const std::string &path, std::string *line);

// Whether the kernel still has something, or cannot be asked.
enum class KernelAnswer { HAS_IT, HAS_IT_NOT, CANNOT_TELL };

// Whether the block device `name` is there and stands below the map `map` (dm-3).
KernelAnswer kernelHasPath(const std::string &map, const std::string &name);

// Whether the map `map` is there under the name `alias` or `wwid`.
KernelAnswer kernelHasVolume(const std::string &map, const std::string &alias, const std::string &wwid);

// The size of the map in bytes, 0 when it cannot be had.
int64_t mapSizeBytes(const std::string &map);

// What tells one start of the host from the next; empty when it cannot be had.
std::string bootId();

} // namespace dravik

// An attribute of a block device below /sys/block, read as the shell would:
//
//   cat /sys/block/nvme0n1/device/transport                               the whole text
//   cat /sys/block/nvme0n1/device/address | awk -F "," '{print $1}'       of each line what stands before its first comma
//
// No child process is started. Where only the commands can tell what they would answer, they are to be asked.
#pragma once

#include <cstddef>

namespace dravik {

enum class AttributeState {
    READ,
    MISSING, // there is no such file: the text is empty
    UNSURE,  // it cannot be read for another reason, or holds a NUL byte: ask the commands
};

// Reads the file `path` into `out`, cut at `size` - 1 characters. What is no regular file is empty.
AttributeState readAttribute(const char *path, char *out, size_t size);

// The same, of each line the part before the first comma. A last line without a newline gets one.
AttributeState readAttributeHeads(const char *path, char *out, size_t size);

} // namespace dravik

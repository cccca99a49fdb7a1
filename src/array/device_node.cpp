// Opening device nodes; the bounded copy into a record's name field.
#include "array/device_node.h"

#include <algorithm>
#include <fcntl.h>

#include "common/text.h"

DeviceNode::DeviceNode(const char *path) : node(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
    if (!node.isOpen()) {
        node.reset(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
}

void copyVdiskName(char *name, const char *text) {
    // The terminator is copied too; the bounded copy writes one more behind what it copied.
    const size_t with_terminator = tessaline_strlen(text) + 1;
    tessaline_strncpy(name, text, std::min<size_t>(with_terminator, VDISK_NAME_SIZE - 1));
}

// An open device node, through which the array is asked.
#pragma once

#include "common/owned.h"

// What the volume's name is copied into: the record's field with its terminator.
constexpr unsigned int VDISK_NAME_SIZE = 128;

// Opens `path` for reading and writing, or where that fails for reading only, in both cases without waiting
// for the device, and closes it when the object goes.
class DeviceNode {
  public:
    explicit DeviceNode(const char *path);

    // The descriptor; -1 when both attempts failed.
    int fd() const {
        return node.get();
    }
    // Closes it early and returns what close(2) returned.
    int close() {
        return node.close();
    }

  private:
    dravik::Descriptor node;
};

// Copies the text at `text` (with its terminator) into the field `name` of VDISK_NAME_SIZE bytes, cut at
// VDISK_NAME_SIZE - 1 characters.
void copyVdiskName(char *name, const char *text);

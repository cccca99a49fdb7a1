// Other names of a device: what a symbolic link leads to, the naming tables, persistent names.
#pragma once

// The kernel's name of a device: symbolic links are followed and a leading "/dev/" is dropped, "/dev/mapper/a"
// becoming "dm-3". A name without "/" is a kernel name already unless it leads into /dev from the working
// directory: started in a folder that happens to hold a file "sdb", the command must not lose its device.
// Returns `name` itself when it leads nowhere, otherwise a text that is good until the next call.
const char *device_name(const char *name);

// The naming tables (device numbers to names, device-mapper names, persistent names). They are not built:
// nothing turns their settings on, and each of these finds no name and answers null.
const char *device_table_name(unsigned int major, unsigned int minor);
const char *device_mapper_name(unsigned int major, unsigned int minor);
const char *get_pretty_name_from_persistent(const char *name);

// Following links to a kernel name; the naming tables that are not there.
#include "stats/device_names.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "common/text.h"

const char *device_name(const char *name) {
    static char resolved[PATH_MAX];
    constexpr char DEV_FOLDER[] = "/dev/";
    constexpr size_t DEV_LENGTH = sizeof(DEV_FOLDER) - 1;

    if (realpath(name, resolved) == nullptr) {
        return name;
    }
    if (isBeginwith(resolved, DEV_FOLDER) == 1) {
        return resolved + DEV_LENGTH;
    }
    return strchr(name, '/') == nullptr ? name : resolved;
}

const char *device_table_name(unsigned int /*major*/, unsigned int /*minor*/) {
    return nullptr;
}

const char *device_mapper_name(unsigned int /*major*/, unsigned int /*minor*/) {
    return nullptr;
}

const char *get_pretty_name_from_persistent(const char * /*name*/) {
    return nullptr;
}

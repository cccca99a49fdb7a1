// Telling the host's generation from its distribution and kernel.
#include "host/host_os.h"

#include <cstdio>
#include <cstring>
#include <sys/utsname.h>

#include "common/os_name.h"
#include "common/text.h"

namespace {

bool contains(const char *text, const char *part) {
    return find_str(text, part) != nullptr;
}

} // namespace

bool isSuse11Sp4(const char *os_name) {
    return contains(os_name, "VERSION=") && contains(os_name, "11.4");
}

bool isSysVHost() {
    utsname kernel = {};
    if (uname(&kernel) != 0) {
        puts("get os version error");
        kernel.release[0] = '\0';
    }
    return contains(kernel.release, ".el6.") || isSuse11Sp4(get_os_name());
}

bool isNvmeCapableOs(const char *os_name) {
    if (contains(os_name, "Red")) {
        return strcmp(os_name, contains(os_name, "Server") ? "Red Hat Enterprise Linux Server 8.0"
                                                           : "Red Hat Enterprise Linux 8.0") >= 0;
    }
    if (contains(os_name, "CentOS Linux")) {
        return strcmp(os_name, "CentOS Linux 8.0") >= 0;
    }
    if (contains(os_name, "VERSION=") && contains(os_name, "SP")) {
        return strcmp(os_name, "VERSION=\"12-SP6\"") >= 0;
    }
    if (contains(os_name, "SUSE")) {
        // Unlike the others, the name itself is not enough: it must come after this one.
        return strcmp(os_name, "SUSE Linux Enterprise Server 12 PATCHLEVEL = 6") > 0;
    }
    return false;
}

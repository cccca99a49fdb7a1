// What the product's program makes of this host's release files: the distribution's name between brackets, and whether
// it counts as capable of NVMe over Fabrics. The helper scripts answer the same (scripts/lib/distribution.sh).
#include <cstdio>

#include "common/os_name.h"
#include "host/host_os.h"

int main() {
    const char *name = get_os_name();
    printf("[%s] %s\n", name, isNvmeCapableOs(name) ? "capable" : "not capable");
    return 0;
}

/* The simulated device nodes: which files stand for block devices, and what the array knows about each. */
#ifndef SIMHOST_NODES_H
#define SIMHOST_NODES_H

#include <stdbool.h>
#include <stddef.h>

#define VDISK_NAME_SIZE 512

struct array_volume {
    char node[32];               /* the node that was opened: "dm-3" or "sdb" */
    char vdisk[VDISK_NAME_SIZE]; /* its name on the array; empty: the array gives none */
    char page[32];               /* how the array answers: "normal" or one of the hostile ways */
    bool nvme;
    bool reachable; /* false when none of its paths works */
    unsigned nsid;
};

/* True when FD is a simulated node; then *VOLUME is what the array says of it at this moment. */
bool volumeOfNode(int fd, struct array_volume *volume);

#endif

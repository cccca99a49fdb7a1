// Over which transport a path runs, and which port of the array it reaches.
#pragma once

#include "common/result.h"

constexpr unsigned int HOST_INTERFACE_SIZE = 31;
constexpr unsigned int TARGET_PORT_SIZE = 129;

// Resolves the path `device_name` (sdb, nvme0n1). `host_interface` (HOST_INTERFACE_SIZE bytes) receives
// "iscsi", "fc", "sas", "fc-nvme" or "rdma-nvme", `target_port` (TARGET_PORT_SIZE bytes) the port; both
// arrive empty and stay so where nothing is known. A name that is neither of an NVMe nor of a SCSI device, or
// that is no plain device name, runs no command. Returns the record of the last command run,
// null when none was run. No failure is reported.
s_ecItems *getTargetPort(const char *device_name, char *host_interface, char *target_port);

// The virtual-disk name of an NVMe volume: vendor-specific log page 0xC0, read with Get Log Page (the NVM
// Express Base Specification, "Get Log Page command") through the kernel's admin pass-through. The name is
// the text at the start of the page.
//
// All log lines are of level 0.
#pragma once

#include <sys/ioctl.h>

#if __has_include(<linux/nvme_ioctl.h>)
#include <linux/nvme_ioctl.h>
#else
// The kernel's interface, for a build without its header.
#include <linux/types.h>
struct nvme_admin_cmd {
    __u8 opcode;
    __u8 flags;
    __u16 rsvd1;
    __u32 nsid;
    __u32 cdw2;
    __u32 cdw3;
    __u64 metadata;
    __u64 addr;
    __u32 metadata_len;
    __u32 data_len;
    __u32 cdw10;
    __u32 cdw11;
    __u32 cdw12;
    __u32 cdw13;
    __u32 cdw14;
    __u32 cdw15;
    __u32 timeout_ms;
    __u32 result;
};
#define NVME_IOCTL_ID _IO('N', 0x40)
#define NVME_IOCTL_ADMIN_CMD _IOWR('N', 0x41, struct nvme_admin_cmd)
#endif

// How much of the log page is read.
constexpr unsigned int NVME_LOG_SIZE = 64;
// What an Identify command returns.
constexpr unsigned int NVME_IDENTIFY_SIZE = 4096;

// Submits an admin command. Returns the result of the ioctl: 0, a positive NVMe status, or -1 with errno.
int nvme_submit_admin_passthru(int fd, struct nvme_admin_cmd *cmd);

// The namespace identifier of the open device; -15 (the negated ENOTBLK) when it is no block device, or
// another negative number when it cannot be asked.
int nvme_get_nsid(int fd);

// Reads `length` bytes (a multiple of 4, at least 4) of the log page `log_id` into `buffer`. Returns the
// result of the pass-through.
int nvme_get_log_c0(int fd, unsigned int nsid, unsigned char log_id, unsigned int length, void *buffer);

// Identify with the controller or namespace structure `cns` into `buffer`, which holds NVME_IDENTIFY_SIZE
// bytes. Returns the result of the pass-through. Nothing in the system calls it.
int nvme_identify(int fd, unsigned int nsid, unsigned int cns, void *buffer);

// Reads log page 0xC0 and copies the name into `name`, which holds 128 bytes: at most 63 characters, up to
// the first NUL.
// Returns 0; -1, logged as "Get NVMe C0 Page failed.\n" with `name` as it was, or, for an empty name (which
// is copied), "Get Disk C0 Page failed, vdisk name is NULL.\n".
int get_vdisk_info(int fd, unsigned int nsid, char *name);

// Asks the NVMe device `path` for its name; `name` holds 128 bytes. A negative identifier is used like any
// other, on purpose: the request then fails, or the array answers all the same.
// Returns 0 with a non-empty name; -1, logged beside the lines above as "Open nvme device failed, fd = %d.\n",
// "Can not get namespace id, fd = %d.\n" with the identifier, which is 0, or
// "Get C0 page of nvme device failed.\n".
int get_nvme_vdisk_name(const char *path, char *name);

// Get Log Page 0xC0 and Identify.
#include "array/nvme_log.h"

#include <cerrno>
#include <cstdint>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include "array/array_log.h"
#include "array/device_node.h"
#include "common/text.h"

static_assert(sizeof(struct nvme_admin_cmd) == 72, "the kernel takes a command of 72 bytes");
static_assert(NVME_IOCTL_ADMIN_CMD == 0xC0484E41 && NVME_IOCTL_ID == 0x4E40, "the kernel's request numbers");

namespace {

constexpr __u8 GET_LOG_PAGE = 0x02;
constexpr __u8 IDENTIFY = 0x06;
constexpr unsigned char VDISK_NAME_LOG = 0xC0;

} // namespace

int nvme_submit_admin_passthru(int fd, struct nvme_admin_cmd *cmd) {
    return ioctl(fd, NVME_IOCTL_ADMIN_CMD, cmd);
}

int nvme_get_nsid(int fd) {
    struct stat attributes = {};
    const int result = fstat(fd, &attributes);
    if (result < 0) {
        return result;
    }
    if (!S_ISBLK(attributes.st_mode)) {
        return -ENOTBLK;
    }
    return ioctl(fd, NVME_IOCTL_ID);
}

int nvme_get_log_c0(int fd, unsigned int nsid, unsigned char log_id, unsigned int length, void *buffer) {
    const unsigned int dwords = length / 4 - 1; // a count from 0
    struct nvme_admin_cmd cmd = {};
    cmd.opcode = GET_LOG_PAGE;
    cmd.nsid = nsid;
    cmd.addr = reinterpret_cast<uintptr_t>(buffer);
    cmd.data_len = length;
    cmd.cdw10 = log_id | (dwords & 0xFFFF) << 16;
    cmd.cdw11 = dwords >> 16;
    return nvme_submit_admin_passthru(fd, &cmd);
}

int nvme_identify(int fd, unsigned int nsid, unsigned int cns, void *buffer) {
    struct nvme_admin_cmd cmd = {};
    cmd.opcode = IDENTIFY;
    cmd.nsid = nsid;
    cmd.addr = reinterpret_cast<uintptr_t>(buffer);
    cmd.data_len = NVME_IDENTIFY_SIZE;
    cmd.cdw10 = cns;
    return nvme_submit_admin_passthru(fd, &cmd);
}

int get_vdisk_info(int fd, unsigned int nsid, char *name) {
    char page[NVME_LOG_SIZE] = {};
    if (nvme_get_log_c0(fd, nsid, VDISK_NAME_LOG, sizeof(page), page) != 0) {
        ARRAY_LOG("Get NVMe C0 Page failed.\n");
        return -1;
    }
    page[sizeof(page) - 1] = '\0';
    copyVdiskName(name, page);
    if (safe_strlen(name) == 0) {
        ARRAY_LOG("Get Disk C0 Page failed, vdisk name is NULL.\n");
        return -1;
    }
    return 0;
}

int get_nvme_vdisk_name(const char *path, char *name) {
    DeviceNode device(path);
    if (device.fd() < 0) {
        ARRAY_LOG("Open nvme device failed, fd = %d.\n", device.fd());
        return -1;
    }
    const int nsid = nvme_get_nsid(device.fd());
    if (nsid == 0) {
        device.close();
        ARRAY_LOG("Can not get namespace id, fd = %d.\n", nsid);
        return -1;
    }
    if (get_vdisk_info(device.fd(), static_cast<unsigned int>(nsid), name) != 0) {
        device.close();
        ARRAY_LOG("Get C0 page of nvme device failed.\n");
        return -1;
    }
    return device.close();
}

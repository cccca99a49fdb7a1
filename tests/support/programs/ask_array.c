/* Asks a simulated node as the product does and prints the answers in hex:
   ask_array NODE vpd PAGE | id | log NSID | kind */
#include <errno.h>
#include <fcntl.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

static void print(const unsigned char *bytes, size_t count) {
    while (count > 0 && bytes[count - 1] == 0)
        count--;
    for (size_t i = 0; i < count; i++)
        printf("%02x", bytes[i]);
    printf("\n");
}

static int askVpd(int fd, unsigned char page) {
    unsigned char cdb[6] = {0x12, 1, page, 0, 255, 0};
    unsigned char data[260] = {0};
    unsigned char sense[64] = {0};
    struct sg_io_hdr request = {.interface_id = 'S',
                                .dxfer_direction = SG_DXFER_FROM_DEV,
                                .cmd_len = sizeof cdb,
                                .mx_sb_len = sizeof sense,
                                .dxfer_len = 256,
                                .dxferp = data,
                                .cmdp = cdb,
                                .sbp = sense,
                                .timeout = 5000};
    const int result = ioctl(fd, SG_IO, &request);

    printf("result %d errno %d status %d\n", result, result < 0 ? errno : 0, request.status);
    print(data, sizeof data);
    return 0;
}

static int askLog(int fd, unsigned nsid) {
    unsigned char data[64] = {0};
    struct nvme_admin_cmd command = {.opcode = 2,
                                     .nsid = nsid,
                                     .addr = (uint64_t)(uintptr_t)data,
                                     .data_len = sizeof data,
                                     .cdw10 = 0x000f00c0};
    const int result = ioctl(fd, NVME_IOCTL_ADMIN_CMD, &command);

    printf("result %d errno %d\n", result, result < 0 ? errno : 0);
    print(data, sizeof data);
    return 0;
}

int main(int argc, char **argv) {
    struct stat seen;
    const int fd = argc < 3 ? -1 : open(argv[1], O_RDWR | O_NONBLOCK);

    if (fd < 0 || fstat(fd, &seen) != 0)
        return 1;
    if (strcmp(argv[2], "vpd") == 0)
        return askVpd(fd, (unsigned char)strtoul(argv[3], NULL, 16));
    if (strcmp(argv[2], "log") == 0)
        return askLog(fd, (unsigned)strtol(argv[3], NULL, 10));
    if (strcmp(argv[2], "id") == 0)
        printf("%d\n", ioctl(fd, NVME_IOCTL_ID));
    else
        printf("%s\n", S_ISBLK(seen.st_mode) ? "block" : "other");
    return 0;
}

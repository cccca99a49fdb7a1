/* The array behind the simulated nodes: answers SCSI INQUIRY (SPC-4) and NVMe Get Log Page requests that programs
   send through ioctl(), and keeps a record of each in /sim/ioctls.log. */
#include "nodes.h"
#include "preload.h"

#include <errno.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>

typedef int (*ioctl_type)(int, unsigned long, ...);

#define VPD_SIZE 255
#define LOG_SIZE 64
#define LOG_VDISK 0xc0
#define PAGE_VDISK 0xd0
#define CHECK_CONDITION 2
/* NVMe status fields: Invalid Field in Command, Invalid Namespace; the driver returns them as they are. */
#define NVME_INVALID_FIELD 0x4002
#define NVME_INVALID_NAMESPACE 0x400b

static size_t hex(char *out, const void *bytes, size_t count) {
    const unsigned char *from = bytes;

    for (size_t i = 0; i < count; i++)
        (void)snprintf(out + 2 * i, 3, "%02x", from[i]);
    return 2 * count;
}

static bool answers(const struct array_volume *volume, const char *page) {
    return strcmp(volume->page, page) == 0;
}

/* ---- SCSI */

/* The request without its addresses, which differ from run to run, and its command block. */
static void recordScsi(const struct array_volume *volume, const struct sg_io_hdr *request) {
    char line[512];
    struct sg_io_hdr shown = *request;

    shown.dxferp = NULL;
    shown.cmdp = NULL;
    shown.sbp = NULL;
    shown.usr_ptr = NULL;
    size_t at = (size_t)snprintf(line, sizeof line, "%s SG_IO ", volume->node);
    at += hex(line + at, &shown, sizeof shown);
    at += (size_t)snprintf(line + at, sizeof line - at, " cdb ");
    at += hex(line + at, request->cmdp, request->cmd_len <= 16 ? request->cmd_len : 16);
    (void)snprintf(line + at, sizeof line - at, "\n");
    appendLine(SIM_DIR "/ioctls.log", line);
}

/* Page 0x00: how many pages there are in byte 3, their codes from byte 4. */
static void fillSupportedPages(const struct array_volume *volume, unsigned char *page) {
    static const unsigned char usual[] = {0x00, 0x80, 0x83, PAGE_VDISK};

    if (answers(volume, "zero-count"))
        return;
    page[3] = answers(volume, "no-d0") ? sizeof usual - 1 : sizeof usual;
    memcpy(page + 4, usual, page[3]);
    if (answers(volume, "many-pages")) {
        /* The vendor page stands far behind the 32nd. */
        page[3] = 250;
        for (unsigned i = 0; i < page[3]; i++)
            page[4 + i] = (unsigned char)(i < 16 ? i : 0x80);
        page[4 + 200] = PAGE_VDISK;
    }
}

/* Page 0xd0: the length of the name in byte 2, the name from byte 3. */
static void fillVdiskPage(const struct array_volume *volume, unsigned char *page) {
    const size_t room = VPD_SIZE - 3;
    size_t length = strlen(volume->vdisk);

    page[1] = PAGE_VDISK;
    length = length < room ? length : room;
    if (answers(volume, "no-nul"))
        memset(page + 3, 'x', room);
    memcpy(page + 3, volume->vdisk, length);
    page[2] = (unsigned char)length;
    if (answers(volume, "long")) {
        page[2] = 255;
        memset(page + 3, 'L', room);
    } else if (answers(volume, "empty")) {
        page[2] = 0;
    } else if (answers(volume, "nul-inside")) {
        page[2] = 9;
        memcpy(page + 3, "vol\0trash", 9);
    }
}

/* CHECK CONDITION, INVALID FIELD IN CDB. */
static void refuse(struct sg_io_hdr *request) {
    static const unsigned char sense[18] = {0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24};

    request->status = CHECK_CONDITION;
    request->sb_len_wr = request->mx_sb_len < sizeof sense ? request->mx_sb_len : sizeof sense;
    if (request->sbp != NULL)
        memcpy(request->sbp, sense, request->sb_len_wr);
}

static int answerScsi(const struct array_volume *volume, struct sg_io_hdr *request) {
    unsigned char page[VPD_SIZE] = {0};

    if (request->interface_id != 'S' || request->cmdp == NULL || request->cmd_len < 6) {
        errno = EINVAL;
        return -1;
    }
    recordScsi(volume, request);
    request->status = 0;
    request->sb_len_wr = 0;
    const unsigned char *cdb = request->cmdp;
    const bool known = cdb[0] == 0x12 && cdb[1] == 1 && (cdb[2] == 0 || cdb[2] == PAGE_VDISK);
    if (!known || answers(volume, "check-condition")) {
        refuse(request);
        return 0;
    }
    if (cdb[2] == 0)
        fillSupportedPages(volume, page);
    else
        fillVdiskPage(volume, page);
    /* Never more than the command block allows, whatever the transfer length is. */
    size_t length = (size_t)cdb[3] << 8 | cdb[4];
    length = length < sizeof page ? length : sizeof page;
    length = length < request->dxfer_len ? length : request->dxfer_len;
    memcpy(request->dxferp, page, length);
    request->resid = (int)(request->dxfer_len - length);
    return 0;
}

/* ---- NVMe */

static void recordAdmin(const struct array_volume *volume, const struct nvme_admin_cmd *command) {
    char line[256];
    struct nvme_admin_cmd shown = *command;

    shown.addr = 0;
    size_t at = (size_t)snprintf(line, sizeof line, "%s NVME_ADMIN ", volume->node);
    at += hex(line + at, &shown, sizeof shown);
    (void)snprintf(line + at, sizeof line - at, "\n");
    appendLine(SIM_DIR "/ioctls.log", line);
}

static void fillLog(const struct array_volume *volume, char *log) {
    const size_t length = strlen(volume->vdisk);

    if (answers(volume, "empty"))
        return;
    if (answers(volume, "long") || answers(volume, "no-nul"))
        memset(log, 'N', LOG_SIZE);
    else if (answers(volume, "nul-inside"))
        memcpy(log, "vol\0trash", 9);
    else
        memcpy(log, volume->vdisk, length < LOG_SIZE ? length : LOG_SIZE);
}

static int answerAdmin(const struct array_volume *volume, struct nvme_admin_cmd *command) {
    char log[LOG_SIZE] = {0};

    recordAdmin(volume, command);
    if (command->opcode != 0x02 || (command->cdw10 & 0xff) != LOG_VDISK || answers(volume, "check-condition"))
        return NVME_INVALID_FIELD;
    if (command->nsid != volume->nsid && command->nsid != UINT32_MAX)
        return NVME_INVALID_NAMESPACE;
    fillLog(volume, log);
    /* As much as the 0-based count of double words asks for, within the caller's buffer. */
    size_t length = ((size_t)(command->cdw11 & 0xffff) << 16 | command->cdw10 >> 16) * 4 + 4;
    length = length < sizeof log ? length : sizeof log;
    length = length < command->data_len ? length : command->data_len;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel's interface carries the address as a number
    memcpy((void *)(uintptr_t)command->addr, log, length);
    return 0;
}

static int namespaceOf(const struct array_volume *volume) {
    char line[64];

    (void)snprintf(line, sizeof line, "%s NVME_ID\n", volume->node);
    appendLine(SIM_DIR "/ioctls.log", line);
    return answers(volume, "no-nsid") ? 0 : (int)volume->nsid;
}

/* ---- */

static int answer(const struct array_volume *volume, unsigned long request, void *argument) {
    const bool scsi = request == SG_IO;

    /* A SCSI request has no meaning for an NVMe namespace, and the other way round. */
    if (scsi == volume->nvme) {
        errno = ENOTTY;
        return -1;
    }
    if (request == NVME_IOCTL_ID)
        return namespaceOf(volume);
    if (!volume->reachable || answers(volume, "errno")) {
        errno = EIO;
        return -1;
    }
    return scsi ? answerScsi(volume, argument) : answerAdmin(volume, argument);
}

int ioctl(int fd, unsigned long request, ...) {
    struct array_volume volume;
    va_list rest;
    NEXT(ioctl_type, ioctl);

    va_start(rest, request);
    void *argument = va_arg(rest, void *);
    va_end(rest);
    /* The kernel looks at 32 bits of the number, and a program may have passed it as a negative int. */
    const unsigned long number = request & 0xffffffffUL;
    const bool forArray = number == SG_IO || number == NVME_IOCTL_ADMIN_CMD || number == NVME_IOCTL_ID;
    if (forArray && volumeOfNode(fd, &volume))
        return answer(&volume, number, argument);
    return next_ioctl.function == NULL ? -1 : next_ioctl.function(fd, request, argument);
}

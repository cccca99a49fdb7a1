// INQUIRY for vital product data pages 0x00 and 0xD0.
#include "array/scsi_page.h"

#include <algorithm>
#include <cstring>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include "array/array_log.h"
#include "array/device_node.h"
#include "array/hex_text.h"
#include "common/text.h"

namespace {

constexpr unsigned char INQUIRY = 0x12;
constexpr unsigned char ENABLE_VITAL_PRODUCT_DATA = 0x01;
constexpr unsigned int ALLOCATION_LENGTH = 255; // what the device may return
// One more than the device ever returns; deliberate, and within every page buffer.
constexpr unsigned int TRANSFER_LENGTH = 256;
constexpr unsigned int TIMEOUT_MS = 5000;

constexpr unsigned char SUPPORTED_PAGES = 0x00;
constexpr unsigned char VDISK_NAME_PAGE = 0xD0;
constexpr char VDISK_NAME_PAGE_TEXT[] = "d0";

// How many bytes of the page the device delivered, whatever residual count came back.
unsigned int deliveredBytes(const sg_io_hdr *request) {
    const auto left_over = std::clamp<long>(request->resid, 0, TRANSFER_LENGTH);
    return std::min(TRANSFER_LENGTH - static_cast<unsigned int>(left_over), ALLOCATION_LENGTH);
}

// `get_disk_page`, with the number of bytes that were delivered.
int readPage(const char *operation, int fd, unsigned char page_code, unsigned char *page,
             unsigned int *delivered) {
    unsigned char command[6] = {INQUIRY, ENABLE_VITAL_PRODUCT_DATA, page_code, 0x00, ALLOCATION_LENGTH, 0x00};
    unsigned char sense[64] = {};
    sg_io_hdr request = {};
    request.interface_id = 'S';
    request.dxfer_direction = SG_DXFER_FROM_DEV;
    request.cmd_len = sizeof(command);
    request.mx_sb_len = sizeof(sense);
    request.dxfer_len = TRANSFER_LENGTH;
    request.dxferp = page;
    request.cmdp = command;
    request.sbp = sense;
    request.timeout = TIMEOUT_MS;

    memset(page, 0, ALLOCATION_LENGTH);
    const int result = ioctl(fd, SG_IO, &request);
    if (result != 0 || request.status != 0) {
        ARRAY_LOG_AS(operation, "get disk page ioctl failed, ret = %d, io_status is %d.\n", result,
                     request.status);
        return -1;
    }
    *delivered = deliveredBytes(&request);
    // What was not delivered is not the page's, even if a driver has left something there.
    memset(page + *delivered, 0, ALLOCATION_LENGTH - *delivered);
    return 0;
}

} // namespace

int get_disk_page(int fd, unsigned char page_code, unsigned char *page) {
    unsigned int delivered = 0;
    return readPage(__func__, fd, page_code, page, &delivered);
}

int get_disk_00_page(const char *path, char (*list)[PAGE_CODE_SIZE], unsigned int *count) {
    const DeviceNode device(path);
    if (device.fd() < 0) {
        ARRAY_LOG("Open scsi device failed, fd = %d.\n", device.fd());
        return -1;
    }
    unsigned char page[VPD_BUFFER_SIZE] = {};
    unsigned int delivered = 0;
    const int read = readPage("get_disk_page", device.fd(), SUPPORTED_PAGES, page, &delivered);
    if (read != 0) {
        ARRAY_LOG("Get Disk 00Page failed, iRet = %d.\n", read);
        return -1;
    }
    const unsigned int listed = page[3];
    if (listed == 0) {
        ARRAY_LOG("Page length error, page len %u.\n", listed);
        return -1;
    }
    const unsigned int filled = std::min({listed, delivered - 4, PAGE_LIST_ENTRIES});
    for (unsigned int i = 0; i < filled; i++) {
        char code[3] = "";
        const int converted = binary_to_ascii(code, sizeof(code), page, 4 + i, 1);
        if (converted != 0) {
            ARRAY_LOG("Binary to ascii failed, ret %d.\n", converted);
            return -1;
        }
        tessaline_strncpy(list[i], code, sizeof(code));
    }
    *count = filled;
    return 0;
}

int is_support_xx_page(const char *page_code, const char (*list)[PAGE_CODE_SIZE], unsigned int count) {
    for (unsigned int i = 0; i < std::min(count, PAGE_LIST_ENTRIES); i++) {
        if (strcmp(page_code, list[i]) == 0) {
            return 0;
        }
    }
    return -1;
}

int get_disk_d0_page(const char *path, char *name) {
    unsigned char page[VPD_BUFFER_SIZE] = {};
    {
        const DeviceNode device(path);
        if (device.fd() < 0) {
            ARRAY_LOG("Open scsi device failed, fd = %d.\n", device.fd());
            return -1;
        }
        const int read = get_disk_page(device.fd(), VDISK_NAME_PAGE, page);
        if (read != 0) {
            ARRAY_LOG("Get Disk D0 Page failed, iRet = %d.\n", read);
            return -1;
        }
    }
    const int length = page[2];
    // Never true of one byte; it stands here for the day the length becomes two.
    if (length > 255) {
        ARRAY_LOG("Page length error, page len %d.\n", length);
        return -1;
    }
    page[3 + length] = '\0';
    copyVdiskName(name, reinterpret_cast<const char *>(page + 3));
    if (safe_strlen(name) == 0) {
        ARRAY_LOG("Devcie (%s),Get Disk D0 Page failed, vdisk name is NULL.\n", path);
        return -1;
    }
    return 0;
}

int get_vdisk_name(const char *path, char *name) {
    char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE] = {};
    unsigned int count = 0;
    if (get_disk_00_page(path, list, &count) != 0) {
        ARRAY_LOG("Get 00 page of device failed.\n");
        return -1;
    }
    if (is_support_xx_page(VDISK_NAME_PAGE_TEXT, list, count) != 0) {
        ARRAY_LOG("Get D0 page of device failed, maybe it is not support D0 page.\n");
        return -1;
    }
    if (get_disk_d0_page(path, name) != 0) {
        ARRAY_LOG("Get D0 page of device failed.\n");
        return -1;
    }
    return 0;
}

// The virtual-disk name of a SCSI volume: vital product data page 0xD0, read with INQUIRY (the SPC-4
// standard, "INQUIRY command" and "Vital product data parameters") through the SCSI generic pass-through.
//
//   page 0x00   byte 3 the number of pages, from byte 4 on one page code each
//   page 0xD0   byte 2 the length of the name, from byte 3 on the name in ASCII
//
// No length that the device sends is trusted: nothing is read past what the transfer delivered (the request's
// residual count), past the buffer, or copied past the destination.
//
// All log lines are of level 0.
#pragma once

// What a page buffer holds: 3 bytes of header, a name of 255 bytes as the length byte allows, the terminator.
// The device is asked for 255 bytes; the transfer is announced as 256.
constexpr unsigned int VPD_BUFFER_SIZE = 3 + 255 + 1;

// The list of supported pages: so many entries of so many bytes.
constexpr unsigned int PAGE_LIST_ENTRIES = 32;
constexpr unsigned int PAGE_CODE_SIZE = 128;

// Reads the vital product data page `page_code` into `page`, which holds VPD_BUFFER_SIZE bytes; its first 255
// are zero where the device delivered nothing. Waits at most 5 seconds.
// Returns 0 when the request was carried out with SCSI status 0, otherwise -1, logged as
// "get disk page ioctl failed, ret = %d, io_status is %d.\n" with the ioctl's result and the status.
int get_disk_page(int fd, unsigned char page_code, unsigned char *page);

// Fills `list` with the page codes that the device `path` reports as supported, two lower-case hexadecimal
// digits each, and `*count` with their number: at most PAGE_LIST_ENTRIES, so a code behind the 32nd is
// missed.
// Returns 0; -1 with `*count` as it was, logged as "Open scsi device failed, fd = %d.\n",
// "Get Disk 00Page failed, iRet = %d.\n", "Page length error, page len %u.\n" for a page that lists nothing,
// or "Binary to ascii failed, ret %d.\n".
int get_disk_00_page(const char *path, char (*list)[PAGE_CODE_SIZE], unsigned int *count);

// 0 when one of the first `count` entries of `list` is exactly `page_code`, for instance "d0"; -1 otherwise.
int is_support_xx_page(const char *page_code, const char (*list)[PAGE_CODE_SIZE], unsigned int count);

// Reads page 0xD0 of the device `path` and copies the name into `name`, which holds 128 bytes: at most 127
// characters, up to the first NUL.
// Returns 0; -1, logged as "Open scsi device failed, fd = %d.\n", "Get Disk D0 Page failed, iRet = %d.\n",
// "Page length error, page len %d.\n", or, for an empty name (which is copied),
// "Devcie (%s),Get Disk D0 Page failed, vdisk name is NULL.\n". After the first three `name` is as it was.
int get_disk_d0_page(const char *path, char *name);

// Asks the SCSI device `path` for its name: page 0xD0 when page 0x00 lists it. `name` holds 128 bytes.
// Returns 0 with a non-empty name; -1, logged beside the lines above as "Get 00 page of device failed.\n",
// "Get D0 page of device failed, maybe it is not support D0 page.\n" or "Get D0 page of device failed.\n".
int get_vdisk_name(const char *path, char *name);

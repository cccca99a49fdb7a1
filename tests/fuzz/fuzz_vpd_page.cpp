// Any answers to the two INQUIRY commands: the list and the name are those of the bytes that were delivered, and
// nothing else is written.
//
// Input: how the request ends (ioctl result, SCSI status), the residual count (4 bytes, least first), the length
// of page 0x00 (1 byte), page 0x00, and in the rest page 0xD0.
#include "array/array.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <scsi/sg.h>
#include <string>
#include <vector>

#include "common/comm_util.h"

namespace {

constexpr size_t HEADER = 7;
constexpr char CANARY = '#';
constexpr size_t ANNOUNCED = 256;
constexpr size_t PAGE = 255;

struct Answers {
    int result;
    unsigned char status;
    int resid;
    std::vector<uint8_t> pages[2]; // 0x00, 0xD0
};
Answers answers;

void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "broken: %s\n", what);
        abort();
    }
}

// The page as a reader may see it: what was delivered, zero behind that.
std::vector<uint8_t> visible(const std::vector<uint8_t> &page) {
    std::vector<uint8_t> bytes = page;
    bytes.resize(ANNOUNCED, 0);
    const auto left_over = static_cast<size_t>(std::clamp<long>(answers.resid, 0, ANNOUNCED));
    bytes.resize(std::min(ANNOUNCED - left_over, PAGE));
    bytes.resize(ANNOUNCED + 4, 0);
    return bytes;
}

size_t deliveredBytes() {
    return std::min<size_t>(ANNOUNCED - static_cast<size_t>(std::clamp<long>(answers.resid, 0, ANNOUNCED)),
                            PAGE);
}

std::string expectedName() {
    const std::vector<uint8_t> page = visible(answers.pages[1]);
    std::string name;
    for (size_t i = 0; i < page[2] && 3 + i < page.size() && page[3 + i] != 0; i++) {
        name += static_cast<char>(page[3 + i]);
    }
    return name.substr(0, 127);
}

void checkName(bool fails) {
    char field[128 + 32];
    memset(field, CANARY, sizeof(field));
    const int result = get_disk_d0_page("/dev/null", field);
    require(std::string(field + 128, 32) == std::string(32, CANARY), "bytes behind the name");
    if (fails) {
        require(result == -1 && std::string(field, 128) == std::string(128, CANARY), "a failed request");
        return;
    }
    require(memchr(field, '\0', 128) != nullptr && field == expectedName(), "the name");
    require(result == (field[0] == '\0' ? -1 : 0), "the result of the name");
}

// Whether the list holds page 0xD0.
bool checkList(bool fails) {
    struct {
        char list[PAGE_LIST_ENTRIES][PAGE_CODE_SIZE];
        char canary[32];
    } pages;
    memset(&pages, CANARY, sizeof(pages));
    unsigned int count = 77;
    const int result = get_disk_00_page("/dev/null", pages.list, &count);
    require(std::string(pages.canary, 32) == std::string(32, CANARY), "bytes behind the list");
    const std::vector<uint8_t> page = visible(answers.pages[0]);
    if (fails || page[3] == 0) {
        require(result == -1 && count == 77, "a failed list");
        return false;
    }
    require(result == 0 && count == std::min<size_t>({page[3], deliveredBytes() - 4, 32}), "the count");
    bool listed = false;
    for (unsigned int i = 0; i < count; i++) {
        char code[3] = "";
        snprintf(code, sizeof(code), "%02x", page[4 + i]);
        require(strcmp(pages.list[i], code) == 0, "a page code");
        listed = listed || page[4 + i] == 0xD0;
    }
    require((is_support_xx_page("d0", pages.list, count) == 0) == listed, "the search in the list");
    return listed;
}

} // namespace

// NOLINTNEXTLINE(cert-dcl50-cpp): the C library's own variadic signature
extern "C" int ioctl(int /*fd*/, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    auto *header = va_arg(arguments, sg_io_hdr *);
    va_end(arguments);
    require(request == SG_IO && header->dxfer_len == ANNOUNCED, "the request");
    const std::vector<uint8_t> &page = answers.pages[header->cmdp[2] == 0xD0 ? 1 : 0];
    if (!page.empty()) {
        memcpy(header->dxferp, page.data(), std::min<size_t>(page.size(), header->dxfer_len));
    }
    header->status = answers.status;
    header->resid = answers.resid;
    return answers.result;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    log_started = false;
    if (size < HEADER) {
        return 0;
    }
    answers.result = data[0] == 0 ? 0 : -1;
    answers.status = data[1];
    memcpy(&answers.resid, data + 2, sizeof(answers.resid));
    const size_t first = std::min<size_t>(data[6], size - HEADER);
    answers.pages[0].assign(data + HEADER, data + HEADER + first);
    answers.pages[1].assign(data + HEADER + first, data + size);

    const bool fails = answers.result != 0 || answers.status != 0;
    checkName(fails);
    const bool listed = checkList(fails);
    char name[128] = "";
    const int result = get_vdisk_name("/dev/null", name);
    const std::string expected = listed ? expectedName() : "";
    require(result == (expected.empty() ? -1 : 0) && name == expected, "the whole sequence");
    return 0;
}

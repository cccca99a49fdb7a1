// Any answer to Get Log Page: the name is the text at the start of the 64 bytes, and nothing else is written.
//
// Input: the result of the request (1 byte), the log page.
#include "array/array.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/comm_util.h"

namespace {

constexpr char CANARY = '#';

int answer = 0;
std::vector<uint8_t> page;

void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "broken: %s\n", what);
        abort();
    }
}

} // namespace

// NOLINTNEXTLINE(cert-dcl50-cpp): the C library's own variadic signature
extern "C" int ioctl(int /*fd*/, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    auto *cmd = va_arg(arguments, nvme_admin_cmd *);
    va_end(arguments);
    require(request == NVME_IOCTL_ADMIN_CMD && cmd->opcode == 0x02 && cmd->data_len == 64 &&
                cmd->cdw10 == 0x000F00C0 && cmd->nsid == static_cast<uint32_t>(-15),
            "the request");
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel's interface hands the address over as a number
    auto *buffer = reinterpret_cast<uint8_t *>(static_cast<uintptr_t>(cmd->addr));
    std::copy_n(page.begin(), std::min<size_t>(page.size(), cmd->data_len), buffer);
    return answer;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    log_started = false;
    if (size == 0) {
        return 0;
    }
    answer = data[0] - (data[0] > 127 ? 256 : 0); // an NVMe status or a negative error
    page.assign(data + 1, data + size);
    page.resize(64, 0);

    char field[128 + 32];
    memset(field, CANARY, sizeof(field));
    // No block device: its identifier is -15, and it is sent all the same.
    const int result = get_nvme_vdisk_name("/dev/null", field);
    require(std::string(field + 128, 32) == std::string(32, CANARY), "bytes behind the name");
    if (answer != 0) {
        require(result == -1 && std::string(field, 128) == std::string(128, CANARY), "a failed request");
        return 0;
    }
    const char *text = reinterpret_cast<const char *>(page.data());
    require(memchr(field, '\0', 128) != nullptr && std::string(text, strnlen(text, 63)) == field, "the name");
    require(result == (field[0] == '\0' ? -1 : 0), "the result");
    return 0;
}

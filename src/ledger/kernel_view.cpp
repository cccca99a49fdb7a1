// Asking sysfs about maps and their block devices.
#include "ledger/kernel_view.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owned.h"
#include "common/plain_word.h"

namespace dravik {

std::string kernel_root;

namespace {

constexpr int64_t SECTOR_BYTES = 512;

// A name of the listing that may become a name below /sys; others are no device's.
bool isName(const std::string &name) {
    return isPlainDeviceName(name.c_str()) && name != "." && name != "..";
}

std::string blockFolder(const std::string &name) {
    return "/sys/block/" + name;
}

// HAS_IT or HAS_IT_NOT for an entry; CANNOT_TELL when even the folder of all block devices cannot be looked at.
KernelAnswer exists(const std::string &path) {
    if (access((kernel_root + path).c_str(), F_OK) == 0) {
        return KernelAnswer::HAS_IT;
    }
    const bool absent = errno == ENOENT || errno == ENOTDIR;
    const bool can_be_asked = access((kernel_root + "/sys/block").c_str(), R_OK | X_OK) == 0;
    return absent && can_be_asked ? KernelAnswer::HAS_IT_NOT : KernelAnswer::CANNOT_TELL;
}

} // namespace

bool readKernelLine(const std::string &path, std::string *line) {
    const Descriptor file(open((kernel_root + path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat attributes = {};
    if (!file.isOpen() || fstat(file.get(), &attributes) != 0 || !S_ISREG(attributes.st_mode)) {
        return false;
    }
    char text[255];
    const ssize_t got = read(file.get(), text, sizeof(text));
    if (got < 0) {
        return false;
    }
    line->assign(text, static_cast<size_t>(got));
    line->resize(std::min(line->size(), line->find('\n')));
    return true;
}

KernelAnswer kernelHasPath(const std::string &map, const std::string &name) {
    if (!isName(map) || !isName(name)) {
        return KernelAnswer::CANNOT_TELL;
    }
    const KernelAnswer device = exists(blockFolder(name));
    return device != KernelAnswer::HAS_IT ? device : exists(blockFolder(map) + "/slaves/" + name);
}

KernelAnswer kernelHasVolume(const std::string &map, const std::string &alias, const std::string &wwid) {
    if (!isName(map)) {
        return KernelAnswer::CANNOT_TELL;
    }
    std::string name;
    if (readKernelLine(blockFolder(map) + "/dm/name", &name)) {
        return name == alias || name == wwid ? KernelAnswer::HAS_IT : KernelAnswer::HAS_IT_NOT;
    }
    const KernelAnswer attribute = exists(blockFolder(map) + "/dm/name");
    return attribute == KernelAnswer::HAS_IT ? KernelAnswer::CANNOT_TELL : attribute;
}

int64_t mapSizeBytes(const std::string &map) {
    std::string sectors;
    if (!isName(map) || !readKernelLine(blockFolder(map) + "/size", &sectors) || sectors.empty()) {
        return 0;
    }
    char *end = nullptr;
    const long long count = strtoll(sectors.c_str(), &end, 10);
    return *end == '\0' && count > 0 && count <= INT64_MAX / SECTOR_BYTES ? count * SECTOR_BYTES : 0;
}

std::string bootId() {
    std::string id;
    readKernelLine("/proc/sys/kernel/random/boot_id", &id);
    return id;
}

} // namespace dravik

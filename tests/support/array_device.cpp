// The test program's ioctl and fstat, and the device they answer for.

// The plain declarations are wanted here: large-file headers would redirect the names.
#undef _FILE_OFFSET_BITS

#include "tests/support/array_device.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace {

ArrayDevice *current = nullptr;

template <typename Function> Function nextOwner(const char *name) {
    void *found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        fprintf(stderr, "array_device: the C library has no %s\n", name);
        abort();
    }
    return reinterpret_cast<Function>(found);
}

int realFstat(int fd, struct stat *attributes) {
    static const auto next = nextOwner<int (*)(int, struct stat *)>("fstat");
    return next(fd, attributes);
}

} // namespace

int answerIoctl(int fd, unsigned long request, void *argument) {
    if (request == SG_IO) {
        return current->inquiry(static_cast<sg_io_hdr *>(argument), fd);
    }
    return current->ioctlHere(request, argument);
}

// NOLINTBEGIN(cert-dcl50-cpp): the C library's own variadic signature
extern "C" {

int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (current != nullptr && current->isThis(fd)) {
        return answerIoctl(fd, request, argument);
    }
    static const auto next = nextOwner<int (*)(int, unsigned long, ...)>("ioctl");
    return next(fd, request, argument);
}

int fstat(int fd, struct stat *attributes) noexcept {
    if (current != nullptr && current->isThis(fd)) {
        if (current->fstat_fails) {
            errno = EBADF;
            return -1;
        }
        const int result = realFstat(fd, attributes);
        if (result == 0 && current->block_device) {
            attributes->st_mode = S_IFBLK | (attributes->st_mode & 0777U);
        }
        return result;
    }
    return realFstat(fd, attributes);
}

} // extern "C"
// NOLINTEND(cert-dcl50-cpp)

ArrayDevice::ArrayDevice() {
    folder = testing::TempDir() + "dravik-device.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        perror(folder.c_str());
        abort();
    }
    std::ofstream(path()) << "";
    // A folder is what root, too, can open for reading only.
    std::filesystem::create_directory(readOnlyPath());
    current = this;
}

ArrayDevice::~ArrayDevice() {
    current = nullptr;
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

std::string ArrayDevice::path() const {
    return folder + "/node";
}

std::string ArrayDevice::readOnlyPath() const {
    return folder + "/read-only-node";
}

void ArrayDevice::answerPage(unsigned char page_code, const std::vector<unsigned char> &page) {
    pages.emplace_back(page_code, page);
}

void ArrayDevice::answerLog(const std::string &text) {
    on_admin = [text](nvme_admin_cmd *cmd) {
        auto *data = static_cast<char *>(dataOf(cmd));
        memset(data, 0, cmd->data_len);
        std::copy_n(text.begin(), std::min<size_t>(text.size(), cmd->data_len), data);
        return 0;
    };
}

bool ArrayDevice::isThis(int fd) const {
    struct stat opened = {};
    struct stat node = {};
    if (realFstat(fd, &opened) != 0) {
        return false;
    }
    return (::stat(path().c_str(), &node) == 0 && node.st_ino == opened.st_ino) ||
           (::stat(readOnlyPath().c_str(), &node) == 0 && node.st_ino == opened.st_ino);
}

int ArrayDevice::inquiry(sg_io_hdr *header, int fd) {
    SentInquiry sent = {};
    sent.header = *header;
    sent.command.assign(header->cmdp, header->cmdp + header->cmd_len);
    sent.sense.assign(header->sbp, header->sbp + header->mx_sb_len);
    sent.open_flags = fcntl(fd, F_GETFL);
    sent.close_on_exec = (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
    inquiries.push_back(sent);
    for (const auto &[code, page] : pages) {
        if (sent.command.size() > 2 && sent.command[2] == code) {
            const size_t length = std::min<size_t>(page.size(), header->dxfer_len);
            std::copy_n(page.begin(), length, static_cast<unsigned char *>(header->dxferp));
            header->resid = static_cast<int>(header->dxfer_len - length);
            return 0;
        }
    }
    if (on_inquiry) {
        return on_inquiry(header);
    }
    errno = EIO;
    return -1;
}

int ArrayDevice::ioctlHere(unsigned long request, void *argument) {
    if (request == NVME_IOCTL_ID) {
        nsid_requests++;
        return nsid;
    }
    if (request == NVME_IOCTL_ADMIN_CMD) {
        auto *cmd = static_cast<nvme_admin_cmd *>(argument);
        admin_commands.push_back(*cmd);
        if (on_admin) {
            return on_admin(cmd);
        }
        errno = EIO;
        return -1;
    }
    errno = ENOTTY;
    return -1;
}

int ArrayDevice::openDescriptors() const {
    int found = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
        found += target == path() || target == readOnlyPath() ? 1 : 0;
    }
    return found;
}

void *dataOf(const nvme_admin_cmd *cmd) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel's interface hands the address over as a number
    return reinterpret_cast<void *>(static_cast<uintptr_t>(cmd->addr));
}

std::vector<unsigned char> supportedPages(const std::vector<unsigned char> &codes) {
    std::vector<unsigned char> page(4 + codes.size());
    page[3] = static_cast<unsigned char>(codes.size());
    std::copy(codes.begin(), codes.end(), page.begin() + 4);
    return page;
}

std::vector<unsigned char> namePage(const std::string &name) {
    std::vector<unsigned char> page(3 + name.size());
    page[1] = 0xD0;
    page[2] = static_cast<unsigned char>(name.size());
    std::copy(name.begin(), name.end(), page.begin() + 3);
    return page;
}

// Reading the transport classes of sysfs.
#include "ledger/initiators.h"

#include <cstring>
#include <dirent.h>
#include <unistd.h>

#include "common/owned.h"
#include "ledger/kernel_view.h"

namespace dravik {

namespace {

// The first line of an attribute of a class; empty when there is none.
std::string attributeOf(const std::string &path) {
    std::string line;
    readKernelLine("/sys/class/" + path, &line);
    return line;
}

// The "host3" of an address such as 3:0:0:1; empty when it does not begin with a number.
std::string hostOf(const char *address) {
    const size_t digits = strspn(address, "0123456789");
    return digits > 0 && digits <= 9 && address[digits] == ':' ? "host" + std::string(address, digits) : "";
}

// The controller "nvme0" of a namespace's block device, nvme0n1 or nvme0c1n1; empty for any other name.
std::string controllerOf(const char *device) {
    if (strncmp(device, "nvme", 4) != 0) {
        return "";
    }
    const size_t digits = strspn(device + 4, "0123456789");
    return digits > 0 ? std::string(device, 4 + digits) : "";
}

} // namespace

// Each session's link leads through its host: ../../devices/platform/host3/session1/iscsi_session/session1
void Initiators::readSessions() {
    sessions_read = true;
    const Folder opened(opendir((kernel_root + "/sys/class/iscsi_session").c_str()));
    if (opened == nullptr) {
        return;
    }
    while (const dirent *entry = readdir(opened.get())) { // NOLINT(concurrency-mt-unsafe)
        char link[1024];
        const ssize_t length =
            entry->d_name[0] == '.' ? -1 : readlinkat(dirfd(opened.get()), entry->d_name, link, sizeof(link) - 1);
        if (length < 0) {
            continue;
        }
        link[length] = '\0';
        const char *host = strstr(link, "/host");
        if (host != nullptr) {
            const std::string name(host + 1, strcspn(host + 1, "/"));
            sessions[name] = attributeOf(std::string("iscsi_session/") + entry->d_name + "/initiatorname");
        }
    }
}

const std::string &Initiators::ofScsiHost(const std::string &host) {
    const auto known = by_host.find(host);
    if (known != by_host.end()) {
        return known->second;
    }
    std::string name = host.empty() ? "" : attributeOf("fc_host/" + host + "/port_name");
    if (name.empty()) {
        if (!sessions_read) {
            readSessions();
        }
        name = sessions[host];
    }
    return by_host[host] = name.empty() ? host : name;
}

const std::string &Initiators::of(const s_path_dev *path) {
    const std::string controller = controllerOf(path->dev_name);
    if (controller.empty()) {
        return ofScsiHost(hostOf(path->dev_node));
    }
    const auto known = by_host.find(controller);
    if (known != by_host.end()) {
        return known->second;
    }
    const std::string name = attributeOf("nvme/" + controller + "/hostnqn");
    return by_host[controller] = name.empty() ? hostOf(path->dev_node) : name;
}

} // namespace dravik

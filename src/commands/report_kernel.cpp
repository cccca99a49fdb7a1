// The kernel's view. Runs in a process of its own (report_sources.h): reading an attribute may hang.
#include "commands/report_kernel.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "commands/report_sources.h"
#include "common/owned.h"

namespace dravik {

namespace {

using Attributes = std::vector<const char *>;

constexpr char BLOCK_FOLDER[] = "/sys/block";

// The names in a folder, sorted; none of one that is not there.
std::vector<std::string> namesIn(const std::string &folder) {
    std::vector<std::string> names;
    const Folder open_folder(opendir(folder.c_str()));
    while (open_folder) {
        const dirent *entry = readdir(open_folder.get());
        if (entry == nullptr) {
            break;
        }
        if (entry->d_name[0] != '.') {
            names.emplace_back(entry->d_name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The attribute's first line without the blanks at its end; "" where it cannot be read.
std::string attribute(const std::string &file) {
    char text[257] = "";
    const Descriptor opened(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    const ssize_t got = opened.isOpen() ? read(opened.get(), text, sizeof(text) - 1) : 0;
    std::string value(text, got > 0 ? static_cast<size_t>(got) : 0);
    value.resize(std::min(value.find_first_of(std::string("\n\0", 2)), value.size()));
    value.resize(value.find_last_not_of(" \t") + 1);
    std::replace(value.begin(), value.end(), ' ', '_');
    return value;
}

std::string linkTarget(const std::string &link) {
    char target[PATH_MAX] = "";
    const ssize_t length = readlink(link.c_str(), target, sizeof(target));
    return {target, length > 0 ? static_cast<size_t>(length) : 0};
}

std::string lastPart(const std::string &path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

void addAttributes(std::string *line, const std::string &folder, const Attributes &attributes) {
    for (const char *name : attributes) {
        const std::string value = attribute(folder + "/" + name);
        if (!value.empty()) {
            *line += std::string(" ") + lastPart(name) + "=" + value;
        }
    }
}

// A line for each thing in the folder. Whether it is still wanted.
bool writeClass(int out, const std::string &folder, const Attributes &attributes) {
    std::string text;
    for (const std::string &name : namesIn(folder)) {
        text.append(lastPart(folder)).append("/").append(name);
        addAttributes(&text, std::string(folder).append("/").append(name), attributes);
        text += "\n";
    }
    return writeWhole(out, text);
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words) {
        text += (text.empty() ? "" : ",") + word;
    }
    return text;
}

bool isMap(const std::string &name) {
    return name.compare(0, 3, "dm-") == 0;
}

void writeMaps(int out) {
    for (const std::string &name : namesIn(BLOCK_FOLDER)) {
        const std::string folder = std::string(BLOCK_FOLDER) + "/" + name;
        std::string line = name;
        if (isMap(name)) {
            addAttributes(&line, folder, {"dev", "dm/name", "dm/uuid", "dm/suspended", "size", "ro"});
            if (!writeWhole(out, line + " slaves=" + joined(namesIn(folder + "/slaves")) +
                                     " holders=" + joined(namesIn(folder + "/holders")) + "\n")) {
                return;
            }
        }
    }
}

void writePaths(int out) {
    for (const std::string &name : namesIn(BLOCK_FOLDER)) {
        const std::string folder = std::string(BLOCK_FOLDER) + "/" + name;
        std::string line = name;
        if (!isMap(name)) {
            const std::string device = lastPart(linkTarget(folder + "/device"));
            line += device.empty() ? "" : " device=" + device;
            addAttributes(&line, folder,
                          {"dev", "size", "device/state", "device/timeout", "device/vendor", "device/model"});
            if (!writeWhole(out, line + "\n")) {
                return;
            }
        }
    }
}

void writeFibreChannel(int out) {
    writeClass(out, "/sys/class/fc_host",
               {"port_name", "node_name", "port_state", "port_type", "port_id", "speed", "supported_speeds",
                "fabric_name", "symbolic_name"}) &&
        writeClass(
            out, "/sys/class/fc_remote_ports",
            {"port_name", "node_name", "port_state", "port_id", "roles", "dev_loss_tmo", "fast_io_fail_tmo"});
}

// Without the user names and passwords that the sessions have too.
void writeIscsi(int out) {
    writeClass(out, "/sys/class/iscsi_host",
               {"initiatorname", "ipaddress", "netdev", "port_state", "port_speed"}) &&
        writeClass(out, "/sys/class/iscsi_session",
                   {"targetname", "initiatorname", "state", "tpgt", "recovery_tmo", "abort_tmo"}) &&
        writeClass(out, "/sys/class/iscsi_connection",
                   {"address", "port", "persistent_address", "persistent_port", "state"});
}

void writeNvme(int out) {
    writeClass(out, "/sys/class/nvme",
               {"transport", "address", "state", "subsysnqn", "hostnqn", "cntlid", "model", "firmware_rev",
                "serial", "reconnect_delay", "ctrl_loss_tmo", "fast_io_fail_tmo"}) &&
        writeClass(out, "/sys/class/nvme-subsystem", {"subsysnqn", "iopolicy", "model", "serial"});
}

void writeByPath(int out) {
    constexpr char FOLDER[] = "/dev/disk/by-path";
    std::string text;
    for (const std::string &name : namesIn(FOLDER)) {
        text += name + " " + lastPart(linkTarget(std::string(FOLDER) + "/" + name)) + "\n";
    }
    writeWhole(out, text);
}

constexpr size_t KIB = 1024;

} // namespace

const KernelView KERNEL_VIEW_LIST[KERNEL_VIEWS] = {
    {"kernel-maps.txt", "/sys/block/dm-*", 1536 * KIB, writeMaps},
    {"kernel-paths.txt", "/sys/block", 3072 * KIB, writePaths},
    {"kernel-fc.txt", "/sys/class/fc_host, fc_remote_ports", 256 * KIB, writeFibreChannel},
    {"kernel-iscsi.txt", "/sys/class/iscsi_host, iscsi_session, iscsi_connection", 512 * KIB, writeIscsi},
    {"kernel-nvme.txt", "/sys/class/nvme, nvme-subsystem", 512 * KIB, writeNvme},
    {"by-path.txt", "/dev/disk/by-path", 3072 * KIB, writeByPath},
};

} // namespace dravik

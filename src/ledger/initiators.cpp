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

constexpr unsigned int NO_NUMBER = ~0U;

// The number that `text` begins with and that `end` follows, if not 0: NO_NUMBER when there is none, or a large one.
unsigned int numberOf(const char *text, char end) {
    unsigned int number = 0;
    const char *digit = text;
    for (; *digit >= '0' && *digit <= '9' && digit - text < 6; ++digit) {
        number = number * 10 + static_cast<unsigned int>(*digit - '0');
    }
    return digit == text || (end != '\0' && *digit != end) ? NO_NUMBER : number;
}

std::string hostOf(const s_path_dev *path) {
    const unsigned int number = numberOf(path->dev_node, ':');
    return number == NO_NUMBER ? "" : "host" + std::to_string(number);
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
        const ssize_t length = entry->d_name[0] == '.'
                                   ? -1
                                   : readlinkat(dirfd(opened.get()), entry->d_name, link, sizeof(link) - 1);
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

std::string Initiators::nameOf(const s_path_dev *path, bool is_nvme, const std::string &port) {
    if (is_nvme) {
        std::string name = attributeOf("nvme/" + port + "/hostnqn");
        return name.empty() ? hostOf(path) : name;
    }
    std::string name = attributeOf("fc_host/" + port + "/port_name");
    if (!name.empty()) {
        return name;
    }
    if (!sessions_read) {
        readSessions();
    }
    const auto session = sessions.find(port);
    return session == sessions.end() || session->second.empty() ? port : session->second;
}

const std::string &Initiators::find(const s_path_dev *path, bool is_nvme, unsigned int number) {
    const std::string port = (is_nvme ? "nvme" : "host") + std::to_string(number);
    const auto known = by_port.find(port);
    return known != by_port.end() ? known->second : by_port[port] = nameOf(path, is_nvme, port);
}

const std::string &Initiators::of(const s_path_dev *path) {
    static const std::string none;
    const bool is_nvme = strncmp(path->dev_name, "nvme", 4) == 0;
    const unsigned int number = is_nvme ? numberOf(path->dev_name + 4, '\0') : numberOf(path->dev_node, ':');
    if (number == NO_NUMBER) {
        return none;
    }
    std::vector<const std::string *> &names = by_number[is_nvme ? 1 : 0];
    if (number >= names.size()) {
        names.resize(number + 1);
    }
    if (names[number] == nullptr) {
        names[number] = &find(path, is_nvme, number);
    }
    return *names[number];
}

} // namespace dravik

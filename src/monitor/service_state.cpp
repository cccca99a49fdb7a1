// The service manager's datagrams.
#include "monitor/service_state.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/log.h"
#include "common/owned.h"

namespace dravik {

namespace {

sockaddr_un manager = {};
socklen_t manager_length = 0; // 0 for no manager
bool is_watched = false;

// The value of the variable, which is not set any more; "" where it was not.
std::string take(const char *name) {
    const char *value = getenv(name);
    std::string taken = value == nullptr ? "" : value;
    unsetenv(name);
    return taken;
}

void ignore(const char *name, const std::string &value) {
    DRAVIK_LOG(LOG_DEBUG, "Environment variable %s is not usable: [%s].", name, value.c_str());
}

bool isNumber(const std::string &text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isPositive(const std::string &text) {
    return isNumber(text) && text.find_first_not_of('0') != std::string::npos;
}

void takeSocket() {
    const std::string name = take("NOTIFY_SOCKET");
    manager_length = 0;
    if (name.empty()) {
        return;
    }
    const bool is_abstract = name[0] == '@';
    if ((!is_abstract && name[0] != '/') || name.size() < 2 || name.size() >= sizeof(manager.sun_path)) {
        ignore("NOTIFY_SOCKET", name);
        return;
    }
    manager = {};
    manager.sun_family = AF_UNIX;
    memcpy(manager.sun_path, name.data(), name.size());
    if (is_abstract) {
        manager.sun_path[0] = '\0'; // its name ends with the address
    }
    manager_length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() + (is_abstract ? 0 : 1));
}

void takeWatchdog() {
    const std::string time = take("WATCHDOG_USEC");
    const std::string process = take("WATCHDOG_PID");
    is_watched = false;
    if (time.empty()) {
        return;
    }
    if (!isPositive(time)) {
        ignore("WATCHDOG_USEC", time);
    } else if (!process.empty() && process != std::to_string(getpid())) {
        if (!isNumber(process)) {
            ignore("WATCHDOG_PID", process);
        }
    } else {
        is_watched = manager_length != 0;
    }
}

} // namespace

void takeServiceVariables() {
    takeSocket();
    takeWatchdog();
}

bool hasServiceManager() {
    return manager_length != 0;
}

bool isWatched() {
    return is_watched;
}

bool tellServiceManager(const char *state) {
    if (manager_length == 0) {
        return false;
    }
    const Descriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return fd.isOpen() && sendto(fd.get(), state, strlen(state), MSG_DONTWAIT | MSG_NOSIGNAL,
                                 reinterpret_cast<const sockaddr *>(&manager), manager_length) >= 0;
}

} // namespace dravik

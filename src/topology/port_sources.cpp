// The texts themselves, or the commands that print them.
#include "topology/port_sources.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "common/log.h"
#include "host/shell_command.h"
#include "host/task.h"
#include "topology/device_attribute.h"
#include "topology/path_links.h"

namespace dravik {

bool ask_commands_only = false;

namespace {

constexpr char LINKS_FOLDER[] = "/dev/disk/by-path/";

// What is known of the folder of links in the query under way.
enum class Folder { UNREAD, READ, UNSURE };
Folder folder = Folder::UNREAD;
bool in_query = false;
PathLinks links;

constexpr size_t PATH_SIZE = 128;
constexpr size_t LONGEST_NAME = 64;

// A dot is a pattern to grep, and the character filter of the command lines replaces "!".
bool mayAnswerFor(const char *device) {
    return !ask_commands_only && !is_debug() && strpbrk(device, ".!") == nullptr &&
           strlen(device) <= LONGEST_NAME;
}

bool haveLinks() {
    if (folder == Folder::UNREAD || !in_query) {
        try {
            folder = links.read(LINKS_FOLDER) ? Folder::READ : Folder::UNSURE;
        } catch (const std::bad_alloc &) {
            folder = Folder::UNSURE;
        }
    }
    return folder == Folder::READ;
}

bool listLinks(const char *device, char *out, unsigned int size) {
    if (!haveLinks()) {
        return false;
    }
    try {
        links.list(device, out, size);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void attributePath(char (&path)[PATH_SIZE], const char *device, const char *attribute) {
    snprintf(path, sizeof(path), "/sys/block/%s/device/%s", device, attribute);
}

// What the command line for a missing attribute leaves in the log.
void logMissing(const char *command, const char *path) {
    DRAVIK_LOG_AS("exe_cmd", LOG_ERROR, "Execute command [%s 2>&1] failed, exit code [%d]\n", command, 1);
    DRAVIK_LOG_AS("exe_cmd", LOG_ERROR, "Error message: cat: %s: No such file or directory\n\n", path);
    DRAVIK_LOG_AS("exeLiunxInfoCmd", LOG_ERROR, "Command [%s] failed, exitcode:[%d]\n", command, 1);
}

} // namespace

s_ecItems *askLinks(const char *device, char *out, unsigned int size) {
    if (mayAnswerFor(device) && listLinks(device, out, size)) {
        return &EC_info_ok;
    }
    const ShellCommand command("ls -l /dev/disk/by-path/ | grep '"_sh, DeviceName{device},
                               "$' | awk -F\" \" '{print $9}'"_sh);
    return runForOutput(__func__, command, out, size);
}

s_ecItems *askTransport(const char *device, char *out, unsigned int size) {
    const ShellCommand command("cat /sys/block/"_sh, DeviceName{device}, "/device/transport"_sh);
    char path[PATH_SIZE] = "";
    attributePath(path, device, "transport");
    switch (mayAnswerFor(device) ? readAttribute(path, out, size) : AttributeState::UNSURE) {
    case AttributeState::READ:
        return &EC_info_ok;
    case AttributeState::MISSING:
        logMissing(command.line(), path);
        return &EC_exe_cmd_failed;
    case AttributeState::UNSURE:
        break;
    }
    return runForOutput(__func__, command, out, size);
}

s_ecItems *askAddress(const char *device, char *out, unsigned int size) {
    char path[PATH_SIZE] = "";
    attributePath(path, device, "address");
    // The awk behind the cat succeeds whatever became of the cat: a missing file is an empty one.
    if (mayAnswerFor(device) && readAttributeHeads(path, out, size) != AttributeState::UNSURE) {
        return &EC_info_ok;
    }
    const ShellCommand command("cat /sys/block/"_sh, DeviceName{device},
                               "/device/address | awk -F \",\" '{print $1}'"_sh);
    return runForOutput(__func__, command, out, size);
}

PortQuery::PortQuery() {
    in_query = true;
    folder = Folder::UNREAD;
}

PortQuery::~PortQuery() {
    in_query = false;
    links.forget();
}

} // namespace dravik

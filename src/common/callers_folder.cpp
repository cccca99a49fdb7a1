// Remembering where the caller stands.
#include "common/callers_folder.h"

#include <climits>
#include <unistd.h>

namespace dravik {

namespace {

char callers_folder[PATH_MAX] = "";

} // namespace

void rememberCallersFolder() {
    // The kernel's name of a folder that is out of reach does not begin with "/".
    if (getcwd(callers_folder, sizeof(callers_folder)) == nullptr || callers_folder[0] != '/') {
        callers_folder[0] = '\0';
    }
}

std::string inCallersFolder(const std::string &name) {
    if (name.empty() || name.front() == '/') {
        return name;
    }
    return callers_folder[0] == '\0' ? "" : std::string(callers_folder) + "/" + name;
}

} // namespace dravik

// Who runs the tool and what he typed.
#include "cli/caller.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include "common/owned.h"
#include "common/plain_word.h"

namespace {

constexpr unsigned long NO_UID =
    4294967295UL; // what the kernel shows for a process that nobody logged in for

bool isPrintable(char c) {
    return c >= ' ' && c <= '~';
}

// Appends `text` with its awkward characters made visible; `quoted` tells whether '"' is one of them.
void appendVisible(std::string *line, const char *text, bool quoted) {
    for (const char c : std::string_view(text)) {
        if (c == '\\' || (quoted && c == '"')) {
            *line += '\\';
            *line += c;
        } else if (isPrintable(c)) {
            *line += c;
        } else {
            char hex[8] = "";
            snprintf(hex, sizeof(hex), "\\x%02x", static_cast<unsigned char>(c));
            *line += hex;
        }
    }
}

void copyCut(const std::string &text, char *out, unsigned int size) {
    if (size == 0) {
        return;
    }
    snprintf(out, size, "%s", text.c_str());
    if (text.size() >= size && size > 3) {
        memcpy(out + size - 4, "...", 4);
    }
}

// The name of root, as whom nearly every command runs, is not looked up: a look-up may hang, and where memory is short, the
// C library's may crash.
void nameOf(uid_t uid, char *out, unsigned int size) {
    if (uid == 0) {
        snprintf(out, size, "root");
        return;
    }
    const passwd *entry = getpwuid(uid);
    if (entry != nullptr) {
        shownText(entry->pw_name, out, size);
    } else {
        snprintf(out, size, "%lu", static_cast<unsigned long>(uid));
    }
}

// The kernel's login uid of this process, NO_UID when it has none or the kernel keeps none.
unsigned long loginUid() {
    const dravik::Stream file(fopen("/proc/self/loginuid", "re"));
    char text[32] = "";
    if (file == nullptr || fgets(text, sizeof(text), file.get()) == nullptr) {
        return NO_UID;
    }
    return text[0] >= '0' && text[0] <= '9' ? strtoul(text, nullptr, 10) : NO_UID;
}

const char *environmentText(const char *name) {
    const char *value = getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

void runningUser(char *out, unsigned int size) {
    nameOf(geteuid(), out, size);
}

void loginUser(char *out, unsigned int size) {
    out[0] = '\0';
    const unsigned long uid = loginUid();
    // What sudo tells costs no look-up, which may hang on a host that has lost its directory service with its
    // storage; where it contradicts the kernel, the kernel is right.
    const char *sudo_user = environmentText("SUDO_USER");
    const char *sudo_uid = environmentText("SUDO_UID");
    if (sudo_user[0] != '\0' && (uid == NO_UID || std::to_string(uid) == sudo_uid)) {
        shownText(sudo_user, out, size);
    } else if (uid != NO_UID) {
        nameOf(static_cast<uid_t>(uid), out, size);
    }
    char running[USER_NAME_SIZE] = "";
    runningUser(running, sizeof(running));
    if (strcmp(out, running) == 0) {
        out[0] = '\0';
    }
}

void shownCommandLine(int argc, const char *const *argv, char *out, unsigned int size) {
    std::string line = "dravik";
    for (int i = 1; i < argc && argv[i] != nullptr && line.size() < size; ++i) {
        line += ' ';
        if (isPlainWord(argv[i] + strspn(argv[i], "-"))) { // as a parameter's name is
            line += argv[i];
        } else {
            line += '"';
            appendVisible(&line, argv[i], true);
            line += '"';
        }
    }
    copyCut(line, out, size);
}

void shownText(const char *text, char *out, unsigned int size) {
    std::string shown;
    appendVisible(&shown, text, false);
    copyCut(shown, out, size);
}

// Reading the distribution's name from its release files.
#include "common/os_name.h"

#include <cstdio>
#include <cstring>

#include "common/owned.h"
#include "common/text.h"

char hi_linux_os_name[240] = "";

namespace {

constexpr char ORACLE_RELEASE[] = "/etc/oracle-release";
constexpr char REDHAT_RELEASE[] = "/etc/redhat-release";
constexpr char OS_RELEASE[] = "/etc/os-release";
constexpr char SUSE_RELEASE[] = "/etc/SuSE-release";
constexpr char LSB_RELEASE[] = "/usr/bin/lsb_release -d -s 2>/dev/null";
constexpr char UNKNOWN[] = "Unknown Linux";

constexpr size_t NAME_LENGTH = 64; // characters taken from a release file
constexpr size_t LINE_SIZE = 120;
constexpr size_t FIRST_SUSE_LINE_SIZE = 240;
constexpr size_t LSB_LINE_SIZE = 128;

dravik::Stream openFile(const char *path) {
    return dravik::Stream(fopen(path, "re"));
}

// The next line of `file` with its newline, cut to `size` - 1 characters; empty at the end of the file and on
// an error. What was cut off comes with the next call.
void readLine(FILE *file, char *line, size_t size) {
    if (fgets(line, static_cast<int>(size), file) == nullptr) {
        line[0] = '\0';
    }
}

bool isEmptyLine(const char *line) {
    return line[0] == '\0' || line[0] == '\n';
}

// 0 when the name was filled: an empty one would not do for a name that is "always filled".
int filled() {
    return hi_linux_os_name[0] == '\0' ? 1 : 0;
}

// Cuts `text` at the character before its first "(". False when there is none, or it is the first character.
bool cutBeforeParenthesis(char *text) {
    char *parenthesis = find_char(text, '(');
    if (parenthesis == nullptr || parenthesis == text) {
        return false;
    }
    parenthesis[-1] = '\0';
    return true;
}

} // namespace

char *get_os_name() {
    if (read_redhat_release() != 0 && read_suse_release() != 0 && read_lsb_release() != 0) {
        snprintf(hi_linux_os_name, sizeof(hi_linux_os_name), "%s", UNKNOWN);
    }
    return hi_linux_os_name;
}

// CentOS Linux release 7.9.2009 (Core)
int read_redhat_release() {
    dravik::Stream file = openFile(ORACLE_RELEASE);
    if (file == nullptr) {
        file = openFile(REDHAT_RELEASE);
    }
    if (file == nullptr) {
        return 1;
    }
    char line[LINE_SIZE] = "";
    readLine(file.get(), line, sizeof(line));
    if (isEmptyLine(line)) {
        return 1;
    }
    // Two characters short of the line's end: the newline, and one more that callers do not expect there.
    constexpr char SKIPPED[] = "release ";
    constexpr size_t SKIPPED_LENGTH = sizeof(SKIPPED) - 1;
    const size_t length = strlen(line);
    size_t taken = 0;
    for (size_t i = 0; i + 2 < length && line[i] != '(' && taken < NAME_LENGTH;) {
        if (strncmp(line + i, SKIPPED, SKIPPED_LENGTH) == 0) {
            i += SKIPPED_LENGTH;
            continue;
        }
        hi_linux_os_name[taken++] = line[i++];
    }
    hi_linux_os_name[taken] = '\0';
    return filled();
}

// /etc/os-release          /etc/SuSE-release
// NAME="SLES"              SUSE Linux Enterprise Server 12 (x86_64)
// VERSION="11.4"           VERSION = 12
//                          PATCHLEVEL = 5
int read_suse_release() {
    dravik::Stream file = openFile(OS_RELEASE);
    const bool is_os_release = file != nullptr;
    if (!is_os_release) {
        file = openFile(SUSE_RELEASE);
    }
    if (file == nullptr) {
        return 1;
    }
    char first[FIRST_SUSE_LINE_SIZE] = "";
    char second[LINE_SIZE] = "";
    readLine(file.get(), first, sizeof(first));
    readLine(file.get(), second, sizeof(second));
    if (is_os_release) {
        if (isEmptyLine(second)) {
            return 1;
        }
        tessaline_strncpy(hi_linux_os_name, second, NAME_LENGTH);
        return filled();
    }
    char third[LINE_SIZE] = "";
    readLine(file.get(), third, sizeof(third));
    if (isEmptyLine(first)) {
        return 1;
    }
    // The blank before the parenthesis goes too: "SUSE Linux Enterprise Server 12PATCHLEVEL = 5".
    if (!cutBeforeParenthesis(first)) {
        first[strlen(first) - 1] = '\0';
    }
    char name[FIRST_SUSE_LINE_SIZE + LINE_SIZE] = "";
    snprintf(name, sizeof(name), "%s%s", first, third);
    tessaline_strncpy(hi_linux_os_name, name, NAME_LENGTH);
    return filled();
}

// "SUSE Linux Enterprise Server 11 (x86_64)"
int read_lsb_release() {
    // The tool is installed at this one place and no foreign word stands in the line.
    FILE *pipe = popen(LSB_RELEASE, "re");
    if (pipe == nullptr) {
        return 1;
    }
    char line[LSB_LINE_SIZE] = "";
    readLine(pipe, line, sizeof(line));
    pclose(pipe);
    if (isEmptyLine(line)) {
        return 1;
    }
    const size_t length = strlen(line);
    for (size_t end = length; end > 1 && (line[end - 1] == '"' || line[end - 1] == '\n'); --end) {
        line[end - 1] = '\0';
    }
    char *text = line[0] == '"' ? line + 1 : line;
    if (!cutBeforeParenthesis(text)) {
        line[length - 1] = '\0'; // of the line as it was read: mostly the newline, already gone
    }
    snprintf(hi_linux_os_name, sizeof(hi_linux_os_name), "%s", text);
    return filled();
}

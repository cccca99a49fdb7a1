// The stand-ins for the capture layer and for what handlers ask the C library.
#include "tests/support/fake_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "commands/parameter_buffers.h"
#include "common/capture.h"
#include "topology/target_port.h"

const char *const QUERY_ALL = "query: velomux -ll 2> /dev/null";

namespace {

FakeHost *host = nullptr; // the one that lives

} // namespace

// Looks into the living host for the functions below.
struct FakeHostState {
    // Records `command` and takes its answer.
    static FakeHost::Answer take(const std::string &command) {
        if (host == nullptr) {
            ADD_FAILURE() << "no host to run on: " << command;
            return {"", NOT_STARTED, nullptr};
        }
        host->calls.push_back(command);
        if (host->starts_nothing) {
            return {"", NOT_STARTED, nullptr};
        }
        std::vector<FakeHost::Answer> &queue = host->answers[command];
        if (queue.empty()) {
            copy(command, {"", 0, nullptr});
            return {"", 0, nullptr};
        }
        FakeHost::Answer answer = queue.front();
        if (queue.size() > 1) {
            queue.erase(queue.begin());
        }
        copy(command, answer);
        if (answer.effect) {
            answer.effect();
        }
        return answer;
    }

    // Does what a successful `\cp -fp A B` does.
    static void copy(const std::string &command, const FakeHost::Answer &answer) {
        const std::string tool = "\\cp -fp ";
        const size_t blank = command.find(' ', tool.size());
        if (command.compare(0, tool.size(), tool) != 0 || blank == std::string::npos || answer.outcome != 0) {
            return;
        }
        const auto from = host->etc.find(command.substr(tool.size(), blank - tool.size()));
        if (from != host->etc.end()) {
            host->etc[command.substr(blank + 1)] = from->second;
        }
    }

    // Whether this call of file_state.h does not fail.
    static bool may(const std::string &call) {
        errno = EIO;
        return host != nullptr && host->etc_failures.count(call) == 0;
    }
    static std::map<std::string, dravik::FileState> &etc() {
        return host->etc;
    }

    // Answers one run the way the capture layer does: the outcome.
    static int run(const std::string &command, char *buffer, int size, char **out, int *grown) {
        const FakeHost::Answer answer = take(command);
        if (answer.outcome < 0) {
            *out = answer.outcome == NO_MEMORY ? nullptr : buffer;
            return answer.outcome;
        }
        const bool grows = answer.output.size() >= static_cast<size_t>(size);
        *out = grows ? static_cast<char *>(malloc(answer.output.size() + 1)) : buffer;
        memcpy(*out, answer.output.c_str(), answer.output.size() + 1);
        if (answer.outcome == 0) {
            *grown = grows ? 1 : 0;
        }
        return answer.outcome;
    }

    static bool exists(const char *path) {
        ++host->asked[path];
        return host->nodes.count(path) != 0;
    }
    // Null when the file does not exist.
    static const std::string *file(const char *path) {
        const auto found = host->files.find(path);
        return found == host->files.end() ? nullptr : &found->second;
    }
    static const std::string *kernelRelease() {
        return host->kernel_fails ? nullptr : &host->kernel_release;
    }
    static long long clock() {
        return host == nullptr ? 0 : host->clock;
    }
    static const std::string *lsbText() {
        ++host->asked["lsb_release"];
        return host->lsb_fails ? nullptr : &host->lsb_text;
    }
};

namespace {

bool isReleaseFile(const char *path) {
    return strcmp(path, "/etc/oracle-release") == 0 || strcmp(path, "/etc/redhat-release") == 0 ||
           strcmp(path, "/etc/os-release") == 0 || strcmp(path, "/etc/SuSE-release") == 0;
}

// Whether `access` answers for the fake host: device nodes, sysfs, the help texts.
bool isOfTheHost(const char *path) {
    for (const std::string folder : {"/dev/", "/sys/", "/usr/bin/dravik-help/"}) {
        if (strncmp(path, folder.c_str(), folder.size()) == 0) {
            return true;
        }
    }
    return false;
}

FILE *streamOf(const std::string &text) {
    FILE *stream = tmpfile();
    if (stream != nullptr) {
        fwrite(text.data(), 1, text.size(), stream);
        rewind(stream);
    }
    return stream;
}

// Lets the timer's handler take over, as its signal does in the middle of a wait. Owns nothing: the handler
// jumps away from here.
void expire() {
    sigset_t alarm_only;
    sigemptyset(&alarm_only);
    sigaddset(&alarm_only, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarm_only, nullptr);
    raise(SIGALRM);
}

int timedOutcome(const char *command, char *buffer, int size, char **out, int *grown) {
    return FakeHostState::run(std::string("timed: ") + command, buffer, size, out, grown);
}

} // namespace

// ---- in the place of the library's capture layer and target ports

int exe_query(const char *command, char *buffer, int size, char **out, int *grown) {
    return FakeHostState::run(std::string("query: ") + command, buffer, size, out, grown);
}

int exe_cmd(const char *command, char *buffer, int size, char **out, int *grown) {
    return FakeHostState::run(command, buffer, size, out, grown);
}

int exe_cmd_nonblocking(const char *command, char *buffer, int size, char **out, int *grown) {
    const int outcome = timedOutcome(command, buffer, size, out, grown);
    if (outcome == HANGS) {
        expire();
    }
    if (outcome != 0) {
        *grown = outcome == NO_MEMORY ? NO_MEMORY : NOT_STARTED;
    }
    return *grown;
}

// Over which transport a path runs is another module's subject; its commands would only stand between those of
// the handlers.
s_ecItems *getTargetPort(const char * /*device_name*/, char * /*host_interface*/, char * /*target_port*/) {
    return nullptr;
}

namespace dravik {

const ChildEnd &lastChildEnd() {
    static const ChildEnd none = {};
    return none;
}

void setChildDeadline(unsigned int /*seconds*/, void (* /*each_second*/)()) {}

// ---- in the place of the library's look at files

bool readFileState(const char *path, FileState *out) {
    if (!FakeHostState::may(std::string("read ") + path)) {
        return false;
    }
    const auto found = FakeHostState::etc().find(path);
    *out = found == FakeHostState::etc().end() ? FileState{} : found->second;
    return true;
}

bool holdsText(const char *path, std::string_view text) {
    FileState file = {};
    return readFileState(path, &file) && file.exists && file.text == text;
}

bool syncFile(const char *path) {
    return FakeHostState::may(std::string("sync ") + path);
}

bool setFileAttributes(const char *path, const FileState &state) {
    if (!FakeHostState::may(std::string("set ") + path)) {
        return false;
    }
    FileState &file = FakeHostState::etc()[path];
    file.mode = state.mode;
    file.owner = state.owner;
    file.group = state.group;
    return true;
}

bool moveFile(const char *from, const char *to) {
    std::map<std::string, FileState> &etc = FakeHostState::etc();
    if (!FakeHostState::may(std::string("move ") + from) || etc.count(from) == 0) {
        return false;
    }
    etc[to] = etc[from];
    etc.erase(from);
    return true;
}

bool removeFile(const char *path) {
    return FakeHostState::may(std::string("remove ") + path) && FakeHostState::etc().erase(path) <= 1;
}

} // namespace dravik

// ---- before the C library's calls

// The names that the linker gives to these functions and to those of the C library.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode) {
    if (host == nullptr || path == nullptr || !isReleaseFile(path)) {
        return __real_fopen(path, mode);
    }
    const std::string *text = FakeHostState::file(path);
    return text == nullptr ? nullptr : streamOf(*text);
}

FILE *__real_popen(const char *command, const char *mode);
FILE *__wrap_popen(const char *command, const char *mode);
FILE *__wrap_popen(const char *command, const char *mode) {
    if (host == nullptr || strcmp(command, "/usr/bin/lsb_release -d -s 2>/dev/null") != 0) {
        return __real_popen(command, mode);
    }
    const std::string *text = FakeHostState::lsbText();
    return text == nullptr ? nullptr : streamOf(*text);
}

int __real_pclose(FILE *stream);
int __wrap_pclose(FILE *stream);
int __wrap_pclose(FILE *stream) {
    return host == nullptr ? __real_pclose(stream) : fclose(stream);
}

int __real_access(const char *path, int mode);
int __wrap_access(const char *path, int mode);
int __wrap_access(const char *path, int mode) {
    if (host == nullptr || !isOfTheHost(path)) {
        return __real_access(path, mode);
    }
    return FakeHostState::exists(path) ? 0 : -1;
}

int __real_uname(utsname *name);
int __wrap_uname(utsname *name);
int __wrap_uname(utsname *name) {
    if (host == nullptr) {
        return __real_uname(name);
    }
    const std::string *release = FakeHostState::kernelRelease();
    if (release == nullptr) {
        return -1;
    }
    snprintf(name->release, sizeof(name->release), "%s", release->c_str());
    return 0;
}

int __real_clock_gettime(clockid_t clock, timespec *now);
int __wrap_clock_gettime(clockid_t clock, timespec *now);
int __wrap_clock_gettime(clockid_t clock, timespec *now) {
    const long long stopped = clock == CLOCK_REALTIME ? FakeHostState::clock() : 0;
    if (stopped == 0) {
        return __real_clock_gettime(clock, now);
    }
    now->tv_sec = stopped / 1000;
    now->tv_nsec = stopped % 1000 * 1000000;
    return 0;
}

unsigned int __real_sleep(unsigned int seconds);
unsigned int __wrap_sleep(unsigned int seconds);
unsigned int __wrap_sleep(unsigned int seconds) {
    if (host == nullptr) {
        return __real_sleep(seconds);
    }
    host->calls.push_back("sleep " + std::to_string(seconds));
    return 0;
}

} // extern "C"
// NOLINTEND(readability-identifier-naming)

FakeHost::FakeHost() {
    if (host != nullptr) {
        ADD_FAILURE() << "two hosts at a time";
    }
    host = this;
    etc["/etc/velomux.conf"] = {true, CONF_TEXT, 0644, 0, 0};
    give(gParamMpathxVal, "");
    give(gParamPathVal, "");
    give(gParamStateVal, "");
    give(gParamGroupVal, "");
    give(gParamChooserVal, "");
    give(gParamWwidVal, "");
    give(gParamAliasVal, "");
    give(gParamIntervalVal, "");
    give(gParamHostportVal, "");
    gParamHostInterfaceType = HOST_INTERFACE_SCSI;
}

FakeHost::~FakeHost() {
    // A time-out leaves the timer running; the test program must outlive it.
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    host = nullptr;
}

void FakeHost::answer(const std::string &command, const std::string &output, int outcome,
                      const std::function<void()> &effect) {
    answers[command] = {{output, outcome, effect}};
}

void FakeHost::thenAnswer(const std::string &command, const std::string &output, int outcome) {
    answers[command].push_back({output, outcome, nullptr});
}

void FakeHost::startNothing() {
    starts_nothing = true;
}

void FakeHost::file(const std::string &path, const std::string &text) {
    files[path] = text;
}

void FakeHost::kernel(const std::string &release) {
    kernel_release = release;
}

void FakeHost::kernelDoesNotAnswer() {
    kernel_fails = true;
}

void FakeHost::stopClock(long long milliseconds) {
    clock = milliseconds;
}

void FakeHost::lsbRelease(const std::string &text) {
    lsb_text = text;
}

void FakeHost::lsbReleaseCannotBeStarted() {
    lsb_fails = true;
}

void FakeHost::node(const std::string &path) {
    nodes.insert(path);
}

void FakeHost::removeNode(const std::string &path) {
    nodes.erase(path);
}

int FakeHost::askedFor(const std::string &path) const {
    const auto found = asked.find(path);
    return found == asked.end() ? 0 : found->second;
}

void FakeHost::becomeRhel6() {
    kernel("2.6.32-754.el6.x86_64");
    file("/etc/redhat-release", "Red Hat Enterprise Linux Server release 6.10 (Santiago)\n");
}

void FakeHost::becomeSuse11Sp4() {
    kernel("3.0.101-63-default");
    file("/etc/os-release", "NAME=\"SLES\"\nVERSION=\"11.4\"\n");
}

void give(char (&parameter)[257], const std::string &text) {
    snprintf(parameter, sizeof(parameter), "%s", text.c_str());
}

std::string printed(s_ecItems *(*operation)(), s_ecItems **result) {
    testing::internal::CaptureStdout();
    *result = operation();
    return testing::internal::GetCapturedStdout();
}

std::string separator() {
    return std::string(130, '-') + "\n";
}

std::string boxed(const std::string &text) {
    return separator() + text + separator();
}

std::string shown(const s_ecItems *record) {
    char text[512] = "";
    getErrorMsg(record, text, sizeof(text));
    return text;
}

std::string readyPath(const std::string &name) {
    return "1:0:0:1 " + name + " 8:16 active ready running";
}

std::string listing(const std::vector<std::string> &paths, const std::string &alias,
                    const std::string &number, const std::string &priority) {
    std::string text = alias + " (360000000000000000000000000000001) dm-" + number + " KORVEL,QVX\n" +
                       "size=10G features='0' hwhandler='0' wp=rw\n";
    for (const std::string &path : paths) {
        text.append("|-+- policy='service-time 0' prio=").append(priority).append(" status=active\n");
        text.append("| `- ").append(path).append("\n");
    }
    return text;
}

// A host for the handlers of the administration commands: what they run is recorded and answered from a
// script, and the release files, the kernel's name and the device nodes are what the test says.
//
// The program that fake_host.cpp is linked into has its capture layer, its `getTargetPort` and its file_state.h in place of
// the library's: a command runs only while a `FakeHost` lives, otherwise the test fails. A few calls of the C
// library go through it as well (see tests/unit/CMakeLists.txt) and are handed on while none lives. The task
// layer above the capture layer is the real one, the five-second timer included.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/result.h"
#include "host/file_state.h"
#include "tests/support/dumps_redirect.h"

// Outcomes of a command besides an exit status: the shell could not be started, the output found no memory,
// the command hangs (only where the timer runs).
constexpr int NOT_STARTED = -1;
constexpr int NO_MEMORY = -2;
constexpr int HANGS = -3;

// What the configuration file holds on a new host.
constexpr char CONF_TEXT[] = "defaults {\n}\n";

class FakeHost {
  public:
    // A systemd host of an unknown distribution without any device; the parameter buffers are empty. One at a
    // time.
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost &) = delete;
    FakeHost &operator=(const FakeHost &) = delete;

    // ---- what commands answer

    // Every run of exactly `command` prints `output` and ends with `outcome`, after calling `effect`; runs behind
    // the first answer to the same command, when `thenAnswer` gives more, answer in that order, the last one
    // again and again. Without an answer a command prints nothing and succeeds.
    void answer(const std::string &command, const std::string &output, int outcome = 0,
                const std::function<void()> &effect = nullptr);
    void thenAnswer(const std::string &command, const std::string &output, int outcome = 0);
    // Every command whose shell cannot be started, whatever it is.
    void startNothing();

    // ---- what was run, oldest first

    // The command lines as the capture layer was asked for them: as they stand for `exe_cmd`, behind "query: "
    // for `exe_query` and "timed: " for `exe_cmd_nonblocking`; "sleep N" for a pause.
    std::vector<std::string> calls;

    // ---- what the host is

    // Puts a release file (/etc/redhat-release ...) in place; all others do not exist.
    void file(const std::string &path, const std::string &text);
    // The release of the kernel; `uname` fails.
    void kernel(const std::string &release);
    void kernelDoesNotAnswer();
    // What lsb_release prints; a pipe to it cannot be had.
    void lsbRelease(const std::string &text);
    void lsbReleaseCannotBeStarted();
    // A device node, a folder of sysfs or a help text exists from now on, or no longer.
    void node(const std::string &path);
    void removeNode(const std::string &path);
    // How often the node at `path`, or "lsb_release", was asked for.
    int askedFor(const std::string &path) const;

    // What file_state.h finds, by path: at first the configuration file alone, which holds CONF_TEXT. A successful
    // `\\cp -fp A B` of a file here makes the other what the first is, before the answer's effect.
    std::map<std::string, dravik::FileState> etc;
    // The calls of file_state.h on these fail, with EIO: "sync /etc/velomux.conf.bk", "read ...", "set ...", "move ...",
    // "remove ..." with the first path of the call.
    std::set<std::string> etc_failures;

    // What the clock of the host (CLOCK_REALTIME) shows from now on, in milliseconds since 1970-01-01 UTC; it stands still.
    void stopClock(long long milliseconds);

    // The generations that the commands tell apart.
    void becomeRhel6();
    void becomeSuse11Sp4();

    DumpsFolder dumps;

  private:
    friend struct FakeHostState;
    struct Answer {
        std::string output;
        int outcome;
        std::function<void()> effect;
    };
    std::map<std::string, std::vector<Answer>> answers;
    std::map<std::string, std::string> files;
    std::set<std::string> nodes;
    std::map<std::string, int> asked;
    std::string kernel_release = "5.14.0-70.el9.x86_64";
    std::string lsb_text;
    bool kernel_fails = false;
    bool lsb_fails = false;
    bool starts_nothing = false;
    long long clock = 0; // 0 while it goes
};

// Puts a text into a parameter buffer, as the validation does.
void give(char (&parameter)[257], const std::string &text);

// What `operation` prints to standard output; its record goes into `*result`.
std::string printed(s_ecItems *(*operation)(), s_ecItems **result);

// The separator that frames reports: 130 dashes and a newline.
std::string separator();

// `text` between two separators.
std::string boxed(const std::string &text);

// The text that the user is shown for a failure.
std::string shown(const s_ecItems *record);

// A line of a listing for a path that works, without its tree: "1:0:0:1 sdb 8:16 active ready running".
std::string readyPath(const std::string &name);

// One listing, as the multipath tool prints it: a header for "mpatha", WWID 3600...1, dm-3, and one group per
// path. `paths` are lines like "1:0:0:1 sdb 8:16 active ready running".
std::string listing(const std::vector<std::string> &paths, const std::string &alias = "mpatha",
                    const std::string &number = "3", const std::string &priority = "50");

// The command of the topology query over all devices, as `FakeHost` answers and records it.
extern const char *const QUERY_ALL;

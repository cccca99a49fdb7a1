// The logging call: lines, levels, cuts, rotation, many writers, and everything that drops a line.
#include "common/log.h"

#include "tests/support/console.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/system_calls.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <sstream>

namespace {

using Texts = std::vector<std::string>;

constexpr char COMMAND_LOG[] = "dravik_cli.log";
constexpr char COMMAND_BACKUP[] = "dravik_cli_bk.log";
constexpr char CHANGE_LOG[] = "dravik_monitor.log";
constexpr char CHANGE_BACKUP[] = "dravik_monitor_bk.log";
constexpr off_t TEN_MIB = 10485760;
// "[2021-12-06 10:15:02.047] "
constexpr size_t STAMP = 26;

// A variable of the environment that gets its old value back.
class Environment {
  public:
    Environment(const char *variable, const char *value) : name(variable) {
        const char *old = getenv(name);
        had = old != nullptr;
        before = had ? old : "";
        set(value);
    }
    ~Environment() {
        set(had ? before.c_str() : nullptr);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    void set(const char *value) const {
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }

  private:
    const char *name;
    bool had;
    std::string before;
};

class Umask {
  public:
    explicit Umask(mode_t mask) : old(umask(mask)) {}
    ~Umask() {
        umask(old);
    }
    Umask(const Umask &) = delete;
    Umask &operator=(const Umask &) = delete;

  private:
    mode_t old;
};

class Log : public testing::Test {
  protected:
    DumpsFolder dumps;

    mode_t modeOf(const std::string &name) const {
        struct stat attributes = {};
        EXPECT_EQ(stat(dumps.path(name).c_str(), &attributes), 0) << name;
        return attributes.st_mode & 07777;
    }
    off_t sizeOf(const std::string &name) const {
        struct stat attributes = {};
        return stat(dumps.path(name).c_str(), &attributes) == 0 ? attributes.st_size : -1;
    }
    // A log that is `size` bytes long and takes no room on the disk.
    void makeSparse(const std::string &name, off_t size) const {
        dumps.write(name, "");
        ASSERT_EQ(truncate(dumps.path(name).c_str(), size), 0);
    }
};

void error(const char *message) {
    dravik_log(LOG_ERROR, "source.cpp", 219, "getLunPath", "%s", message);
}

void change(const char *message) {
    dravik_log(LOG_MONITOR, "", 0, "", "%s", message);
}

// Runs `work` in `count` children that are let go at the same moment; they all must end well.
template <typename Work> void inChildrenAtOnce(int count, const Work &work) {
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < count; i++) {
        const pid_t child = fork();
        if (child == 0) {
            char byte;
            close(gate[1]);
            const ssize_t end_of_file = read(gate[0], &byte, 1);
            work(i);
            _exit(end_of_file == 0 ? 0 : 1);
        }
        children.push_back(child);
    }
    close(gate[0]);
    close(gate[1]);
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
}

} // namespace

// ---- lines and levels

TEST_F(Log, ErrorLineHasStampLevelFunctionLineNumberAndMessage) {
    error("message");
    const std::string log = dumps.read(COMMAND_LOG);
    ASSERT_EQ(log.size(), STAMP + strlen("ERROR getLunPath 219 message\n"));
    EXPECT_EQ(log.substr(STAMP), "ERROR getLunPath 219 message\n");
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 message\n");
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
}

TEST_F(Log, StampIsTheLocalTimeInMilliseconds) {
    for (const char *zone : {"UTC0", "XYZ-5:30"}) {
        const Environment zone_of_process("TZ", zone);
        tzset();
        dumps.forgetLogs();
        const time_t before = time(nullptr);
        error("message");
        const time_t after = time(nullptr);
        const std::string stamp = dumps.read(COMMAND_LOG).substr(0, STAMP);
        std::tm parts = {};
        const char *rest = strptime(stamp.c_str(), "[%Y-%m-%d %H:%M:%S.", &parts);
        ASSERT_NE(rest, nullptr) << stamp;
        parts.tm_isdst = 0;
        const time_t logged = mktime(&parts);
        EXPECT_GE(logged, before) << stamp;
        EXPECT_LE(logged, after) << stamp;
        ASSERT_EQ(strlen(rest), 5U) << stamp;
        EXPECT_EQ(strspn(rest, "0123456789"), 3U) << stamp;
        EXPECT_STREQ(rest + 3, "] ");
    }
    tzset();
}

TEST_F(Log, MillisecondsFollowTheClock) {
    // Lines that are 20 ms apart show it, also where the second changes between them.
    std::vector<int> milliseconds;
    for (int i = 0; i < 3; i++) {
        dumps.forgetLogs();
        const auto before = std::chrono::system_clock::now().time_since_epoch();
        error("message");
        const auto after = std::chrono::system_clock::now().time_since_epoch();
        const int logged = std::stoi(dumps.read(COMMAND_LOG).substr(21, 3));
        const auto first = std::chrono::duration_cast<std::chrono::milliseconds>(before).count();
        const auto last = std::chrono::duration_cast<std::chrono::milliseconds>(after).count();
        bool within = false;
        for (auto moment = first; moment <= last; moment++) {
            within = within || moment % 1000 == logged;
        }
        EXPECT_TRUE(within) << logged << " is not from " << first << " to " << last;
        usleep(20000);
    }
}

TEST_F(Log, InfoLineHasTwoBlanksBeforeTheFunction) {
    dravik_log(LOG_INFO, "source.cpp", 7, "mallocDravik", "Malloc struct s_dravik.");
    EXPECT_EQ(dumps.commandLog(), "INFO  mallocDravik 7 Malloc struct s_dravik.\n");
}

TEST_F(Log, OtherLevelsShowTheirNumberAsTheLevelWord) {
    dravik_log(1, "", 7, "test", "message");
    dravik_log(5, "", 8, "test", "message");
    dravik_log(4294967295U, "", 9, "test", "message");
    const Texts lines = dumps.commandLogLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], "LEVEL[1] test # message");
    EXPECT_EQ(lines[1], "LEVEL[5] test # message");
    EXPECT_EQ(lines[2].substr(0, 6), "LEVEL[");
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
}

TEST_F(Log, ChangeLineHasStampAndMessageOnly) {
    change("LUN created");
    EXPECT_EQ(dumps.read(CHANGE_LOG).substr(STAMP), "LUN created\n");
    EXPECT_EQ(dumps.names(), Texts{CHANGE_LOG});
}

TEST_F(Log, ChangeLineNamesNeitherSourceNorFunctionNorLine) {
    dravik_log(LOG_MONITOR, "source.cpp", 99, "function", "message");
    EXPECT_EQ(dumps.changeLog(), "message\n");
}

TEST_F(Log, DebugLineIsWrittenWhenTheVariableIsAtLeastOne) {
    const Environment debug("DRAVIK_CLI_DEBUG", nullptr);
    for (const char *value : {"1", "7", "12abc", " 3", "+2", "01"}) {
        debug.set(value);
        dumps.forgetLogs();
        EXPECT_TRUE(is_debug()) << value;
        dravik_log(LOG_DEBUG, "", 5, "exe_cmd", "message");
        EXPECT_EQ(dumps.commandLog(), "DEBUG exe_cmd 5 message\n") << value;
    }
}

TEST_F(Log, DebugLineIsNotWrittenWhenTheVariableIsUnsetEmptyZeroOrNoNumber) {
    const Environment debug("DRAVIK_CLI_DEBUG", nullptr);
    for (const char *value : {static_cast<const char *>(nullptr), "", "0", "abc", "-1", "x1", "0.9"}) {
        debug.set(value);
        EXPECT_FALSE(is_debug()) << (value != nullptr ? value : "unset");
        dravik_log(LOG_DEBUG, "", 5, "exe_cmd", "message");
    }
    EXPECT_EQ(dumps.names(), Texts());
}

TEST_F(Log, OtherLevelsDoNotAskForTheDebugVariable) {
    const Environment debug("DRAVIK_CLI_DEBUG", "0");
    error("message");
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 message\n");
}

TEST_F(Log, LinesAreAppendedInTheirOrder) {
    error("one");
    error("two");
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 one\nERROR getLunPath 219 two\n");
}

TEST_F(Log, EveryCallChoosesItsFiles) {
    change("message");
    EXPECT_EQ(g_file_dir, g_monitor_file_dir);
    EXPECT_EQ(g_file_name, g_monitor_file_name);
    EXPECT_EQ(g_bk_file_name, g_monitor_bk_file_name);
    // also a call that writes nothing
    const Environment debug("DRAVIK_CLI_DEBUG", nullptr);
    dravik_log(LOG_DEBUG, "", 5, "exe_cmd", "message");
    EXPECT_EQ(g_file_dir, g_log_file_dir);
    EXPECT_EQ(g_file_name, g_log_file_name);
    EXPECT_EQ(g_bk_file_name, g_log_bk_file_name);
}

TEST_F(Log, NamesOfTheFiles) {
    EXPECT_STREQ(g_log_file_dir, "/dumps/");
    EXPECT_STREQ(g_log_file_name, "dravik_cli.log");
    EXPECT_STREQ(g_log_bk_file_name, "dravik_cli_bk.log");
    EXPECT_STREQ(g_monitor_file_dir, "/dumps/");
    EXPECT_STREQ(g_monitor_file_name, "dravik_monitor.log");
    EXPECT_STREQ(g_monitor_bk_file_name, "dravik_monitor_bk.log");
}

// ---- formats and cuts

TEST_F(Log, SemicolonsOfTheFormatGetABackslashThoseOfArgumentsDoNot) {
    dravik_log(LOG_ERROR, "", 1, "f", "a;b;%s;", "c;d");
    EXPECT_EQ(dumps.commandLog(), "ERROR f 1 a\\;b\\;c;d\\;\n");
}

TEST_F(Log, ArgumentsAreNotReadAsFormats) {
    dravik_log(LOG_ERROR, "", 1, "f", "%s %d", "100%s%n", 5);
    EXPECT_EQ(dumps.commandLog(), "ERROR f 1 100%s%n 5\n");
}

TEST_F(Log, MessageEndingInANewlineLeavesAnEmptyLine) {
    dravik_log(LOG_ERROR, "", 1, "f", "message\n");
    EXPECT_EQ(dumps.commandLog(), "ERROR f 1 message\n\n");
}

TEST_F(Log, EmptyMessageIsALine) {
    dravik_log(LOG_ERROR, "", 1, "f", "%s", "");
    EXPECT_EQ(dumps.commandLog(), "ERROR f 1 \n");
    change("");
    EXPECT_EQ(dumps.read(CHANGE_LOG).substr(STAMP - 1), " \n");
}

TEST_F(Log, NullFormatWritesNothing) {
    const char *format = nullptr;
    dravik_log(LOG_ERROR, "", 1, "f", format, "");
    EXPECT_EQ(dumps.names(), Texts());
}

TEST_F(Log, LineOf1023CharactersKeepsItsNewline) {
    const std::string head = "ERROR f 1 ";
    const std::string message(1023 - STAMP - head.size() - 1, 'x');
    dravik_log(LOG_ERROR, "", 1, "f", "%s", message.c_str());
    EXPECT_EQ(dumps.read(COMMAND_LOG).size(), 1023U);
    EXPECT_EQ(dumps.commandLog(), head + message + "\n");
}

TEST_F(Log, LongerLineIsCutAt1023CharactersAndLosesItsNewline) {
    const std::string head = "ERROR f 1 ";
    const std::string kept(1023 - STAMP - head.size(), 'x');
    dravik_log(LOG_ERROR, "", 1, "f", "%s", kept.c_str());
    EXPECT_EQ(dumps.read(COMMAND_LOG).size(), 1023U);
    EXPECT_EQ(dumps.commandLog(), head + kept);
    dumps.forgetLogs();
    dravik_log(LOG_ERROR, "", 1, "f", "%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(dumps.commandLog(), head + kept);
    // the next line follows on the same one
    dravik_log(LOG_ERROR, "", 2, "f", "next");
    EXPECT_EQ(dumps.commandLogLines(), (Texts{"ERROR f # " + kept, "ERROR f # next"}));
}

TEST_F(Log, LongChangeLineIsCutToo) {
    change(std::string(5000, 'x').c_str());
    EXPECT_EQ(dumps.changeLog(), std::string(1023 - STAMP, 'x'));
}

TEST_F(Log, EscapedFormatIsCutAt1023Characters) {
    // 600 semicolons become 1200 characters; the line shows 1023 of them at most
    const std::string format(600, ';');
    dravik_log(LOG_MONITOR, "", 0, "", format.c_str(), "");
    std::string shown;
    while (shown.size() < 1023 - STAMP) {
        shown += "\\;";
    }
    shown.resize(1023 - STAMP);
    EXPECT_EQ(dumps.changeLog(), shown);
}

TEST_F(Log, LongFunctionNameIsCutWithItsLine) {
    dravik_log(LOG_ERROR, "", 1, std::string(3000, 'f').c_str(), "message");
    EXPECT_EQ(dumps.commandLog(), "ERROR " + std::string(1023 - STAMP - 6, 'f'));
}

// ---- one write under the lock

TEST_F(Log, EachLineIsOneWriteUnderTheExclusiveLock) {
    Texts calls;
    {
        WatchedCalls watched;
        error("message\nof two lines");
        calls = watched.calls;
    }
    EXPECT_EQ(calls, (Texts{"flock exclusive", "write " + dumps.read(COMMAND_LOG), "flock unlock"}));
}

TEST_F(Log, LineWaitsWhileAnotherHoldsTheLock) {
    dumps.write(COMMAND_LOG, "");
    const int fd = open("/dumps/dravik_cli.log", O_RDWR | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(fd);
        error("from the child");
        _exit(0);
    }
    usleep(100000);
    EXPECT_EQ(dumps.read(COMMAND_LOG), "");
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
    ASSERT_EQ(flock(fd, LOCK_UN), 0);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 from the child\n");
    close(fd);
}

TEST_F(Log, NoDescriptorStaysOpen) {
    const int before = dup(0);
    close(before);
    error("message");
    change("message");
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}

TEST_F(Log, LinesOfManyProcessesNeverInterleave) {
    constexpr int CHILDREN = 6;
    constexpr int LINES = 2000;
    inChildrenAtOnce(CHILDREN, [](int child) {
        // lines of very different lengths, of one letter each
        const std::string letters(static_cast<size_t>(1 + child * 150), static_cast<char>('a' + child));
        for (int line = 0; line < LINES; line++) {
            dravik_log(LOG_ERROR, "", static_cast<unsigned int>(line), "child", "%s", letters.c_str());
        }
    });
    std::istringstream log(dumps.commandLog());
    std::map<char, int> next;
    int count = 0;
    for (std::string line; std::getline(log, line); count++) {
        const char letter = line.empty() ? '?' : line.back();
        const int length = 1 + (letter - 'a') * 150;
        ASSERT_EQ(line, "ERROR child " + std::to_string(next[letter]) + " " +
                            std::string(static_cast<size_t>(length), letter));
        next[letter]++;
    }
    EXPECT_EQ(count, CHILDREN * LINES);
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
}

// ---- rotation

TEST_F(Log, FileOfExactlyTenMiBIsKept) {
    makeSparse(COMMAND_LOG, TEN_MIB - static_cast<off_t>(STAMP + strlen("ERROR getLunPath 219 x\n")));
    error("x");
    EXPECT_EQ(sizeOf(COMMAND_LOG), TEN_MIB);
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
}

TEST_F(Log, OneByteMoreIsRenamedToTheBackup) {
    makeSparse(COMMAND_LOG, TEN_MIB + 1 - static_cast<off_t>(STAMP + strlen("ERROR getLunPath 219 x\n")));
    error("x");
    EXPECT_EQ(dumps.names(), Texts{COMMAND_BACKUP});
    EXPECT_EQ(sizeOf(COMMAND_BACKUP), TEN_MIB + 1);
}

TEST_F(Log, LineAfterARotationMakesAFreshFile) {
    makeSparse(COMMAND_LOG, TEN_MIB + 1);
    error("old");
    error("new");
    EXPECT_EQ(dumps.names(), (Texts{COMMAND_LOG, COMMAND_BACKUP}));
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 new\n");
    EXPECT_EQ(modeOf(COMMAND_LOG), 0600U);
}

TEST_F(Log, RotationReplacesTheOlderBackup) {
    dumps.write(COMMAND_BACKUP, "older\n");
    makeSparse(COMMAND_LOG, TEN_MIB);
    error("x");
    EXPECT_EQ(dumps.names(), Texts{COMMAND_BACKUP});
    EXPECT_GT(sizeOf(COMMAND_BACKUP), TEN_MIB);
}

TEST_F(Log, ChangeLogRotatesToItsOwnBackup) {
    dumps.write(COMMAND_BACKUP, "the command log's\n");
    makeSparse(CHANGE_LOG, TEN_MIB - static_cast<off_t>(STAMP + 2));
    change("x");
    EXPECT_EQ(sizeOf(CHANGE_LOG), TEN_MIB);
    change("y");
    EXPECT_EQ(dumps.names(), (Texts{COMMAND_BACKUP, CHANGE_BACKUP}));
    EXPECT_EQ(sizeOf(CHANGE_BACKUP), TEN_MIB + static_cast<off_t>(STAMP + 2));
    EXPECT_EQ(dumps.read(COMMAND_BACKUP), "the command log's\n");
}

TEST_F(Log, OversizeLogOfTheOtherKindIsLeftAlone) {
    makeSparse(COMMAND_LOG, TEN_MIB + 5);
    change("x");
    EXPECT_EQ(dumps.names(), (Texts{COMMAND_LOG, CHANGE_LOG}));
}

TEST_F(Log, FailedRotationKeepsTheLine) {
    ASSERT_EQ(mkdir(dumps.path(COMMAND_BACKUP).c_str(), 0700), 0);
    makeSparse(COMMAND_LOG, TEN_MIB);
    error("x");
    EXPECT_GT(sizeOf(COMMAND_LOG), TEN_MIB);
    error("y");
    EXPECT_EQ(dumps.names(), (Texts{COMMAND_LOG, COMMAND_BACKUP}));
}

TEST_F(Log, FileSizeIsMinusOneWhenItCannotBeExamined) {
    dumps.write("file", "12345");
    EXPECT_EQ(get_file_size("/dumps/file"), 5);
    EXPECT_EQ(get_file_size("/dumps/none"), -1);
    EXPECT_EQ(get_file_size("/dumps/file/below"), -1);
    makeSparse("big", static_cast<off_t>(5) << 30);
    EXPECT_EQ(get_file_size("/dumps/big"), int64_t{5} << 30);
}

TEST_F(Log, BackupGoesToTheChosenNameWhateverThePath) {
    change("choose the change log");
    dumps.write("any", "any file");
    backup_log_file("/dumps/any");
    EXPECT_EQ(dumps.names(), (Texts{CHANGE_LOG, CHANGE_BACKUP}));
    EXPECT_EQ(dumps.read(CHANGE_BACKUP), "any file");
    backup_log_file("/dumps/none");
    EXPECT_EQ(dumps.read(CHANGE_BACKUP), "any file");
}

// ---- the directory and the files

TEST_F(Log, MissingDirectoryIsCreatedWithMode0700OnTheFirstCall) {
    const Umask mask(0);
    dumps.makeMissing();
    error("message");
    struct stat attributes = {};
    ASSERT_EQ(stat("/dumps", &attributes), 0);
    EXPECT_TRUE(S_ISDIR(attributes.st_mode));
    EXPECT_EQ(attributes.st_mode & 07777, 0700U);
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 message\n");
}

TEST_F(Log, DirectoryThatIsAFileDropsEveryLine) {
    dumps.makePlainFile();
    error("message");
    change("message");
    EXPECT_TRUE(std::filesystem::is_regular_file(dumps.path()));
    EXPECT_FALSE(mk_log_dir());
}

TEST_F(Log, NewFilesHaveMode0600) {
    const Umask mask(0);
    error("message");
    change("message");
    EXPECT_EQ(modeOf(COMMAND_LOG), 0600U);
    EXPECT_EQ(modeOf(CHANGE_LOG), 0600U);
}

TEST_F(Log, ModeOfNewFilesIsSubjectToTheUmask) {
    const Umask mask(0277);
    error("message");
    EXPECT_EQ(modeOf(COMMAND_LOG), 0400U);
}

TEST_F(Log, ModeOfAnExistingFileStays) {
    dumps.write(COMMAND_LOG, "");
    ASSERT_EQ(chmod(dumps.path(COMMAND_LOG).c_str(), 0644), 0);
    error("message");
    EXPECT_EQ(modeOf(COMMAND_LOG), 0644U);
}

TEST_F(Log, ManyFirstCallersAtOnceLoseNoLine) {
    for (int round = 0; round < 20; round++) {
        dumps.makeMissing();
        inChildrenAtOnce(6, [](int child) { error(std::to_string(child).c_str()); });
        Texts lines = dumps.commandLogLines();
        std::sort(lines.begin(), lines.end());
        ASSERT_EQ(lines, (Texts{"ERROR getLunPath # 0", "ERROR getLunPath # 1", "ERROR getLunPath # 2",
                                "ERROR getLunPath # 3", "ERROR getLunPath # 4", "ERROR getLunPath # 5"}));
    }
}

TEST_F(Log, MovedOrDeletedLogIsMadeAnew) {
    error("one");
    ASSERT_EQ(rename("/dumps/dravik_cli.log", "/dumps/kept"), 0);
    error("two");
    EXPECT_EQ(dumps.commandLog(), "ERROR getLunPath 219 two\n");
    EXPECT_EQ(dumps.read("kept").substr(STAMP), "ERROR getLunPath 219 one\n");
}

TEST_F(Log, OnlyTheDumpsDirectoryIsEverCreated) {
    error("choose the command log");
    const char *const chosen = g_file_dir;
    g_file_dir = "/dumps/sub/";
    EXPECT_FALSE(mk_log_dir());
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
    ASSERT_EQ(mkdir("/dumps/sub", 0700), 0);
    EXPECT_TRUE(mk_log_dir());
    dumps.makeMissing();
    g_file_dir = "/dumps";
    EXPECT_FALSE(mk_log_dir());
    g_file_dir = "/dumps/";
    EXPECT_TRUE(mk_log_dir());
    g_file_dir = chosen;
}

TEST_F(Log, UncreatableDirectoryDropsTheLine) {
    dumps.makeMissing();
    dumps.refuseChanges(EROFS);
    error("message");
    EXPECT_FALSE(std::filesystem::exists(dumps.path()));
}

TEST_F(Log, UnopenableFileDropsTheLine) {
    dumps.refuseChanges(EACCES);
    error("message");
    dumps.refuseChanges(0);
    EXPECT_EQ(dumps.names(), Texts());
    ASSERT_EQ(mkdir("/dumps/dravik_cli.log", 0700), 0);
    error("message");
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
}

TEST_F(Log, FullDiskDropsTheLineSilently) {
    ASSERT_EQ(symlink("/dev/full", "/dumps/dravik_cli.log"), 0);
    EXPECT_EQ(complainedBy([] { error("message"); }), "");
    EXPECT_EQ(dumps.names(), Texts{COMMAND_LOG});
}

TEST_F(Log, NothingIsPrinted) {
    EXPECT_EQ(printedBy([] {
                  error("message");
                  change("message");
              }),
              "");
}

TEST_F(Log, SwitchedOffItWritesNothing) {
    EXPECT_TRUE(log_started);
    log_started = false;
    error("message");
    change("message");
    log_started = true;
    EXPECT_EQ(dumps.names(), Texts());
}

TEST_F(Log, MacroLogsTheCallersPosition) {
    DRAVIK_LOG(LOG_ERROR, "message %d", 1);
    const unsigned int line = __LINE__ - 1;
    EXPECT_EQ(dumps.commandLog(), "ERROR TestBody " + std::to_string(line) + " message 1\n");
}

// ---- the console

TEST(LogTrace, IsSilentUntilItIsSwitchedOn) {
    EXPECT_FALSE(debug_started);
    EXPECT_EQ(printedBy([] { inDebug("message"); }), "");
}

TEST(LogTrace, PrintsTheEscapedFormatAndANewline) {
    debug_started = true;
    EXPECT_EQ(printedBy([] { inDebug("a;%s %d", "b;c", 5); }), "a\\;b;c 5\n");
    EXPECT_EQ(printedBy([] { DRAVIK_TRACE("== %s", "x"); }), "== x\n");
    debug_started = false;
}

TEST(LogTrace, SilentTraceDoesNotEvaluateItsArguments) {
    int evaluated = 0;
    DRAVIK_TRACE("%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST(LogSeparator, Is130HyphensAndANewline) {
    EXPECT_EQ(printedBy([] { print__(); }), std::string(130, '-') + "\n");
}

// Looks ports up both ways, from what the files hold and from what the commands print, and compares host interface, target
// port, record, log lines and the texts themselves, over random folders of links and random attributes:
//
//   lookups_both_ways COUNT      COUNT look-ups; exit status 0 when all are alike, 1 with the first that is not
//
// It also counts the children: a look-up whose files hold nothing doubtful must start none. DRAVIK_TEST_SEED chooses
// another seed. It fills /dev/disk/by-path and /sys/block of the root it runs in, which must hold the file
// /lookups-may-be-made-here.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/startup.h"
#include "tests/support/seeded_random.h"
#include "topology/port_sources.h"
#include "topology/target_port.h"

namespace fs = std::filesystem;

// ---- children, counted

static unsigned int children = 0;

// NOLINTBEGIN(readability-identifier-naming): the names that the linker gives
extern "C" {
int __real_posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                       const posix_spawnattr_t *attributes, char *const *arguments, char *const *environment);
int __wrap_posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                       const posix_spawnattr_t *attributes, char *const *arguments, char *const *environment);
int __wrap_posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                       const posix_spawnattr_t *attributes, char *const *arguments,
                       char *const *environment) {
    ++children;
    return __real_posix_spawn(pid, path, actions, attributes, arguments, environment);
}
}
// NOLINTEND(readability-identifier-naming)

namespace {

const std::string LINKS = "/dev/disk/by-path";
const std::string BLOCK = "/sys/block";
constexpr size_t LONGEST_FILE_NAME = 255;

std::mt19937 random_numbers;

unsigned int below(unsigned int limit) {
    return static_cast<unsigned int>(random_numbers() % limit);
}
// True in `part` of 1000 cases.
bool seldom(unsigned int part) {
    return below(1000) < part;
}
std::string oneOf(const std::vector<std::string> &texts) {
    return texts[below(static_cast<unsigned int>(texts.size()))];
}
std::string number(unsigned int limit) {
    return std::to_string(below(limit));
}
std::string wwn() {
    char text[32];
    snprintf(text, sizeof(text), "0x%08x%08x", static_cast<unsigned int>(random_numbers()),
             static_cast<unsigned int>(random_numbers()));
    return oneOf({text, text, text, text, "0x50060fc", "50060160", "0x"});
}
// Bytes that no program takes for the end of something: everything but NUL, "/" and control bytes.
std::string anyBytes(size_t length) {
    std::string text;
    while (text.size() < length) {
        const auto c = static_cast<unsigned char>(32 + below(224));
        if (c != '/' && c != 127) {
            text += static_cast<char>(c);
        }
    }
    return text;
}

// ---- the folder of links

const std::vector<std::string> SCSI_NAMES = {"sda", "sdb",  "sdb",   "sdb",  "sdc",  "asdb",
                                             "bsd", "sdaa", "sdb-1", "sd_b", "sdaab"};
// Names that only the commands answer for.
const std::vector<std::string> ODD_SCSI_NAMES = {"sd.b", "sd!b", "sd:b", "sd,b", "sd" + std::string(63, 'x')};

std::string linkName() {
    const std::string pci = "pci-0000:" + number(9) + "5:00." + number(8);
    switch (below(14)) {
    case 0:
    case 1:
    case 2:
    case 3:
        return pci + "-fc-" + wwn() + "-lun-" + number(300);
    case 4:
    case 5:
        return "ip-192.168.1." + number(4) + ":" + oneOf({"3260", "3260", "3260", "3261", "860", "13260"}) +
               "-iscsi-iqn.2001-04.com.example:t" + number(4) + "-lun-" + number(300);
    case 6:
        return pci + "-ip-10.0.0.1:3260-iscsi-iqn.x-lun-" + number(9);
    case 7:
        return pci + "-scsi-0:0:" + number(4) + ":" + number(300);
    case 8:
        return pci + oneOf({"-sas-", "-ata-", "-usb-0:1:1.0-scsi-"}) + wwn() + "-lun-" + number(9);
    case 9:
        return oneOf({"fc-", "-fc-", "--fc--", "-iscsi-", "-scsi-", "pci", "a-fc-", "pci-fc-0x1", "3260",
                      "->"}) +
               number(50);
    case 10:
        return oneOf({" ", "  ", "   "}) + oneOf({"", pci + "-fc-0x1", "x y"});
    case 11:
        return pci + " -fc-" + wwn() + " b";
    case 12:
        return "." + pci + "-fc-" + wwn();
    default:
        return anyBytes(1 + below(below(4) == 0 ? LONGEST_FILE_NAME : 30));
    }
}

std::string linkText(const std::string &device) {
    switch (below(12)) {
    case 0:
        return "/dev/" + device;
    case 1:
        return device;
    case 2:
        return "../../" + device + oneOf({"1", " ", "$", "x"});
    case 3:
        return "../../" + oneOf({"a", "sd", "-", "."}) + device;
    case 4:
        return "../../nowhere/" + anyBytes(1 + below(20)) + device;
    default:
        return "../../" + device;
    }
}

// Puts an entry into the folder that is no plain link. False when the folder stayed plain.
bool addDoubtfulEntry() {
    const std::string place = LINKS + "/" + oneOf({"", "", "", "."}) + "odd" + number(9);
    const bool hidden = place.find("/.odd") != std::string::npos;
    switch (below(7)) {
    case 0:
        fs::create_directory(place);
        break;
    case 1:
        std::ofstream(place) << "a file\n";
        break;
    case 2:
        return symlink("../../sdb", (place + "\n" + "-fc-\tsdb").c_str()) == 0 && !hidden;
    case 3:
        return symlink("../../x\nsdb", place.c_str()) == 0 && !hidden;
    case 4:
        return mkfifo(place.c_str(), 0600) == 0 && !hidden;
    default: // another owner, or another group; their numbers may have names with blanks
        if (symlink("../../sdb", place.c_str()) != 0) {
            return false;
        }
        return (below(2) == 0 ? lchown(place.c_str(), 4711, 0) : lchown(place.c_str(), 0, 4711)) == 0 &&
               !hidden;
    }
    return !hidden;
}

unsigned int linkCount() {
    if (seldom(8)) {
        return 2000;
    }
    return below(4) == 0 ? below(120) : below(12);
}

// Fills the folder. True when it holds plain links alone.
bool fillLinks() {
    const unsigned int count = linkCount();
    const bool one_device = count == 2000 || seldom(200);
    for (unsigned int i = 0; i < count; ++i) {
        const std::string name = linkName().substr(0, LONGEST_FILE_NAME);
        const std::string text = linkText(one_device ? "sdb" : oneOf(SCSI_NAMES));
        // A name may come a second time, or be "." or "..".
        if (symlink((seldom(10) ? name : text).c_str(), (LINKS + "/" + name).c_str()) != 0 &&
            errno != EEXIST) {
            perror(name.c_str());
            exit(2);
        }
    }
    return !seldom(60) || !addDoubtfulEntry();
}

// Makes the folder, or what stands in its place. True when the files alone answer.
bool makeLinks() {
    fs::remove_all(LINKS);
    fs::remove_all(LINKS + ".other");
    if (!seldom(40)) {
        fs::create_directory(LINKS);
        return fillLinks();
    }
    switch (below(5)) {
    case 0:
        return true; // there is none
    case 1:
        std::ofstream(LINKS) << "a file\n";
        return false;
    case 2:
        fs::create_symlink("nowhere", LINKS);
        return true;
    case 3:
        fs::create_symlink("by-path", LINKS);
        return false;
    default:
        fs::create_directory(LINKS + ".other");
        fs::create_symlink("by-path.other", LINKS);
        return fillLinks();
    }
}

// ---- the attributes

std::string address() {
    const std::string nn = "traddr=nn-" + wwn() + ":pn-" + wwn();
    switch (below(10)) {
    case 0:
    case 1:
    case 2:
        return nn + ",host_traddr=nn-" + wwn() + ":pn-" + wwn() + "\n";
    case 3:
    case 4:
        return "traddr=192.168." + number(200) + "." + number(200) + ",trsvcid=" + oneOf({"4420", "8009"}) +
               "\n";
    case 5:
        return oneOf({"traddr=fe80::1,x", "traddr=", "traddr=,192.1", "x,traddr=1.2.3.4", "=traddr=1.2"}) +
               oneOf({"", "\n"});
    case 6:
        return "first line, cut\n" + nn + ",\n\n,\n" + nn;
    case 7:
        return oneOf({"", "\n", ",", ",\n,\n", "traddr=1.2.3.4", "traddr=a-b-0xc-d", "traddr=a=b.c=d"});
    case 8:
        return "traddr=" + std::string(900 + below(300), '1') + "." + std::string(below(200), 'x') + ",y\n";
    default:
        return oneOf({"", "traddr="}) + anyBytes(below(1500)) + oneOf({"", ",", "\n"}) +
               anyBytes(below(1500));
    }
}

std::string transport() {
    return oneOf({"fc\n", "fc\n", "fc\n", "rdma\n", "rdma\n", "tcp\n", "fc", "loop\n", "", "FC\n",
                  "xfcx rdma\n", "rd\nma\nrdma", "\n\nfc", std::string(1020, 'x') + "fc",
                  std::string(1022, 'x') + "fc\n", anyBytes(below(2000))});
}

// Makes the attribute `place` of this text, or what stands in its place. True when the file alone answers.
bool makeAttribute(const std::string &place, const std::string &text) {
    if (!seldom(120)) {
        std::ofstream(place, std::ios::binary) << text;
        return true;
    }
    switch (below(7)) {
    case 0:
        return true; // there is none
    case 1:
        fs::create_directory(place);
        return false;
    case 2:
        fs::create_symlink("nowhere", place);
        return true;
    case 3:
        fs::create_symlink(place, place);
        return false;
    case 4:
        std::ofstream(place, std::ios::binary) << text << std::string(1, '\0') << text;
        return false;
    case 5: // a megabyte
        std::ofstream(place, std::ios::binary) << text << std::string(1048576, below(2) == 0 ? 'x' : ',');
        return true;
    default:
        std::ofstream(place + "-elsewhere", std::ios::binary) << text;
        fs::create_symlink(place + "-elsewhere", place);
        return true;
    }
}

// Makes the device. True when its files alone answer.
bool makeNvme(const std::string &name) {
    const std::string folder = BLOCK + "/" + name;
    fs::remove_all(folder);
    if (seldom(15)) {
        return true; // there is none
    }
    if (seldom(15)) {
        std::ofstream(folder) << "a file\n";
        return false;
    }
    fs::create_directories(folder + "/device");
    const bool transport_is_sure = makeAttribute(folder + "/device/transport", transport());
    return makeAttribute(folder + "/device/address", address()) && transport_is_sure;
}

// ---- looking up

struct Answer {
    std::string host_interface;
    std::string target_port;
    const s_ecItems *record;
    std::string text; // of the texts, one chosen at random, unless it could not be had
    std::string log;
};

bool operator==(const Answer &a, const Answer &b) {
    return a.host_interface == b.host_interface && a.target_port == b.target_port && a.record == b.record &&
           a.text == b.text && a.log == b.log;
}

constexpr char LOG[] = "/dumps/dravik_cli.log";

// The log without the times and the numbers of its lines: "[time stamp] LEVEL FUNCTION NUMBER MESSAGE".
std::string takeLog() {
    std::ifstream file(LOG, std::ios::binary);
    std::string whole;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("[20", 0) == 0) {
            std::istringstream words(line.substr(line.find("] ") + 2));
            std::string level;
            std::string function;
            unsigned int place = 0;
            words >> level >> function >> place;
            std::getline(words, line);
            line.insert(0, level.append(" ").append(function));
        }
        whole += line + "\n";
    }
    unlink(LOG);
    return whole;
}

// A text of the device, into a buffer of any size; 0 asks for none.
std::string textOf(const std::string &device, unsigned int which, unsigned int size) {
    if (size == 0) {
        return "";
    }
    std::vector<char> out(size + 1, '#');
    const auto ask = which == 0 ? dravik::askLinks : which == 1 ? dravik::askTransport : dravik::askAddress;
    const bool had = !isFailure(ask(device.c_str(), out.data(), size));
    const std::string text = had ? out.data() : "";
    return out[size] == '#' && text.size() < size ? text : "written beyond its end";
}

struct Question {
    std::string device;
    bool is_sure; // the files alone answer
    unsigned int text;
    unsigned int text_size;
};

Answer lookUp(const Question &question) {
    char host_interface[HOST_INTERFACE_SIZE] = "";
    char target_port[TARGET_PORT_SIZE] = "";
    Answer answer;
    answer.record = getTargetPort(question.device.c_str(), host_interface, target_port);
    answer.host_interface = host_interface;
    answer.target_port = target_port;
    answer.text = textOf(question.device, question.text, question.text_size);
    answer.log = takeLog();
    return answer;
}

std::string shown(const Answer &answer) {
    return "[" + answer.host_interface + "] [" + answer.target_port + "] record " +
           (answer.record == nullptr ? "none" : std::to_string(answer.record->code)) + "\ntext:\n" +
           answer.text + "\nlog:\n" + answer.log;
}

[[noreturn]] void fail(const Question &question, const std::string &what) {
    printf("%s: %s\n", question.device.c_str(), what.c_str());
    exit(1);
}

// How often each answer came.
std::map<std::string, unsigned int> seen;

// One round of questions over the files as they are, both ways.
void ask(const std::vector<Question> &questions) {
    std::vector<Answer> answers;
    std::vector<unsigned int> started;
    {
        const dravik::PortQuery query;
        for (const Question &question : questions) {
            children = 0;
            answers.push_back(lookUp(question));
            started.push_back(children);
        }
    }
    dravik::ask_commands_only = true;
    for (size_t i = 0; i < questions.size(); ++i) {
        children = 0;
        const Answer commands = lookUp(questions[i]);
        if (!(answers[i] == commands)) {
            fail(questions[i], "the files say " + shown(answers[i]) + "the commands say " + shown(commands));
        }
        if (started[i] > (questions[i].is_sure ? 0 : children)) {
            fail(questions[i], std::to_string(started[i]) + " children were started");
        }
        ++seen[commands.host_interface + (commands.target_port.empty() ? "" : " with a port")];
        ++seen[started[i] == 0 ? "without a child" : "with a child"];
        seen["log lines"] += commands.log.empty() ? 0U : 1U;
        seen["cut text"] += commands.text.size() + 1 == questions[i].text_size ? 1U : 0U;
    }
    dravik::ask_commands_only = false;
}

Question questionOf(const std::string &device, bool is_sure, unsigned int text) {
    const unsigned int size = below(5) != 0 ? 0 : below(3) == 0 ? 1 + below(64) : 1024;
    return {device, is_sure, text, size};
}

std::vector<Question> scsiRound() {
    const bool is_sure = makeLinks();
    std::vector<Question> questions;
    for (unsigned int i = 1 + below(5); i > 0; --i) {
        const bool is_odd = seldom(30);
        questions.push_back(questionOf(oneOf(is_odd ? ODD_SCSI_NAMES : SCSI_NAMES), is_sure && !is_odd, 0));
    }
    return questions;
}

std::vector<Question> nvmeRound() {
    std::vector<Question> questions;
    for (unsigned int i = 1 + below(3); i > 0; --i) {
        const bool is_odd = seldom(30);
        const std::string name = "nvme" + std::to_string(i) +
                                 (is_odd ? oneOf({"!n1", ".1", ":n1", ",n1"}) : oneOf({"n1", "c0n1"}));
        questions.push_back(questionOf(name, makeNvme(name) && !is_odd, 1 + below(2)));
    }
    return questions;
}

// Whether everything that may come did come.
bool sawAll() {
    bool all = true;
    for (const char *what :
         {"", "fc", "fc with a port", "iscsi", "iscsi with a port", "sas", "fc-nvme", "fc-nvme with a port",
          "rdma-nvme", "rdma-nvme with a port", "without a child", "with a child", "log lines", "cut text"}) {
        if (seen[what] == 0) {
            printf("among so many look-ups there should be some of: %s\n", *what == '\0' ? "nothing" : what);
            all = false;
        }
    }
    return all;
}

} // namespace

int main(int argc, char **argv) {
    const unsigned long count = argc == 2 ? strtoul(argv[1], nullptr, 10) : 0;
    if (count == 0 || access("/lookups-may-be-made-here", F_OK) != 0) {
        fprintf(stderr, "usage: lookups_both_ways COUNT, in a root of its own\n");
        return 2;
    }
    random_numbers = seededRandom(20211206);
    resetProcess();
    unsetenv("DRAVIK_CLI_DEBUG");
    fs::create_directories(BLOCK);
    fs::create_directories("/dev/disk");
    unsigned long done = 0;
    while (done < count) {
        std::vector<Question> questions = below(2) == 0 ? scsiRound() : nvmeRound();
        questions.resize(std::min<size_t>(questions.size(), count - done));
        ask(questions);
        done += questions.size();
    }
    if (!sawAll()) {
        return 1;
    }
    printf("%lu look-ups, alike both ways\n", done);
    return 0;
}

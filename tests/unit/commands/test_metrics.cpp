// metrics as it is typed: where it writes, and what keeps it from writing.
#include "commands/metrics.h"

#include <cerrno>
#include <sys/stat.h>

#include "tests/support/ledger_on_host.h"
#include "tests/support/write_faults.h"

using namespace dravik;

namespace {

class Metrics : public LedgerOnHost {
  protected:
    std::string metrics(std::vector<std::string> words = {}, bool json_before = false) {
        words.insert(words.begin(), "metrics");
        return answer(dravik::metrics, words, json_before);
    }
    // How many lines of the output are samples of families that begin with this.
    static int samples(const std::string &output, const std::string &family) {
        int count = 0;
        for (size_t at = 0; at < output.size(); at = output.find('\n', at) + 1) {
            count += output.compare(at, family.size(), family) == 0 ? 1 : 0;
        }
        return count;
    }
};

const std::string HELP = "; see \"dravik help metrics\"\n[1]\n";

} // namespace

TEST_F(Metrics, GoToStandardOutputWithThePathsOrWithoutThem) {
    observe({okVolume(), okVolume("other")});
    const std::string all = metrics();
    EXPECT_EQ(samples(all, "dravik_path_working{"), 4);
    EXPECT_EQ(samples(all, "dravik_volume_state{"), 10);
    EXPECT_EQ(all.substr(all.size() - 4), "[0]\n");
    const std::string volumes = metrics({"--volumes-only"});
    EXPECT_EQ(samples(volumes, "dravik_path_"), 0);
    // But for the families of the paths it is the same text.
    EXPECT_EQ(volumes, all.substr(0, all.find("# HELP dravik_path_")) +
                           all.substr(all.find("# HELP dravik_events_total")));
}

TEST_F(Metrics, GoIntoAFileAndNothingElseIsSaid) {
    observe({okVolume()});
    const std::string printed = metrics();
    EXPECT_EQ(metrics({"--textfile", "/dumps/dravik.prom"}), "[0]\n");
    EXPECT_EQ(host.dumps.read("dravik.prom") + "[0]\n", printed);
    struct stat attributes = {};
    ASSERT_EQ(stat("/dumps/dravik.prom", &attributes), 0);
    EXPECT_EQ(attributes.st_mode, S_IFREG | 0644U);
}

TEST_F(Metrics, AFileThatCannotBeWrittenIsNamedWithTheReasonAndTheRemedy) {
    observe({okVolume()});
    EXPECT_EQ(metrics({"--textfile", "/dumps/no/dravik.prom"}),
              "! dravik metrics: /dumps/no/dravik.prom cannot be written: No such file or directory; make "
              "its folder "
              "first\n[1]\n");
    EXPECT_EQ(
        metrics({"--textfile", "/dumps"}),
        "! dravik metrics: /dumps cannot be written: it is a folder; name a file in that folder\n[1]\n");
    EXPECT_EQ(
        metrics({"--textfile", "/dev/null"}),
        "! dravik metrics: /dev/null cannot be written: it is a device, a pipe or a socket; name a regular "
        "file, or none for standard output\n[1]\n");
}

TEST_F(Metrics, ADiskThatIsFullALimitOrAFolderOfOthersIsToldAndTheOldFileStays) {
    observe({okVolume()});
    host.dumps.write("dravik.prom", "old");
    const auto with = [this](int error) {
        failWriteCall(1, error);
        const std::string answered = metrics({"--textfile", "/dumps/dravik.prom"});
        endWriteFaults();
        EXPECT_EQ(host.dumps.read("dravik.prom"), "old");
        return answered;
    };
    const std::string what = "! dravik metrics: /dumps/dravik.prom cannot be written: ";
    EXPECT_EQ(with(ENOSPC), what + "No space left on device; make space there\n[1]\n");
    EXPECT_EQ(with(EDQUOT), what + "Disk quota exceeded; make space there\n[1]\n");
    EXPECT_EQ(with(EFBIG), what + "File too large; raise the limit on the size of files (ulimit -f)\n[1]\n");
    EXPECT_EQ(with(EIO), what + "Input/output error\n[1]\n");
    for (const std::string &name : host.dumps.names()) {
        EXPECT_EQ(name.find(".dravik-new-"), std::string::npos) << name;
    }
}

TEST_F(Metrics, WithoutALedgerNothingIsWrittenAndAnOldFileStays) {
    host.dumps.write("dravik.prom", "old");
    const std::string why = "! dravik metrics: there is no ledger /dumps/dravik.db: dravik-monitor has not "
                            "run on this host yet\n[1]\n";
    EXPECT_EQ(metrics(), why);
    EXPECT_EQ(metrics({"--textfile", "/dumps/dravik.prom"}), why);
    EXPECT_EQ(host.dumps.read("dravik.prom"), "old");
    ledger()->run("DROP TABLE event_count");
    EXPECT_EQ(metrics({"--textfile", "/dumps/dravik.prom"}),
              "! dravik metrics: /dumps/dravik.db cannot be read: no such table: event_count\n[1]\n");
    EXPECT_EQ(host.dumps.read("dravik.prom"), "old");
}

TEST_F(Metrics, ALineThatCannotBeUnderstoodIsAnError) {
    observe({okVolume()});
    EXPECT_EQ(metrics({"--nope"}), "! dravik metrics: there is no option \"--nope\"" + HELP);
    EXPECT_EQ(metrics({"mpatha"}), "! dravik metrics: \"mpatha\" is one word too many" + HELP);
    EXPECT_EQ(metrics({"--textfile"}), "! dravik metrics: a value is missing behind \"--textfile\"" + HELP);
    EXPECT_EQ(metrics({"--textfile="}), "! dravik metrics: --textfile takes the name of a file\n[1]\n");
}

TEST_F(Metrics, AreNoJson) {
    observe({okVolume()});
    const std::string why = "metrics are text: for JSON use \\\"dravik --json list\\\"";
    const std::string answered =
        document("metrics", "\"error\":\"" + why + "\"") +
        "! dravik metrics: metrics are text: for JSON use \"dravik --json list\"\n[1]\n";
    EXPECT_EQ(metrics({"--json"}), answered);
    EXPECT_EQ(metrics({}, true), answered);
}

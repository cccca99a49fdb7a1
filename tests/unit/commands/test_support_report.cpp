// report: what it answers before anything is collected. (Whole reports: tests/host/report.bats.)
#include "commands/support_report.h"

#include <filesystem>
#include <fstream>

#include "host/interruption.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

class SupportReport : public LedgerOnHost {
  protected:
    SupportReport() {
        char name[] = "/tmp/dravik-report-XXXXXX";
        place = mkdtemp(name);
    }
    ~SupportReport() override {
        restoreEndingSignals();
        std::filesystem::remove_all(place);
    }
    std::string report(std::vector<std::string> words, bool json_before = false) {
        words.insert(words.begin(), "report");
        return answer(supportReport, words, json_before);
    }
    static std::string failure(const std::string &sentence) {
        return "! dravik report: " + sentence + "\n[1]\n";
    }
    std::string place;
};

} // namespace

TEST_F(SupportReport, TheCommandLineMustNameOneFileThatEndsAsAnArchive) {
    EXPECT_EQ(report({}), failure("say into which file: dravik report FILE.tar.gz"));
    EXPECT_EQ(report({""}), failure("say into which file: dravik report FILE.tar.gz"));
    EXPECT_EQ(report({"--redact"}), failure("say into which file: dravik report FILE.tar.gz"));
    for (const std::string name :
         {"/tmp/r.zip", ".tar.gz", "/tmp/.tar.gz", "/tmp/r.tar.gz/", "r.tar.gzx", "r.TAR.GZ"}) {
        EXPECT_EQ(report({name}),
                  failure("\"" + name + "\" does not end in .tar.gz, which is what the report is"));
    }
    EXPECT_EQ(report({"a.tar.gz", "b"}), failure("\"b\" is one word too many; see \"dravik help report\""));
    EXPECT_EQ(report({"--nope"}), failure("there is no option \"--nope\"; see \"dravik help report\""));
}

TEST_F(SupportReport, ControlBytesOfANameReachNoTerminal) {
    EXPECT_EQ(report({"x\x1b[2J"}),
              failure("\"x\\x1b[2J\" does not end in .tar.gz, which is what the report is"));
}

TEST_F(SupportReport, AFailureIsADocumentWhereThatIsAsked) {
    const std::string text =
        document("report", R"("error":"say into which file: dravik report FILE.tar.gz")") +
        failure("say into which file: dravik report FILE.tar.gz");
    EXPECT_EQ(report({}, true), text);
    EXPECT_EQ(report({"--json"}), text);
}

TEST_F(SupportReport, AFileThatIsThereOrAFolderThatIsNotMakesNoReportAndLeavesNothing) {
    const std::string file = place + "/r.tar.gz";
    std::ofstream(file) << "old";
    EXPECT_EQ(report({file}), failure(file + " is already there: remove it, or name another file"));
    EXPECT_EQ(
        report({place + "/no/r.tar.gz"}),
        failure(place + "/no: No such file or directory; make the folder, or name a file in another one"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place), {}), 1);
    EXPECT_EQ(std::filesystem::file_size(file), 3U);
    EXPECT_EQ(host.calls, std::vector<std::string>{}); // nothing was run for it
    EXPECT_EQ(audited, std::vector<std::string>{});
}

TEST_F(SupportReport, OnlyRootMakesAReport) {
    if (geteuid() != 0) {
        EXPECT_EQ(report({place + "/r.tar.gz"}),
                  failure("a report reads what is root's alone: run it as root"));
        return;
    }
    ASSERT_EQ(seteuid(65534), 0);
    const std::string told = report({place + "/r.tar.gz"});
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(told, failure("a report reads what is root's alone: run it as root"));
}

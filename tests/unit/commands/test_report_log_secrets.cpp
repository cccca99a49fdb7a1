// Which names are learnt from logs: what a line that holds them has become.
#include "commands/report_log_secrets.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/processor_time.h"

using namespace dravik;

namespace {

// `text` as a redactor gives it that has learnt from `from`.
std::string after(const std::string &from, const std::string &text) {
    Redactor redactor;
    learnLog(&redactor, from);
    return redactor.text(text);
}

} // namespace

TEST(ReportLogSecrets, ALogNamesAliasesWwidsVirtualDisksAndUsersByTheWordBeforeThem) {
    const std::vector<std::pair<const char *, const char *>> lines = {
        {"[t] path_alias: first, state", "[t] path_alias: alias-1, state"},
        {"[t] [path_alias: first]", "[t] [path_alias: alias-1]"},
        {"[t] wwid: odd_wwid, state", "[t] wwid: wwid-1, state"},
        {"[t] path alias is changed from [one] to [two].",
         "[t] path alias is changed from [alias-1] to [alias-2]."},
        {"[t] lun wwid is changed from [w_1] to [w_2].",
         "[t] lun wwid is changed from [wwid-1] to [wwid-2]."},
        {"[t] vdisk name change from (disk one) to (disk two).",
         "[t] vdisk name change from (vdisk-1) to (vdisk-2)."},
        {"[t] dravik setalias -alias first -wwid odd_wwid",
         "[t] dravik setalias -alias alias-1 -wwid wwid-1"},
        {"[t] [dravik delalias -path_alias first]", "[t] [dravik delalias -path_alias alias-1]"},
        {"[t] audit user alice ran (login bob)", "[t] audit user user-1 ran (login user-2)"},
        {"dravik-monitor: user carol did", "dravik-monitor: user user-1 did"},
        {"[t] audit user root ran", "[t] audit user root ran"},
        {"[t] INFO  audit 93 user dave ran [dravik scan]: Command executed successfully.",
         "[t] INFO  audit 93 user user-1 ran [dravik scan]: Command executed successfully."},
        {"[t] INFO  audit 93 user dave (login erin) ran [dravik delete first]: This device [first] does not "
         "exist.",
         "[t] INFO  audit 93 user user-1 (login user-2) ran [dravik delete alias-1]: This device [alias-1] "
         "does "
         "not exist."},
        {"[t] INFO  audit 7 user root ran [dravik baseline accept --json first]: x",
         "[t] INFO  audit 7 user root ran [dravik baseline accept --json alias-1]: x"},
        {"[t] audits 7 user dave, audit x user dave, audit user",
         "[t] audits 7 user dave, audit x user dave, audit user"},
        {"[t] vdisk name change from (NULL) to (disk one), was NULL.",
         "[t] vdisk name change from (NULL) to (vdisk-1), was NULL."},
        {"[t] nothing named first", "[t] nothing named first"},
    };
    for (const auto &line : lines) {
        EXPECT_EQ(after(line.first, line.first), line.second);
        EXPECT_EQ(after("x\n" + std::string(line.first) + "\nstate", line.first), line.second);
    }
}

TEST(ReportLogSecrets, AMegabyteOfLinesWithoutTheirSecondNameTakesWellUnderASecond) {
    for (const char *piece :
         {"path alias is changed from [a\n", "path alias is changed from [a ", "vdisk name change from (x) ",
          "path_alias: ", "audit 7 user ", "dravik delete "}) {
        std::string text;
        while (text.size() < 1200000) {
            text += piece;
        }
        Redactor redactor;
        const double took = processorSeconds([&] { learnLog(&redactor, text); });
        EXPECT_LT(took, 2) << piece;
    }
}

// The policy in force, read from its scripts' output, and the policy that a command is to apply.
#include "commands/policy_scripts.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"
#include "tests/support/rules.h"

namespace {

// Asks `query` for the policy on a host whose script prints `output`: "GROUP|CHOOSER" from buffers of `size`
// bytes that held "old".
std::string policyFrom(s_ecItems *(*query)(char *, unsigned int, char *, unsigned int), const char *command,
                       const std::string &output, unsigned int size, int outcome) {
    FakeHost host;
    host.answer(command, output, outcome);
    char group[POLICY_SIZE + 1] = "old";
    char chooser[POLICY_SIZE + 1] = "old";
    group[size] = '!';
    chooser[size] = '!';
    EXPECT_EQ(outcome == 0 ? &EC_info_ok : &EC_exe_cmd_failed, query(group, size, chooser, size));
    EXPECT_EQ(Calls{command}, host.calls);
    EXPECT_EQ('!', group[size]) << "written past the end";
    EXPECT_EQ('!', chooser[size]) << "written past the end";
    return std::string(group) + "|" + chooser;
}

} // namespace

// ---- the policy in force

namespace {

// Who asks by which command line, what the script prints, the size of the buffers, how it ends; and what the buffers
// then hold, "GROUP|CHOOSER".
struct PolicyCase {
    s_ecItems *(*query)(char *, unsigned int, char *, unsigned int);
    const char *command;
    std::string output;
    unsigned int size;
    int outcome;
    std::string policy;
};

const Rule<PolicyCase> POLICY_RULES[] = {
    {"TheFirstLineIsTheGroupAndTheSecondTheChooser",
     {{getConf, POLICY_QUERY, "multibus\nservice-time\n", POLICY_SIZE, 0, "multibus|service-time"},
      {getConf, POLICY_QUERY, "multibus\nservice-time", POLICY_SIZE, 0, "multibus|service-time"},
      {getConf, POLICY_QUERY, "multibus\nservice-time\nmore\nand more\n", POLICY_SIZE, 0,
       "multibus|service-time"},
      {getConf, POLICY_QUERY, "\nservice-time\n", POLICY_SIZE, 0, "|service-time"},
      {getConf, POLICY_QUERY, "multibus\n\n", POLICY_SIZE, 0, "multibus|"}}},
    {"OutputOfASingleLineLeavesBothBuffersAsTheyWere",
     {{getConf, POLICY_QUERY, "multibus\n", POLICY_SIZE, 0, "old|old"},
      {getConf, POLICY_QUERY, "multibus", POLICY_SIZE, 0, "old|old"},
      {getConf, POLICY_QUERY, "\n", POLICY_SIZE, 0, "old|old"},
      {getConf, POLICY_QUERY, "", POLICY_SIZE, 0, "old|old"}}},
    {"AFailedQueryLeavesBothBuffersAsTheyWere",
     {{getConf, POLICY_QUERY, "multibus\nservice-time\n", POLICY_SIZE, 1, "old|old"},
      {getConf, POLICY_QUERY, "multibus\nservice-time\n", POLICY_SIZE, NOT_STARTED, "old|old"}}},
    {"ALineLongerThanItsBufferIsCutToWhatFitsWithItsTerminator",
     {{getConf, POLICY_QUERY, "multibus\nservice-time\n", 4, 0, "mul|ser"},
      {getConf, POLICY_QUERY, std::string(300, 'g') + "\n" + std::string(300, 'c') + "\n", POLICY_SIZE, 0,
       std::string(255, 'g') + "|" + std::string(255, 'c')}}},
    {"MoreThan1023CharactersOfTheScriptAreNotLookedAt",
     {// The newline of the first line is the last character that still counts.
      {getConf, POLICY_QUERY, std::string(1022, 'g') + "\nservice-time\n", POLICY_SIZE, 0, "old|old"},
      {getConf, POLICY_QUERY, std::string(1021, 'g') + "\nservice-time\n", POLICY_SIZE, 0,
       std::string(255, 'g') + "|s"}}},
    {"TheNvmePolicyComesFromItsOwnScript",
     {{getNVMeConf, NVME_POLICY_QUERY, "multibus\nqueue-length\n", POLICY_SIZE, 0, "multibus|queue-length"},
      {getNVMeConf, NVME_POLICY_QUERY, "multibus\n", POLICY_SIZE, 0, "old|old"}}},
};

class PolicyScriptsQuery : public testing::TestWithParam<Rule<PolicyCase>> {};

} // namespace

TEST_P(PolicyScriptsQuery, FillsTheBuffers) {
    for (const PolicyCase &row : GetParam().cases) {
        EXPECT_EQ(row.policy, policyFrom(row.query, row.command, row.output, row.size, row.outcome));
    }
}
INSTANTIATE_TEST_SUITE_P(Rule, PolicyScriptsQuery, testing::ValuesIn(POLICY_RULES), nameOfRule);

// ---- the policy to apply

TEST(PolicyScripts, ThePolicyToApplyIsTheParameterThenThePreviousOneThenTheDefault) {
    FakeHost host;
    EXPECT_STREQ("failover", groupToApply(""));
    EXPECT_STREQ("rount-robin", chooserToApply(""));
    EXPECT_STREQ("group_by_prio", groupToApply("group_by_prio"));
    EXPECT_STREQ("queue-length", chooserToApply("queue-length"));
    give(gParamGroupVal, "multibus");
    give(gParamChooserVal, "service-time");
    EXPECT_STREQ("multibus", groupToApply("group_by_prio"));
    EXPECT_STREQ("service-time", chooserToApply("queue-length"));
}

TEST(PolicyScripts, APreviousPolicyThatIsNoPlainPolicyTextCountsAsEmpty) {
    FakeHost host;
    EXPECT_STREQ("round-robin 0", chooserToApply("round-robin 0"));
    for (const std::string &word : HOSTILE_POLICIES) {
        EXPECT_STREQ("failover", groupToApply(word.c_str())) << word;
        EXPECT_STREQ("rount-robin", chooserToApply(word.c_str())) << word;
    }
}

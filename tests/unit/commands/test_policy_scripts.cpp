// The policy in force, read from its scripts' output, and the policy that a command is to apply.
#include "commands/policy_scripts.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

// Asks `query` for the policy on a host whose script prints `output`: "GROUP|CHOOSER" from buffers of `size`
// bytes that held "old".
std::string policyFrom(s_ecItems *(*query)(char *, unsigned int, char *, unsigned int), const char *command,
                       const std::string &output, unsigned int size = POLICY_SIZE, int outcome = 0) {
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

std::string confFrom(const std::string &output, unsigned int size = POLICY_SIZE, int outcome = 0) {
    return policyFrom(getConf, POLICY_QUERY, output, size, outcome);
}

} // namespace

// ---- the policy in force

TEST(PolicyScripts, TheFirstLineIsTheGroupAndTheSecondTheChooser) {
    EXPECT_EQ("multibus|service-time", confFrom("multibus\nservice-time\n"));
    EXPECT_EQ("multibus|service-time", confFrom("multibus\nservice-time"));
    EXPECT_EQ("multibus|service-time", confFrom("multibus\nservice-time\nmore\nand more\n"));
    EXPECT_EQ("|service-time", confFrom("\nservice-time\n"));
    EXPECT_EQ("multibus|", confFrom("multibus\n\n"));
}

TEST(PolicyScripts, OutputOfASingleLineLeavesBothBuffersAsTheyWere) {
    EXPECT_EQ("old|old", confFrom("multibus\n"));
    EXPECT_EQ("old|old", confFrom("multibus"));
    EXPECT_EQ("old|old", confFrom("\n"));
    EXPECT_EQ("old|old", confFrom(""));
}

TEST(PolicyScripts, AFailedQueryLeavesBothBuffersAsTheyWere) {
    EXPECT_EQ("old|old", confFrom("multibus\nservice-time\n", POLICY_SIZE, 1));
    EXPECT_EQ("old|old", confFrom("multibus\nservice-time\n", POLICY_SIZE, NOT_STARTED));
}

TEST(PolicyScripts, ALineLongerThanItsBufferIsCutToWhatFitsWithItsTerminator) {
    EXPECT_EQ("mul|ser", confFrom("multibus\nservice-time\n", 4));
    EXPECT_EQ(std::string(255, 'g') + "|" + std::string(255, 'c'),
              confFrom(std::string(300, 'g') + "\n" + std::string(300, 'c') + "\n"));
}

TEST(PolicyScripts, MoreThan1023CharactersOfTheScriptAreNotLookedAt) {
    // The newline of the first line is the last character that still counts.
    EXPECT_EQ("old|old", confFrom(std::string(1022, 'g') + "\nservice-time\n"));
    EXPECT_EQ(std::string(255, 'g') + "|s", confFrom(std::string(1021, 'g') + "\nservice-time\n"));
}

TEST(PolicyScripts, TheNvmePolicyComesFromItsOwnScript) {
    EXPECT_EQ("multibus|queue-length",
              policyFrom(getNVMeConf, NVME_POLICY_QUERY, "multibus\nqueue-length\n"));
    EXPECT_EQ("old|old", policyFrom(getNVMeConf, NVME_POLICY_QUERY, "multibus\n"));
}

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

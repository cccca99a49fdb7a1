// Asking the policy scripts.
#include "commands/policy_scripts.h"

#include <cstdio>

#include "commands/parameter_buffers.h"
#include "common/plain_word.h"
#include "common/text_split.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

// A policy script prints two short lines; more than this is not looked at.
constexpr unsigned int POLICY_OUTPUT_SIZE = 1024;

// Copies the first two lines of `output` (cut in place), if it has two, cutting each to its buffer.
//
//   multibus
//   service-time
void takePolicy(char *output, char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize) {
    char *second = get_next_line(output);
    if (second == nullptr) {
        return;
    }
    char *third = get_next_line(second);
    second[-1] = '\0';
    if (third != nullptr) {
        third[-1] = '\0';
    }
    snprintf(group, groupSize, "%s", output);
    snprintf(chooser, chooserSize, "%s", second);
}

s_ecItems *queryPolicy(const char *operation, const char *script, char *group, unsigned int groupSize,
                       char *chooser, unsigned int chooserSize) {
    char output[POLICY_OUTPUT_SIZE] = "";
    s_ecItems *result =
        runForOutput(operation, ShellCommand(CMD_sh, " "_sh, script, " query"_sh), output, sizeof(output));
    if (!isFailure(result)) {
        takePolicy(output, group, groupSize, chooser, chooserSize);
    }
    return result;
}

const char *policyToApply(const char *parameter, const char *previous, const char *otherwise) {
    if (isPlainPolicy(parameter)) {
        return parameter;
    }
    return isPlainPolicy(previous) ? previous : otherwise;
}

} // namespace

s_ecItems *getConf(char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize) {
    return queryPolicy(__func__, CMD_POLICY_FILE, group, groupSize, chooser, chooserSize);
}

s_ecItems *getNVMeConf(char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize) {
    return queryPolicy(__func__, CMD_NVME_POLICY_FILE, group, groupSize, chooser, chooserSize);
}

const char *groupToApply(const char *previous) {
    return policyToApply(gParamGroupVal, previous, CONF_DEFAULT_GROUP);
}

const char *chooserToApply(const char *previous) {
    return policyToApply(gParamChooserVal, previous, CONF_DEFAULT_CHOOSER);
}

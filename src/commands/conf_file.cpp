// Backing up, restoring and extending the multipath configuration file.
//
// About the blocks: a command line passes through the runner's character filter, which turns line breaks into
// "%". What `addConf` appends is therefore one line, "#korvel config begin%devices {%...", a comment to the
// multipath tool, which the deletion commands, looking for the marks on lines of their own, never match. The
// pair is kept so: hosts in the field hold such lines, and correcting one side alone would delete or duplicate
// what the policy scripts maintain.
#include "commands/conf_file.h"

#include <cstdio>
#include <cstring>

#include "commands/parameter_buffers.h"
#include "common/plain_word.h"
#include "common/text.h"
#include "common/text_split.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

namespace {

// A policy script prints two short lines; more than this is not looked at.
constexpr unsigned int POLICY_OUTPUT_SIZE = 1024;

// What tells one vendor block from another.
struct VendorBlock {
    const char *mark; // of its first and last line, with the blank that ends it
    const char *vendor;
    const char *product;
    const char *chooser_mark; // of the lines around the policy
};

constexpr VendorBlock SCSI_BLOCK = {"korvel ", "KORVEL", "QVX", "korvel "};
constexpr VendorBlock NVME_BLOCK = {"nvme ", "NVME", "KORVELQVX", ""};
constexpr char PATH_POLICY_MARK[] = "";

constexpr char ADD_BLOCK[] = "%s -ne \"#%sconfig begin\n"
                             "devices {\n"
                             "    device {\n"
                             "        vendor                 \\\"%s\\\"\n"
                             "        product                \\\"%s\\\"\n"
                             "##      %sgroup chooser begin\n"
                             "        path_grouping_policy    %s\n"
                             "        path_selector          \\\"%s 0\\\"\n"
                             "##      %sgroup chooser end\n"
                             "    }\n"
                             "}\n"
                             "#%sconfig end\n"
                             "\" >> %s";
constexpr char DELETE_BLOCK[] = "%s -i '/^\\(#%sconfig begin\\)$/,/^\\(#%sconfig end\\)$/d' %s";

bool isNewerThan(const char *os_name, const char *release) {
    puts(os_name);
    return strcmp(os_name, release) > 0;
}

// The vendor block for the distribution named `os_name`, which is printed when it is of a known family.
const VendorBlock &blockFor(const char *os_name) {
    bool is_nvme = false;
    if (find_str(os_name, "Red") != nullptr) {
        is_nvme = isNewerThan(os_name, "Red Hat Enterprise Linux Server 7.9");
    } else if (find_str(os_name, "CentOS Linux") != nullptr) {
        is_nvme = isNewerThan(os_name, "CentOS Linux 7.9");
    } else if (find_str(os_name, "SUSE") != nullptr) {
        is_nvme = isNewerThan(os_name, "SUSE Linux Enterprise Server 12 PATCHLEVEL = 6");
    }
    return is_nvme ? NVME_BLOCK : SCSI_BLOCK;
}

void formatDeletion(const char *mark, char *command, unsigned int size) {
    snprintf(command, size, DELETE_BLOCK, CMD_sed, mark, mark, CONF_FILE);
}

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

s_ecItems *queryPolicy(const char *script, char *group, unsigned int groupSize, char *chooser,
                       unsigned int chooserSize) {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s query", CMD_sh, script);
    char output[POLICY_OUTPUT_SIZE] = "";
    s_ecItems *result = exeLiunxInfoCmd(command, output, sizeof(output));
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

s_ecItems *backupConfFile() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s %s.bk", CMD_cp, CONF_FILE, CONF_FILE);
    return exeLiunxTaskCmd(command);
}

s_ecItems *chmodConfFile() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s 777 %s", CMD_chmod, CONF_FILE);
    return exeLiunxTaskCmd(command);
}

void rollBackConfFile() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s.bk %s", CMD_cp, CONF_FILE, CONF_FILE);
    exeLiunxTaskCmd(command);
}

s_ecItems *getConf(char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize) {
    return queryPolicy(CMD_POLICY_FILE, group, groupSize, chooser, chooserSize);
}

s_ecItems *getNVMeConf(char *group, unsigned int groupSize, char *chooser, unsigned int chooserSize) {
    return queryPolicy(CMD_NVME_POLICY_FILE, group, groupSize, chooser, chooserSize);
}

const char *groupToApply(const char *previous) {
    return policyToApply(gParamGroupVal, previous, CONF_DEFAULT_GROUP);
}

const char *chooserToApply(const char *previous) {
    return policyToApply(gParamChooserVal, previous, CONF_DEFAULT_CHOOSER);
}

void formatAddConf(const char *os_name, const char *group, const char *chooser, char *command,
                   unsigned int size) {
    const VendorBlock &block = blockFor(os_name);
    snprintf(command, size, ADD_BLOCK, CMD_echo, block.mark, block.vendor, block.product, block.chooser_mark,
             group, chooser, block.chooser_mark, block.mark, CONF_FILE);
}

void formatCleanConf(const char *os_name, char *command, unsigned int size) {
    formatDeletion(blockFor(os_name).mark, command, size);
}

s_ecItems *addConf() {
    char group[POLICY_SIZE] = "";
    char chooser[POLICY_SIZE] = "";
    s_ecItems *result = getConf(group, sizeof(group), chooser, sizeof(chooser));
    if (isFailure(result)) {
        return result;
    }
    // The distribution is not asked for: the block is the SCSI one on every host, as it has always been.
    const char *os_name = "";
    char command[TASK_COMMAND_SIZE] = "";
    formatAddConf(os_name, groupToApply(group), chooserToApply(chooser), command, sizeof(command));
    return exeLiunxTaskCmd(command);
}

s_ecItems *cleanConf() {
    const char *os_name = ""; // as in `addConf`
    char command[TASK_COMMAND_SIZE] = "";
    formatCleanConf(os_name, command, sizeof(command));
    return exeLiunxTaskCmd(command);
}

s_ecItems *cleanPathpolicyConf() {
    char command[TASK_COMMAND_SIZE] = "";
    formatDeletion(PATH_POLICY_MARK, command, sizeof(command));
    return exeLiunxTaskCmd(command);
}

s_ecItems *mkconfig() {
    s_ecItems *result = backupConfFile();
    if (isFailure(result)) {
        return result;
    }
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s /usr/share/doc/device-mapper-velomux-*/velomux.conf %s", CMD_cp,
             CONF_FILE);
    result = exeLiunxTaskCmd(command);
    if (isFailure(result)) {
        rollBackConfFile();
        return result;
    }
    // A block that could not be appended costs the example file, not the command: the mode is set all the same.
    if (isFailure(addConf())) {
        rollBackConfFile();
    }
    result = chmodConfFile();
    if (isFailure(result)) {
        rollBackConfFile();
    }
    return result;
}

s_ecItems *config() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s", CMD_sh, CMD_G2CONFIG_FILE);
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result)) {
        return &EC_ok;
    }
    return find_str(output.pages, "distribute type is not supported") != nullptr ? &EC_os_not_support
                                                                                 : result;
}

// Appending and deleting the maker's device block.
//
// A command line passes through the runner's character filter, which turns line breaks into "%". What `addConf`
// appends is therefore one line, "#korvel config begin%devices {%...", a comment to the multipath tool, which the
// deletion commands, looking for the marks on lines of their own, never match. The pair is kept so: hosts in the field
// hold such lines, and correcting one side alone would delete or duplicate what the policy scripts maintain.
#include "commands/vendor_block.h"

#include <cstdio>
#include <cstring>

#include "commands/policy_scripts.h"
#include "common/text.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::OwnText;
using dravik::PolicyText;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

// What tells one vendor block from another.
struct VendorBlock {
    OwnText mark; // of its first and last line, with the blank that ends it
    OwnText vendor;
    OwnText product;
    OwnText chooser_mark; // of the lines around the policy
};

constexpr VendorBlock SCSI_BLOCK = {"korvel "_sh, "KORVEL"_sh, "QVX"_sh, "korvel "_sh};
constexpr VendorBlock NVME_BLOCK = {"nvme "_sh, "NVME"_sh, "KORVELQVX"_sh, ""_sh};
constexpr OwnText PATH_POLICY_MARK = ""_sh;

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

ShellCommand deletionOf(OwnText mark) {
    return ShellCommand(CMD_sed, " -i '/^\\(#"_sh, mark, "config begin\\)$/,/^\\(#"_sh, mark,
                        "config end\\)$/d' "_sh, CONF_FILE);
}

} // namespace

ShellCommand dravik::addConfCommand(const char *os_name, const char *group, const char *chooser) {
    const VendorBlock &block = blockFor(os_name);
    return ShellCommand(CMD_echo, " -ne \"#"_sh, block.mark,
                        "config begin\n"
                        "devices {\n"
                        "    device {\n"
                        "        vendor                 \\\""_sh,
                        block.vendor,
                        "\\\"\n"
                        "        product                \\\""_sh,
                        block.product,
                        "\\\"\n"
                        "##      "_sh,
                        block.chooser_mark,
                        "group chooser begin\n"
                        "        path_grouping_policy    "_sh,
                        PolicyText{group},
                        "\n"
                        "        path_selector          \\\""_sh,
                        PolicyText{chooser},
                        " 0\\\"\n"
                        "##      "_sh,
                        block.chooser_mark,
                        "group chooser end\n"
                        "    }\n"
                        "}\n"
                        "#"_sh,
                        block.mark,
                        "config end\n"
                        "\" >> "_sh,
                        CONF_FILE);
}

ShellCommand dravik::cleanConfCommand(const char *os_name) {
    return deletionOf(blockFor(os_name).mark);
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
    return runTask(__func__, dravik::addConfCommand(os_name, groupToApply(group), chooserToApply(chooser)));
}

s_ecItems *cleanConf() {
    const char *os_name = ""; // as in `addConf`
    return runTask(__func__, dravik::cleanConfCommand(os_name));
}

s_ecItems *cleanPathpolicyConf() {
    return runTask(__func__, deletionOf(PATH_POLICY_MARK));
}

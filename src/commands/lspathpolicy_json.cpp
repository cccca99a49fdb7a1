// Describing the path policies.
#include "commands/lspathpolicy_json.h"

#include "commands/path_selectors.h"
#include "commands/policy_scripts.h"
#include "common/os_name.h"
#include "host/host_os.h"

namespace dravik {

namespace {

// What a policy script has told.
struct Policy {
    char group[POLICY_SIZE] = "";
    char chooser[POLICY_SIZE] = "";
};

s_ecItems *describeScsi(Json *document) {
    Policy policy;
    s_ecItems *result = getConf(policy.group, sizeof(policy.group), policy.chooser, sizeof(policy.chooser));
    if (!isFailure(result)) {
        Json scsi = Json::object();
        scsi.setKnown("chooser", shownSelector(policy.chooser)).setKnown("chooser_raw", policy.chooser);
        document->set("scsi", std::move(scsi));
    }
    return result;
}

s_ecItems *describeNvme(Json *document) {
    Policy policy;
    s_ecItems *result =
        getNVMeConf(policy.group, sizeof(policy.group), policy.chooser, sizeof(policy.chooser));
    if (!isFailure(result)) {
        Json nvme = Json::object();
        nvme.setKnown("group_policy", policy.group).setKnown("chooser", policy.chooser);
        document->set("nvme", std::move(nvme));
    }
    return result;
}

} // namespace

s_ecItems *describeLspathpolicy(int /*argc*/, Json *document) {
    s_ecItems *result = describeScsi(document);
    if (isFailure(result)) {
        return result;
    }
    if (isNvmeCapableOs(get_os_name())) {
        return describeNvme(document);
    }
    document->set("nvme", Json::null());
    return result;
}

} // namespace dravik

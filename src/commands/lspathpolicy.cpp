// Showing the path policies of the arrays.
#include "commands/lspathpolicy.h"

#include <cstdio>

#include "commands/path_selectors.h"
#include "commands/policy_scripts.h"
#include "common/log.h"
#include "common/os_name.h"
#include "common/visible_text.h"
#include "host/host_os.h"

using dravik::VisibleText;

s_ecItems *lspathpolicy() {
    char group[POLICY_SIZE] = "";
    char chooser[POLICY_SIZE] = "";
    s_ecItems *result = getConf(group, sizeof(group), chooser, sizeof(chooser));
    if (isFailure(result)) {
        return result;
    }
    print__();
    puts("SCSI DISK: ");
    printf("chooser_type: %s\n", VisibleText(dravik::shownSelector(chooser)).text());
    if (isNvmeCapableOs(get_os_name())) {
        group[0] = '\0';
        chooser[0] = '\0';
        result = getNVMeConf(group, sizeof(group), chooser, sizeof(chooser));
        if (isFailure(result)) {
            return result;
        }
        // Both as the script has them: only the SCSI selector is shown under the product's name.
        puts("");
        puts("NVMe DISK: ");
        printf("group_policy: %s\n", VisibleText(group).text());
        printf("chooser_type: %s\n", VisibleText(chooser).text());
    }
    print__();
    return &EC_info_ok;
}

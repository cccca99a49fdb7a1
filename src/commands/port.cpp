// Showing the host's Fibre Channel ports.
#include "commands/port.h"

#include <cstdio>

#include "common/log.h"
#include "common/owned.h"
#include "common/text_split.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

s_ecItems *lsport() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s", CMD_sh, SH_fcport);
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    if (isFailure(result)) {
        return result;
    }
    unsigned int count = 0;
    const dravik::Block<char *[]> pieces(strsplit_count(output.pages, "\n", &count));
    print__();
    // Nothing is added behind the last piece: output without a final newline has the separator on its line.
    for (unsigned int i = 0; i < count; ++i) {
        printf(i == 0 ? "%s" : "\n%s", pieces[i]);
    }
    print__();
    return result;
}

// Showing the host's Fibre Channel ports.
#include "commands/port.h"

#include <cstdio>

#include "common/log.h"
#include "common/owned.h"
#include "common/text_split.h"
#include "common/visible_text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

using namespace dravik::literals;

s_ecItems *lsport() {
    const dravik::ShellCommand command(CMD_sh, " "_sh, SH_fcport);
    const CommandOutput output;
    s_ecItems *result = runForOutput(__func__, command, output.pages, TASK_OUTPUT_SIZE);
    if (isFailure(result)) {
        return result;
    }
    unsigned int count = 0;
    const dravik::Block<char *[]> pieces(strsplit_count(output.pages, "\n", &count));
    print__();
    // Nothing is added behind the last piece: output without a final newline has the separator on its line.
    for (unsigned int i = 0; i < count; ++i) {
        printf(i == 0 ? "%s" : "\n%s", dravik::VisibleText(pieces[i]).text());
    }
    print__();
    return result;
}

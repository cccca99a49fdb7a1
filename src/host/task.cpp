// Running command lines as tasks with a result record.
#include "host/task.h"

#include <cstdio>

#include "common/capture.h"
#include "common/log.h"
#include "host/command_output.h"
#include "host/tool_names.h"

namespace {

// Runs `command` with the filter for `operation`. The exit status, or a negative result, which is logged.
int run(const char *operation, const char *command, CommandOutput *output) {
    const int result = output->fill(exe_cmd, command);
    if (result < 0 || output->text == nullptr) {
        DRAVIK_LOG_AS(operation, LOG_ERROR, "Execute command [%s] failed\n", command);
        return result < 0 ? result : EXE_NO_MEMORY;
    }
    return result;
}

} // namespace

s_ecItems *exeLiunxTaskCmd(const char *command) {
    CommandOutput output;
    return run(__func__, command, &output) < 0 ? &EC_exe_cmd_failed : &EC_ok;
}

s_ecItems *exeLiunxInfoCmd(const char *command, char *out, unsigned int size) {
    CommandOutput output;
    const int exit_status = run(__func__, command, &output);
    if (exit_status < 0) {
        return &EC_exe_cmd_failed;
    }
    output.copyTo(out, size);
    if (exit_status != 0) {
        DRAVIK_LOG(LOG_ERROR, "Command [%s] failed, exitcode:[%d]\n", command, exit_status);
        return &EC_exe_cmd_failed;
    }
    return &EC_info_ok;
}

namespace dravik {

bool isRefused(const char *operation, const ShellCommand &command) {
    if (!command.isPlain()) {
        DRAVIK_LOG_AS(operation, LOG_ERROR, "Execute command [%s] failed\n", command.line());
    }
    return !command.isPlain();
}

s_ecItems *runTask(const char *operation, const ShellCommand &command) {
    return isRefused(operation, command) ? &EC_exe_cmd_failed : exeLiunxTaskCmd(command.line());
}

s_ecItems *runForOutput(const char *operation, const ShellCommand &command, char *out, unsigned int size) {
    return isRefused(operation, command) ? &EC_exe_cmd_failed : exeLiunxInfoCmd(command.line(), out, size);
}

s_ecItems *runScript(const char *operation, const char *script) {
    return runTask(operation, ShellCommand(CMD_sh, " "_sh, script));
}

} // namespace dravik

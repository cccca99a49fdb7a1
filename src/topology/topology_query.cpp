// The topology queries.
#include "topology/topology_query.h"

#include "common/capture.h"
#include "common/log.h"
#include "common/plain_word.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"
#include "topology/listing.h"
#include "topology/port_sources.h"

using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

// What a shell answers for a tool that it found but could not run, and for one that it did not find.
constexpr int SHELL_CANNOT_RUN = 126;
constexpr int SHELL_NOT_FOUND = 127;

dravik::ChildEnd last_tool_end = {};

// Runs the tool, by `capture` with its error output or without. False when it could not be run, which is logged;
// otherwise its exit status is of no concern: what it printed decides.
bool runTool(const char *function, CommandOutput::Capture capture, const ShellCommand &command,
             CommandOutput *output) {
    const int result = output->fill(capture, command.line());
    last_tool_end = dravik::lastChildEnd();
    if (result < 0 || result == SHELL_CANNOT_RUN || result == SHELL_NOT_FOUND) {
        DRAVIK_LOG_AS(function, LOG_ERROR, "Execute command [%s] failed", command.line());
        return false;
    }
    return true;
}

s_ecItems *parseInto(s_dravik *head, CommandOutput *output, unsigned int *lines) {
    const dravik::PortQuery query;
    initDravik(head);
    DRAVIK_TRACE("== before parseQueryCmdResult");
    s_ecItems *result = parseQueryCmdResultList(output->text, head, lines);
    DRAVIK_TRACE("== after parseQueryCmdResult");
    return result;
}

s_ecItems *queryAll(const char *function, s_dravik *head, unsigned int *lines) {
    const ShellCommand command(CMD_velomux, " -ll 2> /dev/null"_sh);
    CommandOutput output;
    if (!runTool(function, exe_query, command, &output)) {
        return &EC_exe_cmd_failed;
    }
    return parseInto(head, &output, lines);
}

bool namesAcceptedVendor(const char *text) {
    return find_str(text, "KORVEL") != nullptr || find_str(text, "HUAWEI") != nullptr ||
           find_str(text, "HITACHI") != nullptr;
}

s_ecItems *noSuchDevice(const char *device_name) {
    initEcItems1(&EC_no_this_device, device_name);
    return &EC_no_this_device;
}

s_ecItems *querySingle(const char *function, s_dravik *head, const char *device_name, unsigned int *lines) {
    const ShellCommand command(CMD_velomux, " -ll "_sh, device_name);
    if (!command.isPlain()) {
        return noSuchDevice(device_name);
    }
    CommandOutput output;
    if (!runTool(function, exe_cmd, command, &output)) {
        return &EC_exe_cmd_failed;
    }
    if (!namesAcceptedVendor(output.text)) {
        return noSuchDevice(device_name);
    }
    return parseInto(head, &output, lines);
}

} // namespace

const dravik::ChildEnd &dravik::lastToolEnd() {
    return last_tool_end;
}

std::string dravik::failureOfQuery(const s_ecItems *query, unsigned int deadline_seconds) {
    if (!isFailure(query)) {
        return "";
    }
    if (query == &EC_parse_cmd_out) {
        return "the listing of the multipath tool is malformed";
    }
    if (query == &EC_molloc_failed) {
        return "memory ran out";
    }
    if (last_tool_end.stuck_process != 0) {
        return "the multipath tool (process " + std::to_string(last_tool_end.stuck_process) +
               ") did not end within " + std::to_string(deadline_seconds) +
               " s and cannot be killed: it waits for a device in the kernel";
    }
    return last_tool_end.deadline_passed ? "the multipath tool did not end within " +
                                               std::to_string(deadline_seconds) + " s and was killed"
                                         : "the multipath tool cannot be run";
}

s_ecItems *queryDravikInfo(s_dravik *head) {
    unsigned int lines = 0;
    return queryAll(__func__, head, &lines);
}

s_ecItems *queryDravikStats(s_dravik *head, unsigned int *lines) {
    return queryAll(__func__, head, lines);
}

s_ecItems *querySingleDravikInfo(s_dravik *head, const char *device_name) {
    unsigned int lines = 0;
    return querySingle(__func__, head, device_name, &lines);
}

s_ecItems *querySingleDravikStats(s_dravik *head, const char *device_name, unsigned int *lines) {
    return querySingle(__func__, head, device_name, lines);
}

// From a command and its parameters to an operation.
#include "cli/operation.h"

#include "cli/caller.h"
#include "commands/parameter_buffers.h"
#include "host/tool_names.h"

namespace dravik {

namespace {

std::string userName() {
    char name[USER_NAME_SIZE] = "";
    loginUser(name, sizeof(name));
    if (name[0] == '\0') {
        runningUser(name, sizeof(name));
    }
    return name;
}

Operation begin(const Command &command, const std::string &line) {
    Operation operation;
    operation.user = userName();
    operation.command = command.name;
    operation.line = line;
    return operation;
}

} // namespace

Operation operationOf(const Command &command, const std::string &line) {
    Operation operation = begin(command, line);
    operation.volume = gParamMpathxVal[0] != '\0' ? gParamMpathxVal : gParamWwidVal;
    operation.path = gParamPathVal;
    if (operation.command == "setstate") {
        operation.detail = gParamStateVal[0] != '\0' ? gParamStateVal : CONF_DEFAULT_STATE;
    }
    return operation;
}

Operation refusedOperationOf(const Command &command, const std::string &line) {
    Operation operation = begin(command, line);
    operation.detail = REFUSED;
    return operation;
}

} // namespace dravik

// Describing the host's Fibre Channel ports.
#include "commands/port_json.h"

#include <iterator>
#include <string_view>
#include <vector>

#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

namespace dravik {

using namespace literals;

namespace {

// The fields of a line of "fc_info.sh fields", in their order.
constexpr const char *FIELDS[] = {"host", "wwpn", "wwnn", "state", "speed", "topology", "driver"};

// The pieces of `text` between its separators; one more than there are of these.
std::vector<std::string_view> cut(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    size_t end = text.find(separator);
    while (end != std::string_view::npos) {
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
        end = text.find(separator);
    }
    pieces.push_back(text);
    return pieces;
}

// A line of another shape is none of the script's.
Json describePorts(std::string_view output) {
    Json ports = Json::array();
    for (const std::string_view line : cut(output, '\n')) {
        const std::vector<std::string_view> values = cut(line, '\t');
        if (values.size() != std::size(FIELDS)) {
            continue;
        }
        Json port = Json::object();
        for (size_t i = 0; i < values.size(); ++i) {
            port.setKnown(FIELDS[i], values[i]);
        }
        ports.add(std::move(port));
    }
    return ports;
}

} // namespace

s_ecItems *describePort(int /*argc*/, Json *document) {
    const ShellCommand command(CMD_sh, " "_sh, SH_fcport, " fields"_sh);
    const CommandOutput output;
    if (output.pages == nullptr) {
        return &EC_molloc_failed;
    }
    s_ecItems *result = runForOutput("lsport", command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result)) {
        document->set("ports", describePorts(output.pages));
    }
    return result;
}

} // namespace dravik

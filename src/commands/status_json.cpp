// Describing the daemon's state.
#include "commands/status_json.h"

#include "commands/service.h"

namespace dravik {

namespace {

const char *serviceWord(ServiceState state) {
    switch (state) {
    case ServiceState::RUNNING:
        return "running";
    case ServiceState::STOPPED:
        return "stopped";
    case ServiceState::UNKNOWN:
        break;
    }
    return "unknown";
}

} // namespace

s_ecItems *describeStatus(int /*argc*/, Json *document) {
    document->set("service", serviceWord(serviceState()));
    return &EC_info_ok;
}

} // namespace dravik

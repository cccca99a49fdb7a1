// Describing the version.
#include "commands/version_json.h"

#include "commands/version.h"

namespace dravik {

s_ecItems *describeVersion(int /*argc*/, Json *document) {
    document->set("version", DRAVIK_VERSION);
    return &EC_info_ok;
}

} // namespace dravik

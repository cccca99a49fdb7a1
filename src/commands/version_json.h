// The command `version` as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// Sets "version": the product's version. EC_info_ok.
s_ecItems *describeVersion(int argc, Json *document);

} // namespace dravik

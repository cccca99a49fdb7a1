// The command `lsalias` as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// Sets "aliases": [{"wwid", "alias"}], in the order of the configuration file. Results as `lsalias`; nothing is set unless
// the code is 0.
s_ecItems *describeLsalias(int argc, Json *document);

} // namespace dravik

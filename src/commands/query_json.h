// The command `query` as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// Takes the topology, or with an `argc` of 3 the one device named by gParamMpathxVal, and sets "volumes": each as in
// volume_json.h, in the order of the listing. Returns the query's record (topology_query.h) or EC_molloc_failed; nothing
// is set unless its code is 0. The names of the volumes are asked from the array and remembered as in `query`.
s_ecItems *describeQuery(int argc, Json *document);

} // namespace dravik

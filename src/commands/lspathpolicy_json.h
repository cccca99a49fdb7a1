// The command `lspathpolicy` as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// Sets "scsi": {"chooser", "chooser_raw"}, the product's name of the selector and the stored one, and "nvme":
// {"group_policy", "chooser"}, null on a host whose distribution knows no NVMe over Fabrics. Results as `lspathpolicy`;
// where the NVMe query fails, "scsi" alone is set.
s_ecItems *describeLspathpolicy(int argc, Json *document);

} // namespace dravik

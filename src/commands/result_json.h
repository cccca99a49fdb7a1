// A command's result record as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// {"code": 133, "message": "This device [mpathz] does not exist."}: the record's code, and the text that `print_ec` shows,
// without its head "Error(0133): ".
Json recordJson(const s_ecItems *record);

} // namespace dravik

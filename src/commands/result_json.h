// A command's result record as structured data.
#pragma once

#include <string_view>

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// {"code": 133, "message": "This device [mpathz] does not exist."}: the record's code, and the text that `print_ec` shows,
// without its head "Error(0133): ".
Json recordJson(const s_ecItems *record);

// {"code": null, "message": "..."}: what stands in a record's place where a command was not run, and has none.
Json notRunJson(std::string_view message);

} // namespace dravik

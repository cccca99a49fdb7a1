// The tables of the operator guide that are made of advice.
#pragma once

#include <string>
#include <string_view>

namespace dravik {

// The table as it stands in docs/operator-guide.md between its marks: "records", "events", "change-log" or "command-log", and
// "alerts", which are sections; "log-lines" is both logs, one behind the other. Empty for any other name.
std::string guideTable(std::string_view name);

} // namespace dravik

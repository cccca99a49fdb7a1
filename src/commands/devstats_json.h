// The command `devstats` as structured data: a stream of documents, one a line.
#pragma once

#include "output/json.h"

namespace dravik {

// Sets "interval_s", the seconds between the sample `slot_of_sample` and the other (in the first report: since the host
// was started), and "devices": of each registered device {"name", "iops", "kib_per_s", "response_ms", "paths": [the same
// per path]}, where a rate is {"total", "read", "write"}. A response time is null where no request of its kind completed,
// all rates of a device that the host shows no counters of are null. Throws std::bad_alloc.
void describeReport(int slot_of_sample, Json *document);

// Samples what has been registered (devstats.h): a document with the report and the result of a success every `seconds`
// (1 to MAX_STAT_INTERVAL) until Ctrl+C ends the process with exit status 0. The other ends of the process are those of
// `sampleDevStats`.
[[noreturn]] void streamDevStats(unsigned int seconds);

} // namespace dravik

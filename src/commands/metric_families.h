// The families of metrics that are made of the ledger: their names, labels, order and help are an interface.
#pragma once

#include <string>

#include "commands/ledger_view.h"
#include "ledger/counts.h"

namespace dravik {

// Whether each path has samples of its own, or its volume alone.
enum class PathFamilies { WITH, WITHOUT };

// The view's volumes, as Prometheus' text format (output/metrics_text.h): one sample a line, families in one piece.
//
// What is not known has no sample: no age, time and durations of a ledger that has observed nothing, no size that the kernel
// does not tell, no checker state of a path that is missing or was not checked, no time of what never happened. Volumes or
// paths of one volume whose labels are the same to the last byte would be one series twice, which spoils the whole text for
// its readers: the first of them has the samples, one that is present before one that is missing. At most 12 samples a
// volume and 6 a path, and 39 beside those of the operations.
std::string metricFamilies(const LedgerView &view, const LedgerCounts &counts, const VdiskNames &names,
                           PathFamilies paths);

} // namespace dravik

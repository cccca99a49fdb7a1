// What the modules that learn names for a redacted report share.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "commands/report_redaction.h"

namespace dravik {

// Learns a name; as an alias, not one that the kernel has numbered ("dm-3", "nvme0n1"), which says nothing of a site.
void learnName(Redactor *redactor, Secret kind, const std::string &name);

// An alias of 31 characters or more runs on into the WWID in the change log and the snapshot, and is cut to 30 in others: it is
// learnt in these forms, too.
void learnVolume(Redactor *redactor, const std::string &alias, const std::string &wwid);

// Gives every line without its end to `take`. Asks the redactor's `checkTime`.
void forEachLine(const Redactor *redactor, std::string_view text,
                 const std::function<void(std::string_view line)> &take);

} // namespace dravik

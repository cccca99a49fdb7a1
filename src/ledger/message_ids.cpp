// Looking up MESSAGE_IDs.
#include "ledger/message_ids.h"

#include <algorithm>
#include <iterator>

namespace dravik {

const char *messageIdOf(const std::string &kind) {
    const auto *found = std::find_if(std::begin(MESSAGE_IDS), std::end(MESSAGE_IDS),
                                     [&kind](const MessageId &entry) { return kind == entry.kind; });
    return found == std::end(MESSAGE_IDS) ? "" : found->id;
}

} // namespace dravik

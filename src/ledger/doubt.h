// What makes an observation doubtful: something known is missing from the listing while it is still there.
#pragma once

#include <cstddef>
#include <string>

#include "ledger/kernel_view.h"
#include "ledger/records.h"

namespace dravik {

// The doubts of one observation.
class Doubts {
  public:
    // `tool_ended_badly`: with an exit status other than 0, or by a signal.
    explicit Doubts(bool tool_ended_badly) : tool_was_ended(tool_ended_badly) {}

    // Whether what is missing is still there, by what the kernel says of it. Where the kernel cannot be asked, a tool that
    // ended badly is not believed.
    bool isStillThere(KernelAnswer answer) const {
        return answer == KernelAnswer::HAS_IT || (answer == KernelAnswer::CANNOT_TELL && tool_was_ended);
    }

    // Notes that `what` is missing though it is there.
    void add(const std::string &what, KernelAnswer answer);

    // DOUBTFUL once something has been noted, otherwise GOOD.
    Quality quality() const {
        return count == 0 ? Quality::GOOD : Quality::DOUBTFUL;
    }
    // In words: what is missing, the first few by name, and whether the kernel has it or could not be asked. Empty without
    // a doubt.
    std::string reason() const;

  private:
    bool tool_was_ended;
    bool kernel_is_mute = false; // about something that is missing
    std::string named;           // the first few of what is missing
    size_t count = 0;
    size_t unnamed = 0;
};

} // namespace dravik

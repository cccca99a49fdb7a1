// Collecting doubts.
#include "ledger/doubt.h"

namespace dravik {

void Doubts::add(const std::string &what, KernelAnswer answer) {
    constexpr size_t ENOUGH = 200;
    kernel_is_mute = kernel_is_mute || answer == KernelAnswer::CANNOT_TELL;
    ++count;
    if (named.size() < ENOUGH) {
        named += (count == 1 ? "" : ", ") + what;
    } else {
        ++unnamed;
    }
}

std::string Doubts::reason() const {
    if (count == 0) {
        return "";
    }
    return (kernel_is_mute ? "not listed, and the kernel cannot be asked: "
                           : "not listed, though the kernel has it: ") +
           named + (unnamed > 0 ? " and " + std::to_string(unnamed) + " more" : "");
}

} // namespace dravik

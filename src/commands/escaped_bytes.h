// Control bytes in texts, raw or as the logs write them: "\x09", and the sequences that begin with the escape byte.
#pragma once

#include <cstddef>
#include <string_view>

namespace dravik {

// The length of an escaped byte ("\x09"), of an escape byte as it is, or, behind one of these for the escape byte and "[", of the
// rest of the sequence ("31m", "K"; ECMA-48); 0 when none of these is at `place`. What follows it begins a word of its own.
size_t escapeLength(std::string_view text, size_t place);

} // namespace dravik

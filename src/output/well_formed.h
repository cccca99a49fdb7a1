// Foreign text made UTF-8, for outputs whose format asks for it.
#pragma once

#include <string>
#include <string_view>

namespace dravik {

// `text` with U+FFFD in place of each byte that is no part of well-formed UTF-8 (RFC 3629), and of each NUL.
std::string wellFormed(std::string_view text);

} // namespace dravik

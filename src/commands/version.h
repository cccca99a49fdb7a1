// The command `version`, and the version itself.
#pragma once

#include "common/result.h"

// The product's version, as `version` shows it.
constexpr char DRAVIK_VERSION[] = "3.3.7";

// Prints the identification between two separators. EC_info_ok.
s_ecItems *version();

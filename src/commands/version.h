// The command `version`, and the version itself.
#pragma once

#include "common/result.h"

// The product's version, as `version` shows it. It is written once, in the project's CMakeLists.txt.
extern const char DRAVIK_VERSION[];

// Prints the identification between two separators. EC_info_ok.
s_ecItems *version();

// The list of the headers of `common/`: text, logging, result records, running commands, a program's first steps,
// the distribution's name.
#pragma once

#include "common/capture.h"          // IWYU pragma: export
#include "common/log.h"              // IWYU pragma: export
#include "common/os_name.h"          // IWYU pragma: export
#include "common/plain_word.h"       // IWYU pragma: export
#include "common/replace_file.h"     // IWYU pragma: export
#include "common/result.h"           // IWYU pragma: export
#include "common/startup.h"          // IWYU pragma: export
#include "common/text.h"             // IWYU pragma: export
#include "common/text_accumulator.h" // IWYU pragma: export
#include "common/text_filter.h"      // IWYU pragma: export
#include "common/text_split.h"       // IWYU pragma: export

// The list of the headers of `array/`: each volume's virtual-disk name, read in band from the array, and its cache file.
#pragma once

#include "array/device_node.h" // IWYU pragma: export
#include "array/hex_text.h"    // IWYU pragma: export
#include "array/nvme_log.h"    // IWYU pragma: export
#include "array/scsi_page.h"   // IWYU pragma: export
#include "array/vdisk_cache.h" // IWYU pragma: export
#include "array/vdisk_entry.h" // IWYU pragma: export
#include "array/vdisk_name.h"  // IWYU pragma: export

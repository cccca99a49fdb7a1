// The JSON library's allocations.
#include "common/json_memory.h"

#include <cjson/cJSON.h>
#include <cstdlib>

namespace dravik {

namespace {

bool ran_out = false;

void *notedMalloc(size_t size) {
    void *block = malloc(size);
    ran_out = ran_out || block == nullptr;
    return block;
}

} // namespace

JsonMemory::JsonMemory() {
    cJSON_Hooks hooks = {notedMalloc, free};
    cJSON_InitHooks(&hooks);
    ran_out = false;
}

bool JsonMemory::ranOut() const { // NOLINT(readability-convert-member-functions-to-static)
    return ran_out;
}

} // namespace dravik

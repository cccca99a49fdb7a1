// Whether the JSON library has run out of memory: it tells that in no other way than it tells a text that does not parse.
#pragma once

namespace dravik {

// Watches the library's allocations from its construction on.
class JsonMemory {
  public:
    JsonMemory();
    bool ranOut() const;
};

} // namespace dravik

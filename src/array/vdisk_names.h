// The names that the array has for the volumes, for those who only read the name cache. Nothing is logged.
#pragma once

#include <string>

namespace dravik {

// The cache as it is when this is made; a missing or damaged one knows no name. One at a time; its memory is given back at
// its end.
class VdiskNames {
  public:
    VdiskNames();
    ~VdiskNames();
    VdiskNames(const VdiskNames &) = default;
    VdiskNames &operator=(const VdiskNames &) = default;

    // "" where it is not known.
    std::string of(const std::string &wwid) const;
};

} // namespace dravik

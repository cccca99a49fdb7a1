// The names that the array has for the volumes, for those who only read the name cache. Nothing is logged.
#pragma once

#include <string>

#include "array/vdisk_file.h"

namespace dravik {

// The cache as it is when this is made, or read again; a missing or damaged one knows no name. One at a time, while nobody else asks for
// the cache; its memory is given back at its end.
class VdiskNames {
  public:
    VdiskNames();
    ~VdiskNames();
    VdiskNames(const VdiskNames &) = delete;
    VdiskNames &operator=(const VdiskNames &) = delete;

    // Takes the cache as it is now.
    void readAgain();

    // "" where it is not known.
    std::string of(const std::string &wwid) const;

  private:
    VdiskTree *tree = nullptr; // null where there is none
};

} // namespace dravik

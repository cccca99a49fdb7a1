// Which slot of the tables a device's row is about, and the interval that its rates are measured over.
#pragma once

namespace dravik {

// The slots in use, for one report of the sample `slot_of_sample` (0 or 1) against the other. One report at a time: a
// second one takes the index over. Throws std::bad_alloc.
class ReportSlots {
  public:
    explicit ReportSlots(int slot_of_sample);

    // The slot whose numbers stand in the row of the device `name`: the first in use that has its name and passes the
    // filters of the settings (report.h); -1 when there is none.
    int find(const char *name) const;

  private:
    int sample;
};

// The ticks between the two samples by the clock that what happens in a second is measured by; at least 1.
unsigned long long intervalTicks(int slot_of_sample);

} // namespace dravik

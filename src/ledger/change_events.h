// The events of one comparison, in the order in which they are told.
#pragma once

#include <string>
#include <vector>

#include "ledger/causes.h"
#include "ledger/records.h"

namespace dravik {

class ChangeEvents {
  public:
    // `observed` stays the caller's, and must outlive this.
    explicit ChangeEvents(const Circumstances &observed) : at(observed) {}

    // Tell that a volume, or a path of it, has changed, with the cause.
    void tell(const char *kind, const KnownVolume &volume, const std::string &from, const std::string &to);
    void tellPath(const char *kind, const KnownVolume &volume, const KnownPath &path, const std::string &from,
                  const std::string &to);

    // Tells what follows for the volume from the events from the place `first` on, whose cause it has.
    void tellOutcome(size_t first, const char *kind, const KnownVolume &volume, const std::string &from,
                     const std::string &to);

    size_t count() const {
        return events.size();
    }
    // Fills in how many of the volume's paths work and are known, from the event at the place `first` on.
    void setPaths(size_t first, int64_t working, int64_t known);

    // Gives the events away, each with the quality of the observation.
    std::vector<Event> take(Quality quality);

  private:
    Event make(const char *kind, const KnownVolume &volume, const std::string &from,
               const std::string &to) const;

    const Circumstances &at;
    std::vector<Event> events;
};

} // namespace dravik

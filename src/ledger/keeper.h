// The monitor's side of the ledger: each cycle's observation judged and written.
//
// Whatever goes wrong here costs one line of the command log a minute ("Ledger: %s.") and nothing else: the observation is
// made again in the next cycle, and compared with what the tables say, so that nothing is lost or told twice.
#pragma once

#include <functional>
#include <memory>

#include "ledger/judgement.h"
#include "ledger/ledger_file.h"
#include "ledger/records.h"
#include "struct/s_dravik.h"

namespace dravik {

class LedgerKeeper {
  public:
    // Judges and writes one observation: the topology of the head `topology`, which is looked at only where the outcome has
    // no failure. Never throws.
    void observe(const ToolOutcome &outcome, const s_dravik *topology);

    // The events of the last observation that was written, until they are forgotten.
    const std::vector<Event> &lastEvents() const {
        return events;
    }
    // Gives their memory back: a first sight has an event a path.
    void forgetEvents();

    // The last observation as it was written; null while the ledger cannot be used.
    const Observation *lastObservation() const {
        return database == nullptr ? nullptr : &last;
    }

    // Lets `work` use the ledger, if it is open; what it throws is dealt with as in `observe`. Never throws.
    void use(const std::function<void(Database *)> &work);

  private:
    template <typename Work> void guard(const Work &work);
    void write(const ToolOutcome &outcome, const s_dravik *topology);
    bool open();
    void close();
    void writeFailure(const ToolOutcome &outcome, Observation observation);
    void writeUnchanged(Observation observation);
    void writeComparison(const ToolOutcome &outcome, const s_dravik *topology,
                         const Observation &observation);
    void finish(Observation observation, std::vector<Event> told, KnownTopology *known);
    bool hasChanged(const s_dravik *topology);
    void complain(const std::string &problem);

    std::unique_ptr<Database> database;
    FileIdentity file; // that of the open database
    std::string boot_id;
    Milliseconds begun = 0;      // this observation
    Milliseconds last_begun = 0; // the last that had a topology; 0 for none by this monitor
    Observation last;            // as the table has it
    bool is_announced = false;   // that this monitor has started
    uint64_t fingerprint = 0;    // of the last topology that was written
    bool has_fingerprint = false;
    bool needs_time = false; // something is unseen or flapping
    int64_t data_version = 0;
    Milliseconds complained = 0;
    std::vector<Event> events;
};

} // namespace dravik

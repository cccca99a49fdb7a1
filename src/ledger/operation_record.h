// A command's own operation in the ledger, from which the monitor learns who caused what it sees next.
//
// A ledger that is not there is none of a command's business: the monitor has not run. Any other that cannot be written
// costs one line of the command log at level 0, "Ledger: %s.", and the command goes on.
#pragma once

#include "ledger/records.h"

namespace dravik {

class OperationRecord {
  public:
    // Writes that the operation begins now; `begun` and `id` are set here. Never throws.
    void begin(Operation begun_operation);

    // Writes its end with the code of its result, which makes it an event, too. Nothing happens where its beginning could
    // not be written. Never throws.
    void end(int code);

  private:
    Operation operation;
    bool is_written = false;
};

} // namespace dravik

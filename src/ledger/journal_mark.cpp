// Reading and moving the mark.
#include "ledger/journal_mark.h"

namespace dravik {

bool hasUntold(Database *database) {
    return database->number("SELECT (SELECT max(number) FROM events) > (SELECT told FROM journal)") != 0;
}

Untold loadUntold(Database *database) {
    // An observation's incidents are numbered in the order of their first events.
    Statement row(
        database,
        "SELECT incident, number FROM events WHERE number > (SELECT told FROM journal) ORDER BY number");
    Untold untold;
    while (row.step()) {
        const int64_t incident = row.number(0);
        if (untold.incidents.empty() || incident > untold.incidents.back()) {
            untold.incidents.push_back(incident);
        }
        untold.newest = row.number(1);
    }
    return untold;
}

void markTold(Database *database, int64_t number) {
    Transaction transaction(database);
    Statement(database, "UPDATE journal SET told = ?1").bind(1, number).runOnce();
    transaction.commit();
}

} // namespace dravik

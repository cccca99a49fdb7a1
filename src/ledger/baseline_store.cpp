// Reading and replacing baselines.
#include "ledger/baseline_store.h"

namespace dravik {

std::unordered_map<int64_t, std::vector<AcceptedPath>> loadBaselines(Database *database) {
    std::unordered_map<int64_t, std::vector<AcceptedPath>> baselines;
    Statement row(
        database,
        "SELECT volume, initiator, target_port, lun, twin, name, accepted, accepted_by FROM baseline "
        "ORDER BY rowid");
    while (row.step()) {
        baselines[row.number(0)].push_back(
            {{{row.text(1), row.text(2), row.text(3), static_cast<int>(row.number(4))}, row.text(5)},
             row.number(6),
             row.text(7)});
    }
    return baselines;
}

void acceptBaseline(Database *database, const KnownVolume &volume, const std::string &user,
                    Milliseconds time) {
    Statement(database, "DELETE FROM baseline WHERE volume = ?1").bind(1, volume.id).runOnce();
    Statement(database,
              "INSERT OR REPLACE INTO forgotten_paths SELECT volume, initiator, target_port, lun, twin, "
              "transitions FROM paths WHERE volume = ?1 AND presence = ?2 AND transitions > 0")
        .bind(1, volume.id)
        .bind(2, presenceWord(Presence::MISSING))
        .runOnce();
    Statement(database, "DELETE FROM paths WHERE volume = ?1 AND presence = ?2")
        .bind(1, volume.id)
        .bind(2, presenceWord(Presence::MISSING))
        .runOnce();
    Statement insert(database,
                     "INSERT INTO baseline (volume, initiator, target_port, lun, twin, name, accepted, "
                     "accepted_by) VALUES (?1,?2,?3,?4,?5,?6,?7,?8)");
    for (const KnownPath &path : volume.paths) {
        if (path.presence != Presence::MISSING) {
            insert.bind(1, volume.id)
                .bind(2, path.key.initiator)
                .bind(3, path.key.target_port)
                .bind(4, path.key.lun)
                .bind(5, path.key.twin)
                .bind(6, path.attributes.name)
                .bind(7, time)
                .bind(8, user)
                .runOnce();
        }
    }
}

} // namespace dravik

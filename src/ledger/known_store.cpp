// Loading and saving what is known.
#include "ledger/known_store.h"

#include <unordered_map>

#include "ledger/path_matching.h"

namespace dravik {

namespace {

constexpr char LEARNED[] = "learned";

KnownVolume readVolume(const Statement &row) {
    KnownVolume volume;
    volume.id = row.number(0);
    volume.wwid = row.text(1);
    volume.attributes = {row.text(2), row.text(3),   row.text(4), row.text(5),
                         row.text(6), row.number(7), row.text(8)};
    volume.gone = row.number(9) != 0;
    volume.presence = presenceOfWord(row.text(10));
    volume.unseen_since = row.number(11);
    volume.state = stateOfWord(row.text(12));
    return volume;
}

KnownPath readPath(const Statement &row) {
    KnownPath path;
    path.id = row.number(1);
    path.key = {row.text(2), row.text(3), row.text(4), static_cast<int>(row.number(5))};
    path.attributes = {row.text(6),  row.text(7),  row.text(8),  row.text(9),  row.text(10),
                       row.text(11), row.text(12), row.text(13), row.text(14), row.text(15)};
    path.presence = presenceOfWord(row.text(16));
    path.unseen_since = row.number(17);
    path.working = row.number(18) != 0;
    path.transitions = row.number(19);
    path.last_failed = row.number(20);
    path.last_returned = row.number(21);
    for (int i = 0; i < 3; ++i) {
        path.failures[i] = row.number(22 + i);
    }
    path.flapping = row.number(25) != 0;
    path.offline_by = row.text(26);
    return path;
}

// Puts the columns of a volume, from place 1 on, into a statement.
void bindVolume(Statement *statement, const KnownVolume &volume) {
    const VolumeAttributes &is = volume.attributes;
    statement->bind(1, volume.wwid)
        .bind(2, is.alias)
        .bind(3, is.map)
        .bind(4, is.vendor)
        .bind(5, is.product)
        .bind(6, is.size)
        .bind(7, is.size_bytes)
        .bind(8, is.transport)
        .bind(9, volume.gone)
        .bind(10, presenceWord(volume.presence))
        .bind(11, volume.unseen_since)
        .bind(12, stateWord(volume.state));
}

void bindPath(Statement *statement, int64_t volume, const KnownPath &path) {
    const PathAttributes &is = path.attributes;
    statement->bind(1, volume)
        .bind(2, path.key.initiator)
        .bind(3, path.key.target_port)
        .bind(4, path.key.lun)
        .bind(5, path.key.twin)
        .bind(6, is.name)
        .bind(7, is.address)
        .bind(8, is.device_id)
        .bind(9, is.transport)
        .bind(10, is.group_policy)
        .bind(11, is.group_priority)
        .bind(12, is.group_status)
        .bind(13, is.dm_state)
        .bind(14, is.checker_state)
        .bind(15, is.online_state)
        .bind(16, presenceWord(path.presence))
        .bind(17, path.unseen_since)
        .bind(18, path.working)
        .bind(19, path.transitions)
        .bind(20, path.last_failed)
        .bind(21, path.last_returned)
        .bind(22, path.failures[0])
        .bind(23, path.failures[1])
        .bind(24, path.failures[2])
        .bind(25, path.flapping)
        .bind(26, path.offline_by);
}

// The statements of one saving, prepared once.
struct Savers {
    explicit Savers(Database *database)
        : new_volume(
              database,
              "INSERT INTO volumes (wwid, alias, map, vendor, product, size, size_bytes, transport, gone, "
              "presence, unseen_since, state) VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12)"),
          old_volume(database,
                     "UPDATE volumes SET wwid=?1, alias=?2, map=?3, vendor=?4, product=?5, size=?6, "
                     "size_bytes=?7, transport=?8, gone=?9, presence=?10, unseen_since=?11, state=?12 "
                     "WHERE id=?13"),
          new_path(
              database,
              "INSERT INTO paths (volume, initiator, target_port, lun, twin, name, address, device_id, "
              "transport, "
              "group_policy, group_priority, group_status, dm_state, checker_state, online_state, presence, "
              "unseen_since, working, transitions, last_failed, last_returned, failure_1, failure_2, "
              "failure_3, "
              "flapping, offline_by) VALUES "
              "(?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,?14,?15,?16,?17,?18,"
              // A path that was forgotten goes on counting where it had stopped.
              "?19 + coalesce((SELECT transitions FROM forgotten_paths WHERE volume=?1 AND initiator=?2 "
              "AND target_port=?3 AND lun=?4 AND twin=?5), 0),"
              "?20,?21,?22,?23,?24,?25,?26)"),
          old_path(database, "UPDATE paths SET volume=?1, initiator=?2, target_port=?3, lun=?4, twin=?5, "
                             "name=?6, address=?7, "
                             "device_id=?8, transport=?9, group_policy=?10, group_priority=?11, "
                             "group_status=?12, dm_state=?13, "
                             "checker_state=?14, online_state=?15, presence=?16, unseen_since=?17, "
                             "working=?18, transitions=?19, "
                             "last_failed=?20, last_returned=?21, failure_1=?22, failure_2=?23, "
                             "failure_3=?24, flapping=?25, "
                             "offline_by=?26 WHERE id=?27"),
          forget_baseline(
              database, "DELETE FROM baseline WHERE volume=?1 AND initiator=?2 AND target_port=?3 AND lun=?4 "
                        "AND twin=?5"),
          old_baseline(database, "SELECT initiator, target_port, lun, twin FROM baseline WHERE volume=?1"),
          learn_baseline(database,
                         "INSERT INTO baseline (volume, initiator, target_port, lun, twin, name, accepted, "
                         "accepted_by) VALUES (?1,?2,?3,?4,?5,?6,?7,?8)") {}

    Statement new_volume;
    Statement old_volume;
    Statement new_path;
    Statement old_path;
    Statement forget_baseline;
    Statement old_baseline;
    Statement learn_baseline;
};

// Puts the columns of a path's key, from place 1 on, into a statement.
Statement &bindKey(Statement *statement, int64_t volume, const PathKey &key) {
    return statement->bind(1, volume)
        .bind(2, key.initiator)
        .bind(3, key.target_port)
        .bind(4, key.lun)
        .bind(5, key.twin);
}

std::vector<PathKey> savedBaseline(Savers *savers, int64_t volume) {
    std::vector<PathKey> keys;
    Statement &row = savers->old_baseline.bind(1, volume);
    while (row.step()) {
        keys.push_back({row.text(0), row.text(1), row.text(2), static_cast<int>(row.number(3))});
    }
    row.reset();
    return keys;
}

// Only the difference is written: what was accepted by somebody stays so.
void saveBaseline(Savers *savers, const KnownVolume &volume, Milliseconds time) {
    PathKeySet wanted;
    for (const BaselinePath &path : volume.baseline) {
        wanted.add(path.key);
    }
    PathKeySet saved;
    for (const PathKey &key : savedBaseline(savers, volume.id)) {
        saved.add(key);
        if (!wanted.has(key)) {
            bindKey(&savers->forget_baseline, volume.id, key).runOnce();
        }
    }
    for (const BaselinePath &path : volume.baseline) {
        if (!saved.has(path.key)) {
            bindKey(&savers->learn_baseline, volume.id, path.key)
                .bind(6, path.name)
                .bind(7, time)
                .bind(8, LEARNED)
                .runOnce();
        }
    }
}

void saveVolume(Database *database, Savers *savers, KnownVolume *volume) {
    const bool is_new = volume->id == 0;
    Statement &statement = is_new ? savers->new_volume : savers->old_volume;
    bindVolume(&statement, *volume);
    if (!is_new) {
        statement.bind(13, volume->id);
    }
    statement.runOnce();
    volume->id = is_new ? database->lastRow() : volume->id;
}

void savePath(Database *database, Savers *savers, int64_t volume, KnownPath *path) {
    const bool is_new = path->id == 0;
    Statement &statement = is_new ? savers->new_path : savers->old_path;
    bindPath(&statement, volume, *path);
    if (!is_new) {
        statement.bind(27, path->id);
    }
    statement.runOnce();
    path->id = is_new ? database->lastRow() : path->id;
}

// The volumes that rows of other tables belong to, by the id of their own row.
class VolumesById {
  public:
    explicit VolumesById(KnownTopology *topology) : known(topology) {
        for (size_t i = 0; i < known->size(); ++i) {
            places[(*known)[i].id] = i;
        }
    }
    // Null when there is no such volume. Rows of one volume mostly stand together.
    KnownVolume *find(int64_t id) {
        if (last == nullptr || last->id != id) {
            const auto place = places.find(id);
            last = place == places.end() ? nullptr : &(*known)[place->second];
        }
        return last;
    }

  private:
    KnownTopology *known;
    std::unordered_map<int64_t, size_t> places;
    KnownVolume *last = nullptr;
};

KnownTopology loadVolumes(Database *database) {
    KnownTopology known;
    known.reserve(static_cast<size_t>(database->number("SELECT count(*) FROM volumes")));
    Statement row(
        database,
        "SELECT id, wwid, alias, map, vendor, product, size, size_bytes, transport, gone, presence, "
        "unseen_since, state FROM volumes ORDER BY id");
    while (row.step()) {
        known.push_back(readVolume(row));
    }
    return known;
}

// Makes space for the paths of each volume.
void countPaths(Database *database, VolumesById *volumes) {
    Statement count(database, "SELECT volume, count(*) FROM paths GROUP BY volume");
    while (count.step()) {
        if (KnownVolume *volume = volumes->find(count.number(0))) {
            volume->paths.reserve(static_cast<size_t>(count.number(1)));
        }
    }
}

void loadPaths(Database *database, VolumesById *volumes) {
    countPaths(database, volumes);
    Statement row(
        database,
        "SELECT volume, id, initiator, target_port, lun, twin, name, address, device_id, transport, "
        "group_policy, group_priority, group_status, dm_state, checker_state, online_state, presence, "
        "unseen_since, working, transitions, last_failed, last_returned, failure_1, failure_2, failure_3, "
        "flapping, offline_by FROM paths ORDER BY id");
    while (row.step()) {
        if (KnownVolume *volume = volumes->find(row.number(0))) {
            volume->paths.push_back(readPath(row));
        }
    }
}

void loadBaselines(Database *database, VolumesById *volumes) {
    Statement row(database,
                  "SELECT volume, initiator, target_port, lun, twin, name FROM baseline ORDER BY rowid");
    while (row.step()) {
        if (KnownVolume *volume = volumes->find(row.number(0))) {
            volume->baseline.push_back(
                {{row.text(1), row.text(2), row.text(3), static_cast<int>(row.number(4))}, row.text(5)});
        }
    }
}

void loadPathHealth(Database *database, VolumesById *volumes) {
    countPaths(database, volumes);
    Statement row(
        database,
        "SELECT volume, initiator, target_port, presence, unseen_since, working FROM paths ORDER BY id");
    while (row.step()) {
        if (KnownVolume *volume = volumes->find(row.number(0))) {
            KnownPath &path = volume->paths.emplace_back();
            path.key.initiator = row.text(1);
            path.key.target_port = row.text(2);
            path.presence = presenceOfWord(row.text(3));
            path.unseen_since = row.number(4);
            path.working = row.number(5) != 0;
        }
    }
}

void loadBaselinePorts(Database *database, VolumesById *volumes) {
    Statement row(database, "SELECT volume, initiator, target_port FROM baseline ORDER BY rowid");
    while (row.step()) {
        if (KnownVolume *volume = volumes->find(row.number(0))) {
            PathKey &key = volume->baseline.emplace_back().key;
            key.initiator = row.text(1);
            key.target_port = row.text(2);
        }
    }
}

} // namespace

KnownTopology loadKnown(Database *database) {
    KnownTopology known = loadVolumes(database);
    VolumesById volumes(&known);
    loadPaths(database, &volumes);
    loadBaselines(database, &volumes);
    return known;
}

KnownTopology loadForVerdict(Database *database) {
    KnownTopology known = loadVolumes(database);
    VolumesById volumes(&known);
    loadPathHealth(database, &volumes);
    loadBaselinePorts(database, &volumes);
    return known;
}

void saveKnown(Database *database, KnownTopology *known, Milliseconds time) {
    Savers savers(database);
    for (KnownVolume &volume : *known) {
        if (volume.changed || volume.id == 0) {
            saveVolume(database, &savers, &volume);
        }
        for (KnownPath &path : volume.paths) {
            if (path.changed || path.id == 0) {
                savePath(database, &savers, volume.id, &path);
            }
        }
        if (volume.baseline_changed) {
            saveBaseline(&savers, volume, time);
        }
    }
}

StateCounts countStates(Database *database) {
    Statement row(database, "SELECT state, count(*) FROM volumes WHERE gone = 0 GROUP BY state");
    StateCounts counts;
    while (row.step()) {
        counts.of_state[static_cast<size_t>(stateOfWord(row.text(0)))] += row.number(1);
    }
    return counts;
}

Observation loadObservation(Database *database) {
    Observation last;
    Statement row(
        database,
        "SELECT quality, reason, time, tool_ms, duration_ms, volumes, paths, boot_id, seen FROM observation");
    if (row.step()) {
        last.quality = qualityOfWord(row.text(0));
        last.reason = row.text(1);
        last.time = row.number(2);
        last.tool_ms = row.number(3);
        last.duration_ms = row.number(4);
        last.volumes = row.number(5);
        last.paths = row.number(6);
        last.boot_id = row.text(7);
        last.seen = row.number(8);
    }
    return last;
}

void saveObservation(Database *database, const Observation &observation, bool quality_changed) {
    const char *quality = qualityWord(observation.quality);
    Statement(database,
              "INSERT OR REPLACE INTO observation (id, quality, reason, time, tool_ms, duration_ms, volumes, "
              "paths, boot_id, seen) VALUES (1,?1,?2,?3,?4,?5,?6,?7,?8,?9)")
        .bind(1, quality)
        .bind(2, observation.reason)
        .bind(3, observation.time)
        .bind(4, observation.tool_ms)
        .bind(5, observation.duration_ms)
        .bind(6, observation.volumes)
        .bind(7, observation.paths)
        .bind(8, observation.boot_id)
        .bind(9, observation.seen)
        .runOnce();
    Statement(database, "INSERT OR IGNORE INTO observation_count (quality, count) VALUES (?1, 0)")
        .bind(1, quality)
        .runOnce();
    Statement(database, "UPDATE observation_count SET count = count + 1 WHERE quality = ?1")
        .bind(1, quality)
        .runOnce();
    if (quality_changed) {
        Statement(database, "INSERT INTO observations (quality, reason, time) VALUES (?1,?2,?3)")
            .bind(1, quality)
            .bind(2, observation.reason)
            .bind(3, observation.time)
            .runOnce();
    }
}

} // namespace dravik

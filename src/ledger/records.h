// What the ledger works with: the topology as it was just seen, and as it is known.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "health/volume_health.h"

namespace dravik {

// Milliseconds since 1970-01-01 UTC; 0 for never.
using Milliseconds = int64_t;

// By what a path is known, whatever the kernel calls its block device: within its volume (a WWID), the host's port, the
// array's port, the LUN. Paths that have the same, or none, are told apart by `twin`, counted from 0.
struct PathKey {
    std::string initiator;
    std::string target_port;
    std::string lun;
    int twin = 0;
};

// The attributes of a path, as listed.
struct PathAttributes {
    std::string name;      // sdb
    std::string address;   // host:channel:target:lun
    std::string device_id; // major:minor
    std::string transport; // fc, iscsi, sas, fc-nvme, rdma-nvme, or empty
    std::string group_policy;
    std::string group_priority;
    std::string group_status;
    std::string dm_state;
    std::string checker_state;
    std::string online_state;
};

// The attributes of a volume, as listed, but for `size_bytes`, which is the kernel's (0 where it does not tell).
struct VolumeAttributes {
    std::string alias;
    std::string map; // dm-3
    std::string vendor;
    std::string product;
    std::string size;
    int64_t size_bytes = 0;
    std::string transport; // of its first path
};

struct SeenPath {
    PathKey key;
    PathAttributes attributes;
    bool working = false;
};

struct SeenVolume {
    std::string wwid;
    VolumeAttributes attributes;
    std::vector<SeenPath> paths;
};

using SeenTopology = std::vector<SeenVolume>;

// A path of a volume's baseline, and what the kernel called it when it was learned.
struct BaselinePath {
    PathKey key;
    std::string name;
};

// A path as the ledger has it.
struct KnownPath {
    int64_t id = 0; // of its row; 0 while it has none
    PathKey key;
    PathAttributes attributes; // as last seen
    Presence presence = Presence::PRESENT;
    Milliseconds unseen_since = 0; // when an unseen one was last seen
    bool working = false;          // as last seen; false once it is missing
    int64_t transitions = 0;
    Milliseconds last_failed = 0;
    Milliseconds last_returned = 0;
    Milliseconds failures[3] = {}; // the last three, oldest first
    bool flapping = false;
    std::string offline_by; // whose setstate took it offline, while it is
    bool changed = false;   // its row is to be written
};

// A volume as the ledger has it. One that is gone keeps its row, its baseline and its events.
struct KnownVolume {
    int64_t id = 0;
    std::string wwid;
    VolumeAttributes attributes;
    bool gone = false;
    Presence presence = Presence::PRESENT; // PRESENT or UNSEEN
    Milliseconds unseen_since = 0;         // when an unseen one was last seen
    VolumeState state = VolumeState::OK;   // as the last event said; not that of a stale ledger
    std::vector<KnownPath> paths;
    std::vector<BaselinePath> baseline;
    bool changed = false;
    bool baseline_changed = false;
};

using KnownTopology = std::vector<KnownVolume>;

// The quality of an observation.
enum class Quality { GOOD, DOUBTFUL, FAILED, NEVER };

const char *qualityWord(Quality quality);
Quality qualityOfWord(const std::string &word);

struct Observation {
    Quality quality = Quality::NEVER;
    std::string reason;
    Milliseconds time = 0;
    int64_t tool_ms = 0;
    int64_t duration_ms = 0;
    int64_t volumes = 0;
    int64_t paths = 0;
    std::string boot_id;
    Milliseconds seen = 0; // of the last one that had a topology, this one included
};

// What happened to one volume, one path, or the observation itself; the kinds are those of event_kinds.h.
struct Event {
    int64_t number = 0; // 0 until it is written
    int64_t incident = 0;
    Milliseconds time = 0;
    std::string boot_id;
    Quality quality = Quality::GOOD;
    std::string kind;
    std::string wwid; // "" where no volume is meant
    std::string alias;
    bool has_path = false;
    std::string path_name;
    std::string path_address;
    std::string initiator;
    std::string target_port;
    std::string from;
    std::string to;
    int64_t paths_working = 0;
    int64_t paths_known = 0;
    std::string cause; // fault, operator, host_restart
    std::string user;  // of an operator
    std::string command;
};

// The detail of an operation that was refused before it ran: it explains nothing that is seen.
constexpr char REFUSED[] = "refused";

// A command that changed the host.
struct Operation {
    int64_t id = 0;
    Milliseconds begun = 0;
    Milliseconds ended = 0; // 0 while it runs
    std::string user;
    std::string command; // setstate
    std::string line;    // dravik setstate -path_alias ...
    std::string volume;  // as typed; "" for none
    std::string path;
    std::string detail; // of setstate: online, offline; or REFUSED
    int code = 0;
};

} // namespace dravik

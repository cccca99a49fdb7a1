// What the tests of the ledger share: topologies and operations in a few words, a kernel that answers as it is told, events
// as texts.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "health/path_health.h"
#include "ledger/comparison.h"
#include "ledger/records.h"

// A path that works.
inline dravik::SeenPath seenPath(const std::string &name, const std::string &initiator = "i1",
                                 const std::string &port = "p1", const std::string &address = "1:0:0:1") {
    dravik::SeenPath path;
    path.key = {initiator, port, "1", 0};
    path.attributes.name = name;
    path.attributes.address = address;
    path.attributes.device_id = "8:16";
    path.attributes.transport = "fc";
    path.attributes.group_policy = "service-time 0";
    path.attributes.group_priority = "50";
    path.attributes.group_status = "active";
    path.attributes.dm_state = "active";
    path.attributes.checker_state = "ready";
    path.attributes.online_state = "running";
    path.working = true;
    return path;
}

inline void judge(dravik::SeenPath *path) {
    const dravik::PathAttributes &at = path->attributes;
    path->working = dravik::isWorking({at.group_status, at.dm_state, at.checker_state, at.online_state});
}

// A path that has failed, as the checker and the device mapper say.
inline dravik::SeenPath failed(dravik::SeenPath path) {
    path.attributes.dm_state = "failed";
    path.attributes.checker_state = "faulty";
    path.working = false;
    return path;
}

// Its WWID is "36" and its alias; its map is called after it, too: dm-a.
inline dravik::SeenVolume seenVolume(const std::string &alias, const std::vector<dravik::SeenPath> &paths) {
    dravik::SeenVolume volume;
    volume.wwid = "36" + alias;
    volume.attributes.alias = alias;
    volume.attributes.map = "dm-" + alias;
    volume.attributes.vendor = "KORVEL";
    volume.attributes.product = "QVX";
    volume.attributes.size = "10G";
    volume.attributes.size_bytes = 10LL << 30;
    volume.attributes.transport = "fc";
    volume.paths = paths;
    return volume;
}

// Operation of root's that ran between these times; `ended` 0: it still runs.
inline dravik::Operation operation(const std::string &command, const std::string &volume = "",
                                   const std::string &path = "", const std::string &detail = "") {
    dravik::Operation done;
    done.id = 1;
    done.begun = 1;
    done.ended = 2;
    done.user = "alice";
    done.command = command;
    done.line = "dravik " + command;
    done.volume = volume;
    done.path = path;
    done.detail = detail;
    return done;
}

// "path_checker_state a/sdb ready->faulty 1/2 fault", "volume_appeared a 2/2 fault",
// "path_online_state a/sdb running->offline 1/2 operator alice setstate"
inline std::string eventText(const dravik::Event &event) {
    std::string text = event.kind;
    text += event.alias.empty() && !event.has_path ? "" : " " + event.alias;
    text += event.has_path ? "/" + event.path_name : "";
    text += event.from.empty() && event.to.empty() ? "" : " " + event.from + "->" + event.to;
    text += " " + std::to_string(event.paths_working) + "/" + std::to_string(event.paths_known) + " " +
            event.cause;
    text += event.user.empty() && event.command.empty() ? "" : " " + event.user + " " + event.command;
    return text;
}

inline std::vector<std::string> eventTexts(const std::vector<dravik::Event> &events) {
    std::vector<std::string> texts;
    for (const dravik::Event &event : events) {
        texts.push_back(eventText(event));
    }
    return texts;
}

// What the kernel has: paths as "dm-a/sdb", volumes as "dm-a/a" (map and name). A mute one cannot be asked.
class FakeKernel {
  public:
    std::set<std::string> paths;
    std::set<std::string> volumes;
    bool is_mute = false;
    std::vector<std::string> questions; // that it was asked: "dm-a/sdb", "dm-a/a 36a"

    dravik::Kernel kernel() {
        return {[this](const std::string &map, const std::string &name) {
                    questions.push_back(map + "/" + name);
                    return answer(paths.count(map + "/" + name) != 0);
                },
                [this](const std::string &map, const std::string &alias, const std::string &wwid) {
                    questions.push_back(map + "/" + alias + " " + wwid);
                    return answer(volumes.count(map + "/" + alias) != 0 ||
                                  volumes.count(map + "/" + wwid) != 0);
                }};
    }

  private:
    dravik::KernelAnswer answer(bool has) const {
        if (is_mute) {
            return dravik::KernelAnswer::CANNOT_TELL;
        }
        return has ? dravik::KernelAnswer::HAS_IT : dravik::KernelAnswer::HAS_IT_NOT;
    }
};

// One observation after the other of one host, ten seconds apart.
class Watcher {
  public:
    FakeKernel kernel;
    dravik::KnownTopology known;
    dravik::Circumstances circumstances; // of the next observation; operations and a bad end count for one
    dravik::Comparison comparison;       // of the last one

    Watcher() {
        circumstances.time = 1'700'000'000'000;
        circumstances.boot_id = "boot-1";
        circumstances.is_first = true;
    }

    // The texts of the events of one observation.
    std::vector<std::string> see(const dravik::SeenTopology &seen) {
        kernel.questions.clear();
        circumstances.time += 10000;
        comparison = dravik::compareTopologies(seen, circumstances, kernel.kernel(), &known);
        circumstances.last_seen = circumstances.time;
        circumstances.is_first = false;
        circumstances.same_boot = true;
        circumstances.tool_was_ended = false;
        circumstances.operations.clear();
        for (dravik::KnownVolume &volume : known) {
            volume.changed = false;
            volume.baseline_changed = false;
            for (dravik::KnownPath &path : volume.paths) {
                path.changed = false;
            }
        }
        return eventTexts(comparison.events);
    }
    // The same so many seconds after the observation before.
    std::vector<std::string> seeAfter(int seconds, const dravik::SeenTopology &seen) {
        circumstances.time += seconds * 1000LL - 10000;
        return see(seen);
    }
    const dravik::KnownVolume &volume(const std::string &alias) const {
        for (const dravik::KnownVolume &each : known) {
            if (each.wwid == "36" + alias) {
                return each;
            }
        }
        static const dravik::KnownVolume none;
        return none;
    }
    // "ok", "degraded" ... at the time of the last observation.
    std::string state(const std::string &alias) const {
        return dravik::stateWord(dravik::verdictOf(dravik::healthOf(volume(alias), circumstances.time),
                                                   dravik::baselineSurvival(volume(alias))));
    }
};

// From the listing's records to the ledger's.
#include "ledger/seen.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <unordered_map>

#include "health/path_health.h"

namespace dravik {

namespace {

// What stands behind the last colon of an address.
std::string lunOf(const char *address) {
    const char *colon = strrchr(address, ':');
    return colon == nullptr ? "" : colon + 1;
}

SeenPath seePath(const s_path_dev *path, Initiators *initiators) {
    SeenPath seen;
    seen.key = {initiators->of(path), path->target_port, lunOf(path->dev_node), 0};
    seen.attributes = {path->dev_name,      path->dev_node,       path->dev_id,       path->host_interface,
                       path->group_policy,  path->group_priority, path->group_status, path->path_status,
                       path->checker_state, path->dravik_status};
    seen.working =
        isWorking({path->group_status, path->path_status, path->checker_state, path->dravik_status});
    return seen;
}

VolumeAttributes attributesOf(const s_dravik *device) {
    VolumeAttributes attributes;
    attributes.alias = device->path_alias;
    attributes.map = std::string("dm-") + device->device_number;
    attributes.vendor = device->vendor;
    attributes.product = device->product_type;
    attributes.size = device->lun_size;
    const s_path_dev *first = firstPathDev(device->pdev);
    attributes.transport = first == nullptr ? "" : first->host_interface;
    return attributes;
}

// Mixes a text and its length into the hash, eight bytes at a time.
void add(uint64_t *hash, std::string_view text) {
    const auto mix = [hash](uint64_t piece) {
        *hash = (*hash ^ piece) * 0x9E3779B97F4A7C15U;
        *hash ^= *hash >> 32;
    };
    mix(text.size());
    while (!text.empty()) {
        const size_t length = std::min(text.size(), sizeof(uint64_t));
        uint64_t piece = 0;
        memcpy(&piece, text.data(), length);
        mix(piece);
        text.remove_prefix(length);
    }
}

} // namespace

SeenTopology seeTopology(const s_dravik *head, Initiators *initiators) {
    SeenTopology topology;
    std::unordered_map<std::string, size_t> by_wwid;
    for (const s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        const auto [place, is_new] = by_wwid.emplace(device->wwid, topology.size());
        if (is_new) {
            topology.push_back({device->wwid, attributesOf(device), {}});
        }
        SeenVolume &volume = topology[place->second];
        for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
            volume.paths.push_back(seePath(path, initiators));
        }
    }
    return topology;
}

uint64_t fingerprintOf(const s_dravik *head, Initiators *initiators) {
    uint64_t hash = 0;
    const std::string *last_initiator = nullptr;
    for (const s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        for (const char *text : {device->path_alias, device->wwid, device->device_number, device->vendor,
                                 device->product_type, device->lun_size}) {
            add(&hash, text);
        }
        for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
            for (const char *text :
                 {path->dev_id, path->dev_name, path->dev_node, path->group_policy, path->group_priority,
                  path->group_status, path->path_status, path->checker_state, path->dravik_status,
                  path->host_interface, path->target_port}) {
                add(&hash, text);
            }
            const std::string &initiator = initiators->of(path);
            if (&initiator != last_initiator) {
                add(&hash, initiator);
                last_initiator = &initiator;
            }
        }
    }
    return hash;
}

} // namespace dravik

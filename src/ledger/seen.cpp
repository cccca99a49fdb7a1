// From the listing's records to the ledger's.
#include "ledger/seen.h"

#include <algorithm>
#include <cstring>
#include <endian.h>
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
    attributes.map = device->device_number[0] == '\0' ? "" : std::string("dm-") + device->device_number;
    attributes.vendor = device->vendor;
    attributes.product = device->product_type;
    attributes.size = device->lun_size;
    const s_path_dev *first = firstPathDev(device->pdev);
    attributes.transport = first == nullptr ? "" : first->host_interface;
    return attributes;
}

// A hash over texts; where one ends and the next begins is part of it.
class Fingerprint {
  public:
    // A field's text, eight bytes at a time; what stands behind its end is left out.
    template <size_t SIZE> void add(const char (&field)[SIZE]) {
        constexpr size_t WHOLE = SIZE / PIECE * PIECE;
        for (size_t i = 0; i < WHOLE; i += PIECE) {
            if (addPiece(field + i, PIECE)) {
                return;
            }
        }
        addPiece(field + WHOLE, SIZE - WHOLE);
    }
    void add(const std::string &text) {
        for (size_t i = 0; !addPiece(text.data() + i, std::min(text.size() - i, PIECE)); i += PIECE) {
        }
    }
    uint64_t value() const {
        return hash;
    }

  private:
    static constexpr size_t PIECE = sizeof(uint64_t);

    // Adds at most eight bytes; true when the text ends among them.
    bool addPiece(const char *bytes, size_t size) {
        uint64_t piece = 0;
        memcpy(&piece, bytes, size);
        piece = le64toh(piece);
        // The top bit of the first zero byte; others may be set above it.
        const uint64_t zeros = (piece - 0x0101010101010101U) & ~piece & 0x8080808080808080U;
        const uint64_t end = zeros & (~zeros + 1);
        piece &= end == 0 ? ~uint64_t{0} : (end >> 7) - 1;
        hash = (hash ^ piece) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
        return end != 0;
    }

    uint64_t hash = 0;
};

void addPath(const s_path_dev *path, Fingerprint *all) {
    all->add(path->dev_id);
    all->add(path->dev_name);
    all->add(path->dev_node);
    all->add(path->group_policy);
    all->add(path->group_priority);
    all->add(path->group_status);
    all->add(path->path_status);
    all->add(path->checker_state);
    all->add(path->dravik_status);
    all->add(path->host_interface);
    all->add(path->target_port);
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
    Fingerprint all;
    for (const s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        all.add(device->path_alias);
        all.add(device->wwid);
        all.add(device->device_number);
        all.add(device->vendor);
        all.add(device->product_type);
        all.add(device->lun_size);
        for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
            addPath(path, &all);
            initiators->of(path);
        }
    }
    // Which adapter a path leads through is in its name and address; what each is called is told once.
    for (const auto &[port, name] : initiators->names()) {
        all.add(port);
        all.add(name);
    }
    return all.value();
}

} // namespace dravik

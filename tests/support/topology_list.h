// The topology's records made field by field, for tests: what the parser would have made of a listing.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "struct/s_dravik.h"

// One path as texts.
struct PathFields {
    std::string name, address = "1:0:0:1", device_id = "8:16", transport = "fc",
                      target_port = "0x20d0000b5d6a1010";
    std::string policy = "service-time 0", priority = "50", group = "active";
    std::string dm_state = "active", checker_state = "ready", online_state = "running";
};

struct DeviceFields {
    std::string wwid, alias = "mpatha", number = "3", size = "10G";
    std::vector<PathFields> paths;
    std::string vendor = "KORVEL", product = "QVX";
};

// A list of such devices while it lives; a refill goes over the same nodes, as in the monitor.
class TopologyList {
  public:
    TopologyList() : list(mallocDravik()) {}
    explicit TopologyList(const std::vector<DeviceFields> &devices) : TopologyList() {
        fill(devices);
    }
    ~TopologyList() {
        freeDravik(list);
    }
    TopologyList(const TopologyList &) = delete;
    TopologyList &operator=(const TopologyList &) = delete;

    void fill(const std::vector<DeviceFields> &devices) {
        initDravik(list);
        s_dravik *cursor = list;
        for (const DeviceFields &fields : devices) {
            s_dravik *device = getOrMallocNextDravik(cursor);
            put(device->path_alias, fields.alias);
            put(device->wwid, fields.wwid);
            put(device->device_number, fields.number);
            put(device->vendor, fields.vendor);
            put(device->product_type, fields.product);
            put(device->lun_size, fields.size);
            addPaths(device, fields.paths);
            cursor->end = false;
            cursor = device;
        }
    }
    s_dravik *head() const {
        return list;
    }

  private:
    template <size_t SIZE> static void put(char (&field)[SIZE], const std::string &text) {
        const size_t length = text.size() < SIZE ? text.size() : SIZE - 1;
        memcpy(field, text.data(), length);
        field[length] = '\0';
    }
    static void addPaths(s_dravik *device, const std::vector<PathFields> &paths) {
        if (device->pdev == nullptr && !paths.empty()) {
            device->pdev = mallocPathDev();
        }
        s_path_dev *cursor = device->pdev;
        for (const PathFields &fields : paths) {
            s_path_dev *path = getOrMallocNextPathDev(cursor);
            put(path->dev_name, fields.name);
            put(path->dev_node, fields.address);
            put(path->dev_id, fields.device_id);
            put(path->host_interface, fields.transport);
            put(path->target_port, fields.target_port);
            put(path->group_policy, fields.policy);
            put(path->group_priority, fields.priority);
            put(path->group_status, fields.group);
            put(path->path_status, fields.dm_state);
            put(path->checker_state, fields.checker_state);
            put(path->dravik_status, fields.online_state);
            cursor->end = false;
            cursor = path;
        }
    }

    s_dravik *list;
};

// A folder that stands for the kernel's files (/sys and /proc) while it lives; see `kernel_root`.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ledger/kernel_view.h"

// One at a time. It is empty, so that the kernel has nothing and can be asked nothing, and goes with all it holds.
class KernelFolder {
  public:
    KernelFolder() {
        char name[] = "/tmp/dravik-kernel-XXXXXX";
        folder = mkdtemp(name);
        dravik::kernel_root = folder;
    }
    ~KernelFolder() {
        dravik::kernel_root.clear();
        std::filesystem::remove_all(folder);
    }
    KernelFolder(const KernelFolder &) = delete;
    KernelFolder &operator=(const KernelFolder &) = delete;

    // The real place of one of the kernel's files: path("/sys/block").
    std::string path(const std::string &name) const {
        return folder + name;
    }
    void write(const std::string &name, const std::string &text) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << text;
    }
    void makeFolder(const std::string &name) const {
        std::filesystem::create_directories(path(name));
    }
    void link(const std::string &name, const std::string &target) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::filesystem::create_symlink(target, path(name));
    }
    void remove(const std::string &name) const {
        std::filesystem::remove_all(path(name));
    }

    // A map (dm-3) of this name and of so many sectors of 512 bytes.
    void map(const std::string &map_name, const std::string &name, long long sectors = 2048) const {
        write("/sys/block/" + map_name + "/dm/name", name + "\n");
        write("/sys/block/" + map_name + "/size", std::to_string(sectors) + "\n");
        makeFolder("/sys/block/" + map_name + "/slaves");
    }
    // A block device that stands below a map; one that stands alone with an empty map.
    void device(const std::string &map_name, const std::string &name) const {
        makeFolder("/sys/devices/" + name);
        link("/sys/block/" + name, "../devices/" + name);
        if (!map_name.empty()) {
            link("/sys/block/" + map_name + "/slaves/" + name, "../../../devices/" + name);
        }
    }
    void bootId(const std::string &id) const {
        write("/proc/sys/kernel/random/boot_id", id + "\n");
    }

  private:
    std::string folder;
};

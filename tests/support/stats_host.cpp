// The statistics tests' host.
#include "tests/support/stats_host.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace {

void resetEngine() {
    io_sys_free();
    sfree_dev_list();
    st_settings = {};
    st_interval = 0;
    cur_slot = 0;
    group_nr = 0;
    st_group_name[0] = '\0';
    hz = 100;
    cpu_nr = 1;
    uptime[0] = uptime[1] = 0;
    uptime0[0] = uptime0[1] = 0;
}

} // namespace

StatsHost::StatsHost() {
    folder = testing::TempDir() + "dravik-stats.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        perror(folder.c_str());
        abort();
    }
    st_system_root = folder.c_str();
    resetEngine();
}

StatsHost::~StatsHost() {
    resetEngine();
    st_system_root = "";
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

std::string StatsHost::path(const std::string &name) const {
    return folder + name;
}

void StatsHost::write(const std::string &name, const std::string &text) const {
    const std::filesystem::path file = path(name);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

void StatsHost::remove(const std::string &name) const {
    std::filesystem::remove_all(path(name));
}

std::string diskstatsLine(const std::string &name, const std::vector<unsigned long long> &counters) {
    std::string line = "   8      16 " + name;
    for (size_t i = 0; i < 11; i++) {
        line += " " + std::to_string(i < counters.size() ? counters[i] : 0);
    }
    return line + "\n";
}

void listDevices(const std::vector<std::string> &names) {
    salloc_dev_list(static_cast<int>(names.size()));
    for (const std::string &name : names) {
        const size_t equals = name.find('=');
        const std::string alias = equals == std::string::npos ? name : name.substr(equals + 1);
        update_dev_list(&dlist_idx, name.substr(0, equals).c_str(), alias.c_str());
    }
}

std::string slotsOf(int sample) {
    std::string text;
    std::string free_slots;
    for (int i = 0; i < iodev_nr; i++) {
        const s_hdr_iodev &slot = st_hdr_iodev[i];
        if (slot.used == 0 && slot.status == 0) {
            free_slots += "- ";
            continue;
        }
        text += free_slots + slot.name + ":" + std::to_string(slot.status) + ":" + std::to_string(slot.used) +
                ":" + std::to_string(st_iodev[sample][i].read_ios) + "/" +
                std::to_string(st_iodev[sample][i].write_ios) + " ";
        free_slots.clear();
    }
    return text;
}

bool operator==(const s_iodev &a, const s_iodev &b) {
    return a.read_sectors == b.read_sectors && a.write_sectors == b.write_sectors &&
           a.read_ios == b.read_ios && a.read_merges == b.read_merges && a.write_ios == b.write_ios &&
           a.write_merges == b.write_merges && a.read_ms == b.read_ms && a.write_ms == b.write_ms &&
           a.ios_in_progress == b.ios_in_progress && a.io_ms == b.io_ms &&
           a.weighted_io_ms == b.weighted_io_ms;
}

bool operator==(const s_hdr_iodev &a, const s_hdr_iodev &b) {
    return a.status == b.status && a.used == b.used && std::string(a.name) == b.name;
}

// Counter files of sysfs.
#include "stats/sysfs_stat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owned.h"
#include "stats/stat_settings.h"
#include "stats/system_files.h"

namespace {

constexpr char COUNTER_FILE[] = "stat";
constexpr int DISK_VALUES = 11;
constexpr int PARTITION_VALUES = 4;

// Calls `visit` with the name of each entry of the folder `path`, "." and ".." apart.
template <typename Visit> void forEachEntry(const char *path, const Visit &visit) {
    const dravik::Folder folder(opendir(path));
    if (folder == nullptr) {
        return;
    }
    while (const dirent *entry = readdir(folder.get())) { // NOLINT(concurrency-mt-unsafe)
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            visit(entry->d_name);
        }
    }
}

// "FOLDER/NAME"; false when that does not fit: half a path leads elsewhere.
bool pathIn(char (&out)[SYSTEM_PATH_SIZE], const char *folder, const char *name) {
    return snprintf(out, sizeof(out), "%s/%s", folder, name) < static_cast<int>(sizeof(out));
}

bool counterFileIn(char (&out)[SYSTEM_PATH_SIZE], const char *folder, const char *name) {
    return snprintf(out, sizeof(out), "%s/%s/%s", folder, name, COUNTER_FILE) < static_cast<int>(sizeof(out));
}

bool hasCounterFile(const char *folder, const char *name) {
    char path[SYSTEM_PATH_SIZE];
    struct stat attributes = {};
    return counterFileIn(path, folder, name) && stat(path, &attributes) == 0 && S_ISREG(attributes.st_mode);
}

std::string sysfsName(const char *name) {
    std::string text = name;
    std::replace(text.begin(), text.end(), '/', '!');
    return text;
}

// Saves the counters of FOLDER/NAME under `shown_name`. True when they were a disk's.
bool saveDevice(const char *folder, const char *name, const char *shown_name) {
    char path[SYSTEM_PATH_SIZE];
    s_iodev counters = {};
    if (!counterFileIn(path, folder, name)) {
        return false;
    }
    const int values = read_sysfs_file(path, &counters);
    if (values == DISK_VALUES || (values == PARTITION_VALUES && !st_settings.extended_layout)) {
        saveReading(shown_name, &counters);
    }
    return values == DISK_VALUES;
}

void savePartitions(const char *folder, const char *name) {
    char disk[SYSTEM_PATH_SIZE];
    if (pathIn(disk, folder, name)) {
        forEachEntry(disk, [&disk](const char *partition) { saveDevice(disk, partition, partition); });
    }
}

} // namespace

bool is_whole_device(const char *name) {
    char folder[SYSTEM_PATH_SIZE];
    char path[SYSTEM_PATH_SIZE];
    systemPath(folder, SYSFS_BLOCK);
    return pathIn(path, folder, sysfsName(name).c_str()) && access(path, F_OK) == 0;
}

int count_sysfs_devices(bool partitions) {
    char folder[SYSTEM_PATH_SIZE];
    systemPath(folder, SYSFS_BLOCK);
    int count = 0;
    forEachEntry(folder, [&](const char *name) {
        if (!hasCounterFile(folder, name)) {
            return;
        }
        count++;
        char disk[SYSTEM_PATH_SIZE];
        if (partitions && pathIn(disk, folder, name)) {
            forEachEntry(disk, [&](const char *entry) { count += hasCounterFile(disk, entry) ? 1 : 0; });
        }
    });
    return count;
}

int read_sysfs_file(const char *path, s_iodev *counters) {
    const dravik::Stream file(fopen(path, "re"));
    if (file == nullptr) {
        return 0;
    }
    unsigned long v[7] = {};
    unsigned int more[4] = {};
    // NOLINTNEXTLINE(cert-err34-c): a counter out of range is the largest one, as everywhere here
    const int values = fscanf(file.get(), "%lu %lu %lu %lu %lu %lu %lu %u %u %u %u", &v[0], &v[1], &v[2],
                              &v[3], &v[4], &v[5], &v[6], &more[0], &more[1], &more[2], &more[3]);
    if (values == DISK_VALUES) {
        *counters = {v[2],    v[6],    v[0],    v[1],   v[4], v[5], static_cast<uint32_t>(v[3]),
                     more[0], more[1], more[2], more[3]};
    } else if (values == PARTITION_VALUES) {
        *counters = {};
        counters->read_ios = v[0];
        counters->read_sectors = v[1];
        counters->write_ios = v[2];
        counters->write_sectors = v[3];
    }
    return std::max(values, 0);
}

void read_sysfs_dlist_stat(int slot_of_sample) {
    char folder[SYSTEM_PATH_SIZE];
    systemPath(folder, SYSFS_BLOCK);
    beginReading(slot_of_sample);
    for (int i = 0; i < dlist_idx; i++) {
        const std::string name = sysfsName(st_dev_list[i].name);
        const bool disk = saveDevice(folder, name.c_str(), st_dev_list[i].name);
        if (disk && st_dev_list[i].disk_flag != 0) {
            savePartitions(folder, name.c_str());
        }
    }
    endReading();
}

void read_sysfs_stat(int slot_of_sample) {
    char folder[SYSTEM_PATH_SIZE];
    systemPath(folder, SYSFS_BLOCK);
    beginReading(slot_of_sample);
    forEachEntry(folder, [&folder](const char *name) {
        saveDevice(folder, name, name);
        if (st_settings.all_partitions) {
            savePartitions(folder, name);
        }
    });
    endReading();
}

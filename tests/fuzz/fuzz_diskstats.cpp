// Any text in the place of /proc/diskstats: each line is converted as scanf converts it, and a reading of the
// whole keeps to its tables.
#include "stats/stats.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "broken: %s\n", what);
        abort();
    }
}

void checkLine(const std::string &line) {
    unsigned int numbers[2] = {};
    char name[COUNTER_LINE_LENGTH + 1] = "";
    unsigned long c[7] = {};
    unsigned int m[4] = {};
    // NOLINTBEGIN(cert-err34-c): this very conversion is the contract
    int expected =
        sscanf(line.c_str(), "%u %u %s %lu %lu %lu %lu %lu %lu %lu %u %u %u %u", &numbers[0], &numbers[1],
               name, &c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &c[6], &m[0], &m[1], &m[2], &m[3]);
    // NOLINTEND(cert-err34-c)
    expected = std::max(expected, 0);
    DiskstatsFields fields = {};
    require(parse_diskstats_line(line, &fields) == expected, "the number of fields");
    require(fields.major == numbers[0] && fields.minor == numbers[1], "the device number");
    require(expected < 3 || fields.name == name, "the name");
    require(std::equal(c, c + 7, fields.counts) && std::equal(m, m + 4, fields.more), "a counter");
}

// A folder that stands for the system tree, removed at the end.
class Root {
  public:
    Root() : name(access("/dev/shm", W_OK) == 0 ? "/dev/shm/dravik-fuzz-XXXXXX" : "/tmp/dravik-fuzz-XXXXXX") {
        require(mkdtemp(name.data()) != nullptr && mkdir((name + "/proc").c_str(), 0700) == 0, "a folder");
    }
    ~Root() {
        unlink((name + "/proc/diskstats").c_str());
        rmdir((name + "/proc").c_str());
        rmdir(name.c_str());
    }
    Root(const Root &) = delete;
    Root &operator=(const Root &) = delete;

    std::string name;
};

const std::string &root() {
    static const Root made;
    return made.name;
}

void writeFile(const uint8_t *data, size_t size) {
    const int fd = open((root() + "/proc/diskstats").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    require(write(fd, data, size) == static_cast<ssize_t>(size), "writing");
    close(fd);
}

void checkTables(int lines) {
    int used = 0;
    for (int i = 0; i < iodev_nr; i++) {
        const s_hdr_iodev &slot = st_hdr_iodev[i];
        require(memchr(slot.name, '\0', sizeof(slot.name)) != nullptr, "the end of a name");
        require(slot.used <= 1 && slot.status <= SLOT_DEVICE && slot.used == slot.status, "a slot's state");
        used += slot.used != 0 ? 1 : 0;
        for (int earlier = 0; earlier < i && slot.used != 0; earlier++) {
            require(st_hdr_iodev[earlier].used == 0 || strcmp(st_hdr_iodev[earlier].name, slot.name) != 0,
                    "one slot a name");
        }
    }
    require(used <= lines, "no more devices than lines");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    size = std::min<size_t>(size, 100000);
    st_system_root = root().c_str();
    writeFile(data, size);
    const std::string path = root() + "/proc/diskstats";
    int lines = 0;
    {
        LineReader reader(path.c_str());
        std::string_view line;
        while (reader.next(&line)) {
            require(line.size() <= COUNTER_LINE_LENGTH, "the length of a line");
            checkLine(std::string(line));
            lines++;
        }
    }
    if (lines == 0 || lines > 500) {
        return 0;
    }
    salloc_dev_list(1);
    update_dev_list(&dlist_idx, "dm-3", "mpatha");
    io_sys_init();
    require(iodev_nr == lines + 4, "the size of the tables");
    presave_device_list();
    for (int sample = 0; sample < 3; sample++) {
        read_diskstats_stat(sample % 2);
        checkTables(lines);
    }
    io_sys_free();
    sfree_dev_list();
    return 0;
}

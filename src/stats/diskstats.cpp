// Converting and saving the lines of /proc/diskstats.
#include "stats/diskstats.h"

#include <climits>
#include <cstring>
#include <string>

#include "stats/device_list.h"
#include "stats/device_names.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"
#include "stats/sysfs_stat.h"
#include "stats/system_files.h"

namespace {

constexpr int DEVICE_FIELDS = 14;
constexpr int OLD_PARTITION_FIELDS = 7;

// The part of a line that is still to be converted.
struct Rest {
    const char *at;
    const char *end;
};

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

void skipBlanks(Rest *rest) {
    while (rest->at < rest->end && isBlank(*rest->at)) {
        rest->at++;
    }
}

// The number of the digits from `from` to `to`; false when it is out of range.
bool boundedNumber(const char *from, const char *to, unsigned long *number) {
    *number = 0;
    for (; from < to; from++) {
        const auto digit = static_cast<unsigned long>(*from - '0');
        if (*number > (ULONG_MAX - digit) / 10) {
            return false;
        }
        *number = *number * 10 + digit;
    }
    return true;
}

// What scanf's %lu does, sign and all. False when there is no number.
bool scanNumber(Rest *rest, unsigned long *value) {
    constexpr int SAFE_DIGITS = 19; // no number of so many digits is out of range
    skipBlanks(rest);
    bool negative = false;
    if (rest->at < rest->end && (*rest->at == '-' || *rest->at == '+')) {
        negative = *rest->at == '-';
        rest->at++;
    }
    const char *begin = rest->at;
    unsigned long number = 0;
    while (rest->at < rest->end && isDigit(*rest->at)) {
        number = number * 10 + static_cast<unsigned long>(*rest->at - '0');
        rest->at++;
    }
    if (rest->at == begin) {
        return false;
    }
    if (rest->at - begin > SAFE_DIGITS && !boundedNumber(begin, rest->at, &number)) {
        *value = ULONG_MAX;
        return true;
    }
    *value = negative ? 0 - number : number;
    return true;
}

// %u: the lower half of %lu.
bool scanHalf(Rest *rest, unsigned int *value) {
    unsigned long number = 0;
    if (!scanNumber(rest, &number)) {
        return false;
    }
    *value = static_cast<unsigned int>(number);
    return true;
}

bool scanWord(Rest *rest, std::string_view *word) {
    skipBlanks(rest);
    const char *begin = rest->at;
    while (rest->at < rest->end && !isBlank(*rest->at) && *rest->at != '\0') {
        rest->at++;
    }
    *word = {begin, static_cast<size_t>(rest->at - begin)};
    return !word->empty();
}

s_iodev deviceCounters(const DiskstatsFields &fields) {
    s_iodev counters = {};
    counters.read_ios = fields.counts[0];
    counters.read_merges = fields.counts[1];
    counters.read_sectors = fields.counts[2];
    counters.read_ms = static_cast<uint32_t>(fields.counts[3]);
    counters.write_ios = fields.counts[4];
    counters.write_merges = fields.counts[5];
    counters.write_sectors = fields.counts[6];
    counters.write_ms = fields.more[0];
    counters.ios_in_progress = fields.more[1];
    counters.io_ms = fields.more[2];
    counters.weighted_io_ms = fields.more[3];
    return counters;
}

s_iodev oldPartitionCounters(const DiskstatsFields &fields) {
    s_iodev counters = {};
    counters.read_ios = fields.counts[0];
    counters.read_sectors = fields.counts[1];
    counters.write_ios = fields.counts[2];
    counters.write_sectors = fields.counts[3];
    return counters;
}

// Whether a line of so many fields is for this reading; fills its counters.
bool takeLine(int count, const DiskstatsFields &fields, s_iodev *counters) {
    const bool whole_devices_only = dlist_idx == 0 && !st_settings.partitions;
    if (count == DEVICE_FIELDS) {
        if (whole_devices_only && !is_whole_device(std::string(fields.name).c_str())) {
            return false;
        }
        *counters = deviceCounters(fields);
        return true;
    }
    if (count != OLD_PARTITION_FIELDS || st_settings.extended_layout || whole_devices_only) {
        return false;
    }
    *counters = oldPartitionCounters(fields);
    return true;
}

// The name under which the device is kept: the naming tables' where they know it better.
std::string_view shownName(const DiskstatsFields &fields) {
    const char *table_name = device_table_name(fields.major, fields.minor);
    if (table_name != nullptr && fields.name != table_name && strcmp(table_name, "nodev") != 0) {
        return table_name;
    }
    const char *mapper_name =
        st_settings.device_mapper_names ? device_mapper_name(fields.major, fields.minor) : nullptr;
    return mapper_name != nullptr ? mapper_name : fields.name;
}

} // namespace

int parse_diskstats_line(std::string_view line, DiskstatsFields *out_fields) {
    Rest rest = {line.data(), line.data() + line.size()};
    if (!scanHalf(&rest, &out_fields->major)) {
        return 0;
    }
    if (!scanHalf(&rest, &out_fields->minor)) {
        return 1;
    }
    if (!scanWord(&rest, &out_fields->name)) {
        return 2;
    }
    int converted = 3;
    for (unsigned long &count : out_fields->counts) {
        if (!scanNumber(&rest, &count)) {
            return converted;
        }
        converted++;
    }
    for (unsigned int &count : out_fields->more) {
        if (!scanHalf(&rest, &count)) {
            return converted;
        }
        converted++;
    }
    return converted;
}

void read_diskstats_stat(int slot_of_sample) {
    char path[SYSTEM_PATH_SIZE];
    systemPath(path, DISKSTATS_FILE);
    LineReader reader(path);
    beginReading(slot_of_sample);
    std::string_view line;
    DiskstatsFields fields = {};
    s_iodev counters = {};
    while (reader.next(&line)) {
        const int count = parse_diskstats_line(line, &fields);
        if (takeLine(count, fields, &counters)) {
            saveReading(shownName(fields), &counters);
        }
    }
    endReading();
}

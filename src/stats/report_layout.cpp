// Rows and headers, byte for byte.
#include "stats/report_layout.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "common/text.h"
#include "stats/cpu_stat.h"
#include "stats/device_names.h"
#include "stats/rates.h"
#include "stats/stat_settings.h"

namespace {

constexpr int NARROW_WIDTH = 13; // names up to this length share one fixed layout
constexpr int NARROW_BANNER = 96;
constexpr size_t NUMBER_LINE_SIZE = 256; // six percentages, each of at most 25 digits
constexpr char TITLE[] = "I/O Performance Information";

constexpr char GROUPS[] = "IOPS                         KB/S                        ResponseTime(ms)\n";
constexpr char REQUEST_COLUMNS[] = "|Total     Read    Write";
// The same text for every unit.
constexpr char REMAINING_COLUMNS[] = "     |Total      Read     Write  |Total    Read   Write\n";

// "%*s" with an empty text.
size_t blanks(int count) {
    return static_cast<size_t>(std::max(count, 0));
}

const char *slotName(const s_hdr_iodev *header) {
    const char *persistent =
        st_settings.persistent_names ? get_pretty_name_from_persistent(header->name) : nullptr;
    return persistent != nullptr ? persistent : header->name;
}

// The name on its own line, the numbers indented below it.
void addNameLine(ReportText *text, const char *name) {
    text->add(name);
    text->add("\n");
    text->repeat(NARROW_WIDTH, ' ');
}

void addExtendedHeader(ReportText *text, int *unit_divisor, int width) {
    text->add("Device");
    if (width <= NARROW_WIDTH) {
        text->add("           ");
        text->add(GROUPS);
        text->add("                 ");
    } else {
        text->repeat(blanks(width - 2), ' ');
        text->add(GROUPS);
        text->repeat(4 + blanks(width), ' ');
    }
    text->add(REQUEST_COLUMNS);
    text->add(REMAINING_COLUMNS);
    *unit_divisor = st_settings.megabytes   ? UNIT_MEGABYTES
                    : st_settings.kilobytes ? UNIT_KILOBYTES
                                            : UNIT_SECTORS;
}

void addSimpleHeader(ReportText *text, int *unit_divisor) {
    text->add("Device:            tps");
    if (st_settings.kilobytes) {
        *unit_divisor = UNIT_KILOBYTES;
        text->add("    kB_read/s    kB_wrtn/s    kB_read    kB_wrtn\n");
    } else if (st_settings.megabytes) {
        *unit_divisor = UNIT_MEGABYTES;
        text->add("    MB_read/s    MB_wrtn/s    MB_read    MB_wrtn\n");
    } else {
        *unit_divisor = UNIT_SECTORS;
        text->add("   Blk_read/s   Blk_wrtn/s   Blk_read   Blk_wrtn\n");
    }
}

} // namespace

void print_char(int count, char c) {
    ReportText text;
    text.repeat(blanks(count), c);
    text.add("\n");
}

void write_banner(int width) {
    const bool narrow = width <= NARROW_WIDTH;
    const size_t columns = blanks(narrow ? NARROW_BANNER : width + 83);
    ReportText text;
    text.repeat(columns, '=');
    text.add("\n");
    if (narrow) {
        text.repeat(35, ' ');
        text.addPadded(TITLE, NARROW_BANNER - 35);
    } else {
        text.repeat(blanks((width + 56) / 2), ' ');
        text.add(TITLE);
    }
    text.add("\n");
    text.repeat(columns, '=');
    text.add("\n");
}

void addHeader(ReportText *text, int *unit_divisor, int width) {
    if (st_settings.extended_layout) {
        addExtendedHeader(text, unit_divisor, width);
    } else {
        addSimpleHeader(text, unit_divisor);
    }
}

void addExtendedRow(ReportText *text, unsigned long long interval_ticks, int unit_divisor,
                    const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous, int width,
                    const char *alias) {
    const char *name = slotName(header);
    if (st_settings.human_readable) {
        addNameLine(text, name);
    } else {
        text->addPadded(find_str(name, "dm-") != nullptr ? alias : name,
                        blanks(std::max(width, NARROW_WIDTH)));
    }
    const dravik::DeviceRates rates = dravik::deviceRates(*current, *previous, interval_ticks, unit_divisor);
    text->addNumber(9, rates.requests.total);
    text->addNumber(8, rates.requests.read);
    text->addNumber(8, rates.requests.write);
    text->addNumber(10, rates.throughput.total);
    text->addNumber(9, rates.throughput.read);
    text->addNumber(9, rates.throughput.write);
    text->addNumber(7, rates.response_ms.total);
    text->addNumber(7, rates.response_ms.read);
    text->addNumber(7, rates.response_ms.write);
    text->add(" \n");
}

void addBasicRow(ReportText *text, unsigned long long interval_ticks, int unit_divisor,
                 const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous) {
    const char *name = slotName(header);
    if (st_settings.human_readable) {
        addNameLine(text, name);
    } else {
        text->addPadded(name, NARROW_WIDTH);
    }
    const auto divisor = static_cast<uint64_t>(unit_divisor);
    text->addNumber(8, requestRate(previous->read_ios + previous->write_ios,
                                   current->read_ios + current->write_ios, interval_ticks));
    text->addNumber(12,
                    ll_s_value(previous->read_sectors, current->read_sectors, interval_ticks) / unit_divisor);
    text->addNumber(12, ll_s_value(previous->write_sectors, current->write_sectors, interval_ticks) /
                            unit_divisor);
    char totals[64];
    snprintf(totals, sizeof(totals), " %10llu %10llu\n",
             static_cast<unsigned long long>(
                 counterDifference(previous->read_sectors, current->read_sectors) / divisor),
             static_cast<unsigned long long>(
                 counterDifference(previous->write_sectors, current->write_sectors) / divisor));
    text->add(totals);
}

void addCpuSection(ReportText *text, int slot_of_sample, unsigned long long interval_ticks) {
    const s_cpu *now = st_cpu[slot_of_sample];
    const s_cpu *before = st_cpu[1 - slot_of_sample];
    const auto share = [&](uint64_t earlier, uint64_t later) {
        return ll_sp_value(earlier, later, interval_ticks);
    };
    char line[NUMBER_LINE_SIZE];
    snprintf(line, sizeof(line), "         %6.2f  %6.2f  %6.2f  %6.2f  %6.2f  %6.2f\n\n",
             share(before->user, now->user), share(before->nice, now->nice),
             share(before->system + before->hard_interrupt + before->soft_interrupt,
                   now->system + now->hard_interrupt + now->soft_interrupt),
             share(before->iowait, now->iowait), share(before->steal, now->steal),
             // An idle processor's clock may go back a little.
             now->idle < before->idle ? 0.0 : share(before->idle, now->idle));
    text->add("avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n");
    text->add(line);
}

void write_disk_stat_header(int *unit_divisor, int width) {
    ReportText text;
    addHeader(&text, unit_divisor, width);
}

void write_ext_stat(int /*slot_of_sample*/, unsigned long long interval_ticks, int unit_divisor,
                    const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous, int width,
                    const char *alias) {
    ReportText text;
    addExtendedRow(&text, interval_ticks, unit_divisor, header, current, previous, width, alias);
}

void write_basic_stat(int /*slot_of_sample*/, unsigned long long interval_ticks, int unit_divisor,
                      const s_hdr_iodev *header, const s_iodev *current, const s_iodev *previous) {
    ReportText text;
    addBasicRow(&text, interval_ticks, unit_divisor, header, current, previous);
}

void write_cpu_stat(int slot_of_sample, unsigned long long interval_ticks) {
    ReportText text;
    addCpuSection(&text, slot_of_sample, interval_ticks);
}

// Describing what the devices do.
#include "commands/devstats_json.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "commands/devstats.h"
#include "commands/result_json.h"
#include "common/exit_status.h"
#include "stats/cpu_stat.h"
#include "stats/device_list.h"
#include "stats/rates.h"
#include "stats/report_layout.h"
#include "stats/report_slots.h"
#include "stats/sample_tables.h"
#include "stats/stat_settings.h"

namespace dravik {

namespace {

constexpr int DECIMALS = 3;

Json ratesJson(const ReadWriteRates &rates) {
    Json json = Json::object();
    json.set("total", Json::decimal(rates.total, DECIMALS))
        .set("read", Json::decimal(rates.read, DECIMALS))
        .set("write", Json::decimal(rates.write, DECIMALS));
    return json;
}

// Without a request there is no time that one took.
Json responseJson(const ReadWriteRates &times, const ReadWriteRates &requests) {
    const auto timeOf = [](double time, double count) {
        return count == 0 ? Json::null() : Json::decimal(time, DECIMALS);
    };
    Json json = Json::object();
    json.set("total", timeOf(times.total, requests.total))
        .set("read", timeOf(times.read, requests.read))
        .set("write", timeOf(times.write, requests.write));
    return json;
}

// The report of one sample on its way into a document.
class Report {
  public:
    explicit Report(int slot_of_sample)
        : slots(slot_of_sample), sample(slot_of_sample), ticks(intervalTicks(slot_of_sample)) {}

    double seconds() const {
        return static_cast<double>(ticks) / hz;
    }
    Json devices() const;

  private:
    Json entry(const s_dev_list &device, const char *name) const;
    Json paths(int *place) const;

    ReportSlots slots;
    int sample;
    unsigned long long ticks;
};

// Whether the entry is a map, which its paths follow.
bool isMap(const s_dev_list &entry) {
    return std::string_view(entry.name).find("dm-") != std::string_view::npos;
}

Json Report::entry(const s_dev_list &device, const char *name) const {
    Json json = Json::object();
    json.set("name", name);
    const int slot = slots.find(device.name);
    if (slot < 0) {
        json.set("iops", Json::null()).set("kib_per_s", Json::null()).set("response_ms", Json::null());
        return json;
    }
    const DeviceRates rates =
        deviceRates(st_iodev[sample][slot], st_iodev[1 - sample][slot], ticks, UNIT_KILOBYTES);
    json.set("iops", ratesJson(rates.requests))
        .set("kib_per_s", ratesJson(rates.throughput))
        .set("response_ms", responseJson(rates.response_ms, rates.requests));
    return json;
}

// The paths from the place behind `*place` on, which becomes that of the last of them.
Json Report::paths(int *place) const {
    Json json = Json::array();
    while (*place + 1 < dlist_idx && !isMap(st_dev_list[*place + 1])) {
        const s_dev_list &path = st_dev_list[++*place];
        if (path.name[0] != '\0') { // the list ends with the group without a name
            json.add(entry(path, path.name));
        }
    }
    return json;
}

Json Report::devices() const {
    Json json = Json::array();
    for (int place = 0; place < dlist_idx; ++place) {
        const s_dev_list &device = st_dev_list[place];
        if (isMap(device)) {
            Json described = entry(device, device.alias);
            described.set("paths", paths(&place));
            json.add(std::move(described));
        }
    }
    return json;
}

void printReport(int slot_of_sample) {
    Json document = beginDocument("devstats");
    describeReport(slot_of_sample, &document);
    document.set("result", recordJson(&EC_info_ok));
    const std::string line = document.line() + "\n";
    if (fputs(line.c_str(), stdout) == EOF) {
        perror("stdout");
        exit(EXIT_NO_OUTPUT);
    }
}

// Ctrl+C comes only while the loop waits (stats/sampling.h). A line of its own would be no document.
void endStream(int /*signal_number*/) {
    exit(EXIT_DONE);
}

// Before the first sample, behind the engine's own handler.
void endQuietlyAtInterrupt() {
    struct sigaction action = {};
    action.sa_handler = endStream;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

} // namespace

void describeReport(int slot_of_sample, Json *document) {
    const Report report(slot_of_sample);
    document->set("interval_s", Json::decimal(report.seconds(), DECIMALS)).set("devices", report.devices());
}

void streamDevStats(unsigned int seconds) {
    st_settings.unfiltered = true; // a device that has done nothing since boot has rates, too
    sampleDevStatsInto(seconds, {endQuietlyAtInterrupt, printReport});
}

} // namespace dravik

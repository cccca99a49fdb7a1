// The families byte by byte, from views that a test has put together.
#include "commands/metric_families.h"

#include <algorithm>

#include "commands/version.h"
#include "ledger/event_kinds.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

class MetricFamilies : public LedgerOnHost {
  protected:
    MetricFamilies() {
        view.now = NOW;
        view.observation = {Quality::GOOD, "", NOW - 4200, 12, 31, 0, 0, "boot-1", NOW - 4200};
    }
    static KnownPath path(const std::string &name, const std::string &initiator, const std::string &port) {
        KnownPath path;
        path.key = {initiator, port, "1", 0};
        path.attributes.name = name;
        path.attributes.transport = "fc";
        path.attributes.checker_state = "ready";
        path.working = true;
        return path;
    }
    KnownVolume &add(const std::string &alias, const std::vector<KnownPath> &paths) {
        KnownVolume volume;
        volume.wwid = "36" + alias;
        volume.attributes = {alias, "dm-3", "KORVEL", "QVX", "10G", 0, "fc"};
        volume.paths = paths;
        for (const KnownPath &each : paths) {
            volume.baseline.push_back({each.key, each.attributes.name});
        }
        view.volumes.push_back(volume);
        return view.volumes.back();
    }
    std::string all(PathFamilies paths = PathFamilies::WITH) const {
        return metricFamilies(view, counts, VdiskNames(), paths);
    }
    // The samples of one family, without HELP and TYPE.
    std::string family(const std::string &name) const {
        std::string found;
        const std::string text = all();
        for (size_t at = 0; at < text.size();) {
            const size_t end = text.find('\n', at) + 1;
            const std::string line = text.substr(at, end - at);
            if (line.compare(0, name.size() + 1, name + "{") == 0 ||
                line.compare(0, name.size() + 1, name + " ") == 0) {
                found += line;
            }
            at = end;
        }
        return found;
    }
    static std::string head(const std::string &name, const std::string &type, const std::string &help) {
        return "# HELP " + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
    }

    LedgerView view;
    LedgerCounts counts;
};

const std::string V = R"(volume="fine",wwid="36fine")";
const std::string B = V + R"(,path="sdb",initiator="i1",target_port="p1",transport="fc")";
const std::string C = V + R"(,path="sdc",initiator="i2",target_port="p2",transport="fc")";

long countOf(const std::string &text, const std::string &word) {
    long count = 0;
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

std::string eventCounts() {
    std::string text = "# HELP dravik_events_total Events since the ledger was begun, by their kind.\n"
                       "# TYPE dravik_events_total counter\n";
    for (const std::string kind : EVENT_KINDS) {
        text += "dravik_events_total{kind=\"" + kind + "\"} " + (kind == "path_gone" ? "7" : "0") + "\n";
    }
    return text;
}

} // namespace

TEST_F(MetricFamilies, OfAnEmptyLedgerAreTheVersionTheQualityNeverAndTheCounts) {
    view.observation = {};
    counts.events = {{"path_gone", 7}};
    EXPECT_EQ(all(),
              head("dravik_build_info", "gauge", "The version of Dravik that wrote this; always 1.") +
                  "dravik_build_info{version=\"" + DRAVIK_VERSION + "\"} 1\n" +
                  head("dravik_observation_quality", "gauge",
                       "1 for the quality of the last observation, 0 for the others.") +
                  "dravik_observation_quality{quality=\"good\"} 0\n"
                  "dravik_observation_quality{quality=\"doubtful\"} 0\n"
                  "dravik_observation_quality{quality=\"failed\"} 0\n"
                  "dravik_observation_quality{quality=\"never\"} 1\n" +
                  head("dravik_observations_total", "counter",
                       "Observations since the ledger was begun, by their quality.") +
                  "dravik_observations_total{quality=\"good\"} 0\n"
                  "dravik_observations_total{quality=\"doubtful\"} 0\n"
                  "dravik_observations_total{quality=\"failed\"} 0\n" +
                  head("dravik_volumes", "gauge", "Volumes by their state, as \"dravik check\" judges it.") +
                  "dravik_volumes{state=\"ok\"} 0\n"
                  "dravik_volumes{state=\"degraded\"} 0\n"
                  "dravik_volumes{state=\"last_path\"} 0\n"
                  "dravik_volumes{state=\"none\"} 0\n"
                  "dravik_volumes{state=\"unknown\"} 0\n" +
                  eventCounts());
}

TEST_F(MetricFamilies, ComeInTheirOrderEachWithHelpAndType) {
    KnownVolume &fine = add("fine", {path("sdb", "i1", "p1"), path("sdc", "i2", "p2")});
    fine.attributes.size_bytes = 10737418240;
    fine.paths[0].transitions = 3;
    fine.paths[0].last_failed = NOW - 9000;
    fine.paths[0].last_returned = NOW - 8001;
    host.dumps.write("storage_config.json", R"({"disk": [{"wwid": "36fine", "vdisk_name": "vol_fine"}]})");
    counts.observations[0] = 5;
    counts.observations[2] = 1;
    counts.events = {{"path_gone", 7}};
    counts.operations = {{"delete", 133, 1}, {"setstate", 0, 2}};
    EXPECT_EQ(
        all(),
        head("dravik_build_info", "gauge", "The version of Dravik that wrote this; always 1.") +
            "dravik_build_info{version=\"" + DRAVIK_VERSION + "\"} 1\n" +
            head("dravik_observation_age_seconds", "gauge",
                 "How old the last observation with a topology is, at the time of writing.") +
            "dravik_observation_age_seconds 4.200\n" +
            head("dravik_observation_timestamp_seconds", "gauge",
                 "When the last observation with a topology was made, in seconds since 1970-01-01 UTC.") +
            "dravik_observation_timestamp_seconds 1795230756.847\n" +
            head("dravik_observation_quality", "gauge",
                 "1 for the quality of the last observation, 0 for the others.") +
            "dravik_observation_quality{quality=\"good\"} 1\n"
            "dravik_observation_quality{quality=\"doubtful\"} 0\n"
            "dravik_observation_quality{quality=\"failed\"} 0\n"
            "dravik_observation_quality{quality=\"never\"} 0\n" +
            head("dravik_observation_duration_seconds", "gauge", "How long the last observation took.") +
            "dravik_observation_duration_seconds 0.031\n" +
            head("dravik_tool_duration_seconds", "gauge",
                 "How long the multipath tool took in the last observation.") +
            "dravik_tool_duration_seconds 0.012\n" +
            head("dravik_observations_total", "counter",
                 "Observations since the ledger was begun, by their quality.") +
            "dravik_observations_total{quality=\"good\"} 5\n"
            "dravik_observations_total{quality=\"doubtful\"} 0\n"
            "dravik_observations_total{quality=\"failed\"} 1\n" +
            head("dravik_volumes", "gauge", "Volumes by their state, as \"dravik check\" judges it.") +
            "dravik_volumes{state=\"ok\"} 1\n"
            "dravik_volumes{state=\"degraded\"} 0\n"
            "dravik_volumes{state=\"last_path\"} 0\n"
            "dravik_volumes{state=\"none\"} 0\n"
            "dravik_volumes{state=\"unknown\"} 0\n" +
            head("dravik_volume_info", "gauge", "What the volume is; always 1.") + "dravik_volume_info{" + V +
            ",vdisk_name=\"vol_fine\",vendor=\"KORVEL\",product=\"QVX\",transport=\"fc\"} 1\n" +
            head("dravik_volume_state", "gauge", "1 for the volume's state, 0 for the others.") +
            "dravik_volume_state{" + V + ",state=\"ok\"} 1\n" + "dravik_volume_state{" + V +
            ",state=\"degraded\"} 0\n" + "dravik_volume_state{" + V + ",state=\"last_path\"} 0\n" +
            "dravik_volume_state{" + V + ",state=\"none\"} 0\n" + "dravik_volume_state{" + V +
            ",state=\"unknown\"} 0\n" +
            head("dravik_volume_paths", "gauge",
                 "Paths of the volume that are known, missing ones included.") +
            "dravik_volume_paths{" + V + "} 2\n" +
            head("dravik_volume_paths_working", "gauge", "Paths of the volume that work.") +
            "dravik_volume_paths_working{" + V + "} 2\n" +
            head("dravik_volume_size_bytes", "gauge", "Size of the volume, by the kernel's map.") +
            "dravik_volume_size_bytes{" + V + "} 10737418240\n" +
            head("dravik_volume_survives", "gauge",
                 "1 where the volume keeps a working path after the loss of any one of these.") +
            "dravik_volume_survives{" + V + ",loss=\"path\"} 1\n" + "dravik_volume_survives{" + V +
            ",loss=\"initiator\"} 1\n" + "dravik_volume_survives{" + V + ",loss=\"target_port\"} 1\n" +
            head("dravik_path_working", "gauge", "1 where the path works.") + "dravik_path_working{" + B +
            "} 1\n" + "dravik_path_working{" + C + "} 1\n" +
            head("dravik_path_flapping", "gauge", "1 while the path fails again and again.") +
            "dravik_path_flapping{" + B + "} 0\n" + "dravik_path_flapping{" + C + "} 0\n" +
            head("dravik_path_checker_state", "gauge",
                 "The path checker's present state of the path; always 1.") +
            "dravik_path_checker_state{" + B + ",state=\"ready\"} 1\n" + "dravik_path_checker_state{" + C +
            ",state=\"ready\"} 1\n" +
            head("dravik_path_transitions_total", "counter", "How often the path has failed or returned.") +
            "dravik_path_transitions_total{" + B + "} 3\n" + "dravik_path_transitions_total{" + C + "} 0\n" +
            head("dravik_path_last_failure_timestamp_seconds", "gauge",
                 "When the path failed last, in seconds since 1970-01-01 UTC.") +
            "dravik_path_last_failure_timestamp_seconds{" + B + "} 1795230752.047\n" +
            head("dravik_path_last_return_timestamp_seconds", "gauge",
                 "When the path returned last, in seconds since 1970-01-01 UTC.") +
            "dravik_path_last_return_timestamp_seconds{" + B + "} 1795230753.046\n" + eventCounts() +
            head("dravik_operations_total", "counter",
                 "Commands that were run to change something, by their name and the code of their result.") +
            "dravik_operations_total{command=\"delete\",code=\"133\"} 1\n"
            "dravik_operations_total{command=\"setstate\",code=\"0\"} 2\n");
}

TEST_F(MetricFamilies, TheStateIsThatOfTheVerdict) {
    add("fine", {path("sdb", "i1", "p1"), path("sdc", "i2", "p2")});
    add("worn", {path("sdd", "i1", "p1"), path("sde", "i2", "p2"), path("sdf", "i1", "p2")})
        .paths[0]
        .working = false;
    add("thin", {path("sdg", "i1", "p1"), path("sdh", "i2", "p2")}).paths[0].working = false;
    KnownVolume &dead = add("dead", {path("sdi", "i1", "p1")});
    dead.paths[0].working = false;
    KnownVolume &lost = add("lost", {path("sdj", "i1", "p1"), path("sdk", "i2", "p2")});
    lost.presence = Presence::UNSEEN;
    lost.unseen_since = NOW - 60001;
    EXPECT_EQ(family("dravik_volumes"), "dravik_volumes{state=\"ok\"} 1\n"
                                        "dravik_volumes{state=\"degraded\"} 1\n"
                                        "dravik_volumes{state=\"last_path\"} 1\n"
                                        "dravik_volumes{state=\"none\"} 1\n"
                                        "dravik_volumes{state=\"unknown\"} 1\n");
    EXPECT_EQ(family("dravik_volume_paths_working"),
              "dravik_volume_paths_working{volume=\"fine\",wwid=\"36fine\"} 2\n"
              "dravik_volume_paths_working{volume=\"worn\",wwid=\"36worn\"} 2\n"
              "dravik_volume_paths_working{volume=\"thin\",wwid=\"36thin\"} 1\n"
              "dravik_volume_paths_working{volume=\"dead\",wwid=\"36dead\"} 0\n"
              "dravik_volume_paths_working{volume=\"lost\",wwid=\"36lost\"} 2\n");
}

TEST_F(MetricFamilies, AStaleLedgerMakesEveryVolumeUnknownAndItsAgeTellsWhy) {
    add("fine", {path("sdb", "i1", "p1")});
    view.observation.seen = NOW - 60001;
    view.observation.quality = Quality::FAILED;
    EXPECT_EQ(family("dravik_volume_state"), "dravik_volume_state{" + V + ",state=\"ok\"} 0\n" +
                                                 "dravik_volume_state{" + V + ",state=\"degraded\"} 0\n" +
                                                 "dravik_volume_state{" + V + ",state=\"last_path\"} 0\n" +
                                                 "dravik_volume_state{" + V + ",state=\"none\"} 0\n" +
                                                 "dravik_volume_state{" + V + ",state=\"unknown\"} 1\n");
    EXPECT_EQ(family("dravik_observation_age_seconds"), "dravik_observation_age_seconds 60.001\n");
    EXPECT_EQ(family("dravik_observation_timestamp_seconds"),
              "dravik_observation_timestamp_seconds 1795230701.046\n");
    EXPECT_EQ(family("dravik_observation_quality"), "dravik_observation_quality{quality=\"good\"} 0\n"
                                                    "dravik_observation_quality{quality=\"doubtful\"} 0\n"
                                                    "dravik_observation_quality{quality=\"failed\"} 1\n"
                                                    "dravik_observation_quality{quality=\"never\"} 0\n");
}

TEST_F(MetricFamilies, AnAgeIsNeverNegative) {
    view.observation.seen = NOW + 1;
    EXPECT_EQ(family("dravik_observation_age_seconds"), "dravik_observation_age_seconds 0.000\n");
}

TEST_F(MetricFamilies, ThatHaveOnlyFailedHaveDurationsAndNoAge) {
    view.observation = {Quality::FAILED, "why", NOW, 12, 31, 0, 0, "boot-1", 0};
    EXPECT_EQ(family("dravik_observation_age_seconds"), "");
    EXPECT_EQ(family("dravik_observation_timestamp_seconds"), "");
    EXPECT_EQ(family("dravik_observation_duration_seconds"), "dravik_observation_duration_seconds 0.031\n");
}

TEST_F(MetricFamilies, AMissingPathDoesNotWorkAndHasNoCheckerStateAndNeitherHasOneThatWasNotChecked) {
    KnownVolume &fine = add("fine", {path("sdb", "i1", "p1"), path("sdc", "i2", "p2")});
    fine.paths[0].presence = Presence::MISSING;
    fine.paths[1].attributes.checker_state = "";
    fine.paths[1].flapping = true;
    EXPECT_EQ(family("dravik_path_working"),
              "dravik_path_working{" + B + "} 0\n" + "dravik_path_working{" + C + "} 1\n");
    EXPECT_EQ(family("dravik_path_checker_state"), "");
    EXPECT_EQ(family("dravik_path_flapping"),
              "dravik_path_flapping{" + B + "} 0\n" + "dravik_path_flapping{" + C + "} 1\n");
    EXPECT_EQ(family("dravik_volume_paths"), "dravik_volume_paths{" + V + "} 2\n");
}

TEST_F(MetricFamilies, NoSeriesComesTwiceWhatIsPresentComesBeforeWhatIsMissing) {
    KnownVolume &fine = add("fine", {path("sdb", "i1", "p1"), path("sdc", "i2", "p2"),
                                     path("sdb", "i1", "p1"), path("sdc", "i2", "p2")});
    fine.paths[0].presence = Presence::MISSING; // as a LUN that was renumbered leaves it
    fine.paths[2].transitions = 9;
    fine.paths[3].transitions = 5;
    EXPECT_EQ(family("dravik_path_transitions_total"), "dravik_path_transitions_total{" + C + "} 0\n" +
                                                           "dravik_path_transitions_total{" + B + "} 9\n");
    EXPECT_EQ(family("dravik_volume_paths"), "dravik_volume_paths{" + V + "} 4\n");
    // Two names that become one where their bytes are no UTF-8.
    view.volumes.clear();
    add("\xfe", {path("sdb", "i1", "p1")});
    add("\xff", {});
    view.volumes[0].wwid = view.volumes[1].wwid = "36";
    EXPECT_EQ(family("dravik_volume_paths"), "dravik_volume_paths{volume=\"\xef\xbf\xbd\",wwid=\"36\"} 1\n");
    EXPECT_EQ(family("dravik_volumes"), "dravik_volumes{state=\"ok\"} 1\n"
                                        "dravik_volumes{state=\"degraded\"} 0\n"
                                        "dravik_volumes{state=\"last_path\"} 0\n"
                                        "dravik_volumes{state=\"none\"} 1\n"
                                        "dravik_volumes{state=\"unknown\"} 0\n");
}

TEST_F(MetricFamilies, HostileNamesStayWithinTheirLabels) {
    add("a\"b\\c\nd\x1b", {}).wwid = "36x";
    EXPECT_EQ(family("dravik_volume_paths"),
              "dravik_volume_paths{volume=\"a\\\"b\\\\c\\nd\\\\x1b\",wwid=\"36x\"} 0\n");
}

// What the help says: 39 samples in all, at most 12 a volume and 6 a path, and one an operation's result.
TEST_F(MetricFamilies, AreAsManySamplesAsIsSaid) {
    for (int i = 0; i < 11; ++i) {
        add("v" + std::to_string(i),
            {path("sdb", "i1", "p1"), path("sdc", "i2", "p2"), path("sdd", "i1", "p2")})
            .attributes.size_bytes = 1;
    }
    for (KnownVolume &volume : view.volumes) {
        for (KnownPath &each : volume.paths) {
            each.last_failed = each.last_returned = 1;
        }
    }
    counts.operations = {{"scan", 0, 1}, {"scan", 1, 1}};
    const auto samples = [](const std::string &text) {
        return std::count(text.begin(), text.end(), '\n') - 2 * countOf(text, "# TYPE ");
    };
    EXPECT_EQ(samples(all()), 39 + 11 * 12 + 33 * 6 + 2);
    EXPECT_EQ(samples(all(PathFamilies::WITHOUT)), 39 + 11 * 12 + 2);
}

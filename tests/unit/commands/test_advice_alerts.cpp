// The advice on alerts. (That each alert of the rules has its own: tests/host/explain_texts.bats.)
#include "commands/advice_alerts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace dravik;

TEST(AdviceAlerts, TheAlertsAreTheseInTheOrderOfTheRules) {
    std::vector<std::string> entries;
    for (const Advice &advice : alertAdvice()) {
        entries.emplace_back(advice.keys);
    }
    const std::vector<std::string> alerts = {
        "DravikObservationStale",  "DravikObservationFailing", "DravikMetricsMissing",
        "DravikMonitorRestarting", "DravikVolumeWithoutPaths", "DravikVolumeOnLastPath",
        "DravikVolumeDegraded",    "DravikVolumeGone",         "DravikPathFlapping",
        "DravikTargetPortDown",    "DravikInitiatorDown",      "DravikPathsUneven"};
    EXPECT_EQ(entries, alerts);
}

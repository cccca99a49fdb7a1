// Which events of one observation belong together.
#include "ledger/incidents.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/seeded_random.h"

using namespace dravik;

namespace {

using Numbers = std::vector<int64_t>;

Event ofPath(const std::string &wwid, const std::string &initiator, const std::string &port) {
    Event event;
    event.wwid = wwid;
    event.has_path = true;
    event.initiator = initiator;
    event.target_port = port;
    return event;
}

Event ofVolume(const std::string &wwid) {
    Event event;
    event.wwid = wwid;
    return event;
}

Numbers incidents(std::vector<Event> events, int64_t first = 1) {
    numberIncidents(&events, first);
    Numbers numbers;
    for (const Event &event : events) {
        numbers.push_back(event.incident);
    }
    return numbers;
}

} // namespace

TEST(Incidents, ChangesThatShareAVolumeATargetPortOrAnInitiatorAreOne) {
    EXPECT_EQ(incidents({ofVolume("a"), ofVolume("a")}), (Numbers{1, 1}));
    EXPECT_EQ(incidents({ofPath("a", "i", "p"), ofPath("b", "j", "p")}), (Numbers{1, 1}));
    EXPECT_EQ(incidents({ofPath("a", "i", "p"), ofPath("b", "i", "q")}), (Numbers{1, 1}));
}

TEST(Incidents, ChangesThatShareNothingAreSeveral) {
    EXPECT_EQ(incidents({ofPath("a", "i", "p"), ofPath("b", "j", "q"), ofVolume("c")}), (Numbers{1, 2, 3}));
}

TEST(Incidents, AreNumberedInTheOrderOfTheirFirstEventsFromTheNextFreeNumberOn) {
    std::vector<Event> events = {ofVolume("b"), ofVolume("a"), ofVolume("b"), ofVolume("c"), ofVolume("a")};
    EXPECT_EQ(numberIncidents(&events, 77), 80);
    EXPECT_EQ(incidents(events, 77), (Numbers{77, 78, 77, 79, 78}));
    std::vector<Event> none;
    EXPECT_EQ(numberIncidents(&none, 77), 77);
}

TEST(Incidents, WhatALaterEventJoinsBelongsTogetherFromTheStart) {
    EXPECT_EQ(incidents({ofPath("a", "i", "p"), ofPath("b", "j", "q"), ofPath("b", "k", "p")}),
              (Numbers{1, 1, 1}));
}

TEST(Incidents, WhatIsUnknownIsNotShared) {
    EXPECT_EQ(incidents({ofPath("a", "", ""), ofPath("b", "", "")}), (Numbers{1, 2}));
    EXPECT_EQ(incidents({ofVolume(""), ofVolume("")}), (Numbers{1, 2}));
}

TEST(Incidents, APortAndAnInitiatorOfOneNameAreTwoThings) {
    EXPECT_EQ(incidents({ofPath("a", "x", "p"), ofPath("b", "i", "x")}), (Numbers{1, 2}));
    EXPECT_EQ(incidents({ofVolume("x"), ofPath("b", "i", "x"), ofPath("c", "x", "q")}), (Numbers{1, 2, 3}));
}

TEST(Incidents, APortThatTakes32PathsAlongIsOneIncidentOf32Events) {
    std::vector<Event> events;
    for (int i = 0; i < 32; ++i) {
        events.push_back(ofPath("v" + std::to_string(i), "i" + std::to_string(i), "0x20d0000b5d6a1010"));
    }
    EXPECT_EQ(incidents(events), Numbers(32, 1));
}

TEST(Incidents, OfAnyEventsAreWhatWalkingFromEachToAllItSharesWithFinds) {
    std::mt19937 random = seededRandom(7);
    for (int round = 0; round < 5000; ++round) {
        std::vector<Event> events(random() % 12);
        for (Event &event : events) {
            const auto word = [&random](const char *kind) {
                const unsigned long which = random() % 7;
                return which == 0 ? "" : kind + std::to_string(which);
            };
            event = random() % 3 == 0 ? ofVolume(word("v")) : ofPath(word("v"), word("i"), word("p"));
        }
        const auto share = [](const std::string &a, const std::string &b) { return !a.empty() && a == b; };
        Numbers expected(events.size(), 0);
        int64_t next = 1;
        for (size_t start = 0; start < events.size(); ++start) {
            std::vector<size_t> waiting;
            if (expected[start] == 0) {
                expected[start] = next++;
                waiting.push_back(start);
            }
            while (!waiting.empty()) {
                const size_t at = waiting.back();
                waiting.pop_back();
                for (size_t other = 0; other < events.size(); ++other) {
                    const bool together = share(events[at].wwid, events[other].wwid) ||
                                          share(events[at].initiator, events[other].initiator) ||
                                          share(events[at].target_port, events[other].target_port);
                    if (together && expected[other] == 0) {
                        expected[other] = expected[at];
                        waiting.push_back(other);
                    }
                }
            }
        }
        ASSERT_EQ(incidents(events), expected);
    }
}

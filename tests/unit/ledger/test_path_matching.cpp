// Which known path a listed one is: each rule in its own words, and any two lists against a slow, obvious search.
#include "ledger/path_matching.h"

#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/seeded_random.h"

using namespace dravik;

namespace {

using Places = std::vector<size_t>;

SeenPath seen(const std::string &name, const std::string &initiator, const std::string &port,
              const std::string &lun = "1", const std::string &address = "1:0:0:1") {
    SeenPath path;
    path.key = {initiator, port, lun, 0};
    path.attributes.name = name;
    path.attributes.address = address;
    return path;
}

KnownPath known(const std::string &name, const std::string &initiator, const std::string &port,
                Presence presence = Presence::PRESENT, const std::string &address = "1:0:0:1") {
    KnownPath path;
    path.key = {initiator, port, "1", 0};
    path.attributes.name = name;
    path.attributes.address = address;
    path.presence = presence;
    return path;
}

} // namespace

TEST(PathMatching, APathIsKnownByInitiatorTargetPortAndLun) {
    EXPECT_EQ(matchPaths({seen("sdb", "i", "p"), seen("sdc", "i", "q")},
                         {known("sdc", "i", "q"), known("sdb", "i", "p")}),
              (Places{1, 0}));
    EXPECT_EQ(matchPaths({seen("sdb", "j", "p"), seen("sdb", "i", "q"), seen("sdb", "i", "p", "2")},
                         {known("sdb", "i", "p")}),
              (Places{NO_PATH, NO_PATH, NO_PATH}));
}

TEST(PathMatching, ItsKernelNameMayChange) {
    EXPECT_EQ(matchPaths({seen("sdz", "i", "p")}, {known("sdb", "i", "p")}), (Places{0}));
    // Two that have swapped their names are still themselves.
    EXPECT_EQ(matchPaths({seen("sdc", "i", "p"), seen("sdb", "i", "q")},
                         {known("sdb", "i", "p"), known("sdc", "i", "q")}),
              (Places{0, 1}));
}

TEST(PathMatching, NothingMatchesNothing) {
    EXPECT_EQ(matchPaths({}, {}), Places());
    EXPECT_EQ(matchPaths({}, {known("sdb", "i", "p")}), Places());
    EXPECT_EQ(matchPaths({seen("sdb", "i", "p")}, {}), (Places{NO_PATH}));
}

TEST(PathMatching, TwinsAreToldApartByTheirKernelNames) {
    EXPECT_EQ(matchPaths({seen("sdc", "i", "p"), seen("sdb", "i", "p")},
                         {known("sdb", "i", "p"), known("sdc", "i", "p")}),
              (Places{1, 0}));
    EXPECT_EQ(matchPaths({seen("sdc", "i", "p")}, {known("sdb", "i", "p"), known("sdc", "i", "p")}),
              (Places{1}));
}

TEST(PathMatching, ATwinThatMovedIsOneOfThoseThatAreLeft) {
    EXPECT_EQ(matchPaths({seen("sdz", "i", "p"), seen("sdb", "i", "p")},
                         {known("sdb", "i", "p"), known("sdc", "i", "p")}),
              (Places{1, 0}));
    EXPECT_EQ(matchPaths({seen("sdz", "i", "p"), seen("sdy", "i", "p"), seen("sdx", "i", "p")},
                         {known("sdb", "i", "p"), known("sdc", "i", "p")}),
              (Places{0, 1, NO_PATH}));
}

TEST(PathMatching, APathThatIsNotMissingGoesBeforeOneThatIs) {
    EXPECT_EQ(matchPaths({seen("sdz", "i", "p")}, {known("sdb", "i", "p", Presence::MISSING),
                                                   known("sdc", "i", "p", Presence::UNSEEN)}),
              (Places{1}));
    EXPECT_EQ(matchPaths({seen("sdz", "i", "p"), seen("sdy", "i", "p")},
                         {known("sdb", "i", "p", Presence::MISSING), known("sdc", "i", "p")}),
              (Places{1, 0}));
    // But its own name goes before that.
    EXPECT_EQ(matchPaths({seen("sdb", "i", "p")},
                         {known("sdb", "i", "p", Presence::MISSING), known("sdc", "i", "p")}),
              (Places{0}));
}

TEST(PathMatching, WhoseTargetPortWasOrIsUnknownIsKnownByNameAndAddress) {
    EXPECT_EQ(matchPaths({seen("sdb", "i", "p")}, {known("sdb", "i", "")}), (Places{0}));
    EXPECT_EQ(matchPaths({seen("sdb", "i", "")}, {known("sdb", "i", "p")}), (Places{0}));
    EXPECT_EQ(matchPaths({seen("sdb", "i", "p")}, {known("sdc", "i", "")}), (Places{NO_PATH}));
    EXPECT_EQ(matchPaths({seen("sdb", "i", "p", "1", "2:0:0:1")}, {known("sdb", "i", "")}),
              (Places{NO_PATH}));
}

TEST(PathMatching, WhoseAdapterHadOrHasNoNameIsKnownByNameAndAddress) {
    EXPECT_EQ(matchPaths({seen("sdb", "0x10000090fa000001", "p")}, {known("sdb", "host1", "p")}),
              (Places{0}));
    EXPECT_EQ(matchPaths({seen("sdb", "host1", "p")}, {known("sdb", "0x10000090fa000001", "p")}),
              (Places{0}));
    EXPECT_EQ(matchPaths({seen("sdb", "0x10000090fa000001", "p")}, {known("sdb", "", "p")}), (Places{0}));
}

TEST(PathMatching, ManyPathsOfOneKeyAreMatchedInTimeThatGrowsWithThem) {
    std::vector<SeenPath> listed;
    std::vector<KnownPath> before;
    Places expected;
    for (int i = 0; i < 40000; ++i) {
        listed.push_back(seen("y" + std::to_string(i), "", "", ""));
        before.push_back(known("x" + std::to_string(i), "", ""));
        before.back().key.lun = "";
        before.back().presence = i % 2 == 0 ? Presence::MISSING : Presence::PRESENT;
    }
    for (size_t i = 0; i < 20000; ++i) {
        expected.push_back(2 * i + 1);
    }
    for (size_t i = 0; i < 20000; ++i) {
        expected.push_back(2 * i);
    }
    EXPECT_EQ(matchPaths(listed, before),
              expected); // 1.6 thousand million comparisons if it were the slow way
}

// ---- against a slow, obvious search

namespace {

bool isIncomplete(const PathKey &key) {
    return key.target_port.empty() || key.initiator.empty() || key.initiator.compare(0, 4, "host") == 0;
}

// Gives each seen path that has none yet the first known path that is free and that `fits`.
template <typename Fits>
void give(const std::vector<SeenPath> &listed, const std::vector<KnownPath> &before, Places *places,
          std::set<size_t> *taken, const Fits &fits) {
    for (size_t i = 0; i < listed.size(); ++i) {
        for (size_t j = 0; j < before.size() && (*places)[i] == NO_PATH; ++j) {
            if (taken->count(j) == 0 && fits(listed[i], before[j])) {
                (*places)[i] = j;
                taken->insert(j);
            }
        }
    }
}

// The same path by path: each seen one may have one that is not missing, then one that is.
template <typename Fits>
void giveInTurn(const std::vector<SeenPath> &listed, const std::vector<KnownPath> &before, Places *places,
                std::set<size_t> *taken, const Fits &fits) {
    for (size_t i = 0; i < listed.size(); ++i) {
        for (const bool missing : {false, true}) {
            for (size_t j = 0; j < before.size() && (*places)[i] == NO_PATH; ++j) {
                if (taken->count(j) == 0 && (before[j].presence == Presence::MISSING) == missing &&
                    fits(listed[i], before[j])) {
                    (*places)[i] = j;
                    taken->insert(j);
                }
            }
        }
    }
}

Places slowMatch(const std::vector<SeenPath> &listed, const std::vector<KnownPath> &before) {
    Places places(listed.size(), NO_PATH);
    std::set<size_t> taken;
    const auto same_key = [](const SeenPath &a, const KnownPath &b) {
        return a.key.initiator == b.key.initiator && a.key.target_port == b.key.target_port &&
               a.key.lun == b.key.lun;
    };
    giveInTurn(listed, before, &places, &taken, [&](const SeenPath &a, const KnownPath &b) {
        return same_key(a, b) && a.attributes.name == b.attributes.name;
    });
    give(listed, before, &places, &taken, [&](const SeenPath &a, const KnownPath &b) {
        return same_key(a, b) && b.presence != Presence::MISSING;
    });
    give(listed, before, &places, &taken, same_key);
    const auto same_device = [](const SeenPath &a, const KnownPath &b) {
        return (isIncomplete(a.key) || isIncomplete(b.key)) && a.attributes.name == b.attributes.name &&
               a.attributes.address == b.attributes.address;
    };
    giveInTurn(listed, before, &places, &taken, same_device);
    return places;
}

std::string anyOf(std::mt19937 *random, const std::vector<std::string> &words) {
    return words[(*random)() % words.size()];
}

} // namespace

TEST(PathMatching, OfAnyTwoListsIsWhatASlowSearchFinds) {
    std::mt19937 random = seededRandom(6);
    const std::vector<std::string> names = {"sdb", "sdc", "sdd", "sde"};
    const std::vector<std::string> initiators = {"i", "j", "host1", ""};
    const std::vector<std::string> ports = {"p", "q", ""};
    const std::vector<std::string> addresses = {"1:0:0:1", "2:0:0:1"};
    for (int round = 0; round < 30000; ++round) {
        std::vector<SeenPath> listed(random() % 6);
        for (SeenPath &path : listed) {
            path = seen(anyOf(&random, names), anyOf(&random, initiators), anyOf(&random, ports), "1",
                        anyOf(&random, addresses));
        }
        std::vector<KnownPath> before(random() % 6);
        for (KnownPath &path : before) {
            path = known(anyOf(&random, names), anyOf(&random, initiators), anyOf(&random, ports),
                         static_cast<Presence>(random() % 3), anyOf(&random, addresses));
        }
        ASSERT_EQ(matchPaths(listed, before), slowMatch(listed, before)) << "round " << round;
    }
}

// ---- keys

TEST(PathMatchingKeys, TheSameKeyHasTheSameInitiatorTargetPortAndLunWhateverItsTwin) {
    EXPECT_TRUE(sameKey({"i", "p", "1", 0}, {"i", "p", "1", 7}));
    EXPECT_FALSE(sameKey({"i", "p", "1", 0}, {"j", "p", "1", 0}));
    EXPECT_FALSE(sameKey({"i", "p", "1", 0}, {"i", "q", "1", 0}));
    EXPECT_FALSE(sameKey({"i", "p", "1", 0}, {"i", "p", "2", 0}));
    EXPECT_FALSE(sameKey({"ip", "", "1", 0}, {"i", "p", "1", 0}));
}

TEST(PathMatchingKeys, ASetOfThemTellsTwinsApart) {
    PathKeySet keys;
    EXPECT_FALSE(keys.has({"i", "p", "1", 0}));
    EXPECT_TRUE(keys.add({"i", "p", "1", 0}));
    EXPECT_FALSE(keys.add({"i", "p", "1", 0}));
    EXPECT_TRUE(keys.has({"i", "p", "1", 0}));
    EXPECT_FALSE(keys.has({"i", "p", "1", 1}));
    EXPECT_TRUE(keys.add({"i", "p", "1", 1}));
    EXPECT_FALSE(keys.has({"i", "p1", "", 0}));
    EXPECT_FALSE(keys.has({"ip", "1", "", 0}));
}

TEST(PathMatchingKeys, AFreeTwinIsOneMoreThanTheLargestThereIs) {
    PathKeySet keys;
    EXPECT_EQ(keys.freeTwin({"i", "p", "1", 0}), 0);
    keys.add({"i", "p", "1", 0});
    EXPECT_EQ(keys.freeTwin({"i", "p", "1", 0}), 1);
    keys.add({"i", "p", "1", 5});
    keys.add({"i", "p", "1", 2});
    EXPECT_EQ(keys.freeTwin({"i", "p", "1", 0}), 6);
    EXPECT_EQ(keys.freeTwin({"i", "q", "1", 0}), 0);
}

// The hash index: the first entry of a key, whatever the hashes are.
#include "common/hash_index.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"
#include "tests/support/seeded_random.h"

using dravik::HashIndex;
using dravik::hashText;
using dravik::NO_PLACE;

namespace {

// A table of names and the index over it. `hash` may make all hashes the same.
class HashIndexTest : public testing::Test {
  protected:
    using Hash = uint32_t (*)(std::string_view);

    uint32_t find(const std::string &name) {
        return index.find(hash(name), [&](uint32_t place) { return same(place, name); });
    }
    // Puts the name into the table and the index; its place.
    uint32_t addFirst(const std::string &name) {
        const uint32_t place = append(name);
        index.addFirst(hash(name), place, [&](uint32_t other) { return same(other, name); });
        return place;
    }
    uint32_t replace(const std::string &name) {
        const uint32_t place = append(name);
        return index.replace(hash(name), place, [&](uint32_t other) { return same(other, name); });
    }

    HashIndex index;
    std::vector<std::string> table;
    Hash hash = hashText;
    int comparisons = 0;

  private:
    uint32_t append(const std::string &name) {
        table.push_back(name);
        return static_cast<uint32_t>(table.size() - 1);
    }
    bool same(uint32_t place, const std::string &name) {
        ++comparisons;
        return table.at(place) == name;
    }
};

uint32_t alwaysTheSame(std::string_view /*text*/) {
    return 63; // the last cell of the smallest index
}

std::string nameOf(unsigned int number) {
    return "sd" + std::to_string(number);
}

} // namespace

// ---- the index

TEST_F(HashIndexTest, AnIndexThatWasNeverResetHasNoKey) {
    EXPECT_EQ(find("sda"), NO_PLACE);
    EXPECT_EQ(find(""), NO_PLACE);
}

TEST_F(HashIndexTest, TheFirstPlaceOfAKeyIsKept) {
    index.reset(4);
    EXPECT_EQ(addFirst("sda"), 0U);
    EXPECT_EQ(addFirst("sdb"), 1U);
    EXPECT_EQ(addFirst("sda"), 2U);
    EXPECT_EQ(addFirst(""), 3U);
    EXPECT_EQ(find("sda"), 0U);
    EXPECT_EQ(find("sdb"), 1U);
    EXPECT_EQ(find(""), 3U);
    EXPECT_EQ(find("sdc"), NO_PLACE);
    EXPECT_EQ(find("sd"), NO_PLACE);
}

TEST_F(HashIndexTest, ReplacingKeepsTheLaterPlaceAndTellsTheOneBefore) {
    index.reset(4);
    EXPECT_EQ(replace("sda"), NO_PLACE);
    EXPECT_EQ(replace("sdb"), NO_PLACE);
    EXPECT_EQ(replace("sda"), 0U);
    EXPECT_EQ(replace("sda"), 2U);
    EXPECT_EQ(find("sda"), 3U);
    EXPECT_EQ(find("sdb"), 1U);
}

TEST_F(HashIndexTest, KeysOfOneHashAreToldApartByTheirEntries) {
    hash = alwaysTheSame;
    constexpr unsigned int COUNT = 32;
    index.reset(COUNT);
    for (unsigned int i = 0; i < COUNT; ++i) {
        EXPECT_EQ(addFirst(nameOf(i)), i);
    }
    for (unsigned int i = 0; i < COUNT; ++i) {
        EXPECT_EQ(find(nameOf(i)), i); // the search goes on at the first cell behind the last
    }
    EXPECT_EQ(find("sdx"), NO_PLACE);
}

TEST_F(HashIndexTest, EntriesOfAnotherHashAreNotLookedAt) {
    index.reset(1000);
    for (unsigned int i = 0; i < 1000; ++i) {
        addFirst(nameOf(i));
    }
    comparisons = 0;
    for (unsigned int i = 0; i < 1000; ++i) {
        EXPECT_EQ(find(nameOf(i)), i);
    }
    EXPECT_EQ(comparisons, 1000); // each with its own entry alone
    for (unsigned int i = 1000; i < 2000; ++i) {
        EXPECT_EQ(find(nameOf(i)), NO_PLACE);
    }
    EXPECT_EQ(comparisons, 1000);
}

TEST_F(HashIndexTest, AResetEmptiesTheIndex) {
    index.reset(4);
    addFirst("sda");
    index.reset(4);
    EXPECT_EQ(find("sda"), NO_PLACE);
    EXPECT_EQ(addFirst("sda"), 1U);
    EXPECT_EQ(find("sda"), 1U);
}

TEST_F(HashIndexTest, OnlyAnIndexThatGrowsTakesMemory) {
    index.reset(1000);
    const long before = allocationCount();
    index.reset(1000);
    index.reset(10);
    index.reset(0);
    index.reset(1000);
    EXPECT_EQ(allocationCount(), before);
    index.reset(100000);
    EXPECT_GT(allocationCount(), before);
}

TEST_F(HashIndexTest, AnswersAreThoseOfAMapOverRandomKeys) {
    std::mt19937 random = seededRandom(23);
    for (int round = 0; round < 200; ++round) {
        // Half of the rounds with hashes of which many are the same.
        hash = round % 2 == 0 ? hashText : [](std::string_view text) { return hashText(text) % 4; };
        const size_t entries = random() % 300;
        const auto variety = static_cast<unsigned int>(1 + random() % 400);
        table.clear();
        index.reset(entries);
        std::map<std::string, uint32_t> expected;
        for (size_t i = 0; i < entries; ++i) {
            const std::string name = nameOf(static_cast<unsigned int>(random() % variety));
            const auto known = expected.find(name);
            if (random() % 2 == 0) {
                const uint32_t place = addFirst(name);
                expected.emplace(name, place);
            } else {
                ASSERT_EQ(replace(name), known == expected.end() ? NO_PLACE : known->second);
                expected[name] = static_cast<uint32_t>(table.size() - 1);
            }
        }
        for (unsigned int i = 0; i < variety; ++i) {
            const auto known = expected.find(nameOf(i));
            ASSERT_EQ(find(nameOf(i)), known == expected.end() ? NO_PLACE : known->second) << nameOf(i);
        }
    }
}

// ---- the hash of a text

TEST(HashIndexText, EqualTextsHaveEqualHashesWhereverTheyLie) {
    for (size_t length = 0; length < 40; ++length) {
        const std::string text(length, 'x');
        const std::string apart = "#" + text + "#";
        EXPECT_EQ(hashText(text), hashText(std::string_view(apart).substr(1, length))) << length;
    }
}

TEST(HashIndexText, EveryByteAndTheLengthCount) {
    const std::string text = "3600b5d60001a2b3c0000000000000001";
    std::set<uint32_t> seen = {hashText(text)};
    for (size_t at = 0; at < text.size(); ++at) {
        std::string other = text;
        other[at] = 'z';
        EXPECT_TRUE(seen.insert(hashText(other)).second) << other;
    }
    EXPECT_TRUE(seen.insert(hashText(text + std::string(1, '\0'))).second);
    EXPECT_TRUE(seen.insert(hashText(text.substr(0, 32))).second);
    EXPECT_NE(hashText(""), hashText(std::string(1, '\0')));
}

TEST(HashIndexText, NamesThatDifferInTheirLastLettersAreSpreadOverTheLowBits) {
    constexpr unsigned int CELLS = 4096;
    for (const std::string prefix : {"sd", "dm-", "3600b5d60001a2b3c000000000000"}) {
        std::set<uint32_t> cells;
        for (unsigned int i = 0; i < CELLS; ++i) {
            cells.insert(hashText(prefix + std::to_string(i)) % CELLS);
        }
        // So many balls at random fill 63 of 100 cells; a hash that the last letters do not reach fills a few.
        EXPECT_GT(cells.size(), CELLS / 4) << prefix;
    }
}

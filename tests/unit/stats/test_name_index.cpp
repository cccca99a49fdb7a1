// Places by name: the answers of a search from the first place on.
#include "stats/name_index.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"
#include "tests/support/seeded_random.h"

namespace {

std::vector<std::string> table;

const char *nameAt(int place) {
    return table.at(static_cast<size_t>(place)).c_str();
}

// The answer of the plainest search.
int linear(const std::string &name, size_t from = 0) {
    for (size_t place = from; place < table.size(); ++place) {
        if (table[place] == name) {
            return static_cast<int>(place);
        }
    }
    return -1;
}

class NameIndexTest : public testing::Test {
  protected:
    // Indexes the whole table from its end.
    void build(const std::vector<std::string> &names) {
        table = names;
        index.clear(static_cast<int>(names.size()));
        for (int place = static_cast<int>(names.size()) - 1; place >= 0; --place) {
            index.addBefore(place);
        }
    }
    std::vector<int> placesOf(const std::string &name) const {
        std::vector<int> places;
        for (int place = index.find(name); place >= 0; place = index.findNext(place)) {
            places.push_back(place);
        }
        return places;
    }

    NameIndex index{nameAt};
};

} // namespace

TEST_F(NameIndexTest, AnIndexThatWasNeverFilledFindsNothing) {
    EXPECT_EQ(index.find("sda"), -1);
    EXPECT_EQ(index.find(""), -1);
}

TEST_F(NameIndexTest, PlacesAddedFromTheEndAreFoundFromTheFirstOn) {
    build({"sda", "dm-3", "sda", "", "sda", "dm-3"});
    EXPECT_EQ(placesOf("sda"), (std::vector<int>{0, 2, 4}));
    EXPECT_EQ(placesOf("dm-3"), (std::vector<int>{1, 5}));
    EXPECT_EQ(placesOf(""), std::vector<int>{3});
    EXPECT_EQ(placesOf("sd"), std::vector<int>{});
    EXPECT_EQ(placesOf("sdaa"), std::vector<int>{});
}

TEST_F(NameIndexTest, ANameIsLookedForByItsCharactersNotByATerminator) {
    build({"sda"});
    const std::string text = "sdabc";
    EXPECT_EQ(index.find(std::string_view(text).substr(0, 3)), 0);
    EXPECT_EQ(index.find(text), -1);
}

TEST_F(NameIndexTest, ANewNameIsAddedAndAKnownOneKeepsItsPlace) {
    table = {"sda", "sdb", "sda", "sdc"};
    index.clear(4);
    for (int place = 0; place < 4; ++place) {
        index.addNew(place);
    }
    EXPECT_EQ(index.find("sda"), 0);
    EXPECT_EQ(index.find("sdb"), 1);
    EXPECT_EQ(index.find("sdc"), 3);
}

TEST_F(NameIndexTest, AClearedIndexIsEmptyAndIsFilledAnew) {
    build({"sda", "sdb", "sda"});
    index.clear(3);
    EXPECT_EQ(index.find("sda"), -1);
    build({"sdb", "sda", "sdc"});
    EXPECT_EQ(placesOf("sda"), std::vector<int>{1});
    EXPECT_EQ(placesOf("sdb"), std::vector<int>{0});
}

TEST_F(NameIndexTest, OnlyAnIndexThatGrowsTakesMemory) {
    table.assign(1000, "sda");
    index.clear(1000);
    const long before = allocationCount();
    index.clear(1000);
    for (int place = 999; place >= 0; --place) {
        index.addBefore(place);
    }
    index.clear(10);
    index.clear(0);
    EXPECT_EQ(allocationCount(), before);
    index.clear(100000);
    EXPECT_GT(allocationCount(), before);
}

TEST_F(NameIndexTest, TheIndexAnswersAsTheLinearSearchDoes) {
    std::mt19937 random = seededRandom(29);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        const auto variety = static_cast<unsigned int>(1 + random() % 200);
        std::vector<std::string> names(random() % 300);
        for (std::string &name : names) {
            name = (random() % 2 == 0 ? "dm-" : "sd") + std::to_string(random() % variety);
        }
        build(names);
        for (unsigned int i = 0; i < variety; ++i) {
            for (const char *prefix : {"dm-", "sd"}) {
                const std::string name = prefix + std::to_string(i);
                std::vector<int> expected;
                for (int place = linear(name); place >= 0;
                     place = linear(name, static_cast<size_t>(place) + 1)) {
                    expected.push_back(place);
                }
                ASSERT_EQ(placesOf(name), expected) << name;
            }
        }
        // The same table from its beginning: the first place of each name stays.
        index.clear(static_cast<int>(names.size()));
        for (size_t place = 0; place < names.size(); ++place) {
            index.addNew(static_cast<int>(place));
        }
        for (const std::string &name : names) {
            ASSERT_EQ(index.find(name), linear(name)) << name;
        }
    }
}

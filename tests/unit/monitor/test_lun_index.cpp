// The index over lun-path records: the answers of the linear search, whatever the keys.
#include "monitor/lun_index.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/lun_list_maker.h"
#include "tests/support/seeded_random.h"

namespace {

class LunIndexTest : public testing::Test {
  protected:
    LunIndexTest() : head(mallocLunpath()), keys(mallocLunpath()) {}
    ~LunIndexTest() override {
        freeLunpath(head);
        freeLunpath(keys);
    }

    // The first record of `head` whose text over `length` characters is that of `key`, looked for one by one.
    template <typename Field> const s_lunPath *search(Field field, const char *key, size_t length) const {
        const s_lunPath *record = head->end ? nullptr : head->next;
        for (; record != nullptr; record = record->end ? nullptr : record->next) {
            if (strncmp(record->*field, key, length) == 0) {
                return record;
            }
        }
        return nullptr;
    }
    const s_lunPath *at(size_t number) const {
        return number == NO_ENTRY ? nullptr : index.entries.at(number).record;
    }

    // Asks the index of `head` for every record of `keys`.
    void expectAnswersOfTheSearch() {
        buildLunIndex(&index, head);
        buildLunIndex(&key_index, keys);
        for (const LunIndex::Entry &key : key_index.entries) {
            const s_lunPath *by_name = search(&s_lunPath::path_dev_name, key.record->path_dev_name, 30);
            const s_lunPath *by_wwid = search(&s_lunPath::lun_wwid, key.record->lun_wwid, 65);
            ASSERT_EQ(at(findSameName(&index, key)), by_name) << fieldOf(key.record->path_dev_name);
            ASSERT_EQ(at(findSameWwid(&index, key)), by_wwid) << fieldOf(key.record->lun_wwid);
            // A field that is full to its last byte is no text by itself; the product's own search asks for texts.
            const std::string name = fieldOf(key.record->path_dev_name);
            const std::string wwid = fieldOf(key.record->lun_wwid);
            ASSERT_EQ(findLunpathByDevName(head, name.c_str()), by_name);
            ASSERT_EQ(findLunpathByLunId(head, wwid.c_str()), by_wwid);
        }
    }

    DumpsFolder dumps;
    s_lunPath *head;
    s_lunPath *keys;
    LunIndex index;
    LunIndex key_index;
};

LunFields named(const std::string &wwid, const std::string &name) {
    return {"a", wwid, "8:0", name, "ready", "active", "running"};
}

} // namespace

TEST_F(LunIndexTest, TheEntriesAreTheValidRecordsInListOrder) {
    makeLunList(head, {named("1", "xa"), named("1", "xb"), named("2", "xc"), named("3", "xd")});
    makeLunList(head, {named("1", "xa"), named("1", "xb"), named("2", "xc")}); // the fourth node is spare now
    buildLunIndex(&index, head);
    ASSERT_EQ(index.entries.size(), 3U);
    EXPECT_EQ(index.entries[0].record, head->next);
    EXPECT_EQ(index.entries[1].record, head->next->next);
    EXPECT_EQ(index.entries[2].record, head->next->next->next);
}

TEST_F(LunIndexTest, ARunBeginsWhereTheWwidDiffersFromTheRecordBefore) {
    makeLunList(head, {named("", "xa"), named("", "xb"), named("1", "xc"), named("1", "xd"), named("2", "xe"),
                       named("1", "xf"), named("", "xg")});
    buildLunIndex(&index, head);
    std::vector<bool> begins;
    for (const LunIndex::Entry &entry : index.entries) {
        begins.push_back(entry.begins_run);
    }
    EXPECT_EQ(begins, (std::vector<bool>{true, false, true, false, true, true, true}));
}

TEST_F(LunIndexTest, AnEmptyListHasNoEntriesAndAnswersNothing) {
    makeLunList(keys, {named("", ""), named("1", "xa")});
    expectAnswersOfTheSearch();
    EXPECT_TRUE(index.entries.empty());
    makeLunList(head, {named("1", "xa")});
    expectAnswersOfTheSearch();
    initLunpath(head); // its node is spare and must not be found
    expectAnswersOfTheSearch();
    EXPECT_TRUE(index.entries.empty());
}

TEST_F(LunIndexTest, TheFirstRecordInListOrderWins) {
    makeLunList(head, {named("2", "xb"), named("1", "xa"), named("2", "xb"), named("1", "xb")});
    makeLunList(keys, {named("1", "xb"), named("2", "xa"), named("3", "xc")});
    expectAnswersOfTheSearch();
    EXPECT_EQ(findSameName(&index, key_index.entries[0]), 0U);
    EXPECT_EQ(findSameWwid(&index, key_index.entries[0]), 1U);
    EXPECT_EQ(findSameName(&index, key_index.entries[1]), 1U);
    EXPECT_EQ(findSameName(&index, key_index.entries[2]), NO_ENTRY);
    EXPECT_EQ(findSameWwid(&index, key_index.entries[2]), NO_ENTRY);
}

TEST_F(LunIndexTest, EmptyKeysMatchOneAnother) {
    makeLunList(head, {named("1", "xa"), named("", ""), named("", "")});
    makeLunList(keys, {named("", "")});
    expectAnswersOfTheSearch();
    EXPECT_EQ(findSameName(&index, key_index.entries[0]), 1U);
    EXPECT_EQ(findSameWwid(&index, key_index.entries[0]), 1U);
}

TEST_F(LunIndexTest, NamesThatDifferAfterThe30thAndWwidsThatDifferAfterThe65thCharacterMatch) {
    const std::string name(30, 'n');
    const std::string wwid(65, 'w');
    makeLunList(head, {named(wwid + "1", name + "1"), named(wwid, name)});
    makeLunList(keys, {named(wwid + "2", name + "2"), named(wwid.substr(1), name.substr(1))});
    expectAnswersOfTheSearch();
    EXPECT_EQ(findSameName(&index, key_index.entries[0]), 0U);
    EXPECT_EQ(findSameWwid(&index, key_index.entries[0]), 0U);
    EXPECT_EQ(findSameName(&index, key_index.entries[1]), NO_ENTRY);
    EXPECT_EQ(findLunpathByDevName(head, (name + "and more").c_str()), head->next);
    EXPECT_EQ(findLunpathByLunId(head, (wwid + "and more").c_str()), head->next);
}

TEST_F(LunIndexTest, AnswersAreThoseOfTheLinearSearchOverRandomLists) {
    std::mt19937 random = seededRandom(7);
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE(round);
        // Few different keys make many duplicates, many make many misses; full fields lie between them.
        const size_t variety = size_t{1} << random() % 9;
        const auto key = [&](size_t width) {
            const size_t choice = random() % variety;
            const std::string number = std::to_string(choice);
            switch (choice % 7) {
            case 0:
                return std::string();
            case 1:
                return std::string(width, 'k') + number; // equal to the other full ones over its width
            case 2:
                return number + std::string(width, 'k');
            case 3:
                return std::string(width - 1, 'k') + number;
            default:
                return "sd" + number;
            }
        };
        const auto list = [&](size_t size) {
            std::vector<LunFields> made;
            for (size_t i = 0; i < size; ++i) {
                made.push_back(named(key(65), key(30)));
            }
            return made;
        };
        makeLunList(head, list(random() % 200));
        makeLunList(keys, list(random() % 200));
        expectAnswersOfTheSearch();
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(LunIndexTest, RebuildingOverAListThatHasNotGrownTakesNoMemory) {
    std::vector<LunFields> list;
    list.reserve(20000);
    for (int i = 0; i < 5000; ++i) {
        list.push_back(named(std::to_string(i / 8), "x" + std::to_string(i)));
    }
    makeLunList(head, list);
    buildLunIndex(&index, head);
    const long before = allocationCount();
    buildLunIndex(&index, head);
    EXPECT_EQ(allocationCount(), before);
    list.resize(17);
    makeLunList(keys, list);
    const long shrunk = allocationCount();
    buildLunIndex(&index, keys);
    buildLunIndex(&index, head);
    EXPECT_EQ(allocationCount(), shrunk);
    // The counter counts: a growth is seen.
    list.resize(20000);
    makeLunList(keys, list);
    const long grown = allocationCount();
    buildLunIndex(&index, keys);
    EXPECT_GT(allocationCount(), grown);
}

// The list that all records live in, over a node of this test's own.
#include "struct/reusable_list.h"

#include <cerrno>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/allocation_count.h"
#include "tests/support/system_calls.h"

using dravik::clearNode;
using dravik::freeChain;
using dravik::makeNode;
using dravik::MAX_LIST_NODES;
using dravik::nextOrNewNode;
using dravik::nextValidNode;

namespace {

struct Node {
    int value;
    bool end;
    Node *next;
    unsigned int position;
};

int made = 0;

Node *makeCounted() {
    ++made;
    return makeNode<Node>();
}

std::vector<int> released;

void releaseNoted(Node *node) {
    released.push_back(node->value);
    free(node);
}

// A head with no node behind it.
class ReusableList : public testing::Test {
  protected:
    ReusableList() {
        made = 0;
        released.clear();
    }
    ~ReusableList() override {
        freeChain(head, releaseNoted);
    }

    static Node *next(Node *node) {
        return nextOrNewNode(node, clearNode, makeCounted);
    }
    // The way a list is filled: a cursor that moves on.
    void fill(const std::vector<int> &values) const {
        clearNode(head);
        Node *cursor = head;
        for (const int value : values) {
            Node *node = next(cursor);
            if (node == nullptr) {
                FAIL() << "no node for " << value;
            }
            node->value = value;
            cursor->end = false;
            cursor = node;
        }
    }
    std::vector<int> values() const {
        std::vector<int> found;
        for (const Node *node = nextValidNode(head); node != nullptr; node = nextValidNode(node)) {
            found.push_back(node->value);
        }
        return found;
    }

    Node *head = makeNode<Node>();
};

} // namespace

TEST_F(ReusableList, ANewNodeIsZeroedWithItsEndFlagSet) {
    Node *node = makeNode<Node>();
    EXPECT_EQ(node->value, 0);
    EXPECT_TRUE(node->end);
    EXPECT_EQ(node->next, nullptr);
    EXPECT_EQ(node->position, 0U);
    free(node);
}

TEST_F(ReusableList, WithoutMemoryThereIsNoNodeAndTheChainStaysAsItIs) {
    const Node *node = head;
    const Node *behind = head;
    {
        const FailingCall failing("allocation", ENOMEM);
        node = makeNode<Node>();
        behind = next(head);
    }
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(behind, nullptr);
    EXPECT_EQ(head->next, nullptr);
}

TEST_F(ReusableList, AClearedNodeIsAnEmptyLastOneThatKeepsItsPlace) {
    fill({1, 2});
    Node *first = head->next;
    Node *second = first->next;
    clearNode(first);
    EXPECT_EQ(first->value, 0);
    EXPECT_TRUE(first->end);
    EXPECT_EQ(first->next, second);
    EXPECT_EQ(first->position, 1U);
    EXPECT_EQ(second->value, 2);
}

TEST_F(ReusableList, AListIsFilledInItsOrderAndEachNodeKnowsHowFarItIsFromTheHead) {
    fill({7, 8, 9});
    EXPECT_EQ(values(), (std::vector<int>{7, 8, 9}));
    EXPECT_EQ(made, 3);
    unsigned int position = 0;
    for (const Node *node = head; node != nullptr; node = node->next) {
        EXPECT_EQ(node->position, position++);
    }
}

TEST_F(ReusableList, ARefillTakesTheSpareNodesClearedAndMakesOnlyWhatIsMissing) {
    fill({1, 2, 3});
    fill({4});
    EXPECT_EQ(values(), std::vector<int>{4});
    EXPECT_EQ(made, 3);
    EXPECT_EQ(head->next->next->value, 2); // stale, and nobody's
    fill({5, 6});
    EXPECT_EQ(values(), (std::vector<int>{5, 6}));
    fill({1, 2, 3, 4});
    EXPECT_EQ(values(), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(made, 4);
}

TEST_F(ReusableList, TheNextNodeIsEmptyAndTheCursorsEndFlagIsNotTouched) {
    fill({1, 2});
    for (const bool end : {true, false}) {
        head->end = end;
        EXPECT_EQ(next(head), head->next);
        EXPECT_EQ(head->end, end);
        EXPECT_EQ(head->next->value, 0);
        EXPECT_TRUE(head->next->end);
    }
    EXPECT_EQ(next(nullptr), nullptr);
}

TEST_F(ReusableList, PastTheLargestNumberOfNodesThereIsNoNewOneButASpareOneIsReused) {
    head->position = MAX_LIST_NODES - 1;
    Node *last = next(head);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->position, MAX_LIST_NODES);
    EXPECT_EQ(next(last), nullptr);
    EXPECT_EQ(last->next, nullptr);
    EXPECT_EQ(made, 1);
    head->position = MAX_LIST_NODES;
    EXPECT_EQ(next(head), last);
}

TEST_F(ReusableList, TheValidNodesEndAtTheEndFlagOrAtAMissingSuccessor) {
    EXPECT_EQ(nextValidNode(static_cast<const Node *>(nullptr)), nullptr);
    EXPECT_EQ(values(), std::vector<int>{});
    fill({1, 2, 3});
    head->next->end = true;
    EXPECT_EQ(values(), std::vector<int>{1});
    head->next->end = false;
    head->next->next->next->end = false; // no node carries the flag
    EXPECT_EQ(values(), (std::vector<int>{1, 2, 3}));
    head->end = true;
    EXPECT_EQ(values(), std::vector<int>{});
}

TEST_F(ReusableList, FreeingReleasesTheWholeChainOnceSpareNodesTooInItsOrder) {
    const long before = heldBlocks();
    fill({1, 2, 3});
    fill({4});
    EXPECT_EQ(heldBlocks() - before, 3);
    released.reserve(4);
    const long with_notes = heldBlocks();
    freeChain(head->next, releaseNoted);
    head->next = nullptr;
    EXPECT_EQ(released, (std::vector<int>{4, 2, 3}));
    EXPECT_EQ(with_notes - heldBlocks(), 3);
    freeChain(static_cast<Node *>(nullptr), releaseNoted);
    EXPECT_EQ(released.size(), 3U);
}

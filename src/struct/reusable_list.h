// What the three lists of records have in common: a singly linked chain behind a head node, built to be reused.
//
//   head(end) -> spare -> spare                    empty
//   head -> valid -> valid(end) -> spare           two records; the spare node's content is stale
//
// A node type has the members `bool end`, `Node *next` and `unsigned int position`, how far it is from its head.
#pragma once

#include <cstdlib>

#include "struct/list_limit.h"

namespace dravik {

// A zeroed node with its end flag set, or null.
template <typename Node> Node *makeNode() {
    auto *node = static_cast<Node *>(calloc(1, sizeof(Node)));
    if (node != nullptr) {
        node->end = true;
    }
    return node;
}

// Makes `node` an empty last one that keeps its place in the chain.
template <typename Node> void clearNode(Node *node) {
    Node *next = node->next;
    const unsigned int position = node->position;
    *node = {};
    node->end = true;
    node->next = next;
    node->position = position;
}

// The node after `node`, cleared: the spare one, by `clear`, or a new one from `make`, linked behind it. Null when
// `node` is null or no node could be had.
template <typename Node> Node *nextOrNewNode(Node *node, void (*clear)(Node *), Node *(*make)()) {
    if (node == nullptr) {
        return nullptr;
    }
    if (node->next != nullptr) {
        clear(node->next);
        return node->next;
    }
    if (node->position >= MAX_LIST_NODES) {
        return nullptr;
    }
    node->next = make();
    if (node->next != nullptr) {
        node->next->position = node->position + 1;
    }
    return node->next;
}

// Sees to it that the list of the head `head` has `count` nodes, valid and spare ones together, making what it lacks by
// `make`. False when one could not be had; those made so far stay spare.
template <typename Node> bool haveNodes(Node *head, unsigned int count, Node *(*make)()) {
    Node *last = head;
    for (unsigned int i = 0; i < count; ++i) {
        if (last->next == nullptr && last->position < MAX_LIST_NODES) {
            last->next = make();
            if (last->next != nullptr) {
                last->next->position = last->position + 1;
            }
        }
        if (last->next == nullptr) {
            return false;
        }
        last = last->next;
    }
    return true;
}

// Releases `node` and everything behind it, each by `release`.
template <typename Node> void freeChain(Node *node, void (*release)(Node *)) {
    while (node != nullptr) {
        Node *next = node->next;
        release(node);
        node = next;
    }
}

// Releases, by `release_chain`, the spare nodes of the list of the head `head` behind its `kept` first ones; valid nodes
// stay.
template <typename Node> void giveBackNodes(Node *head, unsigned int kept, void (*release_chain)(Node *)) {
    Node *last = head;
    for (unsigned int i = 0; last->next != nullptr && (i < kept || !last->end); ++i) {
        last = last->next;
    }
    release_chain(last->next);
    last->next = nullptr;
}

// The valid node behind `node`, a head or a cursor; null when there is none or `node` is null.
template <typename Node> Node *nextValidNode(const Node *node) {
    return node == nullptr || node->end ? nullptr : node->next;
}

// The number of valid nodes of the list of the head `head`.
template <typename Node> unsigned int countNodes(const Node *head) {
    unsigned int count = 0;
    for (const Node *node = nextValidNode(head); node != nullptr; node = nextValidNode(node)) {
        ++count;
    }
    return count;
}

} // namespace dravik

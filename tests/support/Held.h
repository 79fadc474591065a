#pragma once

// Holds one reference on a node for the length of a test, so that the node
// and all it holds go when the test ends.

namespace brell::test {

template <class Node>
struct Held {
    explicit Held(Node* node = new Node) : node(node) { node->AddRef(); }
    ~Held() { node->Release(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Node* operator->() const { return node; }
    Node* node;
};

}  // namespace brell::test

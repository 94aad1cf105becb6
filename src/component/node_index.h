// The way from an id to its node without a search.
#pragma once

#include <unordered_map>

namespace tessera {

class CAssembly;
class CNode;
class CPartInstance;

// Finds what lies in the tree under a root. It is told of every node that is linked, be it in the tree or under a
// loose assembly, and before any of these is deleted.
class NodeIndex {
public:
    // The root is not owned.
    explicit NodeIndex(CAssembly* root) : root_(root) {}

    // A node and all below it.
    void Add(CNode* node);
    // A node and all below it are about to be deleted, or drop out of the tree.
    void Forget(CNode* node);
    void Clear();
    // Null if there is no such node in the tree.
    CNode* Node(int id) const;
    // An instance in the tree that shows the part with that id.
    CPartInstance* InstanceOfPart(int partId);

private:
    bool IsInTree(const CNode* node) const;
    bool Shows(CPartInstance* instance, int partId) const;

    CAssembly* root_;
    std::unordered_map<int, CNode*> nodes_;
    std::unordered_map<int, CPartInstance*> instances_;  // by the part's id
};

}  // namespace tessera

// The way from an id to its node without a search.
#pragma once

#include <unordered_map>

#include "platform/text.h"

namespace tessera {

class CAssembly;
class CNode;
class CPart;
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
    // Whether a part in the tree, other than that with the id, has the name.
    bool IsNameOfOtherPart(const String& name, int partId);
    // These change nothing where memory runs out.
    void RenamePart(CPart* part, const String& name);
    void LinkPart(CPartInstance* instance, CPart* part);

private:
    void AddAll(CNode* node);
    bool IsInTree(const CNode* node) const;
    bool Shows(CPartInstance* instance, int partId) const;
    void AddName(const String& name, int partId);
    void ForgetName(const CPart* part);
    void ForgetPart(CPartInstance* instance);

    CAssembly* root_;
    std::unordered_map<int, CNode*> nodes_;
    std::unordered_map<int, CPartInstance*> instances_;  // by the part's id
    // Ids of the parts that have been given a name: most are told from each other by it.
    std::unordered_multimap<String, int> partNames_;
};

}  // namespace tessera

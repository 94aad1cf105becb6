#include "component/node_index.h"

#include "scene/assembly.h"
#include "scene/part_instance.h"

namespace tessera {

void NodeIndex::Add(CNode* node) {
    nodes_[node->id] = node;
    if (node->GetNodeType() == 1) {
        auto* const instance = static_cast<CPartInstance*>(node);
        if (instance->Part()) instances_[instance->GetPartID()] = instance;
        return;
    }
    for (CNode* child : static_cast<CAssembly*>(node)->Children()) Add(child);
}

void NodeIndex::Forget(CNode* node) {
    nodes_.erase(node->id);
    if (node->GetNodeType() == 1) {
        const auto shown = instances_.find(static_cast<CPartInstance*>(node)->GetPartID());
        if (shown != instances_.end() && shown->second == node) instances_.erase(shown);
        return;
    }
    for (CNode* child : static_cast<CAssembly*>(node)->Children()) Forget(child);
}

void NodeIndex::Clear() {
    nodes_.clear();
    instances_.clear();
}

bool NodeIndex::IsInTree(const CNode* node) const {
    while (node->parent) node = node->parent;
    return node == root_;
}

CNode* NodeIndex::Node(int id) const {
    if (id == root_->id) return root_;
    const auto found = nodes_.find(id);
    return found != nodes_.end() && IsInTree(found->second) ? found->second : nullptr;
}

bool NodeIndex::Shows(CPartInstance* instance, int partId) const {
    return instance->Part() && instance->GetPartID() == partId && IsInTree(instance);
}

CPartInstance* NodeIndex::InstanceOfPart(int partId) {
    const auto known = instances_.find(partId);
    if (known != instances_.end() && Shows(known->second, partId)) return known->second;
    // The instance that was known has gone; another may share its part.
    for (const auto& [id, node] : nodes_) {
        if (node->GetNodeType() != 1) continue;
        auto* const instance = static_cast<CPartInstance*>(node);
        if (Shows(instance, partId)) return instances_[partId] = instance;
    }
    return nullptr;
}

}  // namespace tessera

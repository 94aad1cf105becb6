#include "component/node_index.h"

#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {

void NodeIndex::Add(CNode* node) {
    try {
        AddAll(node);
    } catch (...) {  // a loose node that is not wholly known may be deleted unseen
        if (!IsInTree(node)) Forget(node);
        throw;
    }
}

void NodeIndex::AddAll(CNode* node) {
    nodes_[node->id] = node;
    if (node->GetNodeType() == 1) {
        auto* const instance = static_cast<CPartInstance*>(node);
        if (!instance->Part()) return;
        instances_[instance->GetPartID()] = instance;
        AddName(instance->Part()->name, instance->GetPartID());
        return;
    }
    for (CNode* child : static_cast<CAssembly*>(node)->Children()) AddAll(child);
}

void NodeIndex::Forget(CNode* node) {
    nodes_.erase(node->id);
    if (node->GetNodeType() == 1) {
        ForgetPart(static_cast<CPartInstance*>(node));
        return;
    }
    for (CNode* child : static_cast<CAssembly*>(node)->Children()) Forget(child);
}

void NodeIndex::ForgetPart(CPartInstance* instance) {
    const CPart* const part = instance->Part();
    if (!part) return;
    const auto shown = instances_.find(part->id);
    if (shown != instances_.end() && shown->second == instance) instances_.erase(shown);
    if (part->useCount == 1) ForgetName(part);
}

void NodeIndex::LinkPart(CPartInstance* instance, CPart* part) {
    if (instance->parent) {
        instances_.try_emplace(part->id, instance);  // not trusted before the instance shows it
        AddName(part->name, part->id);
        if (instance->Part() != part) ForgetPart(instance);
    }
    instance->LinkPart(part);
    if (instance->parent) instances_.find(part->id)->second = instance;
}

void NodeIndex::AddName(const String& name, int partId) {
    if (name == CPart::DefaultName()) return;
    const auto [first, last] = partNames_.equal_range(name);
    for (auto entry = first; entry != last; ++entry)
        if (entry->second == partId) return;
    partNames_.emplace(name, partId);
}

void NodeIndex::ForgetName(const CPart* part) {
    const auto [first, last] = partNames_.equal_range(part->name);
    for (auto entry = first; entry != last; ++entry)
        if (entry->second == part->id) {
            partNames_.erase(entry);
            return;
        }
}

void NodeIndex::RenamePart(CPart* part, const String& name) {
    if (part->name == name) return;
    String copy = name;
    AddName(name, part->id);
    ForgetName(part);
    part->name = std::move(copy);
}

bool NodeIndex::IsNameOfOtherPart(const String& name, int partId) {
    if (name == CPart::DefaultName()) return root_->FindOtherPartByName(name, partId) != nullptr;
    const auto [first, last] = partNames_.equal_range(name);
    for (auto entry = first; entry != last; ++entry)
        if (entry->second != partId && InstanceOfPart(entry->second)) return true;
    return false;
}

void NodeIndex::Clear() {
    nodes_.clear();
    instances_.clear();
    partNames_.clear();
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

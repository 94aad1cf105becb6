// Names that are unique among siblings, and the paths made of them.
#include <algorithm>

#include "scene/assembly.h"
#include "scene/node.h"

namespace tessera {

void CNode::SetName(const String& wanted) { TakeName(parent ? parent->UniqueName(this, wanted) : wanted); }

void CNode::TakeName(String name) {
    if (parent) parent->Renamed(name_, name);
    name_ = std::move(name);
}

// Names are not escaped: a node whose name holds a slash cannot be found again by its path.
String CNode::FullName() const {
    String path = name_;
    for (const CAssembly* p = parent; p; p = p->parent) path = p->Name() + FromAscii("/") + path;
    return path;
}

String CAssembly::UniqueName(const CNode* node, const String& wanted) {
    // The search for a free name is a walk over the children, and leaves the one walk that an assembly has at its end.
    childCursor_ = children_.end();
    const auto holders = [this](const String& name) {
        const auto found = names_.find(name);
        return found == names_.end() ? 0 : found->second;
    };
    if (holders(wanted) == (node->Name() == wanted ? 1 : 0)) return wanted;
    int& unused = firstUnused_.try_emplace(wanted, 1).first->second;
    while (holders(Numbered(wanted, unused)) > 0) ++unused;
    // All lower numbers have a holder, but the node's own name is free to itself.
    String base;
    int own = 0;
    const bool keeps =
        SplitNumbered(node->Name(), base, own) && base == wanted && own < unused && holders(node->Name()) == 1;
    return keeps ? node->Name() : Numbered(wanted, unused);
}

void CAssembly::Renamed(const String& former, const String& now) {
    if (former == now) return;
    ++names_[now];
    ForgetName(former);
}

void CAssembly::ForgetName(const String& name) {
    const auto found = names_.find(name);
    if (found == names_.end() || --found->second > 0) return;
    names_.erase(found);
    String base;
    int number = 0;
    if (!SplitNumbered(name, base, number)) return;
    const auto unused = firstUnused_.find(base);
    if (unused != firstUnused_.end()) unused->second = std::min(unused->second, number);
}

int CAssembly::GetNodeIDFromName(const String& text) {
    if (name_ == text) return id;
    for (CNode* child : children_) {
        const int found = child->GetNodeIDFromName(text);
        if (found != -1) return found;
    }
    return -1;
}

int CAssembly::GetNodeIDFromPath(const OLECHAR* path) {
    const OLECHAR* end = ++path;
    while (*end && *end != '/') ++end;
    const String component(path, end);
    for (CNode* child : children_)
        if (component == child->Name().c_str()) return *end ? child->GetNodeIDFromPath(end) : child->id;
    return -1;
}

}  // namespace tessera

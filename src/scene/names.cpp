// Names that are unique among siblings, and the paths made of them.
#include "scene/assembly.h"
#include "scene/node.h"

namespace tessera {

void CNode::SetName(const String& wanted) {
    const String name = parent ? parent->UniqueName(this, wanted) : wanted;
    if (parent) parent->Renamed(name_, name);
    name_ = name;
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
    const auto isTaken = [&](const String& name) {
        const auto found = names_.find(name);
        return found != names_.end() && found->second > (node->Name() == name ? 1 : 0);
    };
    if (!isTaken(wanted)) return wanted;
    const bool ownIsNumbered = node->Name().size() > wanted.size();  // then the count does not tell what others have
    int unused = 1;
    int& number = ownIsNumbered ? unused : firstFree_.try_emplace(wanted, 1).first->second;
    while (isTaken(Numbered(wanted, number))) ++number;
    return Numbered(wanted, number);
}

void CAssembly::Renamed(const String& former, const String& now) {
    if (former == now) return;
    ForgetName(former);
    ++names_[now];
}

void CAssembly::ForgetName(const String& name) {
    const auto found = names_.find(name);
    if (found == names_.end() || --found->second > 0) return;
    names_.erase(found);
    firstFree_.clear();
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

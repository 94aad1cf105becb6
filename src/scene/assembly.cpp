#include "scene/assembly.h"

#include <algorithm>

#include "scene/part_instance.h"

namespace tessera {

CAssembly::~CAssembly() {
    for (CNode* child : children_) delete child;
}

void CAssembly::ExpectChild(const CNode* son) { ++names_[son->Name()]; }

void CAssembly::ExpectNoChild(const CNode* son) { ForgetName(son->Name()); }

void CAssembly::AddChild(std::list<CNode*>& son) noexcept {
    const std::lock_guard<std::mutex> hold(lock_);
    CNode* const node = son.front();
    node->parent = this;
    children_.splice(node->GetNodeType() == 0 ? children_.begin() : children_.end(), son);
}

void CAssembly::ClearTree() {
    const std::lock_guard<std::mutex> hold(lock_);
    for (CNode* child : children_) delete child;
    children_.clear();
    childCursor_ = children_.end();
    names_.clear();
    firstUnused_.clear();
    transform.SetIdentity();
    explodeTransform.SetIdentity();
    parent = nullptr;
}

void CAssembly::Unlink(std::list<CNode*>::iterator child) {
    ForgetName((*child)->Name());
    if (childCursor_ == child) ++childCursor_;
    children_.erase(child);
}

// Only the direct parent unlinks what was deleted; the ancestors above it see 2.
int CAssembly::Remove(int nodeId) {
    if (nodeId == id) {
        delete this;
        return 1;
    }
    const std::lock_guard<std::mutex> hold(lock_);
    for (auto child = children_.begin(); child != children_.end(); ++child) {
        if ((*child)->id == nodeId) {
            CNode* const gone = *child;
            Unlink(child);
            gone->Remove(nodeId);
            return 2;
        }
        const int answer = (*child)->Remove(nodeId);
        if (answer != 0) return answer;
    }
    return 0;
}

CNode* CAssembly::DetachChild(int nodeId) {
    const std::lock_guard<std::mutex> hold(lock_);
    const auto child = std::find_if(children_.begin(), children_.end(), [&](CNode* c) { return c->id == nodeId; });
    if (child == children_.end()) return nullptr;
    CNode* const node = *child;
    node->parent = nullptr;
    Unlink(child);
    return node;
}

CPart* CAssembly::FindOtherPartByName(const String& text, int partId) {
    for (CNode* child : children_)
        if (CPart* found = child->FindOtherPartByName(text, partId)) return found;
    return nullptr;
}

int CAssembly::FirstChild() {
    childCursor_ = children_.begin();
    return children_.empty() ? 0 : 1;
}

CNode* CAssembly::NextChild() { return childCursor_ == children_.end() ? nullptr : *childCursor_++; }

// Hosts build trees of many thousand nodes one call at a time, and each call ends here on the root.
void CAssembly::InvalidateBoundBox() { CPartInstance::InvalidateAllBoundBoxes(); }

void CAssembly::SpoolToFile(const std::shared_ptr<SpoolFile>& file) {
    const std::lock_guard<std::mutex> hold(lock_);
    for (CNode* child : children_) child->SpoolToFile(file);
}

int CAssembly::GetNumberOfPartInstance() {
    int sum = 0;
    for (CNode* child : children_) sum += child->GetNumberOfPartInstance();
    return sum;
}

BBox CAssembly::GetBoundBox(const CMatrix& M, const CMatrix& E, bool recompute, const CMatrix& reference) {
    if (children_.empty() || drawingEnabled == 0) return {-1, 1, -1, 1, -1, 1, 1};
    const CMatrix T = transform * M, X = explodeTransform * E;
    BBox box;
    for (CNode* child : children_) box.Union(child->GetBoundBox(T, X, recompute, reference));
    boundBox = box;
    return box;
}

}  // namespace tessera

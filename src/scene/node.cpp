#include "scene/node.h"

#include <algorithm>

namespace tessera {

CNode::CNode() : name_(FromAscii("No Name")) {
    userName = FromAscii("Unset");
    lastModified = std::time(nullptr);
}

CNode::~CNode() = default;

int CNode::GetNodeIDFromName(const String& text) { return name_ == text ? id : -1; }

void CNode::SetCamera(const float view[6]) { std::copy_n(view, 6, camera); }

void CNode::SetUseDisplayAcc(bool status, float accuracy, const BBox&) {
    useDisplayAcc = status;
    displayAccuracy = accuracy;
}

}  // namespace tessera

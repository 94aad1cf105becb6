// The interface's methods: measures.
#include "component/tessera.h"

namespace tessera {

// What the placements above a node scale by is taken along x.
HRESULT CTessera::GetVolume(int nodeID, double* volume, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const CMatrix above = Above(node);
    const double scale = Distance(TransformPoint({1, 0, 0}, above), TransformPoint({0, 0, 0}, above));
    Give(volume, node->GetVolume() * scale * scale * scale);
    return STATUS_OK;
}

HRESULT CTessera::GetSurfaceArea(int nodeID, double* area, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(area, node->GetSurfaceArea());
    return STATUS_OK;
}

HRESULT CTessera::GetProjectedSurfaceXY(int nodeID, float* surface, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(surface, static_cast<float>(node->GetProjectedSurfaceXY()));
    return STATUS_OK;
}

HRESULT CTessera::GetCenterOfMass(int nodeID, float* centerX, float* centerY, float* centerZ, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const Vec3 center = node->GetCenterOfMass(Above(node), ExplodeAbove(node));
    Give(centerX, center.x);
    Give(centerY, center.y);
    Give(centerZ, center.z);
    return STATUS_OK;
}

}  // namespace tessera

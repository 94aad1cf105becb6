// The interface's methods: section state.
#include "component/tessera.h"

namespace tessera {
namespace {

void GivePoint(const Vec3& p, float* out) {
    if (!out) return;
    out[0] = p.x;
    out[1] = p.y;
    out[2] = p.z;
}

}  // namespace

HRESULT CTessera::SetCrossSectionPlane(int nodeID, float* point, float* normal, int* errCode) {
    if (!point || !normal) return Refuse(errCode);
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetCrossSectionPlane({point[0], point[1], point[2]}, Normalized({normal[0], normal[1], normal[2]}));
    return STATUS_OK;
}

HRESULT CTessera::EnableCrossSection(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->EnableCrossSection(static_cast<int>(status));
    return STATUS_OK;
}

HRESULT CTessera::SwitchCrossSectionPlane(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SwitchCrossSectionPlane(static_cast<int>(status));
    return STATUS_OK;
}

HRESULT CTessera::EnableTransparentXSection(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->EnableTransparentXSection(static_cast<int>(status));
    return STATUS_OK;
}

HRESULT CTessera::EnableCrossSectionCapping(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->EnableCrossSectionCapping(static_cast<int>(status));
    return STATUS_OK;
}

HRESULT CTessera::GetCrossSectionPlane(int nodeID, float* pt, float* normal, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Vec3 at{0, 0, 0}, direction{1, 0, 0};
    node->GetCrossSectionPlane(at, direction);
    GivePoint(at, pt);
    GivePoint(direction, normal);
    return STATUS_OK;
}

HRESULT CTessera::GetCrossSectionLength(int nodeID, float* len, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(len, node->GetCrossSectionLength(CMatrix()));
    return STATUS_OK;
}

}  // namespace tessera
